#include "composition/StretchMath.h"

#include "composition/CompositionTimeMath.h"

namespace marvo {
namespace {

float distance(Frame from, Frame to) {
    return static_cast<float>((to - from).value);
}

} // namespace

FrameCount limitedStretchDelta(FrameCount delta, StretchEnd dragged, Frame first, Frame last, Frame end) {
    const auto moved = [&](Frame from) { return from + delta; };
    if (dragged == StretchEnd::right) {
        if (delta > FrameCount(0)) return moved(last) > end ? end - last : delta;
        return moved(last) <= first ? first - last : delta;
    }
    if (delta > FrameCount(0)) return moved(first) >= last ? last - first : delta;
    return moved(first) < Frame(1) ? Frame(0) - first : delta;
}

std::optional<Frame> stretchedTime(const StretchGesture& gesture, Frame cached) {
    if (cached == gesture.anchor || gesture.baseCached == gesture.anchor) return std::nullopt;
    const float share = distance(cached, gesture.anchor) / distance(gesture.baseCached, gesture.anchor);
    const Frame time = truncateToFrame(static_cast<float>(cached.value) +
                                       distance(gesture.baseCached, gesture.base) * share);
    const bool isPastAnchor =
        gesture.dragged == StretchEnd::right ? time <= gesture.anchor : time >= gesture.anchor;
    if (isPastAnchor) return std::nullopt;
    return time;
}

} // namespace marvo
