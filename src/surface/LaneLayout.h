// Where the lanes of a composition stand, one under the other, and how tall the surface is.
//
// A lane takes 120 pixels, itself and one of gap; a collapsed one gives up 87. The header of a track stands
// at the same y in its column. A layout tells of the tracks as they were when it was made: make a new one for
// each use. Main thread.
#pragma once

#include "surface/SurfaceRect.h"

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

namespace marvo {

class MarvoTimelineTrackProtocol;

class LaneLayout {
public:
    static constexpr double pitch = 120.0;
    static constexpr double givenUpWhenCollapsed = 87.0;

    struct Lane {
        MarvoTimelineTrackProtocol* track = nullptr;
        double y = 0.0; // upper edge, from the upper edge of the surface
        double height = 0.0;
        double maxY() const { return y + height; }
    };

    // Tracks from the first row down.
    explicit LaneLayout(const std::vector<MarvoTimelineTrackProtocol*>& tracksByPosition);
    const std::vector<Lane>& lanes() const& { return lanes_; }
    std::vector<Lane> lanes() && { return std::move(lanes_); } // of a layout that is made for one loop
    // None in a gap and below the last lane.
    std::optional<Lane> laneAt(double y) const;
    std::optional<Lane> laneOf(const MarvoTimelineTrackProtocol& track) const;

    // Of a surface that is `present` tall, after its lanes were laid out: counted from the number of tracks,
    // collapsed or not, and never less than it was.
    static double heightAfterLayout(std::size_t tracks, double present);
    // After a load or a resize, which may also make it shorter.
    static double heightAfterRefresh(std::size_t tracks, double visibleHeight);

private:
    std::vector<Lane> lanes_;
};

} // namespace marvo
