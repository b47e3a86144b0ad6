#include "tracks/ColorEvaluation.h"

#include <algorithm>
#include <limits>

namespace marvo {
namespace {

void emit(ColorRun& colors, const Colour& color) {
    colors.prevTrackColorValue = color;
    colors.colorValue = color;
}

void emitIfChanged(ColorRun& colors, const Colour& color, bool suppresses) {
    if (suppresses && colors.prevTrackColorValue == color) {
        colors.colorValue.reset();
    } else {
        emit(colors, color);
    }
}

void evaluate(ColorRun& colors, ValueRun& run, const KeyframePlan& plan, const ColorTable* table,
              KeyframeRunStates& states, const ValueRules& rules, const KeyframeNeighbours& found,
              Frame frame) {
    const bool hasNext = found.next >= 0;
    const auto nextIndex = static_cast<std::size_t>(found.next);

    if (found.previous < 0) {
        if (!hasNext || !rules.processFirstKeyframe) return;
        states.setProcessed(plan.keyframes[nextIndex].slot, true);
        emitIfChanged(colors, table->colorOfKeyframe(nextIndex), rules.optimalisedSending);
        return;
    }

    const auto previousIndex = static_cast<std::size_t>(found.previous);
    const PlannedKeyframe& previous = plan.keyframes[previousIndex];
    const bool isLinear = hasNext && !isStepped(plan.keyframes[nextIndex].curve);
    if (!states.isProcessed(previous.slot, previous.time)) {
        states.setProcessed(previous.slot, true);
        if (!(isLinear && run.shouldCareAboutCompositionStartOrJump)) {
            emit(colors, table->colorOfKeyframe(previousIndex));
            return;
        }
        run.shouldCareAboutCompositionStartOrJump = false;
    }

    if (!hasNext) return;
    if (isLinear) {
        emitIfChanged(colors, table->colorAtFrame(frame.value), rules.optimalisedSending);
        return;
    }
    if (previous.time != frame.value && !run.needsProcessPreviousKeyframe) return;
    run.needsProcessPreviousKeyframe = false;
    states.setProcessed(previous.slot, true);
    emitIfChanged(colors, table->colorOfKeyframe(previousIndex), rules.optimalisedSending);
}

// What holds until a keyframe is reached, after the evaluation of one frame, as for values. The frame of a
// keyframe itself is none of it: there its colour stands as it is.
SteadySegment steadySegmentAfter(ColorLane& lane, const ValueRun& run, const KeyframePlan& plan,
                                 const ColorTable& table, const KeyframeRunStates& states,
                                 const ValueRules& rules, const KeyframeNeighbours& found) {
    using Limits = std::numeric_limits<std::int64_t>;
    SteadySegment steady;
    const auto& keyframes = plan.keyframes;
    const auto timeAt = [&](std::int64_t i) { return keyframes[static_cast<std::size_t>(i)].time; };
    const std::int64_t end = found.next < 0 ? Limits::max() : timeAt(found.next);
    if (found.previous < 0) {
        if (found.next >= 0 && rules.processFirstKeyframe) return steady;
        const std::int64_t behind = found.next < 0 ? static_cast<std::int64_t>(keyframes.size()) : found.next;
        steady.isIdle = true;
        steady.setFrames(behind > 0 ? timeAt(behind - 1) : Limits::min(), end);
        return steady;
    }
    const auto previousIndex = static_cast<std::size_t>(found.previous);
    const PlannedKeyframe& previous = keyframes[previousIndex];
    if (!states.isProcessed(previous.slot, previous.time)) return steady;
    if (found.next < 0) {
        steady.isIdle = true;
        steady.setFrames(previous.time, end);
        return steady;
    }
    const auto nextIndex = static_cast<std::size_t>(found.next);
    if (isStepped(keyframes[nextIndex].curve)) {
        if (run.needsProcessPreviousKeyframe) return steady;
        steady.isIdle = true;
        if (previous.time < end) steady.setFrames(previous.time + 1, end);
        return steady;
    }
    const Colour& from = table.colorOfKeyframe(previousIndex);
    const Colour& to = table.colorOfKeyframe(nextIndex);
    lane.fade = ColorFade(previous.time, from, end, to);
    lane.suppresses = rules.optimalisedSending;
    steady.isIdle = lane.suppresses && from == to && lane.run.prevTrackColorValue == from;
    steady.setFrames(std::max(previous.time + 1, table.firstFrame()), std::min(end, table.endFrame()));
    return steady;
}

} // namespace

void calculateCurrentColorAtTime(ColorLane& lane, ValueRun& run, const KeyframePlan& plan,
                                 KeyframeRunStates& states, const ValueRules& rules, Frame frame) {
    forgetSteadySegment(run);
    lane.run.colorValue.reset();
    const auto* table = static_cast<const ColorTable*>(plan.content.get());
    KeyframeNeighbours found;
    if (!table || !findNeighbours(run, plan, states, rules, frame, found)) return;
    evaluate(lane.run, run, plan, table, states, rules, found, frame);
    if (run.findsSteadySegment)
        run.steady = steadySegmentAfter(lane, run, plan, *table, states, rules, found);
}

} // namespace marvo
