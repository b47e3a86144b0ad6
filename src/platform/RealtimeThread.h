// A thread that the scheduler treats as real time.
#pragma once

#include "platform/Clock.h"

#include <atomic>
#include <cstddef>
#include <functional>
#include <pthread.h>
#include <string>

namespace marvo {

enum class RealtimeGrant {
    refused,     // no real-time scheduling; the body does not run
    fifo,        // SCHED_FIFO by the process's own right
    realtimeKit, // SCHED_RR or SCHED_FIFO through the RealtimeKit service
    bestEffort,  // ordinary scheduling with a timer slack of 1 ns, because the options allow it
};

struct RealtimeOptions {
    std::string name = "marvo-rt"; // at most 15 bytes are shown
    int priority = 70;             // 1..99; RealtimeKit may grant less
    bool allowFifo = true;
    bool allowRealtimeKit = true;
    bool bestEffort = false; // run without a grant rather than refuse
    bool lockMemory = true;
    bool holdCpuLatency = true;
    std::size_t stackBytes = 4 * 1024 * 1024; // thread-local data takes its share of it
    std::size_t prefaultBytes = 256 * 1024;
    Duration realtimeKitTimeout = Duration::ofMilliseconds(1500); // for the whole conversation
};

struct RealtimeResult {
    RealtimeGrant grant = RealtimeGrant::refused;
    int priority = 0;       // as granted; 0 without real-time scheduling
    std::string error;      // why a better grant was not given; empty for fifo
    std::string memory;     // why memory is not locked; empty when it is, or when it was not asked for
    std::string cpuLatency; // why the processor's sleep states are not held off; empty likewise

    bool runs() const { return grant != RealtimeGrant::refused; }
};

// Owner: the thread that makes it; start, join and the destructor belong to that thread.
class RealtimeThread {
public:
    using Body = std::function<void(RealtimeThread&)>;

    RealtimeThread() = default;
    ~RealtimeThread(); // requestStop and join
    RealtimeThread(const RealtimeThread&) = delete;
    RealtimeThread& operator=(const RealtimeThread&) = delete;

    // Returns when the grant is settled: the body starts after that, on the new thread, or never. Bounded by
    // realtimeKitTimeout. Starting again is possible after join.
    RealtimeResult start(const RealtimeOptions& options, Body body);

    // The body polls stopRequested and returns. Thread-safe, realtime-safe.
    void requestStop() { stop_.store(true, std::memory_order_release); }
    bool stopRequested() const { return stop_.load(std::memory_order_acquire); }

    // Waits for the body to return. Does nothing on the thread itself.
    void join();

    // True while the body runs. Thread-safe, realtime-safe.
    bool isRunning() const { return running_.load(std::memory_order_acquire); }

    // Sleeps until the absolute moment on CLOCK_MONOTONIC; returns at once for a moment that has passed.
    // Signals do not shorten the sleep. Callable on any thread.
    static void sleepUntil(MonotonicTime deadline);
    // Wakes that long before the deadline and watches the clock for the rest: what the system takes to wake a
    // thread is then no lateness, as long as it is less. Never returns early. Zero only sleeps.
    static void sleepUntil(MonotonicTime deadline, Duration spin);

private:
    struct Launch;
    static void* enter(void* launch);

    pthread_t thread_{};
    bool started_ = false;
    int cpuLatency_ = -1;
    std::atomic<bool> stop_{false};
    std::atomic<bool> running_{false};
};

} // namespace marvo
