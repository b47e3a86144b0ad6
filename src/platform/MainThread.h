// The hop to the main thread.
#pragma once

#include "platform/Clock.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <utility>

namespace marvo {

// Runs blocks on the thread that made it, in the order in which they were posted.
//
// One lock-free list takes blocks and signals alike, so their order is the order of posting. The headless
// program lives in run(); a toolkit's loop watches wakeDescriptor(), calls pump() when it is readable and
// again at nextDeadline(); a trace calls pump() after each step of its virtual clock.
//
// Owner: the main thread makes it and destroys it. Everything not marked otherwise is for the main thread.
class MainThread {
public:
    class Signal;

    explicit MainThread(const Clock& clock);
    ~MainThread(); // as close()
    MainThread(const MainThread&) = delete;
    MainThread& operator=(const MainThread&) = delete;

    // True on the thread that made this object. Thread-safe, realtime-safe.
    bool isCurrent() const;

    // Runs the block later, also when called on the main thread. After close() it is dropped. Thread-safe;
    // allocates.
    void async(std::function<void()> block);

    // Runs the block when `delay` has passed on the given clock; blocks of one due moment run in order of
    // posting. Thread-safe; allocates.
    void asyncAfter(Duration delay, std::function<void()> block);

    // Runs the block on the main thread and waits for its end; inline on the main thread. False when it was
    // not run because the main thread has closed. Thread-safe; never for the tick.
    template <class Block>
    bool sync(Block&& block) {
        if (isCurrent()) {
            block();
            return true;
        }
        return runAndWait([&block] { block(); });
    }

    // Runs what is posted and what is due, and what those post, until nothing is left or `limit` blocks have
    // run. Returns how many ran.
    std::size_t pump(std::size_t limit = 100'000);

    // Pumps until quit(), sleeping in between. Needs a clock that moves by itself. A quit() before run() ends
    // it at once, with what was posted before it still run.
    void run();
    void quit(); // thread-safe

    // Calls the handler in run() while the descriptor is readable. The descriptor stays the caller's.
    void watchDescriptor(int descriptor, std::function<void()> readable);
    void unwatchDescriptor(int descriptor);

    // Readable while pump() has something new to do. Valid as long as this object.
    int wakeDescriptor() const { return wake_; }

    // When the earliest delayed block falls due, as known after the last pump().
    std::optional<MonotonicTime> nextDeadline() const;

    // Drops what is posted, releases those who wait in sync, refuses what comes after.
    void close();

private:
    struct Waiter;

    // A posted piece of work: a block owns itself, a signal's node is part of the signal. It is in one list
    // at most, and only the main thread takes it out.
    struct Node {
        Node* next = nullptr;
        std::uint64_t due = 0; // ns on clock_; 0 stands for at once
        std::function<void()> block;
        std::shared_ptr<const std::function<void()>>
            repeated;                     // of signals: survives the signal while it runs
        std::atomic<bool> pending{false}; // of signals
        Waiter* waiter = nullptr;         // of sync
    };

    // Owned by the main thread, oldest first.
    struct List {
        Node* head = nullptr;
        Node* tail = nullptr;

        void append(Node* node);
        void insertByDue(Node* node);
        Node* takeHead();
        bool remove(const Node* node);
    };

    bool push(Node& node);
    void wakeUp();
    void collect();
    Node* takeDue();
    void perform(Node* node);
    void discard(Node* node);
    void forget(Node& node);
    bool runAndWait(std::function<void()> block);
    int pollTimeout() const;

    const Clock& clock_;
    const std::uintptr_t owner_;
    int wake_ = -1;
    bool closed_ = false;
    std::atomic<bool> wakePosted_{false};
    std::atomic<bool> quit_{false};
    Node closedMark_;                    // stands in posted_ once nothing is taken any more
    std::atomic<Node*> posted_{nullptr}; // newest first
    List ready_;
    List delayed_;
    std::map<int, std::function<void()>> watched_;
};

// A one-slot post that is built beforehand: the tick's way to reach the main thread.
//
// While it is pending, further posts change nothing; it becomes free just before its function runs, so a post
// that comes during the function runs it again. Build and destroy it on the main thread, before the
// MainThread goes; destroying it while pending, or inside its own function, drops the post. Nobody may be
// inside post() then.
class MainThread::Signal {
public:
    Signal(MainThread& main, std::function<void()> function);
    ~Signal();
    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;

    // Thread-safe, realtime-safe: lock-free, and at most one write(2) to a non-blocking event descriptor,
    // which returns instead of waiting.
    void post() { postAt(0); }

    // As post(), for `delay` after now on the main thread's clock. Thread-safe, realtime-safe.
    void postAfter(Duration delay);

    bool isPending() const { return node_.pending.load(std::memory_order_acquire); }

private:
    void postAt(std::uint64_t due);

    MainThread& main_;
    Node node_;
};

} // namespace marvo
