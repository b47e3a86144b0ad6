#include "tracks/ValueEvaluation.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>

using namespace marvo;

namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();

struct Key {
    std::int64_t time;
    float value;
    Curve curve;
};

// A track that is evaluated by the engine.
struct Lane {
    KeyframePlan plan;
    KeyframeRunStates states;
    ValueRun run;
    ValueRules rules;

    explicit Lane(const std::vector<Key>& keys, bool velocities = false) {
        for (const Key& key : keys)
            plan.keyframes.push_back({key.time, key.value, states.allocateSlot(), key.curve});
        if (velocities) {
            for (std::size_t i = 0; i < keys.size(); ++i) {
                plan.velocities.push_back({static_cast<float>(10 + i), static_cast<float>(60 + i)});
            }
        }
    }
    float at(std::int64_t frame) {
        calculateCurrentValueAtTime(run, plan, states, rules, Frame(frame));
        return run.value;
    }
    void start(std::int64_t frame = 0, bool unpause = false) {
        valueRunStarted(run, states, Frame(frame), unpause);
    }
};

// The rules as they are told, walking every keyframe, to compare the engine with.
struct LiteralLane {
    struct State {
        bool isProcessed = false;
        bool shouldSkip = false;
    };
    std::vector<Key> keys;
    std::vector<State> states;
    std::vector<NoteVelocities> velocities;
    ValueRun run;
    ValueRules rules;

    void markNonProcessed() {
        run.lastkfindex = 0;
        for (State& state : states) state = {};
    }
    void markBefore(std::int64_t frame) {
        for (std::size_t i = 0; i < keys.size() && keys[i].time < frame; ++i) states[i].isProcessed = true;
    }
    bool sameRounded(float v) const { return roundf(v) == roundf(run.prevTrackValue); }
    void emit(float v) { run.prevTrackValue = run.value = v; }
    void emitIfChanged(float v, bool changed, bool suppress) {
        if (changed || !suppress) {
            emit(v);
        } else {
            run.value = infinity;
        }
    }

    void calculate(std::int64_t T) {
        const std::int64_t count = static_cast<std::int64_t>(keys.size());
        std::int64_t from = 0;
        if (run.lastkfindex != 0) {
            if (run.lastkfindex >= count) {
                run.value = infinity;
                return;
            }
            from = run.lastkfindex;
        }
        const bool fromStart = from == 0;
        std::int64_t P = -1;
        std::int64_t N = -1;
        for (std::int64_t i = from; i < count; ++i) {
            const Key& k = keys[static_cast<std::size_t>(i)];
            if (rules.inTime.value <= k.time && k.time <= T) {
                P = i;
                if (!velocities.empty()) {
                    run.lastNoteOnVelocity = velocities[static_cast<std::size_t>(i)].on;
                    run.lastNoteOffVelocity = velocities[static_cast<std::size_t>(i)].off;
                }
            } else if (k.time > T) {
                N = i;
                if (P >= 0) run.lastkfindex = P;
                break;
            }
        }
        const auto key = [&](std::int64_t i) -> const Key& { return keys[static_cast<std::size_t>(i)]; };
        const auto state = [&](std::int64_t i) -> State& { return states[static_cast<std::size_t>(i)]; };
        if (fromStart && N > 0 && P < 0 && key(N).curve != Curve::none) P = N - 1;
        if (N >= 0 && !state(N).shouldSkip) state(N).isProcessed = false;

        const bool suppress = rules.optimalisedSending && !rules.isGroupedOSCMessage;
        if (P < 0) {
            if (N < 0 || !rules.processFirstKeyframe) {
                run.value = infinity;
                return;
            }
            state(N).isProcessed = true;
            emitIfChanged(key(N).value, !sameRounded(key(N).value), suppress);
            return;
        }
        if (!state(P).isProcessed) {
            state(P).isProcessed = true;
            if (N >= 0 && key(N).curve != Curve::none) {
                if (!run.shouldCareAboutCompositionStartOrJump) {
                    emit(key(P).value);
                    return;
                }
                run.shouldCareAboutCompositionStartOrJump = false;
            } else {
                const bool leave = suppress && rules.kind == ValueKind::oscInteger &&
                                   sameRounded(key(P).value) && (N < 0 || key(N).curve != Curve::none);
                if (!leave) emit(key(P).value);
                return;
            }
        }
        if (N < 0) {
            run.value = infinity;
            return;
        }
        if (std::isinf(easedProgress(key(N).curve, 0.0f))) {
            if (key(P).time != T && !run.needsProcessPreviousKeyframe) {
                run.value = infinity;
                return;
            }
            run.needsProcessPreviousKeyframe = false;
            state(P).isProcessed = true;
            emitIfChanged(key(P).value, !sameRounded(key(P).value), suppress);
            return;
        }
        const float a = key(P).value;
        const float b = key(N).value;
        const float range = (a > b ? a : b) - (a > b ? b : a);
        const float p = static_cast<float>(T - key(P).time) / static_cast<float>(key(N).time - key(P).time);
        const float x = easedProgress(key(N).curve, p) * range;
        const float r = a < b ? a + x : a - x;
        bool changed = false;
        if (rules.kind == ValueKind::oscFloat) {
            changed = r != run.prevTrackValue;
        } else {
            changed = !sameRounded(r);
        }
        if (changed && rules.kind == ValueKind::midiNotes) {
            const bool reached = roundf(r) == b;
            state(N) = {reached, reached};
        }
        emitIfChanged(r, changed, suppress);
    }
};

} // namespace

