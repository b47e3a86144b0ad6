#include "platform/Clock.h"

#include <time.h>

namespace marvo {

MonotonicTime MonotonicClock::now() const {
    timespec reading{};
    clock_gettime(CLOCK_MONOTONIC, &reading);
    return MonotonicTime(static_cast<std::uint64_t>(reading.tv_sec) * 1'000'000'000u +
                         static_cast<std::uint64_t>(reading.tv_nsec));
}

void VirtualClock::advance(Duration by) {
    now_.fetch_add(static_cast<std::uint64_t>(by.nanoseconds), std::memory_order_acq_rel);
}

} // namespace marvo
