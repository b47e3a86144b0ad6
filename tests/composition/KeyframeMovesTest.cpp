// Keyframes moved in time and value, alone and in groups.
#include "CompositionRig.h"

#include "tracks/MarvoNumberFormatter.h"

#include <gtest/gtest.h>
#include <limits>

using namespace marvo;
using namespace marvo::testing;

namespace {

using Times = std::vector<std::int64_t>;
using Values = std::vector<float>;

class KeyframeMoving : public ::testing::Test {
protected:
    KeyframeMoves& moves() { return rig.composition.keyframeMoves; }
    void selectAll(std::int64_t position) {
        rig.track(position).setSelected(true);
        rig.selectKeyframes(position, 0, 300);
    }
    CompositionRig rig; // 300 frames
};

} // namespace

TEST_F(KeyframeMoving, ASingleOneGoesThereAndBackAndThereAgain) {
    rig.addTrackWith("MidiCCValue", {10, 20, 30});
    const auto uID = rig.uID(0, 0);
    const int changes = rig.projectChanges;
    moves().moveKeyFrameWithUID(uID, 0, Frame(25), 70);
    EXPECT_EQ(rig.times(0), (Times{20, 25, 30}));
    EXPECT_EQ(rig.values(0), (Values{10, 70, 10}));
    EXPECT_GT(rig.projectChanges, changes);
    EXPECT_EQ(rig.undo.undoActionName(), "Move Keyframe");
    for (int i = 0; i < 2; ++i) {
        rig.undo.undo();
        EXPECT_EQ(rig.times(0), (Times{10, 20, 30}));
        EXPECT_EQ(rig.values(0), (Values{10, 10, 10}));
        rig.undo.redo();
        EXPECT_EQ(rig.times(0), (Times{20, 25, 30}));
    }
    moves().moveKeyFrameWithUID(uID, 0, Frame(25), 70);
    rig.undo.undo();
    EXPECT_EQ(rig.times(0), (Times{10, 20, 30})) << "a move to its own place is no step";
}

TEST_F(KeyframeMoving, LimitsAreTheCompositionAndTheRangeOfTheKeyframe) {
    rig.addTrackWith("MidiCCValue", {10});
    const MarvoTimelineKeyframe& keyframe = rig.track(0).keyframes().store().all()[0];
    EXPECT_EQ(moves().maxPossibleTimeForTime(Frame(301)), Frame(300));
    EXPECT_EQ(moves().maxPossibleTimeForTime(Frame(-5)), Frame(0));
    EXPECT_EQ(moves().maxPossibleTimeForTime(Frame(299)), Frame(299));
    rig.composition.state.compTime = 10.02f;
    EXPECT_EQ(moves().maxPossibleTimeForTime(Frame(999)), Frame(300)) << "the end is a whole frame";
    EXPECT_EQ(moves().maxPossibleValueForValue(500, keyframe), 127.0f);
    EXPECT_EQ(moves().maxPossibleValueForValue(-5, keyframe), 0.0f);
    EXPECT_EQ(moves().maxPossibleValueForValue(12.5f, keyframe), 12.5f);
}

TEST_F(KeyframeMoving, APlaceOnTheLaneBecomesATimeAndAWholeValue) {
    rig.addTrackWith("MidiCCValue", {10});
    rig.addTrackWith("OSCFlag", {10});
    const MarvoTimelineKeyframe& value = rig.track(0).keyframes().store().all()[0];
    const MarvoTimelineKeyframe& flag = rig.track(1).keyframes().store().all()[0];
    // 600 pixels for 300 frames, 119 for 127 steps.
    const KeyframePlace place = moves().updateKeyFrame(value, 91, 51.5f, 600, 119);
    EXPECT_EQ(place.uID, value.uID);
    EXPECT_EQ(place.time, Frame(50)) << "49.5, rounded";
    EXPECT_EQ(place.value, 64.0f) << "63.5, rounded";
    EXPECT_EQ(moves().updateKeyFrame(flag, 100, 0, 600, 119).time, Frame(50)) << "from its left edge";
    EXPECT_EQ(moves().updateKeyFrame(value, 91, 50, 0, 0).time, Frame(10)) << "a lane without room";
}

