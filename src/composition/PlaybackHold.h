// While one lives the tick passes its composition over, for an edit that leads through states that must not
// be played: a new frame rate with the keyframes and the end of the old one. Other compositions play on, and
// the time that passes meanwhile is not made up for.
//
// Main thread; may be nested.
#pragma once

#include "composition/CompositionState.h"
#include "platform/SerialQueue.h"

namespace marvo {

class PlaybackHold {
public:
    PlaybackHold(CompositionState& state, SerialQueue& compQueue) : state_(state), compQueue_(compQueue) {
        add(1);
    }
    ~PlaybackHold() { add(-1); }
    PlaybackHold(const PlaybackHold&) = delete;
    PlaybackHold& operator=(const PlaybackHold&) = delete;

private:
    // In the queue: a tick that has begun is over when this returns.
    void add(std::int32_t one) {
        compQueue_.sync([&] { state_.holds = state_.holds.get() + one; });
    }

    CompositionState& state_;
    SerialQueue& compQueue_;
};

} // namespace marvo
