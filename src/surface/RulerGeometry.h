// The playhead and the working area on the ruler: their rectangles, and what lies under a point.
//
// Coordinates of the ruler's document: x from its left edge, margins included; y upwards from its lower edge.
// Pure functions; main thread.
#pragma once

#include "composition/MarvoTimelineMarkerController.h"
#include "surface/SurfaceRect.h"
#include "surface/TimelineGeometry.h"

#include <optional>

namespace marvo {

class RulerGeometry {
public:
    static constexpr double height = 44.0;
    static constexpr double workingAreaHeight = 12.0; // a bar along the upper edge
    static constexpr double edgeGrip = 6.0;           // how far from an edge a press still takes it
    static constexpr double markerWidth = 20.0;       // of the playhead's handle

    RulerGeometry(TimelineGeometry geometry, double rulerWidth) : geometry_(geometry), width_(rulerWidth) {}

    // The playhead's handle. It is as wide as both margins, so that at frame 0 it begins at x = 0; the
    // playhead stands in its middle.
    SurfaceRect markerRect(Frame markerTime) const;
    SurfaceRect workingAreaBar(Frame inTime, Frame outTime) const;
    // What a press takes; nothing outside of the bar, where a press moves the playhead. Of a short bar each
    // edge keeps a third, so that its body can always be taken too.
    std::optional<ThrottlerPart> throttlerPartAtPoint(SurfacePoint point, Frame inTime, Frame outTime) const;

private:
    TimelineGeometry geometry_;
    double width_;
};

} // namespace marvo
