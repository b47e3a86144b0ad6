// The short way of evaluating a track, in place for the loop over all tracks, and the comparison of values
// that it shares with the long one.
#pragma once

#include "tracks/CurveMath.h"
#include "tracks/ValueEvaluation.h"

#include <cmath>
#include <limits>

namespace marvo {

inline bool roundsAlike(float a, float b) {
    return std::roundf(a) == std::roundf(b);
}

inline std::int32_t roundedInt(float v) {
    const float rounded = std::roundf(v);
    if (!(rounded > -2147483648.0f)) return std::numeric_limits<std::int32_t>::min();
    if (rounded >= 2147483648.0f) return std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(rounded);
}

// Whether a value is another than the one that was sent last, as the kind of track counts. Notes are counted
// elsewhere.
inline bool differs(ValueKind kind, float value, float sent) {
    if (kind == ValueKind::oscFloat) return value != sent;
    if (kind == ValueKind::oscInteger) return roundedInt(value) != roundedInt(sent);
    return !roundsAlike(value, sent);
}

// What calculateCurrentValueAtTime computes for a frame at which the steady segment holds, by the numbers
// that it keeps. False when there is nothing to send. Not for idle segments: they have nothing to evaluate.
// Realtime-safe.
[[gnu::always_inline]] inline bool evaluateSteady(ValueRun& run, Frame frame) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    const SteadySegment& steady = run.steady;
    const float p = static_cast<float>(frame.value - steady.first) / steady.length;
    // Most segments are straight.
    const float x = steady.curve == Curve::linear ? p : curvemath::easedProgress(steady.curve, p);
    // Adding the negative is subtracting, to the bit.
    const float r = steady.startValue + x * steady.range;
    if (steady.suppresses && !differs(steady.kind, r, run.prevTrackValue)) {
        run.value = infinity;
        return false;
    }
    run.prevTrackValue = r;
    run.value = r;
    return !(r >= infinity);
}

} // namespace marvo
