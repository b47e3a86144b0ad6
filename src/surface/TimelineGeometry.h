// How frames and values of one composition turn into pixels, and back.
//
// Nothing is kept but length and rate: every conversion divides by the width that it is given, so none can go
// stale in a zoom. Frame 0 of a lane or of the cue row stands at x = 0, on the ruler at x = rulerMargin. The
// length L is the 32-bit product of rate and seconds, except where said otherwise; pixels are double. A
// composition without length, a lane without width and a range without extent give 0 instead of an infinity.
//
// Thread-safe: plain values. Realtime-safe.
#pragma once

#include "platform/TimelineTime.h"
#include "tracks/LaneHeight.h"

#include <cstdint>

namespace marvo {

class TimelineGeometry {
public:
    static constexpr double rulerMargin = 10.0; // on either side

    TimelineGeometry(float compTime, std::int64_t compFPS) : compTime_(compTime), compFPS_(compFPS) {}

    // L, in frames; not whole where seconds times rate are not.
    float length() const;
    bool hasLength() const { return length() > 0.0f; }

    // --- Lanes, cue row. width: of the lane or row.

    // Frames in a pixel.
    double timeUnitInPixels(double width) const;
    // x of what has a time of its own: keyframes, cues, sounds, blocks.
    double pixelsForTime(Frame time, double width) const;
    // x of any time on a lane: L in double, so that it may differ from the other in the last places.
    double pixelsForTimeOnTrack(Frame time, double width) const;
    // Left edges of the columns that are drawn at the playhead and at the ends of the working area: one pixel
    // to the left of the place.
    double markerPixelsForTime(Frame markerTime, double width) const;
    double inPointPixelsForTime(Frame inTime, double width) const {
        return markerPixelsForTime(inTime, width);
    }
    double outPointPixelsForTime(Frame outTime, double width) const {
        return markerPixelsForTime(outTime, width);
    }

    // --- Ruler. width: of the ruler, margins included; results are counted from the end of the left margin.

    double rulerMarkerPixelsForTime(Frame markerTime, double rulerWidth) const;
    double throttlerPixelsForTime(Frame time, double rulerWidth) const {
        return rulerMarkerPixelsForTime(time, rulerWidth);
    }
    double markerTimeUnitInPixels(double rulerWidth) const;
    double throttlerTimeUnitInPixels(double rulerWidth) const { return markerTimeUnitInPixels(rulerWidth); }
    // Pixels of a frame; the inverse of the two above.
    double rulerPixelsPerFrame(double rulerWidth) const;

    // --- Values. trackHeight: as the lane stands, collapsed or not. y from the lower edge of the lane.

    // What a pixel of the pointer is worth. Deliberately coarser than pixelsForValue is fine (the range
    // counts two more than it has): a drag then reaches both ends of the range inside the lane.
    static double valueUnitInPixels(float minValue, float maxValue, double trackHeight);
    static double pixelsForValue(float value, float minValue, float maxValue, double trackHeight);

    // --- Widths.

    // Pixels a frame at zoom 1, with which the whole composition just fits; 0 without length.
    float minPaddingFor(double contentWidth) const;
    // Of lanes and cue row; the ruler is 20 wider.
    double laneWidth(float minPadding, float zoomRatio) const;
    static double rulerWidth(double laneWidth) { return laneWidth + 2.0 * rulerMargin; }

private:
    double trackLength() const;

    float compTime_;
    std::int64_t compFPS_;
};

} // namespace marvo
