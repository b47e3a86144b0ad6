// Hands out the identities of keyframes, and converts frames between rates. One instance a process; any
// thread.
#pragma once

#include "platform/TimelineTime.h"

#include <atomic>
#include <cstdint>

namespace marvo {

class MarvoKeyframeHelper {
public:
    // Identities live as long as the run; they are not saved.
    std::uint64_t nextUID() { return uids_.fetch_add(1, std::memory_order_relaxed); }
    // When a new project is set up.
    void resetCounter() { uids_.store(0, std::memory_order_relaxed); }

    // In 32-bit float, truncated; unchanged between equal rates. A rate of 0 leaves the time as it is.
    static Frame convertTime(Frame time, std::int64_t fromFPS, std::int64_t toFPS);

private:
    std::atomic<std::uint64_t> uids_{0};
};

} // namespace marvo
