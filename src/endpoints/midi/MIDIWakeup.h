// Wakes the one thread that feeds ports, when there is something to feed.
//
// Whoever sends pays for a system call only while that thread sleeps.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace marvo {

class MIDIWakeup {
public:
    MIDIWakeup() : descriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}
    ~MIDIWakeup() { ::close(descriptor_); }
    MIDIWakeup(const MIDIWakeup&) = delete;
    MIDIWakeup& operator=(const MIDIWakeup&) = delete;

    // Thread-safe, realtime-safe, async-signal-safe. What was written before is seen by who wakes up.
    void wake() {
        if (!sleeping_.exchange(false)) return;
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t result = ::write(descriptor_, &one, sizeof one);
    }

    // The thread that sleeps: announces that it is about to; then it looks once more whether there is
    // something, and sleeps if not.
    void announce() { sleeping_.exchange(true); }
    void sleep(std::chrono::milliseconds longest) {
        pollfd waited{descriptor_, POLLIN, 0};
        poll(&waited, 1, static_cast<int>(longest.count()));
        sleeping_.store(false);
        std::uint64_t count = 0;
        [[maybe_unused]] const ssize_t result = ::read(descriptor_, &count, sizeof count);
    }

private:
    const int descriptor_;
    std::atomic<bool> sleeping_{false};
};

} // namespace marvo
