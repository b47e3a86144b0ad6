#include "surface/RulerTicks.h"

#include "composition/CompositionTimeMath.h"
#include "platform/Saturate.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>

namespace marvo {
namespace {

struct Step {
    double above; // pixels
    std::int64_t every;
};

constexpr std::array<Step, 5> frameSteps{{{10.0, 1}, {6.0, 2}, {3.0, 5}, {1.5, 10}, {1.1, 15}}};
constexpr std::array<Step, 6> secondSteps{{{17.0, 1}, {9.0, 2}, {5.0, 5}, {2.5, 10}, {1.2, 20}, {0.6, 30}}};
constexpr std::array<Step, 5> minuteSteps{{{20.0, 1}, {10.0, 2}, {5.0, 5}, {2.5, 10}, {0.8, 30}}};

constexpr double frameTickHeight = 12.0;
constexpr double secondTickHeight = 20.0;
constexpr double minuteTickHeight = 26.0;
constexpr double hourTickHeight = 29.0;
constexpr double secondLabelY = 12.0;
constexpr double minuteLabelY = 17.0;
constexpr double hourLabelY = 20.0;
constexpr double labelGap = 2.0;
constexpr double longestLabel = 200.0;     // pixels, whatever the font
constexpr double longComposition = 3600.0; // seconds

std::int64_t everyNth(std::span<const Step> steps, double pixels, double factor, std::int64_t otherwise) {
    for (const Step& step : steps) {
        if (pixels > step.above * factor) return step.every;
    }
    return otherwise;
}

double xOf(std::int64_t n, double step) {
    return static_cast<double>(n) * step + TimelineGeometry::rulerMargin;
}

// One step before the first that is seen, and not before the beginning.
std::int64_t firstOf(const SurfaceRect& dirty, double step) {
    const double before = std::floor((dirty.x - TimelineGeometry::rulerMargin) / step) - 1.0;
    return std::max<std::int64_t>(0, truncatedToInt64(before));
}

} // namespace

RulerTicks::RulerTicks(float compTime, std::int64_t compFPS, double rulerWidth)
    : pixelsPerFrame_(TimelineGeometry(compTime, compFPS).rulerPixelsPerFrame(rulerWidth)),
      pixelsPerSecond_(static_cast<double>(usableFps(compFPS)) * pixelsPerFrame_),
      length_(static_cast<double>(TimelineGeometry(compTime, compFPS).length())),
      wholeSeconds_(truncatedToInt64(static_cast<double>(compTime) + 1.0)),
      minuteFactor_(static_cast<double>(compTime) < longComposition ? 0.0 : 1.1) {}

std::int64_t RulerTicks::everyNthFrame() const {
    return everyNth(frameSteps, pixelsPerFrame_, 1.0, 0);
}

std::int64_t RulerTicks::everyNthSecond() const {
    return everyNth(secondSteps, pixelsPerSecond_, 1.0, 0);
}

std::int64_t RulerTicks::everyNthMinute() const {
    return everyNth(minuteSteps, pixelsPerSecond_ * 60.0, minuteFactor_, 60);
}

std::string RulerTicks::minuteLabel(std::int64_t minute) {
    if (minute < 60) return std::to_string(minute) + "m";
    std::string label = std::to_string(minute / 60) + "h";
    if (minute % 60 != 0) label += std::to_string(minute % 60) + "m";
    return label;
}

void RulerTicks::ticksIn(const SurfaceRect& dirty, const LabelSize& labelSize,
                         std::vector<RulerTick>& ticks) const {
    ticks.clear();
    if (!(pixelsPerFrame_ > 0.0) || dirty.isEmpty()) return;
    addFrames(dirty, ticks);
    addSeconds(dirty, ticks);
    addMinutes(dirty, labelSize, ticks);
}

void RulerTicks::addFrames(const SurfaceRect& dirty, std::vector<RulerTick>& ticks) const {
    const std::int64_t every = everyNthFrame();
    if (every == 0) return;
    const double step = static_cast<double>(every) * pixelsPerFrame_;
    for (std::int64_t n = firstOf(dirty, step); static_cast<double>(n * every) <= length_; ++n) {
        const double x = xOf(n, step);
        if (x >= dirty.maxX()) break;
        ticks.push_back({RulerTick::Kind::frame, x, frameTickHeight, {}, {}});
    }
}

void RulerTicks::addSeconds(const SurfaceRect& dirty, std::vector<RulerTick>& ticks) const {
    const std::int64_t every = everyNthSecond();
    if (every == 0) return;
    const double step = static_cast<double>(every) * pixelsPerSecond_;
    for (std::int64_t n = firstOf(dirty, step); n * every < wholeSeconds_; ++n) {
        const double x = xOf(n, step);
        if (x >= dirty.maxX()) break;
        const std::int64_t second = n * every % 60;
        if (second == 0) continue; // a minute's label stands there
        ticks.push_back({RulerTick::Kind::second,
                         x,
                         secondTickHeight,
                         std::to_string(second) + "s",
                         {x + labelGap, secondLabelY}});
    }
}

void RulerTicks::addMinutes(const SurfaceRect& dirty, const LabelSize& labelSize,
                            std::vector<RulerTick>& ticks) const {
    const std::int64_t every = everyNthMinute();
    const double step = static_cast<double>(every) * pixelsPerSecond_ * 60.0;
    // Dense labels reach over many ticks.
    SurfaceRect reached = dirty;
    reached.x -= longestLabel;
    const std::int64_t firstTick = firstOf(dirty, step);
    for (std::int64_t n = firstOf(reached, step); n * every <= wholeSeconds_ / 60; ++n) {
        const double x = xOf(n, step);
        if (x >= dirty.maxX()) break;
        const std::int64_t minute = n * every;
        const bool isLong = minute >= 60;
        RulerTick tick{RulerTick::Kind::minute,
                       x,
                       isLong ? hourTickHeight : minuteTickHeight,
                       minuteLabel(minute),
                       {x + labelGap, isLong ? hourLabelY : minuteLabelY}};
        const SurfaceSize size = labelSize(tick.label);
        if (!SurfaceRect{tick.labelOrigin.x, tick.labelOrigin.y, size.width, size.height}.meets(dirty))
            tick.label.clear();
        if (n < firstTick && tick.label.empty()) continue;
        ticks.push_back(std::move(tick));
    }
}

} // namespace marvo
