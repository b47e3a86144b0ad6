#include "surface/KeyframeGeometry.h"

#include "platform/Saturate.h"

#include <algorithm>
#include <cmath>

namespace marvo {
namespace {

SurfaceRect centredOn(SurfacePoint point, double size) {
    return {point.x - size * 0.5, point.y - size * 0.5, size, size};
}

} // namespace

SurfacePoint KeyframeGeometry::pointOf(const MarvoTimelineKeyframe& keyframe, const LaneScale& lane) {
    const double x = lane.geometry.pixelsForTime(keyframe.time, lane.width);
    // The whole rectangle in which a flag is taken lies on the lane, collapsed or not.
    if (keyframe.flag()) return {x, lane.height - size - grownBy};
    // A colour has no value to stand at.
    if (keyframe.color()) return {x, lane.height * 0.5};
    return {x, TimelineGeometry::pixelsForValue(keyframe.value, keyframe.minValue, keyframe.maxValue,
                                                lane.height)};
}

bool KeyframeGeometry::isOnEdge(const MarvoTimelineKeyframe& keyframe, const TimelineGeometry& geometry) {
    if (keyframe.flag()) return false;
    if (keyframe.time == Frame(0) || static_cast<float>(keyframe.time.value) == geometry.length())
        return true;
    return !keyframe.color() && (keyframe.value == keyframe.minValue || keyframe.value == keyframe.maxValue);
}

SurfaceRect KeyframeGeometry::frameOf(const MarvoTimelineKeyframe& keyframe, const LaneScale& lane,
                                      bool isTracked) {
    const SurfacePoint point = pointOf(keyframe, lane);
    if (keyframe.flag()) return {point.x, point.y, size, size};
    return centredOn(point, isTracked && isOnEdge(keyframe, lane.geometry) ? hoverSize : size);
}

SurfaceRect KeyframeGeometry::grown(const SurfaceRect& frame, bool isLeftSided) {
    const double width = frame.width + grownBy;
    return {isLeftSided ? frame.x - width : frame.x, frame.y, width, frame.height + grownBy};
}

SurfaceRect KeyframeGeometry::hitRectOf(const MarvoTimelineKeyframe& keyframe, const LaneScale& lane,
                                        bool isTracked) {
    const SurfaceRect frame = frameOf(keyframe, lane, isTracked);
    return keyframe.flag() ? grown(frame, keyframe.flag()->isLeftSided) : frame;
}

SurfaceRect KeyframeGeometry::frameOf(const MarvoCue& cue, const TimelineGeometry& geometry,
                                      SurfaceSize row) {
    return {geometry.pixelsForTime(cue.time, row.width), (row.height - cueSize) * 0.5, cueSize, cueSize};
}

SurfaceRect KeyframeGeometry::hitRectOf(const MarvoCue& cue, const TimelineGeometry& geometry,
                                        SurfaceSize row) {
    return grown(frameOf(cue, geometry, row), cue.isLeftSided);
}

const MarvoTimelineKeyframe*
KeyframeGeometry::keyframeAtPoint(std::span<const MarvoTimelineKeyframe> keyframes, const LaneScale& lane,
                                  SurfacePoint point, std::optional<std::uint64_t> trackedUID) {
    // No rectangle reaches further from its keyframe than that of a flag.
    constexpr double reach = size + grownBy + 1.0;
    const double unit = lane.geometry.timeUnitInPixels(lane.width);
    auto first = keyframes.begin();
    auto last = keyframes.end();
    if (unit > 0.0) {
        const Frame from(truncatedToInt64(std::floor((point.x - reach) * unit)));
        const Frame to(truncatedToInt64(std::ceil((point.x + reach) * unit)));
        first = std::lower_bound(first, last, from, [](const auto& k, Frame time) { return k.time < time; });
        last = std::upper_bound(first, last, to, [](Frame time, const auto& k) { return time < k.time; });
    }
    while (last != first) {
        const MarvoTimelineKeyframe& keyframe = *--last;
        if (hitRectOf(keyframe, lane, keyframe.uID == trackedUID).contains(point)) return &keyframe;
    }
    return nullptr;
}

CueId KeyframeGeometry::cueAtPoint(const CueList& cues, const TimelineGeometry& geometry, SurfaceSize row,
                                   SurfacePoint point) {
    CueId found;
    cues.forEach([&](const MarvoCue& cue) {
        if (!found && hitRectOf(cue, geometry, row).contains(point)) found = cue.id;
    });
    return found;
}

} // namespace marvo
