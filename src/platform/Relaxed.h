// A plain word that several threads read and write without a lock.
//
// Every access is a relaxed atomic one: it may be one tick stale, it is never torn and never waits. Use it
// for single words whose order against other words does not matter; everything else belongs under a queue.
//
// Thread-safe: yes. Realtime-safe: yes.
#pragma once

#include <atomic>

namespace marvo {

template <class T>
class Relaxed {
public:
    constexpr Relaxed() noexcept : word_(T{}) {}
    constexpr Relaxed(T value) noexcept : word_(value) {}
    Relaxed(const Relaxed& other) noexcept : word_(other.get()) {}
    Relaxed& operator=(const Relaxed& other) noexcept {
        set(other.get());
        return *this;
    }
    Relaxed& operator=(T value) noexcept {
        set(value);
        return *this;
    }

    operator T() const noexcept { return get(); }
    T get() const noexcept { return word_.load(std::memory_order_relaxed); }
    void set(T value) noexcept { word_.store(value, std::memory_order_relaxed); }
    T exchange(T value) noexcept { return word_.exchange(value, std::memory_order_relaxed); }

private:
    std::atomic<T> word_;
    static_assert(std::atomic<T>::is_always_lock_free);
};

} // namespace marvo