TEST(ValueEvaluation, SendsTheKeyframesOwnValueWhenThePlayheadArrivesOnIt) {
    Lane lane({{10, 20, Curve::linear}, {20, 40, Curve::linear}});
    lane.start();
    EXPECT_EQ(lane.at(10), 20.0f);
    EXPECT_EQ(lane.at(15), 30.0f);
}

TEST(ValueEvaluation, ASteppedSegmentSendsOnceAndThenIsSilentUntilTheNextKeyframe) {
    Lane lane({{0, 5, Curve::linear}, {10, 9, Curve::none}, {20, 3, Curve::none}});
    lane.start();
    EXPECT_EQ(lane.at(0), 5.0f);
    for (int frame = 1; frame < 10; ++frame) EXPECT_EQ(lane.at(frame), infinity) << frame;
    EXPECT_EQ(lane.at(10), 9.0f);
    EXPECT_EQ(lane.at(11), infinity);
}

TEST(ValueEvaluation, NothingIsSentBehindTheLastKeyframe) {
    Lane lane({{0, 1, Curve::linear}, {5, 2, Curve::linear}});
    lane.start();
    lane.at(0);
    EXPECT_EQ(lane.at(5), 2.0f);
    EXPECT_EQ(lane.at(6), infinity);
    EXPECT_EQ(lane.at(1000), infinity);
}

TEST(ValueEvaluation, NothingIsSentBeforeTheFirstKeyframeUnlessAsked) {
    Lane lane({{10, 7, Curve::linear}, {20, 9, Curve::linear}});
    lane.start();
    EXPECT_EQ(lane.at(0), infinity);
    lane.rules.processFirstKeyframe = true;
    EXPECT_EQ(lane.at(1), 7.0f);
    EXPECT_EQ(lane.at(2), infinity) << "unchanged and suppressed";
    lane.rules.optimalisedSending = false;
    EXPECT_EQ(lane.at(3), 7.0f);
}

TEST(ValueEvaluation, OfTwoKeyframesAtOneTimeTheLaterOneCounts) {
    Lane lane({{10, 1, Curve::linear}, {10, 8, Curve::linear}, {20, 9, Curve::linear}});
    lane.start();
    EXPECT_EQ(lane.at(10), 8.0f);
}

TEST(ValueEvaluation, ASegmentThatStraddlesTheInPointInterpolatesFromTheFirstFrameOn) {
    Lane lane({{0, 0, Curve::linear}, {100, 100, Curve::linear}});
    lane.rules.inTime = Frame(50);
    lane.rules.kind = ValueKind::oscFloat;
    lane.start(50);
    EXPECT_EQ(lane.at(50), 50.0f);
    EXPECT_EQ(lane.at(51), 51.0f);
    EXPECT_EQ(lane.at(99), 99.0f);
}

TEST(ValueEvaluation, AFlatSegmentIsSilentWhileItsRoundedValueStands) {
    Lane lane({{0, 10, Curve::linear}, {100, 11, Curve::linear}});
    lane.start();
    EXPECT_EQ(lane.at(0), 10.0f);
    EXPECT_EQ(lane.at(10), infinity);
    EXPECT_EQ(lane.at(60), 10.6f);
    EXPECT_EQ(lane.at(61), infinity);
}

TEST(ValueEvaluation, GroupedAndUnoptimisedTracksSendEveryFrame) {
    Lane lane({{0, 10, Curve::linear}, {100, 10, Curve::linear}});
    lane.rules.isGroupedOSCMessage = true;
    lane.start();
    for (int frame = 0; frame < 10; ++frame) EXPECT_EQ(lane.at(frame), 10.0f);
    lane.rules.isGroupedOSCMessage = false;
    lane.rules.optimalisedSending = false;
    for (int frame = 10; frame < 20; ++frame) EXPECT_EQ(lane.at(frame), 10.0f);
}

