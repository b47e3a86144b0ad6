#include "surface/EdgeScrolling.h"

#include <algorithm>

namespace marvo {
namespace {

constexpr double laneMargin = 20.0;
constexpr double laneStep = 15.0;
constexpr double rowStepBack = 30.0;
constexpr double rowStepForth = 20.0;

double stepBack(double origin, double step) {
    return std::max(0.0, origin - step);
}

double stepForth(double origin, double step, double maximum) {
    return std::min(origin + step, maximum);
}

} // namespace

bool handleScrollAtLocationOnLanes(ScrollArea& area, SurfacePoint pointer) {
    const SurfacePoint before = area.origin();
    const SurfaceSize seen = area.contentSize();
    if (pointer.y < laneMargin) {
        area.scrollToY(stepBack(before.y, laneStep));
    } else if (pointer.y > seen.height - laneMargin) {
        area.scrollToY(stepForth(before.y, laneStep, area.maximumOrigin().y));
    }
    if (pointer.x < laneMargin) {
        area.scrollToX(stepBack(before.x, laneStep));
    } else if (pointer.x > seen.width - laneMargin) {
        area.scrollToX(stepForth(before.x, laneStep, area.maximumOrigin().x));
    }
    return area.origin() != before;
}

bool handleScrollAtLocationOnRow(ScrollArea& area, SurfacePoint pointer) {
    const SurfacePoint before = area.origin();
    if (pointer.x <= 0.0) {
        area.scrollToX(stepBack(before.x, rowStepBack));
    } else if (pointer.x >= area.contentSize().width) {
        area.scrollToX(stepForth(before.x, rowStepForth, area.maximumOrigin().x));
    }
    return area.origin() != before;
}

} // namespace marvo
