#include "tracks/ValueEvaluation.h"

#include "tracks/SteadyEvaluation.h"

#include <algorithm>
#include <cmath>

namespace marvo {
namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();

// The first index from `start` whose time lies behind `frame`. The tick moves in small steps, so the answer
// is nearly always the start or its neighbour.
std::int64_t firstBehind(const std::vector<PlannedKeyframe>& keyframes, std::int64_t start,
                         std::int64_t frame) {
    const auto count = static_cast<std::int64_t>(keyframes.size());
    const auto timeAt = [&](std::int64_t i) { return keyframes[static_cast<std::size_t>(i)].time; };
    for (std::int64_t i = start; i < count && i < start + 3; ++i) {
        if (timeAt(i) > frame) return i;
    }
    if (start + 3 >= count) return count;
    const auto found = std::upper_bound(keyframes.begin() + start + 3, keyframes.end(), frame,
                                        [](std::int64_t t, const PlannedKeyframe& k) { return t < k.time; });
    return found - keyframes.begin();
}

void emit(ValueRun& run, float v) {
    run.prevTrackValue = v;
    run.value = v;
}

void emitIfChanged(ValueRun& run, float v, bool changed, bool suppresses) {
    if (changed || !suppresses) {
        emit(run, v);
    } else {
        run.value = infinity;
    }
}

void interpolate(ValueRun& run, KeyframeRunStates& states, const ValueRules& rules,
                 const PlannedKeyframe& previous, const PlannedKeyframe& next, Frame frame, bool suppresses) {
    const float range = std::max(previous.value, next.value) - std::min(previous.value, next.value);
    const float p =
        static_cast<float>(frame.value - previous.time) / static_cast<float>(next.time - previous.time);
    const float x = easedProgress(next.curve, p) * range;
    const float r = previous.value < next.value ? previous.value + x : previous.value - x;
    const bool changed = differs(rules.kind, r, run.prevTrackValue);
    if (rules.kind == ValueKind::midiNotes && changed) {
        const bool reached = std::roundf(r) == next.value;
        states.set(next.slot, reached, reached);
    }
    emitIfChanged(run, r, changed, suppresses);
}

} // namespace

// The result is that of a walk in order, from lastkfindex or from the beginning.
bool findNeighbours(ValueRun& run, const KeyframePlan& plan, KeyframeRunStates& states,
                    const ValueRules& rules, Frame frame, KeyframeNeighbours& found) {
    const auto& keyframes = plan.keyframes;
    const auto count = static_cast<std::int64_t>(keyframes.size());
    const std::int64_t start = run.lastkfindex;
    if (start != 0 && start >= count) return false;
    const std::int64_t behind = firstBehind(keyframes, start, frame.value);
    if (behind > start && keyframes[static_cast<std::size_t>(behind - 1)].time >= rules.inTime.value) {
        found.previous = behind - 1;
        if (!plan.velocities.empty()) {
            run.lastNoteOnVelocity = plan.velocities[static_cast<std::size_t>(behind - 1)].on;
            run.lastNoteOffVelocity = plan.velocities[static_cast<std::size_t>(behind - 1)].off;
        }
    }
    if (behind < count) {
        found.next = behind;
        if (found.previous >= 0) run.lastkfindex = found.previous;
        const PlannedKeyframe& next = keyframes[static_cast<std::size_t>(behind)];
        // A segment that straddles the in point interpolates, as long as the search starts at the beginning.
        if (start == 0 && found.previous < 0 && behind > 0 && next.curve != Curve::none)
            found.previous = behind - 1;
        if (!states.shouldSkip(next.slot)) states.setProcessed(next.slot, false);
    }
    return true;
}

