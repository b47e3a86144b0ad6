// Tracks renamed, readdressed, moved, copied and removed.
#include "CompositionRig.h"

#include <gtest/gtest.h>

using namespace marvo;
using namespace marvo::testing;

namespace {

using Names = std::vector<std::string>;

class TrackEditing : public ::testing::Test {
protected:
    TrackEdits& edits() { return rig.composition.trackEdits; }
    CompositionTracks& tracks() { return rig.composition.tracks; }
    void addNamed(const Names& names) {
        for (const std::string& name : names) rig.addTrack("MidiCCValue").setName(name);
        rig.undo.removeAllActions();
    }
    void select(const Names& names) {
        for (const auto& track : tracks().all())
            track->setSelected(std::find(names.begin(), names.end(), track->name()) != names.end());
    }
    void expectThereAndBack(const std::string& name, const std::string& before) {
        const std::string after = rig.bytes();
        EXPECT_NE(after, before);
        EXPECT_EQ(rig.undo.undoActionName(), name);
        ASSERT_TRUE(rig.undo.undo());
        EXPECT_EQ(rig.bytes(), before) << "taken back";
        EXPECT_EQ(rig.undo.redoActionName(), name);
        ASSERT_TRUE(rig.undo.redo());
        EXPECT_EQ(rig.bytes(), after) << "brought again";
        EXPECT_EQ(rig.undo.undoActionName(), name);
    }
    CompositionRig rig;
};

} // namespace

TEST_F(TrackEditing, ANewNameGoesBackAndItsAddressesFollow) {
    addNamed({"A", "B"});
    rig.addTrack("Composition").setName("C");
    const std::string before = rig.bytes();
    EXPECT_TRUE(rig.track(0).renameTrack("Fog"));
    EXPECT_EQ(rig.track(0).oscNamespace(), rig.composition.oscNamespace() + "/fog");
    expectThereAndBack("Rename Track", before);
    rig.undo.undo();
    EXPECT_EQ(rig.track(0).oscNamespace(), rig.composition.oscNamespace() + "/a");
    edits().undoRenameOnTrack(2, "Sub");
    EXPECT_EQ(rig.names(), (Names{"A", "B", "Sub"}));
    rig.undo.undo();
    EXPECT_EQ(rig.names(), (Names{"A", "B", "C"}));
    EXPECT_FALSE(rig.track(0).renameTrack("B"));
    EXPECT_FALSE(rig.undo.canUndo());
    EXPECT_EQ(rig.application.beeps, 1);
}

TEST_F(TrackEditing, ANewAddressIsWhatTheNextTrackStartsWithUntilItIsTakenBack) {
    rig.addTrack("OSCValue");
    rig.addTrack("OSCColor");
    edits().undoChangeOSCAddressOnTrack(0, "/a");
    edits().undoChangeOSCAddressOnTrack(1, "/b");
    EXPECT_EQ(rig.composition.lastOSCTrackAddress, "/b");
    const std::string before = rig.bytes();
    edits().undoChangeOSCAddressOnTrack(0, "/c");
    EXPECT_EQ(rig.track(0).oscAddress(), "/c");
    EXPECT_EQ(rig.composition.lastOSCTrackAddress, "/c");
    expectThereAndBack("Change OSC Message Address", before);
    rig.undo.undo();
    EXPECT_EQ(rig.composition.lastOSCTrackAddress, "/b") << "not the one of that track";
}

TEST_F(TrackEditing, OSCPreferencesScaleTheKeyframesAndGiveThemBackExactly) {
    rig.addTrackWith("OSCValue", {10, 20}, 33.37f);
    const std::string before = rig.bytes();
    PropertyList data = PropertyList::dictionary();
    data.set("trackOSCType", std::int64_t{1});
    data.set("trackMaxValue", 7.0);
    data.set("sendsNormalisedValue", true);
    edits().undoChangeOSCPreferencesOnTrack(0, data);
    EXPECT_EQ(rig.values(0), (std::vector<float>{2, 2})) << "whole numbers in the new range";
    EXPECT_EQ(rig.track(0).trackOSCType(), 1);
    EXPECT_EQ(rig.track(0).trackMinValue(), 0.0f);
    expectThereAndBack("Change OSC Preferences", before);
    rig.undo.undo();
    EXPECT_EQ(rig.values(0), (std::vector<float>{33.37f, 33.37f}));

    data.set("trackMaxValue", -5.0);
    data.set("trackMinValue", std::numeric_limits<double>::infinity());
    edits().undoChangeOSCPreferencesOnTrack(0, data);
    EXPECT_EQ(rig.track(0).trackMinValue(), -5.0f) << "turned the right way round";
    EXPECT_EQ(rig.track(0).trackMaxValue(), 0.0f);
    rig.addTrack("OSCColor");
    edits().undoChangeOSCPreferencesOnTrack(1, data);
    EXPECT_FALSE(rig.undo.canUndo()) << "of another kind";
}

