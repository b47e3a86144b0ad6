// Another length, another rate, and the cut to the working area.
#include "CompositionRig.h"

#include <gtest/gtest.h>
#include <limits>

using namespace marvo;
using namespace marvo::testing;

namespace {

using Times = std::vector<std::int64_t>;

class LengthChange : public ::testing::Test {
protected:
    CompositionSettingsChanges& settings() { return rig.composition.settings; }
    void workingArea(std::int64_t in, std::int64_t out) {
        rig.composition.markerController.setInTime(Frame(in));
        rig.composition.markerController.setOutTime(Frame(out));
    }
    void expectThereAndBack(const std::string& name, const std::string& before) {
        const std::string after = rig.bytes();
        EXPECT_NE(after, before);
        EXPECT_EQ(rig.undo.undoActionName(), name);
        ASSERT_TRUE(rig.undo.undo());
        EXPECT_EQ(rig.bytes(), before) << "taken back";
        ASSERT_TRUE(rig.undo.redo());
        EXPECT_EQ(rig.bytes(), after) << "brought again";
        ASSERT_TRUE(rig.undo.undo());
        EXPECT_EQ(rig.bytes(), before) << "taken back again";
        EXPECT_FALSE(rig.undo.canUndo()) << "in one step";
        ASSERT_TRUE(rig.undo.redo());
    }
    CompositionRig rig; // 300 frames at 30
};

} // namespace

TEST_F(LengthChange, ADoubledRateDoublesEveryFrameAndGoesBack) {
    rig.addTrackWith("MidiCCValue", {30, 151, 300});
    rig.addCues({61, 270});
    const std::string before = rig.bytes();
    settings().setNewCompTime(10.0f, 60, {}, {});
    EXPECT_EQ(rig.times(0), (Times{60, 302, 600}));
    EXPECT_EQ(rig.cueTimes(), (Times{122, 540}));
    EXPECT_EQ(rig.composition.outTime(), Frame(600));
    expectThereAndBack("Change Composition Preferences", before);
}

TEST_F(LengthChange, ALowerRateGivesBackTheFramesThatItHadNoPlaceFor) {
    rig.addTrackWith("MidiCCValue", {30, 31, 151, 299});
    rig.addCues({60, 61, 270});
    workingArea(11, 201);
    const std::string before = rig.bytes();
    settings().setNewCompTime(10.0f, 15, {}, {});
    EXPECT_EQ(rig.times(0), (Times{15, 15, 75, 149}));
    EXPECT_EQ(rig.cueTimes(), (Times{30, 30, 135}));
    EXPECT_EQ(rig.composition.inTime(), Frame(5));
    expectThereAndBack("Change Composition Preferences", before);
}

TEST_F(LengthChange, WhatAShorterOneHasNoRoomForComesBackWithAllItHad) {
    MarvoTimelineTrack& notes = rig.addTrackWith("MidiNotes", {});
    notes.addNewKeyFrameWithData(noteAt(10, 60, 11, 12));
    notes.addNewKeyFrameWithData(noteAt(200, 61, 21, 22));
    rig.addTrackWith("OSCColor", {150, 151, 152});
    rig.addCues({10, 151, 280});
    rig.onCues([](CueEdits& cues) { cues.undoRenameCueWithName(2, "Storm"); });
    rig.undo.removeAllActions();
    workingArea(40, 300);
    const std::string before = rig.bytes();
    settings().setNewCompTime(5.0f, 30, {}, {});
    EXPECT_EQ(rig.times(0), Times{10});
    EXPECT_EQ(rig.times(1), Times{150}) << "the last frame is inside";
    EXPECT_EQ(rig.cueTimes(), Times{10});
    EXPECT_EQ(rig.composition.outTime(), Frame(150));
    expectThereAndBack("Change Composition Preferences", before);
}

TEST_F(LengthChange, RateAndLengthTogetherGoBackExactly) {
    rig.addTrackWith("MidiCCValue", {1, 3, 77, 149, 298, 299, 299});
    rig.addCues({7, 7, 299});
    const std::string before = rig.bytes();
    settings().setNewCompTime(7.3f, 24, {}, {});
    expectThereAndBack("Change Composition Preferences", before);
}

