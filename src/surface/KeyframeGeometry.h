// The rectangles that keyframes and cues take, and what lies under a point.
//
// Coordinates of a lane or of the cue row: x from frame 0, y upwards from the lower edge. Pure functions over
// what the caller holds: keyframes on the main thread, cues with the composition queue held.
#pragma once

#include "composition/CueList.h"
#include "surface/SurfaceRect.h"
#include "surface/TimelineGeometry.h"
#include "tracks/MarvoTimelineKeyframe.h"

#include <cstdint>
#include <optional>
#include <span>

namespace marvo {

// A lane as it stands now.
struct LaneScale {
    TimelineGeometry geometry;
    double width = 0.0;
    double height = LaneHeight::expanded;
};

struct KeyframeGeometry {
    static constexpr double size = 16.0;
    static constexpr double hoverSize = 28.0;
    static constexpr double cueSize = 13.0;
    static constexpr double grownBy = 6.0; // of flags and cues: upwards and to the right

    // Centre of a plain keyframe; of a colour: in the middle of its lane. Of a flag: the point its pole
    // stands on, which is the lower left corner of its frame.
    static SurfacePoint pointOf(const MarvoTimelineKeyframe& keyframe, const LaneScale& lane);
    // 16 by 16, or 28 by 28 for the keyframe under the pointer where the lane's edge would cut it.
    static SurfaceRect frameOf(const MarvoTimelineKeyframe& keyframe, const LaneScale& lane, bool isTracked);
    // Stands at time 0 or L, or at the least or greatest value. Never a flag.
    static bool isOnEdge(const MarvoTimelineKeyframe& keyframe, const TimelineGeometry& geometry);
    // Where a press takes it.
    static SurfaceRect hitRectOf(const MarvoTimelineKeyframe& keyframe, const LaneScale& lane,
                                 bool isTracked);

    static SurfaceRect frameOf(const MarvoCue& cue, const TimelineGeometry& geometry, SurfaceSize row);
    static SurfaceRect hitRectOf(const MarvoCue& cue, const TimelineGeometry& geometry, SurfaceSize row);

    // The rectangle in which a flag or a cue is taken.
    static SurfaceRect grown(const SurfaceRect& frame, bool isLeftSided);

    // keyframes: in order of time, as they are drawn; the last one drawn comes first. Null where there is
    // none; good until the next edit. Looks only at those around the point.
    static const MarvoTimelineKeyframe* keyframeAtPoint(std::span<const MarvoTimelineKeyframe> keyframes,
                                                        const LaneScale& lane, SurfacePoint point,
                                                        std::optional<std::uint64_t> trackedUID = {});
    // In the order of the list; the first one wins. None names no cue.
    static CueId cueAtPoint(const CueList& cues, const TimelineGeometry& geometry, SurfaceSize row,
                            SurfacePoint point);
};

} // namespace marvo
