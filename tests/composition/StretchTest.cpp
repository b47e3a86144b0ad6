// The selection stretched about one of its ends.
#include "CompositionRig.h"

#include "composition/StretchMath.h"

#include <gtest/gtest.h>

using namespace marvo;
using namespace marvo::testing;

namespace {

using Times = std::vector<std::int64_t>;

class Stretching : public ::testing::Test {
protected:
    void begin() { stretcher().emptyCacheForKeyframeStrech(); }
    KeyframeStretch& stretcher() { return rig.composition.keyframeStretch; }
    void right(std::int64_t delta) {
        stretcher().calculateMaxPossibleStretchTimeWithDeltaForRightStretch(FrameCount(delta));
        stretcher().stretchMultiKeyframesWithBaseKeyframe(StretchEnd::right);
    }
    void left(std::int64_t delta) {
        stretcher().calculateMaxPossibleStretchTimeWithDeltaForLeftStretch(FrameCount(delta));
        stretcher().stretchMultiKeyframesWithBaseKeyframe(StretchEnd::left);
    }
    void dragCue(std::size_t index, StretchEnd end, std::int64_t delta) {
        if (end == StretchEnd::right)
            stretcher().calculateMaxPossibleStretchTimeWithDeltaForRightStretch(FrameCount(delta));
        else
            stretcher().calculateMaxPossibleStretchTimeWithDeltaForLeftStretch(FrameCount(delta));
        stretcher().stretchCuesWithBaseCue(rig.composition.cueController.cues().cueAtIndex(index)->id);
    }
    CompositionRig rig; // 300 frames
};

} // namespace

TEST(StretchMath, TheRightEndGoesNoFurtherThanTheEndAndNotPastTheLeftOne) {
    const auto limited = [](std::int64_t delta) {
        return limitedStretchDelta(FrameCount(delta), StretchEnd::right, Frame(10), Frame(90), Frame(100))
            .value;
    };
    EXPECT_EQ(limited(10), 10);
    EXPECT_EQ(limited(11), 10);
    EXPECT_EQ(limited(-79), -79);
    EXPECT_EQ(limited(-80), -80);
    EXPECT_EQ(limited(-500), -80) << "exactly onto the other";
    EXPECT_EQ(limited(0), 0);
}

TEST(StretchMath, TheLeftEndGoesNoFurtherThanTheStartAndNotPastTheRightOne) {
    const auto limited = [](std::int64_t delta) {
        return limitedStretchDelta(FrameCount(delta), StretchEnd::left, Frame(10), Frame(90), Frame(100))
            .value;
    };
    EXPECT_EQ(limited(-9), -9);
    EXPECT_EQ(limited(-10), -10);
    EXPECT_EQ(limited(-11), -10);
    EXPECT_EQ(limited(79), 79);
    EXPECT_EQ(limited(500), 80) << "exactly onto the other";
}

TEST(StretchMath, TimesScaleAboutTheAnchorAndAreCut) {
    const StretchGesture gesture{StretchEnd::right, Frame(10), Frame(110), Frame(160)};
    EXPECT_EQ(stretchedTime(gesture, Frame(60)), Frame(85));
    EXPECT_EQ(stretchedTime(gesture, Frame(61)), Frame(86)) << "86.5, cut";
    EXPECT_EQ(stretchedTime(gesture, Frame(10)), std::nullopt) << "the anchor stays";
    const StretchGesture tight{StretchEnd::right, Frame(10), Frame(110), Frame(11)};
    EXPECT_EQ(stretchedTime(tight, Frame(60)), std::nullopt) << "would come to stand on the anchor";
    const StretchGesture left{StretchEnd::left, Frame(110), Frame(10), Frame(60)};
    EXPECT_EQ(stretchedTime(left, Frame(60)), Frame(85));
    const StretchGesture onto{StretchEnd::left, Frame(110), Frame(10), Frame(110)};
    EXPECT_EQ(stretchedTime(onto, Frame(60)), std::nullopt);
    const StretchGesture flat{StretchEnd::right, Frame(10), Frame(10), Frame(30)};
    EXPECT_EQ(stretchedTime(flat, Frame(20)), std::nullopt) << "no width to scale";
}

