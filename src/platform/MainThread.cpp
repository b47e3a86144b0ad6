#include "platform/MainThread.h"

#include "platform/ThreadToken.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <vector>

namespace marvo {

// Stands on the stack of a thread that waits in sync.
struct MainThread::Waiter {
    std::mutex lock;
    std::condition_variable changed;
    bool finished = false;
    bool ran = false;

    void finish(bool hasRun) {
        // Notified under the lock: once it is free the waiter may be gone.
        const std::lock_guard hold(lock);
        finished = true;
        ran = hasRun;
        changed.notify_one();
    }
};

void MainThread::List::append(Node* node) {
    node->next = nullptr;
    if (tail)
        tail->next = node;
    else
        head = node;
    tail = node;
}

void MainThread::List::insertByDue(Node* node) {
    if (!tail || tail->due <= node->due) return append(node);
    Node** place = &head;
    while ((*place)->due <= node->due) place = &(*place)->next;
    node->next = *place;
    *place = node;
}

MainThread::Node* MainThread::List::takeHead() {
    Node* const node = head;
    if (!node) return nullptr;
    head = node->next;
    if (!head) tail = nullptr;
    return node;
}

bool MainThread::List::remove(const Node* node) {
    Node* before = nullptr;
    for (Node* each = head; each; before = each, each = each->next) {
        if (each != node) continue;
        (before ? before->next : head) = each->next;
        if (tail == each) tail = before;
        return true;
    }
    return false;
}

MainThread::MainThread(const Clock& clock)
    : clock_(clock), owner_(currentThreadToken()), wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

MainThread::~MainThread() {
    close();
    if (wake_ >= 0) ::close(wake_);
}

bool MainThread::isCurrent() const {
    return owner_ == currentThreadToken();
}

void MainThread::async(std::function<void()> block) {
    auto node = std::make_unique<Node>();
    node->block = std::move(block);
    if (push(*node)) node.release();
}

void MainThread::asyncAfter(Duration delay, std::function<void()> block) {
    auto node = std::make_unique<Node>();
    node->block = std::move(block);
    node->due = std::max<std::uint64_t>((clock_.now() + delay).nanoseconds, 1);
    if (push(*node)) node.release();
}

bool MainThread::runAndWait(std::function<void()> block) {
    Waiter waiter;
    auto node = std::make_unique<Node>();
    node->block = std::move(block);
    node->waiter = &waiter;
    if (!push(*node)) return false;
    node.release();
    std::unique_lock hold(waiter.lock);
    waiter.changed.wait(hold, [&] { return waiter.finished; });
    return waiter.ran;
}

bool MainThread::push(Node& node) {
    Node* head = posted_.load(std::memory_order_relaxed);
    do {
        if (head == &closedMark_) return false;
        node.next = head;
    } while (
        !posted_.compare_exchange_weak(head, &node, std::memory_order_seq_cst, std::memory_order_relaxed));
    wakeUp();
    return true;
}

void MainThread::wakeUp() {
    if (wakePosted_.exchange(true, std::memory_order_seq_cst)) return;
    const std::uint64_t one = 1;
    // Fails only when the counter is full, and then the descriptor is readable anyway.
    [[maybe_unused]] const ssize_t written = write(wake_, &one, sizeof one);
}

void MainThread::collect() {
    if (closed_) return;
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t got = read(wake_, &count, sizeof count);
    // Cleared before the list is taken: who posts after the taking finds it clear and wakes us again.
    wakePosted_.exchange(false, std::memory_order_seq_cst);
    Node* newest = posted_.exchange(nullptr, std::memory_order_seq_cst);
    Node* oldest = nullptr;
    while (newest) {
        Node* const before = newest->next;
        newest->next = oldest;
        oldest = newest;
        newest = before;
    }
    while (oldest) {
        Node* const after = oldest->next;
        if (oldest->due)
            delayed_.insertByDue(oldest);
        else
            ready_.append(oldest);
        oldest = after;
    }
}

MainThread::Node* MainThread::takeDue() {
    if (!delayed_.head || delayed_.head->due > clock_.now().nanoseconds) return nullptr;
    return delayed_.takeHead();
}

void MainThread::perform(Node* node) {
    if (node->repeated) {
        const auto function = node->repeated;
        // After this the signal may be posted again or destroyed: the node is not ours any more.
        node->pending.exchange(false, std::memory_order_acq_rel);
        (*function)();
        return;
    }
    const std::unique_ptr<Node> owned(node);
    node->block();
    if (node->waiter) node->waiter->finish(true);
}

void MainThread::discard(Node* node) {
    if (node->repeated) {
        node->pending.store(false, std::memory_order_release);
        return;
    }
    const std::unique_ptr<Node> owned(node);
    if (node->waiter) node->waiter->finish(false);
}

void MainThread::forget(Node& node) {
    if (!node.pending.load(std::memory_order_acquire)) return;
    collect();
    if (!ready_.remove(&node)) delayed_.remove(&node);
    if (ready_.head) wakeUp();
}

std::size_t MainThread::pump(std::size_t limit) {
    std::size_t ran = 0;
    for (;;) {
        collect();
        if (!ready_.head && !(delayed_.head && delayed_.head->due <= clock_.now().nanoseconds)) return ran;
        while (ran < limit && !closed_) {
            Node* node = ready_.takeHead();
            if (!node) node = takeDue();
            if (!node) break;
            ++ran;
            perform(node);
        }
        if (ran >= limit || closed_) {
            if (!closed_) wakeUp();
            return ran;
        }
    }
}

std::optional<MonotonicTime> MainThread::nextDeadline() const {
    if (!delayed_.head) return std::nullopt;
    return MonotonicTime(delayed_.head->due);
}

int MainThread::pollTimeout() const {
    if (!delayed_.head) return -1;
    const std::uint64_t now = clock_.now().nanoseconds;
    if (delayed_.head->due <= now) return 0;
    // Rounded up, so that the wake-up is never just before the moment; bounded because poll counts in int.
    const std::uint64_t milliseconds = (delayed_.head->due - now + 999'999) / 1'000'000;
    return static_cast<int>(std::min<std::uint64_t>(milliseconds, 60'000));
}

void MainThread::run() {
    std::vector<pollfd> polled;
    while (!closed_) {
        pump();
        if (quit_.exchange(false, std::memory_order_acq_rel)) return;
        polled.assign(1, pollfd{wake_, POLLIN, 0});
        for (const auto& [descriptor, handler] : watched_) polled.push_back(pollfd{descriptor, POLLIN, 0});
        if (poll(polled.data(), polled.size(), pollTimeout()) <= 0) continue;
        for (std::size_t index = 1; index < polled.size(); ++index) {
            if (!polled[index].revents) continue;
            const auto found = watched_.find(polled[index].fd);
            if (found == watched_.end()) continue; // an earlier handler has taken it back
            const auto handler = found->second;
            handler();
        }
    }
}

void MainThread::quit() {
    quit_.store(true, std::memory_order_release);
    wakeUp();
}

void MainThread::watchDescriptor(int descriptor, std::function<void()> readable) {
    watched_[descriptor] = std::move(readable);
}

void MainThread::unwatchDescriptor(int descriptor) {
    watched_.erase(descriptor);
}

void MainThread::close() {
    if (closed_) return;
    collect();
    closed_ = true;
    // What came between the collection and the mark is in the chain that the mark replaces.
    Node* late = posted_.exchange(&closedMark_, std::memory_order_seq_cst);
    while (late) {
        Node* const before = late->next;
        discard(late);
        late = before;
    }
    while (Node* node = ready_.takeHead()) discard(node);
    while (Node* node = delayed_.takeHead()) discard(node);
}

MainThread::Signal::Signal(MainThread& main, std::function<void()> function) : main_(main) {
    node_.repeated = std::make_shared<const std::function<void()>>(std::move(function));
}

MainThread::Signal::~Signal() {
    main_.forget(node_);
}

void MainThread::Signal::postAfter(Duration delay) {
    postAt(std::max<std::uint64_t>((main_.clock_.now() + delay).nanoseconds, 1));
}

void MainThread::Signal::postAt(std::uint64_t due) {
    if (node_.pending.exchange(true, std::memory_order_acq_rel)) return;
    node_.due = due;
    if (!main_.push(node_)) node_.pending.store(false, std::memory_order_release);
}

} // namespace marvo
