#include "surface/RulerGeometry.h"

#include <algorithm>

namespace marvo {

SurfaceRect RulerGeometry::markerRect(Frame markerTime) const {
    const double centre =
        TimelineGeometry::rulerMargin + geometry_.rulerMarkerPixelsForTime(markerTime, width_);
    return {centre - markerWidth * 0.5, 0.0, markerWidth, height};
}

SurfaceRect RulerGeometry::workingAreaBar(Frame inTime, Frame outTime) const {
    const double left = TimelineGeometry::rulerMargin + geometry_.throttlerPixelsForTime(inTime, width_);
    const double right = TimelineGeometry::rulerMargin + geometry_.throttlerPixelsForTime(outTime, width_);
    return {left, height - workingAreaHeight, right - left, workingAreaHeight};
}

std::optional<ThrottlerPart> RulerGeometry::throttlerPartAtPoint(SurfacePoint point, Frame inTime,
                                                                 Frame outTime) const {
    const SurfaceRect bar = workingAreaBar(inTime, outTime);
    if (point.y < bar.y || point.y >= bar.maxY()) return std::nullopt;
    if (point.x < bar.x - edgeGrip || point.x > bar.maxX() + edgeGrip) return std::nullopt;
    const double inside = std::min(edgeGrip, bar.width / 3.0);
    if (point.x <= bar.x + inside) return ThrottlerPart::leftSide;
    if (point.x >= bar.maxX() - inside) return ThrottlerPart::rightSide;
    return ThrottlerPart::body;
}

} // namespace marvo
