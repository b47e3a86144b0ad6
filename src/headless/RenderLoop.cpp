#include "headless/RenderLoop.h"

#include <utility>

namespace marvo {

RenderLoop::RenderLoop(const Clock& clock, Steps steps, RunStatistics& statistics)
    : clock_(clock), steps_(std::move(steps)), statistics_(statistics), deadline_(clock.now()) {
    steps_.begin(deadline_);
}

void RenderLoop::pass() {
    const MonotonicTime now = clock_.now();
    steps_.tick(now);
    statistics_.recordTick(now - deadline_, clock_.now() - now);
    deadline_ = now + period;
    steps_.sleepUntil(deadline_);
}

} // namespace marvo
