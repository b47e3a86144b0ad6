// What to paint of a lane's keyframes: a line and the places of the sprites, thinned out to what a screen can
// show.
//
// The work is that of the pixels and of the keyframes that are visible, found by their times; keyframes
// outside of it cost nothing. Where several keyframes share a column of pixels, the line keeps the first, the
// least, the greatest and the last of them, which looks the same as all. The lists that are filled keep their
// memory from one paint to the next: after the first ones nothing is allocated.
//
// Main thread, on the keyframes as they are edited: an edit is seen by the next paint.
#pragma once

#include "surface/KeyframeGeometry.h"

#include <cstdint>
#include <span>
#include <vector>

namespace marvo {

// Of the lane, not of the part that is seen; y upwards from the lower edge.
struct LanePoint {
    double x = 0.0;
    double y = 0.0;
};

struct KeyframeSprite {
    SurfacePoint point;                              // as KeyframeGeometry::pointOf
    const MarvoTimelineKeyframe* keyframe = nullptr; // good until the next edit
};

class KeyframePainting {
public:
    // keyframes: in order of time, as KeyframeStore::all has them.
    KeyframePainting(std::span<const MarvoTimelineKeyframe> keyframes, const LaneScale& lane)
        : keyframes_(keyframes), lane_(lane) {}

    // The line of values from x = left to x = right, from the last keyframe before to the first one behind.
    // Curves are followed pixel by pixel, stepped segments hold their value and then jump. Curves that leave
    // their range are not cut off.
    void line(double left, double right, std::vector<LanePoint>& points) const;
    // At most one for each column and row of `cell` pixels: the last one drawn, unless a selected one lies
    // there.
    void sprites(double left, double right, std::vector<KeyframeSprite>& sprites, double cell = 1.0) const;

private:
    // unit: frames in a pixel.
    static Frame frameAtOrBefore(double x, double unit);

    std::span<const MarvoTimelineKeyframe> keyframes_;
    LaneScale lane_;
};

} // namespace marvo
