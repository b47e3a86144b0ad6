// One element of the list of compositions: it owns a composition and decides whether the tick advances it.
#pragma once

#include "composition/MarvoTimelineController.h"

#include <memory>

namespace marvo {

class MarvoTimelineViewController {
public:
    explicit MarvoTimelineViewController(std::unique_ptr<MarvoTimelineController> composition)
        : composition_(std::move(composition)) {}

    MarvoTimelineController& timelineController() const { return *composition_; }

    // delta: seconds since the last tick. A composition that is off, stopped, held, or follows a clock of its
    // own is left alone. With the composition queue held; realtime-safe.
    void processAtTime(float delta) {
        const CompositionState& state = composition_->state;
        if (state.compState && state.isRunning && state.holds == 0 && !state.useSPP && !state.useMTC) {
            composition_->transport.processCompositionAtTime(delta);
        }
    }

private:
    std::unique_ptr<MarvoTimelineController> composition_;
};

} // namespace marvo
