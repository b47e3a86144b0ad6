// How late the ticks woke and how long they took.
//
// The render thread records, anybody reads: recordTick is realtime-safe (two counts and a compare for each of
// two numbers, no lock, no allocation); the rest is thread-safe and may lag behind by a tick.
#pragma once

#include "platform/Clock.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace marvo {

// Counts durations in steps that grow with them, so that nanoseconds and hours fit in one small table: a
// duration is known to a 32nd of itself, and exactly below 32 ns. One thread records.
class DurationHistogram {
public:
    // A negative duration counts as none: who wakes early is not late.
    void record(Duration duration);
    std::uint64_t count() const;
    // The least duration that at least that share (0 to 1) of all did not exceed, rounded up to its step but
    // never above the maximum. Zero without any.
    Duration percentile(double share) const;
    // What was counted up to now, for percentileSince, which knows only what has come after it.
    using Counts = std::vector<std::uint64_t>;
    Counts counts() const;
    Duration percentileSince(const Counts& before, double share) const;
    // How many exceeded it. One within a 32nd below it may count.
    std::uint64_t countAbove(Duration limit) const;
    Duration maximum() const { return Duration(maximum_.load(std::memory_order_relaxed)); }

private:
    static constexpr unsigned stepBits = 5;
    static constexpr std::size_t stepsPerOctave = std::size_t{1} << stepBits;
    // The steps below 32 ns, and one octave for each further bit of a positive 64-bit number.
    static constexpr std::size_t slotCount = stepsPerOctave * (63 - stepBits + 1);
    static std::size_t slotFor(std::uint64_t nanoseconds);
    static std::uint64_t upperEnd(std::size_t slot);

    std::array<std::atomic<std::uint64_t>, slotCount> counts_{};
    std::atomic<std::int64_t> maximum_{0};
};

class RunStatistics {
public:
    // lateness: of the wake-up behind its deadline. length: of the work of one tick.
    void recordTick(Duration lateness, Duration length) {
        lateness_.record(lateness);
        length_.record(length);
    }
    const DurationHistogram& lateness() const { return lateness_; }
    const DurationHistogram& length() const { return length_; }

    // What --stats prints, a few lines. messages: protocol and number sent, as their ports have counted.
    std::string text(const std::vector<std::pair<std::string, std::uint64_t>>& messages) const;

private:
    DurationHistogram lateness_;
    DurationHistogram length_;
};

// "12.3 us"
std::string microseconds(Duration duration);

} // namespace marvo