TEST_F(TrackEditing, OSCColourPreferencesGoBackTogether) {
    rig.addTrackWith("OSCColor", {10});
    auto& track = dynamic_cast<MarvoTimelineColorTrack&>(rig.track(0));
    const std::string before = rig.bytes();
    PropertyList data = PropertyList::dictionary();
    data.set("trackOSCType", std::int64_t{4});
    data.set("trackMaxValue", 1000.0);
    data.set("shouldSendAlpha", true);
    data.set("addressG", "green");
    edits().undoChangeOSCColorPreferencesOnTrack(0, data);
    EXPECT_EQ(track.subAddresses(), (std::array<std::string, 4>{"r", "green", "b", "a"}));
    EXPECT_TRUE(track.shouldSendAlpha());
    EXPECT_EQ(track.trackOSCType(), 4);
    expectThereAndBack("Change OSC Color Preferences", before);
}

TEST_F(TrackEditing, AChannelThatLeavesNoRoomForSixteenBitsGivesThemBackWithEachValue) {
    MarvoTimelineTrack& track = rig.addTrackWith("ArtNetValue", {});
    track.artNet16bitButton.setState(true);
    track.toggle16BitArtNet();
    track.addNewKeyFrameWithData(keyframeAt(10, 12345));
    const std::string before = rig.bytes();
    edits().undoChangeArtNetChannelOnTrack(0, "512");
    EXPECT_FALSE(track.is16BitArtNet());
    EXPECT_EQ(rig.values(0), std::vector<float>{48});
    expectThereAndBack("Change Art-Net Channel", before);
    rig.undo.undo();
    EXPECT_TRUE(rig.track(0).is16BitArtNet());
    EXPECT_EQ(rig.values(0), std::vector<float>{12345});
    edits().undoChangeArtNetChannelOnTrack(0, " 1 ");
    EXPECT_FALSE(rig.undo.canUndo()) << "the same list in other words is no step";
}

TEST_F(TrackEditing, ATrackMovesAndTheOthersMakeRoom) {
    addNamed({"A", "B", "C", "D"});
    const std::string before = rig.bytes();
    tracks().moveTrack(3, 1);
    EXPECT_EQ(rig.names(), (Names{"A", "D", "B", "C"}));
    expectThereAndBack("Move Track", before);
    rig.undo.undo();
    tracks().moveTrack(2, 2);
    EXPECT_FALSE(rig.undo.canUndo());
    tracks().undoSetPosition(2, "A");
    EXPECT_EQ(rig.undo.undoActionName(), "Move Track");
    rig.undo.undo();
    EXPECT_EQ(rig.bytes(), before);
}

TEST_F(TrackEditing, SeveralTracksMoveInOneStep) {
    addNamed({"A", "B", "C", "D", "E"});
    select({"C", "E"});
    const std::string before = rig.bytes();
    edits().moveTracksBeforeTrack(0, 3);
    EXPECT_EQ(rig.names(), (Names{"D", "C", "E", "A", "B"}));
    expectThereAndBack("Move Tracks", before);
    rig.undo.undo();
    EXPECT_FALSE(rig.undo.canUndo());
    edits().moveTracksBeforeTrack(3, 3);
    EXPECT_FALSE(rig.undo.canUndo());
}

TEST_F(TrackEditing, SortingIsOneStep) {
    addNamed({"C", "A", "B"});
    const std::string before = rig.bytes();
    tracks().doSortTracks("Track Name", 0);
    EXPECT_EQ(rig.names(), (Names{"A", "B", "C"}));
    expectThereAndBack("Sort Tracks", before);
    tracks().doSortTracks("Track Name", 1);
    EXPECT_EQ(rig.names(), (Names{"C", "B", "A"}));
}