TEST_F(LengthChange, TheGivenKeyframesAndCuesComeIn) {
    rig.addTrackWith("MidiCCValue", {10});
    CueRecord cue;
    cue.time = 40;
    settings().setNewCompTime(20.0f, 30, {{0, keyframeAt(450, 7)}, {9, keyframeAt(1, 1)}}, {cue});
    EXPECT_EQ(rig.times(0), (Times{10, 450}));
    EXPECT_EQ(rig.cueTimes(), Times{40});
}

TEST_F(LengthChange, KeyframesOfATrackThatIsOnlyKeptGoBackToTheByte) {
    PropertyList audio = PropertyList::dictionary();
    audio.set("trackType", "AudioFile");
    audio.set("trackName", "Music");
    PropertyList keyframes = PropertyList::dictionary();
    for (const char* key : {"0", "b", "a"}) keyframes.set(key, keyframeAt(31 + key[0], 1.0f));
    audio.set("keyFrames", keyframes);
    PropertyList records = PropertyList::dictionary();
    records.set("tr-0", audio);
    rig.composition.tracks.addTracksWithBackupDatas(records);
    rig.undo.removeAllActions();
    const std::string before = rig.bytes();
    settings().setNewCompTime(4.0f, 24, {}, {});
    expectThereAndBack("Change Composition Preferences", before);
}

TEST_F(LengthChange, TrimmedToTheWorkingAreaEverythingButCuesMovesToTheStart) {
    rig.addTrackWith("MidiCCValue", {30, 60, 150, 210, 211});
    rig.addTrackWith("OSCFlag", {10, 250});
    rig.addCues({60, 270});
    workingArea(60, 210);
    const std::string before = rig.bytes();
    settings().trimToWorkArea();
    EXPECT_EQ(rig.times(0), (Times{0, 90, 150})) << "both edges are inside";
    EXPECT_EQ(rig.times(1), Times{});
    EXPECT_EQ(rig.cueTimes(), Times{60}) << "cues stay, and go where there is no room";
    EXPECT_EQ(rig.composition.compTime(), 5.0f);
    EXPECT_EQ(rig.composition.inTime(), Frame(0));
    EXPECT_EQ(rig.composition.outTime(), Frame(150));
    expectThereAndBack("Change Working Area", before);
}

TEST_F(LengthChange, AWorkingAreaWithoutLengthIsNotTrimmedTo) {
    rig.addTrackWith("MidiCCValue", {30});
    workingArea(200, 100);
    settings().trimToWorkArea();
    EXPECT_EQ(rig.application.beeps, 1);
    EXPECT_EQ(rig.times(0), Times{30});
    EXPECT_EQ(rig.composition.compTime(), 10.0f);
    EXPECT_FALSE(rig.undo.canUndo());
}

TEST_F(LengthChange, AWorkingAreaOfADamagedFileIsNotTrimmedTo) {
    rig.addTrackWith("MidiCCValue", {30});
    workingArea(std::numeric_limits<std::int64_t>::min(), 100);
    settings().trimToWorkArea();
    EXPECT_EQ(rig.application.beeps, 1);
    EXPECT_EQ(rig.times(0), Times{30});
    EXPECT_EQ(rig.composition.compTime(), 10.0f);
    EXPECT_FALSE(rig.undo.canUndo());
}

TEST_F(LengthChange, AChangedWorkingAreaGoesBack) {
    const std::string before = rig.bytes();
    rig.composition.markerController.undoSetMarkerInTimeOutTime(Frame(10), Frame(20));
    expectThereAndBack("Change Working Area", before);
    rig.composition.markerController.undoSetInTimeOutTime(Frame(30), Frame(40));
    rig.undo.undo();
    EXPECT_EQ(rig.composition.inTime(), Frame(0)) << "the half of a trim is no step of its own";
}
