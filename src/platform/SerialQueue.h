// A serial queue: at most one block at a time, whoever brings it.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <pthread.h>
#include <string>
#include <thread>
#include <utility>

namespace marvo {

// Nesting order of the queues, outermost first. A thread that stands in a queue enters only queues of a
// higher rank; two queues of one rank never nest.
enum class QueueRank : int {
    midiInput = 10,         // "com.selkar.midiinputmsg"
    oscInput = 11,          // "com.selkar.oscinputmsg"
    compositions = 20,      // "com.selkar.compositions"
    cues = 30,              // "com.selkar.cues"
    keyframeCalculate = 40, // "com.selkar.kfcalculate"
    keyframeRecord = 45,    // "com.selkar.kfrecord"
    outputs = 50,           // "com.selkar.outputs"
    colour = 55,            // "com.selkar.colorQueue"
    softPatch = 60,         // "com.selkar.softpatchqueue"
    nmc = 65,               // "com.selkar.marvo_nmc"
    oscQueryServers = 70,   // "com.selkar.queryServersQueue"
    audioFile = 75,         // "com.selkar.audioconverter"
    rescueCopies = 80,
};

// Guards what belongs together, and knows who stands in it.
//
// sync runs the block on the calling thread under a priority-inheriting lock, so that a slow thread inside
// the queue is lifted to the tick's priority while the tick waits for it. Re-entry by the thread that already
// stands inside runs the block inline. async hands the block to a worker that is started with the first one.
//
// Blocks given to async run in order among themselves; a sync block may pass blocks that still wait. Where
// that order matters, drain first.
//
// Owner: whoever made it; it outlives every thread that may enter. Destroy it from outside.
class SerialQueue {
public:
    SerialQueue(std::string label, QueueRank rank);
    ~SerialQueue(); // runs what is still queued
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    // Runs the block and returns what it returns. Thread-safe. Allocates nothing; waits while another thread
    // is inside. Entering against the nesting order reports "queue nesting order" through invariantFailed and
    // goes on.
    template <class Block>
    decltype(auto) sync(Block&& block) {
        const Entry entry(*this);
        return std::forward<Block>(block)();
    }

    // Thread-safe. Allocates: not for the tick.
    void async(std::function<void()> block);

    // Runs on the calling thread, inside the queue, what was queued before the call. Thread-safe. From inside
    // the queue the waiting blocks run in the middle of the present one.
    void drain();

    // True for the thread that stands inside. Thread-safe, realtime-safe.
    bool isCurrent() const;

    const std::string& label() const { return label_; }
    QueueRank rank() const { return rank_; }

private:
    // One stay of one thread. The stays of a thread form a list on its stack; re-entries are not in it.
    class Entry {
    public:
        explicit Entry(SerialQueue& queue);
        ~Entry();
        Entry(const Entry&) = delete;
        Entry& operator=(const Entry&) = delete;

    private:
        SerialQueue& queue_;
        const Entry* below_ = nullptr;
        bool outermost_ = false;

        static const Entry*& innermost();
    };

    bool runOldest();
    void work();

    const std::string label_;
    const QueueRank rank_;
    pthread_mutex_t lock_;
    std::atomic<std::uintptr_t> owner_{0};

    std::mutex pendingLock_;
    std::condition_variable pendingChanged_;
    std::deque<std::function<void()>> pending_;
    bool closing_ = false;
    std::thread worker_;
};

} // namespace marvo
