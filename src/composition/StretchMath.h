// The rules by which a selection is stretched about one of its ends; the same for keyframes and for cues.
//
// The dragged end is the base, the opposite end the anchor, which stays. New times are reckoned from those at
// the start of the gesture, never from the step before, so that rounding does not grow over a long drag.
// Thread-safe: pure functions. Realtime-safe.
#pragma once

#include "platform/TimelineTime.h"

#include <optional>

namespace marvo {

// Which end is dragged.
enum class StretchEnd { left, right };

// The part of `delta` that the selection from `first` to `last` allows: neither end leaves 0 ... end, and
// neither crosses the other.
FrameCount limitedStretchDelta(FrameCount delta, StretchEnd dragged, Frame first, Frame last, Frame end);

struct StretchGesture {
    StretchEnd dragged = StretchEnd::right;
    Frame anchor;
    Frame baseCached; // the base at the start of the gesture
    Frame base;       // and now
};

// Where something goes that stood at `cached` when the gesture began; single precision, truncated. Nothing
// when it stays: it stands on the anchor, or would come to it or past it.
std::optional<Frame> stretchedTime(const StretchGesture& gesture, Frame cached);

} // namespace marvo
