// What the colour of a track is on a frame, and whether there is anything to send.
//
// The structure is that of values; between keyframes the table is read instead of a curve. The caller holds
// the composition queue. Realtime-safe.
#pragma once

#include "tracks/ColorLane.h"
#include "tracks/ColorTable.h"
#include "tracks/ValueEvaluation.h"

namespace marvo {

// plan.content is a ColorTable, or null when there is no keyframe. Leaves the steady segment and its fade
// behind when the run asks for it.
void calculateCurrentColorAtTime(ColorLane& lane, ValueRun& run, const KeyframePlan& plan,
                                 KeyframeRunStates& states, const ValueRules& rules, Frame frame);

} // namespace marvo
