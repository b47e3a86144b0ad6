#include "platform/SerialQueue.h"

#include "platform/Invariant.h"
#include "platform/ThreadToken.h"

#include <cstdio>

namespace marvo {

SerialQueue::SerialQueue(std::string label, QueueRank rank) : label_(std::move(label)), rank_(rank) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_setprotocol(&attributes, PTHREAD_PRIO_INHERIT);
    pthread_mutex_init(&lock_, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

SerialQueue::~SerialQueue() {
    {
        const std::lock_guard hold(pendingLock_);
        closing_ = true;
    }
    pendingChanged_.notify_all();
    if (worker_.joinable()) worker_.join();
    pthread_mutex_destroy(&lock_);
}

bool SerialQueue::isCurrent() const {
    return owner_.load(std::memory_order_relaxed) == currentThreadToken();
}

void SerialQueue::async(std::function<void()> block) {
    {
        const std::lock_guard hold(pendingLock_);
        // First, as it can fail: then the block has not been taken.
        if (!worker_.joinable()) worker_ = std::thread([this] { work(); });
        pending_.push_back(std::move(block));
    }
    pendingChanged_.notify_one();
}

void SerialQueue::drain() {
    std::size_t count = 0;
    {
        const std::lock_guard hold(pendingLock_);
        count = pending_.size();
    }
    // Even with nothing waiting the entry is needed: the worker may be inside the last block.
    sync([&] {
        while (count-- > 0 && runOldest()) {
        }
    });
}

// Called inside the queue only, so that taking and running a block is one step for everybody else.
bool SerialQueue::runOldest() {
    std::function<void()> block;
    {
        const std::lock_guard hold(pendingLock_);
        if (pending_.empty()) return false;
        block = std::move(pending_.front());
        pending_.pop_front();
    }
    block();
    return true;
}

void SerialQueue::work() {
    pthread_setname_np(pthread_self(), "marvo-queue");
    for (;;) {
        {
            std::unique_lock hold(pendingLock_);
            pendingChanged_.wait(hold, [this] { return closing_ || !pending_.empty(); });
            if (pending_.empty()) return;
        }
        sync([this] { runOldest(); });
    }
}

const SerialQueue::Entry*& SerialQueue::Entry::innermost() {
    static thread_local const Entry* entry = nullptr;
    return entry;
}

SerialQueue::Entry::Entry(SerialQueue& queue) : queue_(queue) {
    if (queue_.isCurrent()) return;
    // Checked before the lock is taken: a wrong order is reported even on the days when it does not
    // dead-lock.
    const Entry* highest = nullptr;
    for (const Entry* held = innermost(); held; held = held->below_)
        if (!highest || held->queue_.rank_ > highest->queue_.rank_) highest = held;
    if (highest && queue_.rank_ <= highest->queue_.rank_) {
        char detail[160];
        std::snprintf(detail, sizeof detail, "%s entered inside %s", queue_.label_.c_str(),
                      highest->queue_.label_.c_str());
        invariantFailed("queue nesting order", detail);
    }
    pthread_mutex_lock(&queue_.lock_);
    queue_.owner_.store(currentThreadToken(), std::memory_order_relaxed);
    outermost_ = true;
    below_ = innermost();
    innermost() = this;
}

SerialQueue::Entry::~Entry() {
    if (!outermost_) return;
    innermost() = below_;
    queue_.owner_.store(0, std::memory_order_relaxed);
    pthread_mutex_unlock(&queue_.lock_);
}

} // namespace marvo