TEST_F(KeyframeMoving, AGroupStopsInOnePieceAtTheTightestOfAllTracks) {
    rig.addTrackWith("MidiCCValue", {10, 280});
    rig.addTrackWith("ArtNetValue", {50, 295});
    selectAll(0);
    selectAll(1);
    moves().moveMultiKeyframesOnSelectedTracks(FrameCount(30), 0);
    EXPECT_EQ(rig.times(0), (Times{15, 285}));
    EXPECT_EQ(rig.times(1), (Times{55, 300}));
    moves().moveMultiKeyframesOnSelectedTracks(FrameCount(-40), 0);
    EXPECT_EQ(rig.times(0), (Times{0, 270}));
    EXPECT_EQ(rig.times(1), (Times{40, 285}));
    EXPECT_EQ(rig.undo.undoActionName(), "Move Keyframe");
    rig.undo.undo();
    rig.undo.undo();
    EXPECT_EQ(rig.times(0), (Times{10, 280}));
    EXPECT_EQ(rig.times(1), (Times{50, 295}));
    EXPECT_FALSE(rig.undo.canUndo());
}

TEST_F(KeyframeMoving, OnlyWhatIsSelectedMoves) {
    rig.addTrackWith("MidiCCValue", {10, 100});
    rig.addTrackWith("ArtNetValue", {50});
    rig.selectKeyframes(0, 0, 10);
    moves().moveMultiKeyframesOnTracks(rig.composition.tracks.plainTracks(), FrameCount(7), 3);
    EXPECT_EQ(rig.times(0), (Times{17, 100}));
    EXPECT_EQ(rig.values(0), (Values{13, 10}));
    EXPECT_EQ(rig.times(1), Times{50});
    selectAll(1);
    rig.track(1).setSelected(false);
    rig.track(0).setSelected(true);
    moves().moveMultiKeyframesOnSelectedTracks(FrameCount(1), 0);
    EXPECT_EQ(rig.times(0), (Times{18, 100}));
    EXPECT_EQ(rig.times(1), Times{50}) << "its track is not selected";
}

TEST_F(KeyframeMoving, AGroupMovesValuesByWholeUnitsOnly) {
    rig.addTrackWith("OSCValue", {10}, 10);
    rig.addTrackWith("OSCValue", {10}, 97.5f);
    selectAll(0);
    selectAll(1);
    moves().moveMultiKeyframesOnSelectedTracks(FrameCount(0), 0.9f);
    EXPECT_EQ(rig.values(0), Values{10});
    moves().moveMultiKeyframesOnSelectedTracks(FrameCount(0), 1.9f);
    EXPECT_EQ(rig.values(0), Values{11});
    EXPECT_EQ(rig.values(1), Values{98.5});
    moves().moveMultiKeyframesOnSelectedTracks(FrameCount(0), 10);
    EXPECT_EQ(rig.values(0), Values{12}) << "of the 1.5 that were left";
    EXPECT_EQ(rig.values(1), Values{99.5});
    moves().moveMultiKeyframesOnSelectedTracks(FrameCount(0), -500);
    EXPECT_EQ(rig.values(0), Values{0});
    EXPECT_EQ(rig.values(1), Values{87.5});
    moves().moveMultiKeyframesOnSelectedTracks(FrameCount(0), std::numeric_limits<float>::quiet_NaN());
    EXPECT_EQ(rig.values(1), Values{87.5});
}

TEST_F(KeyframeMoving, AWholeTrackMovesAndComesBackExactly) {
    rig.addTrackWith("OSCValue", {10, 50}, 33.3f);
    moves().moveAllKeyFramesOnTrack(0, FrameCount(-10), 0);
    EXPECT_EQ(rig.times(0), (Times{0, 40}));
    EXPECT_EQ(rig.undo.undoActionName(), "Move Keyframe");
    moves().moveAllKeyFramesOnTrack(0, FrameCount(5), 0.1f);
    EXPECT_EQ(rig.values(0), (Values{33.3f + 0.1f, 33.3f + 0.1f}));
    rig.undo.undo();
    EXPECT_EQ(rig.values(0), (Values{33.3f, 33.3f}));
    rig.undo.undo();
    EXPECT_EQ(rig.times(0), (Times{10, 50}));
    rig.undo.redo();
    EXPECT_EQ(rig.times(0), (Times{0, 40}));
}

TEST_F(KeyframeMoving, SeveralOnSeveralTracksIsWhenTwoTracksHaveSeveral) {
    rig.addTrackWith("MidiCCValue", {10, 20});
    rig.addTrackWith("MidiCCValue", {10, 20});
    selectAll(0);
    rig.selectKeyframes(1, 10, 10);
    EXPECT_FALSE(moves().multiKeyframesSelectedOnMultipleTracks());
    selectAll(1);
    EXPECT_TRUE(moves().multiKeyframesSelectedOnMultipleTracks());
}

