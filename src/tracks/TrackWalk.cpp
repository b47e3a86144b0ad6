#include "tracks/TrackWalk.h"

#include "controls/NumberText.h"
#include "endpoints/osc/OSCOutPort.h"
#include "tracks/SteadyEvaluation.h"
#include "tracks/TrackNews.h"

namespace marvo {
namespace {

// What a direct output sends for a value in stored scale.
inline OSCValue argumentOf(const DirectSend& direct, float value) {
    if (direct.tag == 'f') return OSCValue::createWithFloat(value / direct.multiplier);
    const std::int32_t rounded = numbertext::roundedInt32(value);
    if (direct.tag == 'i') return OSCValue::createWithInt(rounded);
    // The truth of the lowest byte alone: 256 is off.
    return OSCValue::createWithBool(static_cast<std::uint8_t>(rounded) != 0);
}

} // namespace

void TrackWalk::processAtTime(Frame frame, const Rules& rules) {
    // Frames that were left out make a stepped segment send once more, of colours whatever the rules.
    const bool minds = (rules.processLastKeyframeOnUnpause || hasColors_) &&
                       (frame - pass_.frame).value != 1 && pass_.frame < frame;
    const bool trusts = rules.compState && rules == rules_ && !minds;
    rules_ = rules;
    if (!trusts) {
        for (const Step& step : steps_) doWholeWork(step, frame);
    } else if (TrackNews::take(news_)) {
        pass<true>(frame);
    } else {
        pass<false>(frame);
    }
    pass_ = {frame, pass_.number + 1};
}

void TrackWalk::doWholeWork(const Step& step, Frame frame) {
    ValueRun& run = step.lane->run;
    run.findsSteadySegment = true;
    step.track->processAtTime(frame);
    run.findsSteadySegment = false;
    if (run.steady.span == 0) return;
    run.passes = &pass_;
    run.steadySince = pass_.number + 1;
}

void TrackWalk::fade(const Step& step, SendOrigin& origin) {
    const Frame frame(origin.frame);
    if (rules_.hueRotateForColors != 1.0f) return doWholeWork(step, frame);
    constexpr std::ptrdiff_t ahead = 3;
    if (steps_.data() + steps_.size() - &step > ahead) {
        // A track of values that follows has no lane of colours, and from no lane no address may be counted.
        if (const ColorLane* next = (&step)[ahead].colors) ColorLane::prefetch(next);
    }
    ColorLane& colors = *step.colors;
    Colour color;
    if (!colors.evaluateSteady(frame, color)) return;
    const DirectSend& direct = colors.direct;
    if (direct.port) {
        message_.rewrite({direct.address, direct.addressSize}, OSCValue::createWithColor(packedRGBA(color)));
        origin.composition = &colors.output->compositionName();
        origin.track = &colors.output->trackName();
        direct.port->sendThisMessage(message_, origin);
    } else if (colors.output) {
        colors.output->send(color, frame, std::nullopt);
    }
}

template <bool withNews>
void TrackWalk::pass(Frame frame) {
    SendOrigin origin{nullptr, nullptr, frame.value, false};
    for (const Step& step : steps_) {
        ValueLane& lane = *step.lane;
        ValueRun& run = lane.run;
        if (!run.steady.holdsAt(frame) || (withNews && lane.news.load(std::memory_order_relaxed)))
            [[unlikely]] {
            doWholeWork(step, frame);
            continue;
        }
        if (run.steady.isIdle) [[likely]]
            continue;
        if (step.colors) {
            fade(step, origin);
            continue;
        }
        if (!evaluateSteady(run, frame)) continue;
        lane.shownValue = run.value;
        const DirectSend& direct = lane.direct;
        if (direct.port) {
            message_.rewrite({direct.address, direct.addressSize}, argumentOf(direct, run.value));
            origin.composition = &lane.output->compositionName();
            origin.track = &lane.output->trackName();
            direct.port->sendThisMessage(message_, origin);
        } else if (lane.output) {
            lane.output->send(run.value, frame);
        }
    }
}

} // namespace marvo
