// Which ticks and labels the ruler shows.
//
// Values only; painting is somebody else's. x from the left edge of the ruler, heights and label places from
// its lower edge upwards. Main thread.
#pragma once

#include "surface/SurfaceRect.h"
#include "surface/TimelineGeometry.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace marvo {

struct RulerTick {
    enum class Kind { frame, second, minute };

    Kind kind = Kind::frame;
    double x = 0.0; // left edge; ticks are one pixel wide
    double height = 0.0;
    std::string label;        // empty: a tick alone
    SurfacePoint labelOrigin; // lower left
};

// How large a label will be; the painter knows its font.
using LabelSize = std::function<SurfaceSize(std::string_view label)>;

class RulerTicks {
public:
    RulerTicks(float compTime, std::int64_t compFPS, double rulerWidth);

    // Every n-th frame, second or minute gets a tick; 0 stands for none.
    std::int64_t everyNthFrame() const;
    std::int64_t everyNthSecond() const;
    std::int64_t everyNthMinute() const;

    // What meets the dirty rectangle, and one step before it. A minute has no label where the label would not
    // meet the rectangle. Replaces what is in `ticks` and keeps its memory. Frames come first, then seconds,
    // then minutes; the work is that of what is shown.
    void ticksIn(const SurfaceRect& dirty, const LabelSize& labelSize, std::vector<RulerTick>& ticks) const;

    static std::string minuteLabel(std::int64_t minute);

private:
    void addFrames(const SurfaceRect& dirty, std::vector<RulerTick>& ticks) const;
    void addSeconds(const SurfaceRect& dirty, std::vector<RulerTick>& ticks) const;
    void addMinutes(const SurfaceRect& dirty, const LabelSize& labelSize,
                    std::vector<RulerTick>& ticks) const;

    double pixelsPerFrame_;  // p
    double pixelsPerSecond_; // s
    double length_;          // frames
    std::int64_t wholeSeconds_;
    double minuteFactor_; // 0 below an hour: then every minute is labelled, however dense
};

} // namespace marvo