TEST_F(KeyframeMoving, MirroredInTimeAboutTheCompositionAndTwiceIsAsItWas) {
    rig.composition.state.compTime = 100.0f / 30.0f;
    rig.addTrackWith("MidiCCValue", {10, 20, 60});
    rig.selectKeyframes(0, 0, 10);
    moves().undoInvertSelectedKeyframesTimeOnTrack(0);
    EXPECT_EQ(rig.times(0), (Times{20, 60, 90}));
    EXPECT_EQ(rig.undo.undoActionName(), "Invert Keyframes Time");
    moves().undoInvertSelectedKeyframesTimeOnTrack(0);
    EXPECT_EQ(rig.times(0), (Times{10, 20, 60}));
    rig.track(0).keyframes().deselectFrames();
    rig.undo.undo();
    EXPECT_EQ(rig.times(0), (Times{20, 60, 90})) << "whatever is selected by then";
    rig.undo.undo();
    EXPECT_EQ(rig.times(0), (Times{10, 20, 60}));
}

TEST_F(KeyframeMoving, MirroredInValueWithinTheRangeOfTheTrack) {
    rig.addTrackWith("OSCValue", {10, 20}, 33.3f);
    rig.track(0).setRange(10, 100);
    const float present = rig.values(0)[0];
    rig.selectKeyframes(0, 0, 10);
    moves().undoInvertSelectedKeyframesValueOnTrack(0);
    EXPECT_EQ(rig.values(0), (Values{100 - (present - 10), present}));
    EXPECT_EQ(rig.undo.undoActionName(), "Invert Keyframes Value");
    rig.undo.undo();
    EXPECT_EQ(rig.values(0), (Values{present, present})) << "to the bit";
}

TEST_F(KeyframeMoving, TheTimeFieldMovesTheSelectionWithTheKeyframeThatItShows) {
    MarvoTimelineTrack& track = rig.addTrackWith("MidiCCValue", {10, 280});
    moves().setTimeOfMultiKeyFrame(0, "50");
    EXPECT_EQ(rig.times(0), (Times{10, 280})) << "no active keyframe";
    selectAll(0);
    track.keyframes().mark([](MarvoTimelineKeyframe& k) { k.isActiveKeyframe = k.time == Frame(10); });
    moves().setTimeOfMultiKeyFrame(0, "0:15");
    EXPECT_EQ(rig.times(0), (Times{15, 285}));
    moves().setTimeOfMultiKeyFrame(0, "-5");
    EXPECT_EQ(rig.times(0), (Times{10, 280}));
    moves().setTimeOfMultiKeyFrame(0, "9:0:0:0");
    EXPECT_EQ(rig.times(0), (Times{30, 300})) << "as far as all of them can go";
    moves().setTimeOfMultiKeyFrame(0, "i");
    EXPECT_EQ(rig.times(0), (Times{0, 270}));
    moves().setTimeOfMultiKeyFrame(0, "");
    EXPECT_EQ(rig.application.beeps, 1);
}

TEST_F(KeyframeMoving, TheValueFieldSpeaksInTheScaleThatIsShown) {
    MarvoTimelineTrack& track = rig.addTrackWith("OSCValue", {10, 20}, 20.0f);
    selectAll(0);
    track.keyframes().mark([](MarvoTimelineKeyframe& k) { k.isActiveKeyframe = k.time == Frame(10); });
    MarvoNumberFormatter formatter;
    moves().setValueOfMultiKeyFrame(0, "0.505", formatter);
    EXPECT_EQ(rig.values(0), (Values{50.5, 50.5}));
    moves().setValueOfMultiKeyFrame(0, "+0.1", formatter);
    EXPECT_EQ(rig.values(0), (Values{60.5, 60.5}));
    moves().setValueOfMultiKeyFrame(0, "7", formatter);
    EXPECT_EQ(rig.values(0), (Values{100, 100}));
    moves().setValueOfMultiKeyFrame(0, "i", formatter);
    EXPECT_EQ(rig.values(0), (Values{0, 0}));
    moves().setValueOfMultiKeyFrame(0, "", formatter);
    EXPECT_EQ(rig.application.beeps, 1);
}
