// A thread that calls a function at an interval.
#pragma once

#include "platform/Clock.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace marvo {

// Calls follow absolute deadlines on CLOCK_MONOTONIC: a late call does not shift the rhythm; once a whole
// interval has been missed the rhythm begins anew, and nothing is caught up. Calls never overlap, not even
// over a stop and a new start. The first call after start and after resume comes at once.
//
// The function may call any operation here, and may destroy the loop. Operations are thread-safe; none is for
// the tick.
class ThreadLoop {
public:
    ThreadLoop(Duration interval, std::function<void()> function, std::string name = "marvo-loop");
    ~ThreadLoop(); // stop()
    ThreadLoop(const ThreadLoop&) = delete;
    ThreadLoop& operator=(const ThreadLoop&) = delete;

    void start(); // nothing to do when it runs
    void pause(); // a call in progress ends as usual; not waited for
    void resume();

    // When it returns on another thread, the function is not running and is not called any more. Inside the
    // function it returns at once, and the call in progress is the last one.
    void stop();

    // Counts from the beginning of the latest call. At least 1 us.
    void setInterval(Duration interval);
    Duration interval() const;

    bool isRunning() const; // started and not stopped; true also while paused
    bool isPaused() const;

private:
    struct Calls;
    struct Run;

    mutable std::mutex lock_;
    std::shared_ptr<Run> run_; // null when stopped
    std::thread thread_;
    Duration interval_;
    bool paused_ = false;
    const std::string name_;
    const std::function<void()> function_;
    const std::shared_ptr<Calls> calls_; // shared by all runs, also by those that outlive this object
};

} // namespace marvo
