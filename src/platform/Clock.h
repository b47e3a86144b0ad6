// Time as an argument.
//
// Algorithms never read a clock: they are given a MonotonicTime, or a Clock where they must ask repeatedly.
// The same code then runs on the machine's clock and on a virtual one, and the same input gives the same
// output.
#pragma once

#include <atomic>
#include <compare>
#include <cstdint>

namespace marvo {

// A signed distance in nanoseconds.
struct Duration {
    std::int64_t nanoseconds = 0;

    constexpr Duration() = default;
    constexpr explicit Duration(std::int64_t ns) : nanoseconds(ns) {}
    constexpr auto operator<=>(const Duration&) const = default;

    static constexpr Duration ofMicroseconds(std::int64_t us) { return Duration(us * 1'000); }
    static constexpr Duration ofMilliseconds(std::int64_t ms) { return Duration(ms * 1'000'000); }
    static constexpr Duration ofSeconds(std::int64_t s) { return Duration(s * 1'000'000'000); }
};

constexpr Duration operator+(Duration a, Duration b) {
    return Duration(a.nanoseconds + b.nanoseconds);
}
constexpr Duration operator-(Duration a, Duration b) {
    return Duration(a.nanoseconds - b.nanoseconds);
}
constexpr Duration operator-(Duration a) {
    return Duration(-a.nanoseconds);
}
constexpr Duration operator*(Duration a, std::int64_t n) {
    return Duration(a.nanoseconds * n);
}

// Nanoseconds since an arbitrary start that never moves backwards. Readings of different clocks do not mix.
struct MonotonicTime {
    std::uint64_t nanoseconds = 0;

    constexpr MonotonicTime() = default;
    constexpr explicit MonotonicTime(std::uint64_t ns) : nanoseconds(ns) {}
    constexpr auto operator<=>(const MonotonicTime&) const = default;
};

constexpr Duration operator-(MonotonicTime a, MonotonicTime b) {
    return Duration(static_cast<std::int64_t>(a.nanoseconds - b.nanoseconds));
}
constexpr MonotonicTime operator+(MonotonicTime t, Duration d) {
    return MonotonicTime(t.nanoseconds + static_cast<std::uint64_t>(d.nanoseconds));
}
constexpr MonotonicTime operator-(MonotonicTime t, Duration d) {
    return t + -d;
}

// Thread-safe and realtime-safe in every implementation.
class Clock {
public:
    virtual ~Clock() = default;
    virtual MonotonicTime now() const = 0;
};

// CLOCK_MONOTONIC: the clock of RealtimeThread::sleepUntil.
class MonotonicClock final : public Clock {
public:
    MonotonicTime now() const override;
};

// Stands still until it is advanced. It starts at one second, so that "a moment before the start" is still
// positive.
class VirtualClock final : public Clock {
public:
    VirtualClock() = default;
    explicit VirtualClock(MonotonicTime start) : now_(start.nanoseconds) {}

    MonotonicTime now() const override { return MonotonicTime(now_.load(std::memory_order_acquire)); }
    void advance(Duration by);
    void set(MonotonicTime to) { now_.store(to.nanoseconds, std::memory_order_release); }

private:
    std::atomic<std::uint64_t> now_{1'000'000'000};
};

} // namespace marvo