TEST(ValueEvaluation, AJumpWithTheStateRestoredSendsTheSteppedValueAgain) {
    Lane lane({{0, 5, Curve::linear}, {100, 9, Curve::none}});
    lane.start();
    lane.at(0);
    valueRunJumped(lane.run, lane.states, Frame(50), true);
    EXPECT_EQ(lane.at(50), 5.0f);
    valueRunJumped(lane.run, lane.states, Frame(60), false);
    EXPECT_EQ(lane.at(60), infinity);
}

TEST(ValueEvaluation, AJumpWithTheStateRestoredInterpolatesAtOnce) {
    Lane lane({{0, 0, Curve::linear}, {100, 100, Curve::linear}});
    lane.start();
    lane.at(0);
    valueRunJumped(lane.run, lane.states, Frame(50), true);
    EXPECT_EQ(lane.at(50), 50.0f);
}

TEST(ValueEvaluation, APlainLoopArmsEveryKeyframeAgain) {
    Lane lane({{0, 5, Curve::linear}, {10, 9, Curve::none}});
    lane.start();
    lane.at(0);
    lane.at(10);
    valueRunLooped(lane.run, lane.states);
    EXPECT_EQ(lane.at(3), 5.0f);
}

TEST(ValueEvaluation, AnElasticCurveGoesPastTheNextKeyframe) {
    Lane lane({{0, 0, Curve::linear}, {100, 127, Curve::elasticOut}});
    lane.rules.kind = ValueKind::other;
    lane.rules.optimalisedSending = false;
    lane.start();
    float highest = 0.0f;
    for (int frame = 0; frame < 100; ++frame) highest = std::fmax(highest, lane.at(frame));
    EXPECT_GT(highest, 127.0f);
}

TEST(ValueEvaluation, AgreesWithTheWalkOverAllKeyframesInEveryScenario) {
    std::mt19937 random(20260101);
    const auto upTo = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    for (int scenario = 0; scenario < 4000; ++scenario) {
        std::vector<Key> keys;
        for (int i = upTo(9); i > 0; --i) {
            keys.push_back({upTo(60), static_cast<float>(upTo(2000)) / 10.0f, static_cast<Curve>(upTo(33))});
        }
        std::stable_sort(keys.begin(), keys.end(),
                         [](const Key& a, const Key& b) { return a.time < b.time; });
        const bool notes = upTo(3) == 0;
        Lane lane(keys, notes);
        LiteralLane literal;
        literal.keys = keys;
        literal.states.resize(keys.size());
        literal.velocities = lane.plan.velocities;
        ValueRules rules;
        rules.inTime = Frame(upTo(2) ? 0 : upTo(40));
        rules.optimalisedSending = upTo(2);
        rules.processFirstKeyframe = upTo(2);
        rules.isGroupedOSCMessage = upTo(4) == 0;
        rules.kind = notes ? ValueKind::midiNotes : static_cast<ValueKind>(upTo(3) == 2 ? 3 : upTo(2));
        lane.rules = literal.rules = rules;
        std::int64_t frame = upTo(20);
        for (int step = 0; step < 60; ++step) {
            const int event = upTo(20);
            const bool preference = upTo(2);
            if (event == 0 || event == 1) {
                frame = upTo(70);
                event == 0 ? valueRunStarted(lane.run, lane.states, Frame(frame), preference)
                           : valueRunJumped(lane.run, lane.states, Frame(frame), preference);
                literal.run.prevTrackValue = infinity;
                literal.markNonProcessed();
                if (preference) {
                    literal.run.shouldCareAboutCompositionStartOrJump = true;
                } else {
                    literal.markBefore(frame);
                }
            } else if (event == 2) {
                frame = upTo(5);
                valueRunLooped(lane.run, lane.states);
                literal.run.prevTrackValue = infinity;
                literal.markNonProcessed();
            } else if (event == 3) {
                lane.run.needsProcessPreviousKeyframe = literal.run.needsProcessPreviousKeyframe = true;
            } else {
                frame += event < 15 ? 1 : upTo(9);
            }
            lane.at(frame);
            literal.calculate(frame);
            ASSERT_EQ(lane.run.value, literal.run.value)
                << "scenario " << scenario << " step " << step << " frame " << frame;
            ASSERT_EQ(lane.run.prevTrackValue, literal.run.prevTrackValue) << scenario << ":" << step;
            ASSERT_EQ(lane.run.lastkfindex, literal.run.lastkfindex) << scenario << ":" << step;
            ASSERT_EQ(lane.run.lastNoteOnVelocity, literal.run.lastNoteOnVelocity) << scenario << ":" << step;
        }
    }
}