TEST_F(TrackEditing, CopiesStandBehindTheirOriginalsUnderNamesOfTheirOwn) {
    addNamed({"A", "B", "A (copy)"});
    rig.track(0).addNewKeyFrameWithData(keyframeAt(10, 5));
    select({"A", "B"});
    const std::string before = rig.bytes();
    edits().duplicateTracks();
    EXPECT_EQ(rig.names(), (Names{"A", "A (copy) (copy)", "B", "B (copy)", "A (copy)"}));
    EXPECT_EQ(rig.values(1), std::vector<float>{5});
    EXPECT_NE(rig.uID(1, 0), rig.uID(0, 0)) << "keyframes of its own";
    expectThereAndBack("Duplicate Tracks", before);
    rig.undo.undo();
    EXPECT_FALSE(rig.undo.canUndo());
    rig.application.locked = true;
    edits().duplicateTracks();
    EXPECT_EQ(tracks().count(), 3u);
}

TEST_F(TrackEditing, RemovedTracksComeBackToTheirRowsAndTheirPlacesInTheList) {
    addNamed({"A", "B", "C", "D", "E"});
    tracks().moveTrack(4, 0);
    tracks().moveTrack(2, 4);
    rig.undo.removeAllActions();
    std::string before = rig.bytes();
    tracks().undoRemoveTracksWithPositions({0, 1, 3});
    EXPECT_EQ(rig.names(), (Names{"C", "B"}));
    expectThereAndBack("Remove Tracks", before);
    before = rig.bytes();
    tracks().undoRemoveTracksWithPositions({0});
    expectThereAndBack("Remove Track", before);
}

TEST_F(TrackEditing, AnUndoBringsATrackBackAlsoWhenTheProjectWasLockedMeanwhile) {
    addNamed({"A", "B"});
    const std::string before = rig.bytes();
    tracks().undoRemoveTracksWithPositions({0});
    rig.application.locked = true;
    EXPECT_EQ(tracks().createTrackOfTpye("OSCValue"), nullptr);
    rig.undo.undo();
    EXPECT_EQ(rig.bytes(), before);
    tracks().clearComposition();
    EXPECT_EQ(tracks().count(), 2u);
    rig.application.locked = false;
    tracks().clearComposition();
    EXPECT_EQ(tracks().count(), 0u);
    rig.undo.undo();
    EXPECT_EQ(rig.bytes(), before);
}

TEST_F(TrackEditing, PastedTracksPushThoseBelowDownAndAreOneStep) {
    addNamed({"A", "B"});
    PropertyList records = PropertyList::dictionary();
    for (const std::int64_t position : {1, 2}) {
        PropertyList record = PropertyList::dictionary();
        record.set("trackType", "OSCFlag");
        record.set("trackName", "A");
        record.set("trackPos", position);
        records.set("tr-" + std::to_string(position), record);
    }
    const std::string before = rig.bytes();
    tracks().addTracksWithBackupDatas(records);
    EXPECT_EQ(rig.names(), (Names{"A", "A (copy)", "A (copy) (copy)", "B"}));
    expectThereAndBack("Add Tracks", before);
}

TEST_F(TrackEditing, ANewTrackGoesAndComesBack) {
    addNamed({"A"});
    const std::string before = rig.bytes();
    tracks().createTrackOfTpye("OSCValue");
    expectThereAndBack("Add Track", before);
}

TEST_F(TrackEditing, ATrackThatComesBackStillWaitsForTheOutputThatIsGone) {
    rig.world.midi.plug("Aux");
    rig.addTrack("MidiCCValue");
    rig.track(0).selectMIDIOutput("Aux");
    rig.world.midi.unplug("Aux");
    rig.track(0).midiOutputsChanged();
    ASSERT_EQ(rig.track(0).settings().midiOut, "Desk");
    tracks().undoRemoveTracksWithPositions({0});
    rig.undo.undo();
    EXPECT_EQ(rig.track(0).settings().midiOut, "Desk");
    EXPECT_EQ(rig.bytes().find("lastSelected"), std::string::npos) << "nothing of this is saved";
    rig.world.midi.plug("Aux");
    rig.track(0).midiOutputsChanged();
    EXPECT_EQ(rig.track(0).settings().midiOut, "Aux");
}