namespace {

void evaluate(ValueRun& run, const KeyframePlan& plan, KeyframeRunStates& states, const ValueRules& rules,
              const KeyframeNeighbours& found, Frame frame) {
    const bool suppresses = rules.optimalisedSending && !rules.isGroupedOSCMessage;
    const PlannedKeyframe* next =
        found.next < 0 ? nullptr : &plan.keyframes[static_cast<std::size_t>(found.next)];

    if (found.previous < 0) {
        if (!next || !rules.processFirstKeyframe) {
            run.value = infinity;
            return;
        }
        states.setProcessed(next->slot, true);
        emitIfChanged(run, next->value, !roundsAlike(next->value, run.prevTrackValue), suppresses);
        return;
    }

    const PlannedKeyframe& previous = plan.keyframes[static_cast<std::size_t>(found.previous)];
    // A label that is not known is no "No Interpolation" here, though its segment does not move either.
    const bool isCurved = next && next->curve != Curve::none;
    if (!states.isProcessed(previous.slot, previous.time)) {
        states.setProcessed(previous.slot, true);
        if (!(isCurved && run.shouldCareAboutCompositionStartOrJump)) {
            const bool leftAsItStands = !next && suppresses && rules.kind == ValueKind::oscInteger &&
                                        roundsAlike(run.prevTrackValue, previous.value);
            if (!leftAsItStands) emit(run, previous.value);
            return;
        }
        run.shouldCareAboutCompositionStartOrJump = false;
    }

    if (!next) {
        run.value = infinity;
        return;
    }
    if (isStepped(next->curve)) {
        if (previous.time != frame.value && !run.needsProcessPreviousKeyframe) {
            run.value = infinity;
            return;
        }
        run.needsProcessPreviousKeyframe = false;
        states.setProcessed(previous.slot, true);
        emitIfChanged(run, previous.value, !roundsAlike(previous.value, run.prevTrackValue), suppresses);
        return;
    }
    interpolate(run, states, rules, previous, *next, frame, suppresses);
}

// What holds until a keyframe is reached, after the evaluation of one frame. The neighbours stay the same
// from the keyframe before to the one behind; their states are as an evaluation leaves them; what remains is
// a number that depends on the frame alone, or nothing.
SteadySegment steadySegmentAfter(const ValueRun& run, const KeyframePlan& plan,
                                 const KeyframeRunStates& states, const ValueRules& rules,
                                 const KeyframeNeighbours& found) {
    using Limits = std::numeric_limits<std::int64_t>;
    SteadySegment steady;
    // A note that is reached marks its keyframe.
    if (rules.kind == ValueKind::midiNotes) return steady;
    const auto& keyframes = plan.keyframes;
    const auto at = [&](std::int64_t i) -> const PlannedKeyframe& {
        return keyframes[static_cast<std::size_t>(i)];
    };
    steady.kind = rules.kind;
    steady.suppresses = rules.optimalisedSending && !rules.isGroupedOSCMessage;
    const std::int64_t end = found.next < 0 ? Limits::max() : at(found.next).time;
    if (found.previous < 0) {
        if (found.next >= 0 && rules.processFirstKeyframe) return steady;
        const std::int64_t behind = found.next < 0 ? static_cast<std::int64_t>(keyframes.size()) : found.next;
        steady.isIdle = true;
        steady.setFrames(behind > 0 ? at(behind - 1).time : Limits::min(), end);
        return steady;
    }
    const PlannedKeyframe& previous = at(found.previous);
    if (!states.isProcessed(previous.slot, previous.time)) return steady;
    if (found.next < 0) {
        steady.isIdle = true;
        steady.setFrames(previous.time, end);
        return steady;
    }
    const PlannedKeyframe& next = at(found.next);
    if (isStepped(next.curve)) {
        if (run.needsProcessPreviousKeyframe) return steady;
        steady.isIdle = true;
        // On the frame of the keyframe itself it is sent.
        if (previous.time < end) steady.setFrames(previous.time + 1, end);
        return steady;
    }
    steady.setFrames(previous.time, end);
    steady.startValue = previous.value;
    steady.length = static_cast<float>(next.time - previous.time);
    steady.curve = next.curve;
    const float range = std::max(previous.value, next.value) - std::min(previous.value, next.value);
    steady.range = previous.value < next.value ? range : -range;
    steady.isIdle = steady.suppresses && previous.value == next.value &&
                    !differs(rules.kind, previous.value, run.prevTrackValue);
    return steady;
}

} // namespace

void forgetSteadySegment(ValueRun& run) {
    if (run.passes && run.passes->isAfter(run.steadySince)) {
        run.lastProcessedTime = run.passes->frame;
        if (run.steady.isIdle) run.value = infinity;
    }
    run.passes = nullptr;
    run.steady = {};
}

void calculateCurrentValueAtTime(ValueRun& run, const KeyframePlan& plan, KeyframeRunStates& states,
                                 const ValueRules& rules, Frame frame) {
    forgetSteadySegment(run);
    KeyframeNeighbours found;
    if (!findNeighbours(run, plan, states, rules, frame, found)) {
        run.value = infinity;
        return;
    }
    evaluate(run, plan, states, rules, found, frame);
    if (run.findsSteadySegment) run.steady = steadySegmentAfter(run, plan, states, rules, found);
}

void markKeyframesAsNonProcessed(ValueRun& run, KeyframeRunStates& states) {
    forgetSteadySegment(run);
    run.lastkfindex = 0;
    states.markAllNonProcessed();
}

void valueRunStarted(ValueRun& run, KeyframeRunStates& states, Frame currentTime,
                     bool processLastKeyframeOnUnpause) {
    run.prevTrackValue = infinity;
    markKeyframesAsNonProcessed(run, states);
    if (processLastKeyframeOnUnpause) {
        run.shouldCareAboutCompositionStartOrJump = true;
    } else {
        states.markProcessedBefore(currentTime);
    }
}

void valueRunStopped(ValueRun& run) {
    forgetSteadySegment(run);
    run.prevTrackValue = infinity;
}

void valueRunJumped(ValueRun& run, KeyframeRunStates& states, Frame currentTime,
                    bool processLastKeyframeOnJump) {
    run.prevTrackValue = infinity;
    markKeyframesAsNonProcessed(run, states);
    if (processLastKeyframeOnJump) {
        run.shouldCareAboutCompositionStartOrJump = true;
    } else {
        states.markProcessedBefore(currentTime);
    }
}

void valueRunLooped(ValueRun& run, KeyframeRunStates& states) {
    run.prevTrackValue = infinity;
    markKeyframesAsNonProcessed(run, states);
}

} // namespace marvo
