#include "platform/ThreadLoop.h"

#include "platform/ThreadToken.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <pthread.h>
#include <sys/prctl.h>

namespace marvo {

namespace {

// A zero interval would spin.
Duration bounded(Duration interval) {
    return std::max(interval, Duration::ofMicroseconds(1));
}

} // namespace

// Keeps the calls of all runs apart, and knows the thread that is inside one.
struct ThreadLoop::Calls {
    std::mutex lock;
    std::atomic<std::uintptr_t> inside{0};

    bool isCurrent() const { return inside.load(std::memory_order_relaxed) == currentThreadToken(); }
};

// One stretch from start to stop. The thread holds it, so that it stands when the loop is destroyed in a
// call.
struct ThreadLoop::Run {
    std::mutex lock;
    std::condition_variable changed;
    std::chrono::nanoseconds interval{};
    bool stopped = false;
    bool paused = false;
    std::function<void()> function;
    std::shared_ptr<Calls> calls;

    template <class Change>
    void update(Change change) {
        const std::lock_guard hold(lock);
        change(*this);
        changed.notify_all();
    }

    // Returns false when the run has ended.
    bool waitUntilDue(std::chrono::steady_clock::time_point& begin) {
        std::unique_lock hold(lock);
        for (;;) {
            if (stopped) return false;
            if (paused) {
                changed.wait(hold);
                begin = std::chrono::steady_clock::now() - interval;
                continue;
            }
            // Computed anew after each wake-up: the interval may have changed meanwhile.
            const auto due = begin + interval;
            const auto now = std::chrono::steady_clock::now();
            if (now >= due) {
                begin = now - due < interval ? due : now;
                return true;
            }
            changed.wait_until(hold, due);
        }
    }

    void work() {
        auto begin = std::chrono::steady_clock::now() - interval;
        while (waitUntilDue(begin)) {
            const std::lock_guard hold(calls->lock);
            {
                const std::lock_guard look(lock);
                if (stopped) return;
            }
            calls->inside.store(currentThreadToken(), std::memory_order_relaxed);
            function();
            calls->inside.store(0, std::memory_order_relaxed);
        }
    }
};

ThreadLoop::ThreadLoop(Duration interval, std::function<void()> function, std::string name)
    : interval_(bounded(interval)), name_(std::move(name)), function_(std::move(function)),
      calls_(std::make_shared<Calls>()) {}

ThreadLoop::~ThreadLoop() {
    stop();
}

void ThreadLoop::start() {
    const std::lock_guard hold(lock_);
    if (run_) return;
    run_ = std::make_shared<Run>();
    run_->interval = std::chrono::nanoseconds(interval_.nanoseconds);
    run_->function = function_;
    run_->calls = calls_;
    paused_ = false;
    thread_ = std::thread([run = run_, name = name_.substr(0, 15)] {
        pthread_setname_np(pthread_self(), name.c_str());
        prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
        run->work();
    });
}

void ThreadLoop::stop() {
    std::shared_ptr<Run> run;
    std::thread thread;
    {
        const std::lock_guard hold(lock_);
        run = std::move(run_);
        run_ = nullptr;
        thread = std::move(thread_);
        paused_ = false;
    }
    // Joined without the lock, for the function may be on its way into one of the operations.
    if (run) run->update([](Run& ending) { ending.stopped = true; });
    if (calls_->isCurrent()) {
        // Also when the thread is a newer run's: it waits for this very call to end.
        if (thread.joinable()) thread.detach();
        return;
    }
    if (thread.joinable()) thread.join();
    // A run that was stopped inside its own call may still be in it.
    const std::lock_guard lastCallEnded(calls_->lock);
}

void ThreadLoop::pause() {
    const std::lock_guard hold(lock_);
    if (!run_) return;
    paused_ = true;
    run_->update([](Run& run) { run.paused = true; });
}

void ThreadLoop::resume() {
    const std::lock_guard hold(lock_);
    if (!run_) return;
    paused_ = false;
    run_->update([](Run& run) { run.paused = false; });
}

void ThreadLoop::setInterval(Duration interval) {
    const std::lock_guard hold(lock_);
    interval_ = bounded(interval);
    if (!run_) return;
    run_->update([this](Run& run) { run.interval = std::chrono::nanoseconds(interval_.nanoseconds); });
}

Duration ThreadLoop::interval() const {
    const std::lock_guard hold(lock_);
    return interval_;
}

bool ThreadLoop::isRunning() const {
    const std::lock_guard hold(lock_);
    return run_ != nullptr;
}

bool ThreadLoop::isPaused() const {
    const std::lock_guard hold(lock_);
    return paused_;
}

} // namespace marvo
