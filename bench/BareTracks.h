// Tracks as somebody would write them who needs nothing but their values: a sorted array of keys, the place
// of the last frame kept, the curve chosen by a switch, one comparison with what was there before. No locks,
// no edits, no working area, no names, nothing to send to. In a file of its own, so that nothing is melted
// into the loop that measures it.
#pragma once

#include <cstdint>
#include <vector>

namespace marvo::bench {

enum class BareCurve : std::uint32_t {
    stepped,
    linear,
    cubicIn,
    cubicOut,
    cubicInOut,
    elasticOut,
    bounceOut
};

struct BareKey {
    std::int32_t time;
    float value;
    BareCurve curve; // of the segment that ends here
};
static_assert(sizeof(BareKey) == 12);

struct BareTrack {
    std::vector<BareKey> keys;
    std::int32_t next = 1; // the first key behind the last frame
    float last = -1.0f;
};

// Writes each value that has changed to its place; how many have.
std::uint64_t evaluateBare(std::vector<BareTrack>& tracks, std::int32_t frame, std::vector<float>& values);

} // namespace marvo::bench
