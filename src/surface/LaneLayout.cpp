#include "surface/LaneLayout.h"

#include "tracks/MarvoTimelineTrackProtocol.h"

#include <algorithm>

namespace marvo {

LaneLayout::LaneLayout(const std::vector<MarvoTimelineTrackProtocol*>& tracksByPosition) {
    lanes_.reserve(tracksByPosition.size());
    double collapsed = 0.0;
    for (MarvoTimelineTrackProtocol* track : tracksByPosition) {
        const double y = static_cast<double>(lanes_.size()) * pitch - givenUpWhenCollapsed * collapsed;
        lanes_.push_back({track, y, track->laneHeight.pixels()});
        if (track->laneHeight.isCollapsed()) collapsed += 1.0;
    }
}

std::optional<LaneLayout::Lane> LaneLayout::laneAt(double y) const {
    // A lane of an odd height may reach below the next one, which is drawn on top.
    const auto below = std::upper_bound(lanes_.begin(), lanes_.end(), y,
                                        [](double place, const Lane& lane) { return place < lane.y; });
    if (below == lanes_.begin()) return std::nullopt;
    const Lane& lane = *std::prev(below);
    if (y >= lane.maxY()) return std::nullopt;
    return lane;
}

std::optional<LaneLayout::Lane> LaneLayout::laneOf(const MarvoTimelineTrackProtocol& track) const {
    const auto found =
        std::find_if(lanes_.begin(), lanes_.end(), [&](const Lane& lane) { return lane.track == &track; });
    if (found == lanes_.end()) return std::nullopt;
    return *found;
}

double LaneLayout::heightAfterLayout(std::size_t tracks, double present) {
    const double needed = static_cast<double>(tracks) * pitch;
    return needed >= present ? needed + 2.0 : present;
}

double LaneLayout::heightAfterRefresh(std::size_t tracks, double visibleHeight) {
    const double needed = static_cast<double>(tracks) * pitch;
    return needed > visibleHeight ? needed + 2.0 : needed;
}

} // namespace marvo
