#include "platform/WakeUp.h"

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace marvo {

WakeUp::WakeUp() : descriptor_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

WakeUp::~WakeUp() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

void WakeUp::wake() {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(descriptor_, &one, sizeof one);
}

void WakeUp::take() {
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t got = ::read(descriptor_, &count, sizeof count);
}

void WakeUp::sleepUntil(MonotonicTime moment) {
    waitReadable(&descriptor_, 1, moment);
    take();
}

void waitReadable(const int* descriptors, int count, MonotonicTime moment) {
    constexpr int most = 4;
    pollfd watched[most];
    count = std::min(count, most);
    for (int index = 0; index < count; ++index) watched[index] = {descriptors[index], POLLIN, 0};
    const MonotonicTime now = MonotonicClock().now();
    const std::uint64_t left = moment > now ? moment.nanoseconds - now.nanoseconds : 0;
    const timespec wait{static_cast<time_t>(left / 1'000'000'000u), static_cast<long>(left % 1'000'000'000u)};
    ::ppoll(watched, static_cast<nfds_t>(count), &wait, nullptr);
}

} // namespace marvo
