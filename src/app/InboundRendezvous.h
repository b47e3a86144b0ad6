// Lets an input thread wait for the main thread without ever being able to lock both.
//
// A control that is driven from outside acts on the main thread, and the input thread waits, so that the next
// message finds the effect of this one. But the main thread also closes ports, and joins their threads: while
// it does, nobody may wait for it. release() lets every waiter go, and makes further waits return at once;
// what they posted still runs, in its order.
//
// Thread-safe. Never called by the tick, nor with a queue held.
#pragma once

#include "platform/MainThread.h"

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

namespace marvo {

class InboundRendezvous {
public:
    explicit InboundRendezvous(MainThread& mainThread) : mainThread_(mainThread) {}

    // Runs the block on the main thread and waits for its end, unless waiting is released.
    void runOnMain(std::function<void()> block);

    // Keeps waits released for as long as it lives; main thread.
    class Release {
    public:
        explicit Release(InboundRendezvous& rendezvous);
        ~Release();
        Release(const Release&) = delete;
        Release& operator=(const Release&) = delete;

    private:
        InboundRendezvous& rendezvous_;
    };

private:
    MainThread& mainThread_;
    std::mutex lock_;
    std::condition_variable changed_;
    int released_ = 0;
};

} // namespace marvo
