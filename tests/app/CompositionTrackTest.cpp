// Tracks that stand for another composition, in a whole application.
#include "Show.h"

#include "composition/MarvoTimelineCompositionTrack.h"

#include "RealtimeScope.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace marvo::testing {
namespace {

using ::testing::ElementsAre;
using Source = MarvoTimelineCompositionTrack::Source;

PropertyList compositionTrack(const std::string& name) {
    PropertyList track = PropertyList::dictionary();
    track.set("trackPos", std::int64_t{0});
    track.set("trackType", "Composition");
    track.set("trackName", name);
    track.set("enabledButton", buttonOf(true));
    track.set("isLocked", false);
    track.set("isCollapsed", false);
    return track;
}

PropertyList pointingAtEachOther() {
    return projectOf(
        {compositionOf("Act", 30, 2.0f,
                       {compositionTrack("Inner"), oscTrack("Level", "/a", {{0, 0}, {30, 100}})}, true),
         compositionOf("Break", 30, 2.0f, {compositionTrack("Back")}, true)},
        "Out");
}

MarvoTimelineCompositionTrack& blockOf(Show& show, std::size_t composition = 0, std::size_t track = 0) {
    return dynamic_cast<MarvoTimelineCompositionTrack&>(*show.composition(composition).tracks.all()[track]);
}

const PropertyList& recordOf(const PropertyList& project, const char* composition, const char* track) {
    return *project.find(composition)->find("tracks")->find(track);
}

PropertyList without(const PropertyList& list, const char* key) {
    PropertyList copy = list;
    copy.remove(key);
    return copy;
}

TEST(CompositionTrack, AShowWithOneLoadsPlaysAndSavesAndNothingLeavesIt) {
    Show show(pointingAtEachOther());
    show.playAll();
    show.tick(5000);
    bool levelSent = false;
    for (const Sent& one : show.take()) {
        EXPECT_NE(one.track, "Inner");
        EXPECT_NE(one.track, "Back");
        levelSent = levelSent || one.track == "Level";
    }
    EXPECT_TRUE(levelSent);
    EXPECT_TRUE(show.sentMIDI.empty());
    EXPECT_TRUE(show.storedDMX.empty());
    const PropertyList saved = show.saved();
    EXPECT_EQ(recordOf(saved, "Comp-0", "tr-0"), compositionTrack("Inner"));
    EXPECT_EQ(recordOf(saved, "Comp-1", "tr-0"), compositionTrack("Back"));
}

TEST(CompositionTrack, TheCompositionItPointsAtIsNeitherStartedNorMovedNorStopped) {
    Show show(pointingAtEachOther());
    for (std::size_t i = 0; i < 2; ++i) blockOf(show, i).buildCompositionsList();
    blockOf(show, 0).selectCompositionSource("Break");
    ASSERT_EQ(blockOf(show, 0).compositionSource(), "Break");
    ASSERT_EQ(blockOf(show, 1).compositionSource(), "Act");

    show.composition(0).transport.togglePlay();
    show.tick(5000);
    EXPECT_TRUE(show.composition(0).state.isRunning);
    EXPECT_FALSE(show.composition(1).state.isRunning);
    EXPECT_EQ(show.frame(1), 0);
    show.composition(1).transport.togglePlay();
    show.tick(100);
    show.composition(0).transport.togglePlay();
    EXPECT_FALSE(show.composition(0).state.isRunning);
    EXPECT_TRUE(show.composition(1).state.isRunning);
}

TEST(CompositionTrack, WhatTheTickAsksOfItAllocatesNothingAndWaitsForNobody) {
    Show show(pointingAtEachOther());
    for (std::size_t i = 0; i < 2; ++i) blockOf(show, i).buildCompositionsList();
    MarvoTimelineCompositionTrack& track = blockOf(show);
    RealtimeScope scope;
    track.compositionStarted();
    for (std::int64_t frame = 0; frame < 100; ++frame) track.processAtTime(Frame(frame));
    track.compositionJumped();
    track.compositionLooped();
    track.compositionLoopedByCue();
    track.compositionStopped();
    EXPECT_EQ(scope.violations(), 0u);
}

TEST(CompositionTrack, ItsSourcesAreTheSortedNamesAndItsOwnCompositionCannotBeChosen) {
    Show show(projectOf({compositionOf("Storm", 30, 2.0f, {}),
                         compositionOf("Calm", 30, 2.0f, {compositionTrack("T")}),
                         compositionOf("Aria", 30, 2.0f, {})}));
    MarvoTimelineCompositionTrack& track = blockOf(show, 1);
    track.buildCompositionsList();
    EXPECT_THAT(track.compositionSources(),
                ElementsAre(Source{"Aria", true}, Source{"Calm", false}, Source{"Storm", true}));
    track.selectCompositionSource("Storm");
    EXPECT_EQ(track.compositionSource(), "Storm");
    EXPECT_TRUE(track.hasComposition());
    track.selectCompositionSource("Calm");
    EXPECT_EQ(track.compositionSource(), "Storm");
    track.selectCompositionSource("Nobody");
    EXPECT_EQ(track.compositionSource(), "Storm");
}

TEST(CompositionTrack, ARenamedSourceIsListedAnewWithTheNextSettingAndIsNotSelectedAnyMore) {
    Show show(projectOf({compositionOf("Main", 30, 2.0f, {compositionTrack("T")}),
                         compositionOf("Aria", 30, 2.0f, {}), compositionOf("Storm", 30, 2.0f, {})}));
    MarvoTimelineCompositionTrack& track = blockOf(show);
    track.buildCompositionsList();
    track.selectCompositionSource("Storm");
    show.application.compositions.selectCompositionAtIndex(2);
    ASSERT_TRUE(show.application.compositions.renameSelectedComposition("Thunder"));
    EXPECT_EQ(track.compositionSource(), "Storm");
    track.trackSettingsChangedAndShouldReprocess(true);
    EXPECT_THAT(track.compositionSources(),
                ElementsAre(Source{"Aria", true}, Source{"Main", false}, Source{"Thunder", true}));
    EXPECT_EQ(track.compositionSource(), "Aria");
    // What is still there stays selected.
    track.selectCompositionSource("Thunder");
    track.trackSettingsChangedAndShouldReprocess(true);
    EXPECT_EQ(track.compositionSource(), "Thunder");
}

TEST(CompositionTrack, WithOneCompositionThereIsNothingToStandFor) {
    Show show(projectOf(
        {compositionOf("Only", 30, 2.0f, {compositionTrack("T")}), compositionOf("Two", 30, 2.0f, {})}));
    MarvoTimelineCompositionTrack& track = blockOf(show);
    track.buildCompositionsList();
    track.selectCompositionSource("Two");
    EXPECT_TRUE(track.hasComposition());
    show.application.compositions.removeCompositionAtIndex(1);
    track.buildCompositionsList();
    EXPECT_THAT(track.compositionSources(), ElementsAre(Source{"Only", false}));
    EXPECT_FALSE(track.hasComposition());
}

TEST(CompositionTrack, TheSourceAndTheStartAreNotSaved) {
    Show show(pointingAtEachOther());
    MarvoTimelineCompositionTrack& track = blockOf(show);
    const PropertyList before = track.backupDataForUndo(false);
    EXPECT_EQ(track.startPosition(), 0);
    track.setStartPosition(30 * 125 + 7);
    EXPECT_EQ(track.displayCompStartTime(), "02:05:07");
    track.buildCompositionsList();
    track.selectCompositionSource("Break");
    EXPECT_EQ(track.backupDataForUndo(false), before);
    EXPECT_EQ(track.backupDataForUndo(true), before);
}

TEST(CompositionTrack, EveryKeyOfItsRecordComesBackAndUnknownOnesToo) {
    PropertyList record = compositionTrack("Café One");
    record.set("trackPos", std::int64_t{3});
    record.set("isLocked", true);
    record.set("isCollapsed", true);
    record.set("enabledButton", buttonOf(false));
    record.set("somethingNewer", "kept");
    Show show(projectOf(
        {compositionOf("Act", 30, 2.0f, {compositionTrack("Other")}), compositionOf("B", 30, 2.0f, {})}));
    MarvoTimelineCompositionTrack& track = blockOf(show);
    track.setSelected(true);
    // Where other kinds keep their place when asked to, this one does not.
    track.restoreWithData(record, false, nullptr);
    EXPECT_EQ(track.trackPosition(), 3);
    EXPECT_FALSE(track.isEnabled());
    EXPECT_TRUE(track.isLocked());
    EXPECT_TRUE(track.laneHeight.isCollapsed());
    EXPECT_FALSE(track.isSelected());
    EXPECT_EQ(track.backupDataForUndo(false), record);
}

TEST(CompositionTrack, MissingKeysLeaveWhatIsThere) {
    Show show(projectOf(
        {compositionOf("Act", 30, 2.0f, {compositionTrack("Kept")}), compositionOf("B", 30, 2.0f, {})}));
    MarvoTimelineCompositionTrack& track = blockOf(show);
    const PropertyList full = compositionTrack("Kept");
    for (const char* key : {"trackPos", "trackName", "enabledButton", "isLocked", "isCollapsed"}) {
        track.restoreWithData(without(full, key), true, nullptr);
        EXPECT_EQ(track.backupDataForUndo(false), full) << key;
    }
    track.restoreWithData(PropertyList::dictionary(), true, nullptr);
    EXPECT_EQ(track.backupDataForUndo(false), full);
}

TEST(CompositionTrack, IsSwitchedByItsAddressWhichFollowsEveryName) {
    Show show(pointingAtEachOther());
    MarvoTimelineCompositionTrack& track = blockOf(show);
    EXPECT_EQ(track.oscNamespace(), "/marvo/act/inner");
    show.receive("/marvo/act/inner/enable", 0);
    EXPECT_FALSE(track.isEnabled());
    EXPECT_EQ(*recordOf(show.saved(), "Comp-0", "tr-0").find("enabledButton"), buttonOf(false));
    ASSERT_TRUE(track.renameTrack("Été 2"));
    show.receive("/marvo/act/inner/enable", 1);
    EXPECT_FALSE(track.isEnabled());
    show.receive("/marvo/act/ete2/enable", 1);
    EXPECT_TRUE(track.isEnabled());
    EXPECT_FALSE(track.renameTrack("Level"));
    EXPECT_EQ(track.name(), "Été 2");
    show.application.compositions.selectCompositionAtIndex(0);
    ASSERT_TRUE(show.application.compositions.renameSelectedComposition("First"));
    show.receive("/marvo/first/ete2/enable", 0);
    EXPECT_FALSE(track.isEnabled());
    // Like any other it sets its range where it sets its addresses.
    EXPECT_EQ(track.trackMinValue(), 0.0f);
    EXPECT_EQ(track.trackMaxValue(), 1.0f);
}

TEST(CompositionTrack, ARemovedOneComesBackWithUndoInItsPlaceAndAtItsAddress) {
    Show show(pointingAtEachOther());
    const PropertyList before = show.saved();
    show.composition().tracks.undoRemoveTracksWithPositions({0});
    ASSERT_EQ(show.composition().tracks.count(), 1u);
    show.receive("/marvo/act/inner/enable", 0);
    show.application.undo.undo();
    ASSERT_EQ(show.composition().tracks.count(), 2u);
    MarvoTimelineTrackProtocol* back = show.composition().tracks.trackWithName("Inner");
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(back->trackPosition(), 0);
    EXPECT_NE(dynamic_cast<MarvoTimelineCompositionTrack*>(back), nullptr);
    show.receive("/marvo/act/inner/enable", 0);
    EXPECT_FALSE(back->isEnabled());
    show.application.undo.redo();
    EXPECT_EQ(show.composition().tracks.count(), 1u);
}

TEST(CompositionTrack, TakesPartInMutingSortingAndMoving) {
    Show show(pointingAtEachOther());
    CompositionTracks& tracks = show.composition().tracks;
    tracks.setSoloTrack(tracks.trackWithName("Level"));
    EXPECT_FALSE(blockOf(show).isEnabled());
    tracks.unmuteTracks();
    EXPECT_TRUE(blockOf(show).isEnabled());
    tracks.moveTrack(0, 1);
    EXPECT_EQ(blockOf(show).trackPosition(), 1);
    tracks.doSortTracks("Track Type", 0);
    EXPECT_EQ(blockOf(show).trackPosition(), 0);
    blockOf(show).lockTrack(true);
    EXPECT_TRUE(blockOf(show).isLocked());
    blockOf(show).unlockTrack();
    EXPECT_FALSE(blockOf(show).isLocked());
}

// The wrong type text is what a menu would have passed; files alone bring such tracks.
TEST(CompositionTrack, TheTypeInThePluralMakesAPlainTrack) {
    Show show(pointingAtEachOther());
    MarvoTimelineTrackProtocol* plain = show.composition().tracks.createTrackOfTpye("Compositions");
    EXPECT_NE(dynamic_cast<MarvoTimelineTrack*>(plain), nullptr);
    MarvoTimelineTrackProtocol* block = show.composition().tracks.createTrackOfTpye("Composition");
    EXPECT_NE(dynamic_cast<MarvoTimelineCompositionTrack*>(block), nullptr);
}

} // namespace
} // namespace marvo::testing
