// What the tick touches of a colour track while it fades from one keyframe to the next.
//
// The colour of each frame stands in the track's table; with many tracks each of them would be fetched from
// another place of a memory that no cache holds. Between two keyframes a table entry is made of two colours
// and a share, and the lane makes it of the same numbers in the same way: it is equal to the bit.
//
// Belongs to the composition queue.
#pragma once

#include "platform/Colour.h"
#include "platform/TimelineTime.h"
#include "tracks/ColorOutput.h"

#include <cstdint>
#include <optional>

namespace marvo {

// What a colour track keeps beside the run of every track; belongs to the evaluating side.
struct ColorRun {
    std::optional<Colour> prevTrackColorValue; // last sent; none after a start, stop, jump or loop
    std::optional<Colour> colorValue;          // of the tick; none when there is nothing to send
};

// The way from one colour to the next, for the frames in between. Realtime-safe.
class ColorFade {
public:
    ColorFade() = default;
    ColorFade(std::int64_t begin, const Colour& from, std::int64_t end, const Colour& to)
        : begin_(begin), total_(static_cast<double>(end - begin)) {
        const double starts[] = {from.red, from.green, from.blue, from.alpha};
        const double ends[] = {to.red, to.green, to.blue, to.alpha};
        // A way down is gone from its lower end, so that it holds the colours of the way up.
        for (int i = 0; i < 4; ++i) {
            const bool rises = starts[i] < ends[i];
            way_[i / 2].rises[i % 2] = rises ? -1 : 0;
            way_[i / 2].start[i % 2] = rises ? starts[i] : ends[i];
            way_[i / 2].length[i % 2] = rises ? ends[i] - starts[i] : starts[i] - ends[i];
        }
    }

    Colour at(std::int64_t frame) const {
        const auto done = static_cast<double>(frame - begin_);
        const Pair shares = Pair{done, total_ - done} / total_;
        const Pair redGreen = way_[0].at(shares);
        const Pair blueAlpha = way_[1].at(shares);
        return {redGreen[0], redGreen[1], blueAlpha[0], blueAlpha[1]};
    }

private:
    using Pair = colourmath::Pair;

    // Of two components.
    struct Way {
        Pair start = {};
        Pair length = {};
        // All bits or none: which way a component goes is nothing that a processor could guess.
        colourmath::PairOfBits rises = {};

        Pair at(Pair shares) const {
            const Pair up = {shares[0], shares[0]};
            const Pair down = {shares[1], shares[1]};
            return start + length * (rises ? up : down);
        }
    };
    Way way_[2];
    std::int64_t begin_ = 0;
    double total_ = 1.0; // frames
};

struct alignas(64) ColorLane {
    ColorFade fade; // of the steady segment
    bool suppresses = true;
    ColorOutput* output = nullptr; // of the track; null sends nothing
    DirectSend direct;
    ColorRun run; // what was sent last ends the third line of the cache, the last that a fading frame touches

    // What the evaluation of a frame within the steady segment gives. False when there is nothing to send.
    bool evaluateSteady(Frame frame, Colour& color) {
        color = fade.at(frame.value);
        if (suppresses && run.prevTrackColorValue == color) return false;
        run.prevTrackColorValue = color;
        return true;
    }
    // Tracks lie apart: what they need is asked for while those before them are at work.
    static void prefetch(const ColorLane* lane) {
        __builtin_prefetch(lane, 0);
        __builtin_prefetch(reinterpret_cast<const char*>(lane) + 64, 0);
        __builtin_prefetch(reinterpret_cast<const char*>(lane) + 128, 1);
    }
};

} // namespace marvo
