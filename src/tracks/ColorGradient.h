// The colours between the keyframes of a colour track, over the whole length of a composition.
//
// Piecewise linear in the components of the device, alpha like the others and not multiplied into them.
// Positions are frames. Before the first stop and behind the last there is the colour of the nearest. On a
// stop there is its colour to the bit. Two stops at one place are a hard edge: from there on the second
// counts. A plain value; reading is realtime-safe.
#pragma once

#include "platform/Colour.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace marvo {

class ColorGradient {
public:
    struct Stop {
        std::int64_t frame;
        Colour color;
    };

    // Stops come in order. Without any, everything is transparent black.
    void addStop(std::int64_t frame, const Colour& color) { stops_.push_back({frame, color}); }
    const std::vector<Stop>& stops() const { return stops_; }
    Colour colorAtFrame(std::int64_t frame) const;
    // The same for a track of a composition of that many frames: nothing, transparent black, before the first
    // stop, and the colour stands still from the last stop or the end of the composition on.
    Colour colorOfTrackAtFrame(std::int64_t frame, std::int64_t frames) const;
    // The colours of `count` frames from `first` on, in one walk.
    void fill(std::int64_t first, std::size_t count, Colour* colors) const;

private:
    // The colour at a frame that lies before stop `next` and not before the one in front of it.
    Colour colorBefore(std::size_t next, std::int64_t frame) const;

    std::vector<Stop> stops_;
};

} // namespace marvo
