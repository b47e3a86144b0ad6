#include "surface/TimelineGeometry.h"

#include "composition/CompositionTimeMath.h"

namespace marvo {
namespace {

// The width in pixels that a share of a length takes; 0 where there is no length.
double share(Frame time, double width, double length) {
    return length > 0.0 ? static_cast<double>(time.value) * width / length : 0.0;
}

} // namespace

float TimelineGeometry::length() const {
    return lengthInFrames(compTime_, compFPS_);
}

double TimelineGeometry::trackLength() const {
    return static_cast<double>(compTime_) * static_cast<double>(usableFps(compFPS_));
}

double TimelineGeometry::timeUnitInPixels(double width) const {
    return width > 0.0 && hasLength() ? static_cast<double>(length()) / width : 0.0;
}

double TimelineGeometry::pixelsForTime(Frame time, double width) const {
    return share(time, width, static_cast<double>(length()));
}

double TimelineGeometry::pixelsForTimeOnTrack(Frame time, double width) const {
    return share(time, width, trackLength());
}

double TimelineGeometry::markerPixelsForTime(Frame markerTime, double width) const {
    return pixelsForTime(markerTime, width) - 1.0;
}

double TimelineGeometry::rulerMarkerPixelsForTime(Frame markerTime, double rulerWidth) const {
    return pixelsForTime(markerTime, rulerWidth - 2.0 * rulerMargin);
}

double TimelineGeometry::markerTimeUnitInPixels(double rulerWidth) const {
    return timeUnitInPixels(rulerWidth - 2.0 * rulerMargin);
}

double TimelineGeometry::rulerPixelsPerFrame(double rulerWidth) const {
    const double usable = rulerWidth - 2.0 * rulerMargin;
    return usable > 0.0 && hasLength() ? usable / static_cast<double>(length()) : 0.0;
}

double TimelineGeometry::valueUnitInPixels(float minValue, float maxValue, double trackHeight) {
    if (!(trackHeight > 0.0)) return 0.0;
    return static_cast<double>(maxValue - (minValue - 1.0f) + 1.0f) / trackHeight;
}

double TimelineGeometry::pixelsForValue(float value, float minValue, float maxValue, double trackHeight) {
    const float range = maxValue - minValue;
    if (range == 0.0f) return 0.0;
    return static_cast<double>(value - minValue) * trackHeight / static_cast<double>(range);
}

float TimelineGeometry::minPaddingFor(double contentWidth) const {
    if (!hasLength() || !(contentWidth > 0.0)) return 0.0f;
    return static_cast<float>(contentWidth / static_cast<double>(length()));
}

double TimelineGeometry::laneWidth(float minPadding, float zoomRatio) const {
    if (!hasLength()) return 0.0;
    return static_cast<double>(length() * minPadding * zoomRatio);
}

} // namespace marvo
