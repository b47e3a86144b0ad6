// One pass of the render loop after the other, apart from the thread that makes them.
//
// The next deadline counts from the moment at which a pass began, so a late pass is followed by the next with
// the larger step: nothing is caught up, nothing is skipped, and there is never a burst. Clock, work and
// sleep are arguments, so that the rhythm can be tested without a machine that keeps time.
//
// One user: the render thread. Realtime-safe where the arguments are.
#pragma once

#include "headless/RunStatistics.h"
#include "platform/Clock.h"

#include <functional>

namespace marvo {

class RenderLoop {
public:
    static constexpr Duration period = Duration::ofMilliseconds(1);
    // How long before a deadline the precise mode gives up sleeping.
    static constexpr Duration spin = Duration::ofMicroseconds(200);

    struct Steps {
        std::function<void(MonotonicTime)> begin;      // once: the moment from which the first step counts
        std::function<void(MonotonicTime)> tick;       // what each pass does
        std::function<void(MonotonicTime)> sleepUntil; // returns at or behind the deadline
    };

    RenderLoop(const Clock& clock, Steps steps, RunStatistics& statistics);

    // A tick, and the sleep behind it.
    void pass();

private:
    const Clock& clock_;
    const Steps steps_;
    RunStatistics& statistics_;
    MonotonicTime deadline_; // of the pass to come
};

} // namespace marvo