TEST_F(Stretching, TracksAndCuesScaleTogetherAndComeBackInOneStep) {
    rig.addTrackWith("MidiCCValue", {0, 50, 100});
    rig.addTrackWith("OSCFlag", {20, 40, 60});
    rig.addCues({0, 10, 100});
    rig.selectKeyframes(0, 0, 300);
    rig.selectKeyframes(1, 0, 300);
    rig.selectCues(0, 300);
    const std::string before = rig.bytes();
    begin();
    right(50);
    EXPECT_EQ(rig.times(0), (Times{0, 75, 150}));
    EXPECT_EQ(rig.times(1), (Times{20, 65, 110}));
    EXPECT_EQ(rig.cueTimes(), (Times{0, 15, 150}));
    EXPECT_EQ(rig.undo.undoActionName(), "Move Keyframe");
    rig.undo.undo();
    EXPECT_EQ(rig.bytes(), before);
    EXPECT_FALSE(rig.undo.canUndo());
    rig.undo.redo();
    EXPECT_EQ(rig.times(1), (Times{20, 65, 110}));
}

TEST_F(Stretching, ALongDragIsReckonedFromItsStart) {
    rig.addTrackWith("MidiCCValue", {0, 33, 67, 100});
    rig.selectKeyframes(0, 0, 300);
    begin();
    for (int i = 0; i < 99; ++i) right(-1);
    EXPECT_EQ(rig.times(0).back(), 1) << "what could not follow to the anchor stopped before it";
    for (int i = 0; i < 99; ++i) right(1);
    EXPECT_EQ(rig.times(0), (Times{0, 33, 67, 100})) << "nothing was lost on the way";
}

TEST_F(Stretching, EndsThatWerePushedTogetherComeApartAsTheyWere) {
    rig.addTrackWith("MidiCCValue", {20, 60, 100});
    const auto base = rig.uID(0, 2);
    rig.selectKeyframes(0, 0, 300);
    begin();
    right(-500);
    EXPECT_EQ(rig.track(0).keyframes().store().objectWithUID(base)->time, Frame(20));
    right(100);
    EXPECT_EQ(rig.track(0).keyframes().store().objectWithUID(base)->time, Frame(120));
    EXPECT_EQ(rig.times(0), (Times{20, 70, 120}));
}

TEST_F(Stretching, TheTightestTrackLimitsAllOfThem) {
    rig.addTrackWith("MidiCCValue", {0, 100});
    rig.addTrackWith("MidiCCValue", {0, 280});
    rig.selectKeyframes(0, 0, 300);
    rig.selectKeyframes(1, 0, 300);
    begin();
    right(50);
    EXPECT_EQ(stretcher().cachedMaxStretchTimeDelta(), FrameCount(20));
    EXPECT_EQ(rig.times(0), (Times{0, 120}));
    EXPECT_EQ(rig.times(1), (Times{0, 300}));
    begin();
    left(90);
    EXPECT_EQ(rig.times(0), (Times{90, 120}));
    left(90);
    EXPECT_EQ(rig.times(0), (Times{120, 120}));
    EXPECT_EQ(rig.times(1), (Times{120, 300}));
}

TEST_F(Stretching, ATrackWithOneSelectedKeyframeDoesNotLimitAndDoesNotMove) {
    rig.addTrackWith("MidiCCValue", {0, 100});
    rig.addTrackWith("MidiCCValue", {0, 290});
    rig.selectKeyframes(0, 0, 300);
    rig.selectKeyframes(1, 200, 300);
    begin();
    right(150);
    EXPECT_EQ(stretcher().cachedMaxStretchTimeDelta(), FrameCount(150));
    EXPECT_EQ(rig.times(0), (Times{0, 250}));
    EXPECT_EQ(rig.times(1), (Times{0, 290}));
}

TEST_F(Stretching, AnOuterCueTakesTheKeyframesAlongAndAnInnerOneMovesNothing) {
    rig.addTrackWith("MidiCCValue", {100, 150, 200});
    rig.addCues({100, 120, 200});
    rig.selectKeyframes(0, 0, 300);
    rig.selectCues(0, 300);
    begin();
    dragCue(1, StretchEnd::right, 50);
    EXPECT_EQ(rig.cueTimes(), (Times{100, 120, 200}));
    EXPECT_FALSE(rig.undo.canUndo());
    begin();
    dragCue(0, StretchEnd::left, -100);
    EXPECT_EQ(rig.cueTimes(), (Times{0, 40, 200}));
    EXPECT_EQ(rig.times(0), (Times{0, 100, 200}));
    EXPECT_EQ(rig.undo.undoActionName(), "Move Cue");
    rig.undo.undo();
    EXPECT_EQ(rig.cueTimes(), (Times{100, 120, 200}));
    EXPECT_EQ(rig.times(0), (Times{100, 150, 200}));
}
