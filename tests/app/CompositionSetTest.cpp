#include "Show.h"

#include <gtest/gtest.h>

using namespace marvo;
using namespace marvo::testing;

namespace {

PropertyList threeCompositions() {
    std::vector<PropertyList> compositions;
    for (const char* name : {"One", "Two", "Three"}) {
        compositions.push_back(
            compositionOf(name, 30, 1.0f, {oscTrack("A", std::string("/") + name, {{0, 0}, {30, 100}})}));
    }
    return projectOf(compositions);
}

std::vector<bool> running(Show& show) {
    std::vector<bool> states;
    for (const auto& element : show.application.compositions.all()) {
        states.push_back(element->timelineController().state.isRunning);
    }
    return states;
}

void press(Show& show, MarvoButton& button, bool on = true) {
    button.setState(on);
    button.sendAction();
    show.main.pump();
}

} // namespace

TEST(CompositionSet, ANewCompositionHasTheDefaultsOfThePreferences) {
    Show show;
    show.application.prefs.compDefaultsChanged(1, 5, 25, false);
    show.application.newProject();
    EXPECT_EQ(show.composition().compName(), "Composition 1");
    EXPECT_EQ(show.composition().state.compFPS.get(), 25);
    EXPECT_EQ(show.composition().state.compTime.get(), 65.0f);
    EXPECT_FALSE(show.composition().loops());
    EXPECT_EQ(show.composition().markerController.outTime(), Frame(65 * 25));
}

TEST(CompositionSet, NumbersStartAtTheCountAndSkipTakenNames) {
    Show show(projectOf({compositionOf("A", 30, 1.0f, {}), compositionOf("Composition 3", 30, 1.0f, {})}));
    EXPECT_EQ(show.application.compositions.createComposition().compName(), "Composition 4");
}

TEST(CompositionSet, TheSelectedOneMayKeepItsNameButNotTakeAnothers) {
    Show show(threeCompositions());
    show.application.compositions.selectCompositionAtIndex(0);
    EXPECT_TRUE(show.application.compositions.renameSelectedComposition("One"));
    EXPECT_FALSE(show.application.compositions.renameSelectedComposition("Two"));
    EXPECT_FALSE(show.application.compositions.renameSelectedComposition(""));
    EXPECT_TRUE(show.application.compositions.renameSelectedComposition("two"));
}

TEST(CompositionSet, RenamingMovesEveryAddress) {
    Show show(threeCompositions());
    show.application.compositions.selectCompositionAtIndex(0);
    show.application.compositions.renameSelectedComposition("Über Alles");
    show.receive("/marvo/one/play", 1);
    EXPECT_FALSE(show.composition().state.isRunning);
    show.receive("/marvo/uberalles/play", 1);
    EXPECT_TRUE(show.composition().state.isRunning);
}

TEST(CompositionSet, MovingDownLandsWhereItIsToldAndUndoRepeatsTheMove) {
    Show show(threeCompositions());
    show.application.compositions.moveComposition(0, 3);
    EXPECT_EQ(show.application.compositions.compositionNames(),
              (std::vector<std::string>{"Two", "Three", "One"}));
    show.application.undo.undo();
    EXPECT_EQ(show.application.compositions.compositionNames(),
              (std::vector<std::string>{"Three", "One", "Two"}));
}

TEST(CompositionSet, WhatIsSelectedStaysSelectedThroughEveryMove) {
    for (std::int64_t selected = 0; selected < 3; ++selected) {
        for (std::int64_t from = 0; from < 3; ++from) {
            for (std::int64_t to = 0; to <= 3; ++to) {
                Show show(threeCompositions());
                show.application.compositions.selectCompositionAtIndex(selected);
                const MarvoTimelineController* before = show.application.selectedComposition();
                show.application.compositions.moveComposition(from, to);
                EXPECT_EQ(show.application.selectedComposition(), before)
                    << selected << ": " << from << " to " << to;
                show.application.undo.undo();
                EXPECT_EQ(show.application.selectedComposition(), before);
            }
        }
    }
}

TEST(CompositionSet, AMoveWithoutASelectionSelectsNothing) {
    Show show(threeCompositions());
    show.application.compositions.selectOrClear(-1);
    show.application.compositions.moveComposition(2, 0);
    EXPECT_EQ(show.application.compositions.selectedCompositionIndex(), -1);
}

TEST(CompositionSet, ADuplicateHasTheTracksButNotTheName) {
    Show show(threeCompositions());
    show.application.compositions.duplicateComposition(1);
    ASSERT_EQ(show.application.compositions.count(), 4u);
    EXPECT_EQ(show.composition(3).compName(), "Composition 4");
    EXPECT_EQ(show.composition(3).tracks.count(), 1u);
    show.application.undo.undo();
    EXPECT_EQ(show.application.compositions.count(), 3u);
    show.application.undo.redo();
    EXPECT_EQ(show.application.compositions.count(), 4u);
}

TEST(CompositionSet, ARemovalForgetsTheStepsThatNameRows) {
    Show show(threeCompositions());
    show.application.compositions.moveComposition(0, 2);
    show.composition(2).tracks.createTrackOfTpye("OSCValue");
    show.application.removeCompositionAtIndex(0);
    EXPECT_EQ(show.application.undo.undoActionName(), "Add Track") << "those of the others stay";
    show.application.undo.undo();
    EXPECT_FALSE(show.application.undo.canUndo());
    EXPECT_EQ(show.application.compositions.compositionNames(), (std::vector<std::string>{"Three", "One"}));
}

TEST(CompositionSet, AnUndoneDuplicateThatLeavesOneLeavesNoMode) {
    Show show(projectOf({compositionOf("One", 30, 1.0f, {})}));
    MasterTransport& master = show.application.master;
    show.application.compositions.duplicateComposition(0);
    EXPECT_TRUE(master.queuedModeButton.isEnabled());
    press(show, master.queuedModeButton);
    press(show, master.soloModeButton);
    show.application.undo.undo();
    for (MarvoButton* mode : {&master.queuedModeButton, &master.soloModeButton, &master.queuedLoopButton}) {
        EXPECT_FALSE(mode->state());
        EXPECT_FALSE(mode->isEnabled());
    }
    show.application.undo.redo();
    EXPECT_TRUE(master.soloModeButton.isEnabled());
    EXPECT_FALSE(master.soloModeButton.state());
}

TEST(CompositionSet, ARunningCompositionMayBeRemoved) {
    Show show(threeCompositions());
    show.playAll();
    show.tick(100);
    show.application.removeCompositionAtIndex(1);
    show.tick(100);
    EXPECT_EQ(show.application.compositions.compositionNames(), (std::vector<std::string>{"One", "Three"}));
    while (show.application.compositions.count() > 0) show.application.removeCompositionAtIndex(0);
    show.tick(10);
    EXPECT_EQ(show.application.compositions.selectedComposition(), nullptr);
}

TEST(MasterTransport, PlayAllStartsEveryEnabledCompositionAndStopsAll) {
    Show show(threeCompositions());
    show.composition(1).changeCompState(false);
    show.playAll();
    EXPECT_EQ(running(show), (std::vector<bool>{true, false, true}));
    show.stopAll();
    EXPECT_EQ(running(show), (std::vector<bool>{false, false, false}));
}

TEST(MasterTransport, AQueueRunsOneAfterTheOtherAndSkipsMutedOnes) {
    Show show(threeCompositions());
    show.application.compositions.selectCompositionAtIndex(0);
    show.composition(1).changeCompState(false);
    press(show, show.application.master.queuedModeButton);
    show.playAll();
    EXPECT_EQ(running(show), (std::vector<bool>{true, false, false}));
    show.tick(1100);
    EXPECT_EQ(running(show), (std::vector<bool>{false, false, true}));
    EXPECT_EQ(show.application.compositions.selectedCompositionIndex(), 2);
    show.tick(1100);
    EXPECT_EQ(running(show), (std::vector<bool>{false, false, false})) << "without loop the queue just stops";
}

TEST(MasterTransport, ALoopedQueueBeginsAgain) {
    Show show(threeCompositions());
    show.application.compositions.selectCompositionAtIndex(2);
    press(show, show.application.master.queuedModeButton);
    show.application.master.queuedLoopButton.setState(true);
    show.playAll();
    show.tick(1100);
    EXPECT_EQ(running(show), (std::vector<bool>{true, false, false}));
}

TEST(MasterTransport, InSoloModeOnlyTheLastOneStartedPlays) {
    Show show(threeCompositions());
    press(show, show.application.master.soloModeButton);
    show.composition(0).transport.togglePlay();
    show.composition(2).transport.togglePlay();
    EXPECT_EQ(running(show), (std::vector<bool>{false, false, true}));
}

TEST(MasterTransport, QueuedModeGoesBeforeSoloModeAndStillStopsTheOthers) {
    Show show(threeCompositions());
    show.composition(1).transport.togglePlay();
    show.application.compositions.selectCompositionAtIndex(0);
    show.application.master.queuedModeButton.setState(true);
    show.application.master.soloModeButton.setState(true);
    show.playAll();
    EXPECT_EQ(running(show), (std::vector<bool>{true, false, false}));
}

TEST(MasterTransport, TurningSoloOnRestartsTheSelectedOneAlone) {
    Show show(threeCompositions());
    show.playAll();
    show.tick(100);
    show.application.compositions.selectCompositionAtIndex(1);
    press(show, show.application.master.soloModeButton);
    EXPECT_EQ(running(show), (std::vector<bool>{false, true, false}));
    press(show, show.application.master.soloModeButton, false);
    EXPECT_EQ(running(show), (std::vector<bool>{true, true, true}));
}

TEST(MasterTransport, PreviousNeverWrapsAround) {
    Show show(threeCompositions());
    show.application.compositions.selectCompositionAtIndex(0);
    show.application.master.queuedModeButton.setState(true);
    show.application.master.queuedLoopButton.setState(true);
    show.application.master.triggerPrevComposition();
    EXPECT_EQ(running(show), (std::vector<bool>{false, false, false}));
}

TEST(MasterTransport, ATriggerByPositionStartsEvenAMutedOneThatThenStandsStill) {
    Show show(threeCompositions());
    show.composition(1).changeCompState(false);
    show.application.master.triggerCompositionAtIndex(2);
    show.tick(200);
    EXPECT_TRUE(show.composition(1).state.isRunning);
    EXPECT_EQ(show.frame(1), 0);
    show.application.master.triggerCompositionAtIndex(0);
    show.application.master.triggerCompositionAtIndex(4);
    show.application.master.triggerCompositionWithName("Four");
    EXPECT_EQ(running(show), (std::vector<bool>{false, true, false}));
}

TEST(MasterTransport, WithOneCompositionTheModesAreOffAndOutOfReach) {
    Show show(projectOf({compositionOf("One", 30, 1.0f, {})}));
    EXPECT_FALSE(show.application.master.queuedModeButton.isEnabled());
    show.application.master.addCompositionButton.performClick();
    EXPECT_TRUE(show.application.master.queuedModeButton.isEnabled());
    show.application.removeCompositionAtIndex(1);
    EXPECT_FALSE(show.application.master.soloModeButton.isEnabled());
}

TEST(Inbound, PlayheadCommandsMoveThePlayheadWithinTheirLimits) {
    Show show(projectOf({compositionOf("One", 30, 60.0f, {})}));
    OSCMessage half = OSCMessage::createWithAddress("/marvo/one/playhead");
    half.addFloat(0.5f);
    show.receive(half);
    EXPECT_EQ(show.frame(), 900);
    OSCMessage beyond = OSCMessage::createWithAddress("/marvo/one/playhead");
    beyond.addFloat(1.5f);
    show.receive(beyond);
    EXPECT_EQ(show.frame(), 1800);
    show.receive("/marvo/one/nextframe", 1);
    EXPECT_EQ(show.frame(), 0) << "at the end it wraps to the start";
    show.receive("/marvo/one/prevframe", 1);
    EXPECT_EQ(show.frame(), 1800);
    show.receive("/marvo/one/jumptoframe", 5000);
    EXPECT_EQ(show.frame(), 1800);
    show.receive("/marvo/one/jumptoframe", 12);
    EXPECT_EQ(show.frame(), 12);
}

TEST(Inbound, CurrentAndAllReachTheSelectedAndEveryComposition) {
    Show show(threeCompositions());
    show.application.compositions.selectCompositionAtIndex(1);
    show.receive("/marvo/current/play", 1);
    EXPECT_EQ(running(show), (std::vector<bool>{false, true, false}));
    show.receive("/marvo/all/play", 1);
    EXPECT_EQ(running(show), (std::vector<bool>{true, true, true}));
}

TEST(Inbound, ARepeatOfTheStateDoesNothingAndTwoCountsAsOn) {
    Show show(threeCompositions());
    show.receive("/marvo/playall", 2);
    show.tick(50);
    const std::int64_t frame = show.frame();
    show.receive("/marvo/playall", 1);
    show.tick(34);
    EXPECT_GT(show.frame(), frame);
    show.receive("/marvo/playall", 0);
    EXPECT_EQ(running(show), (std::vector<bool>{false, false, false}));
}

TEST(Inbound, EverythingIsDroppedWhileTheGateIsShut) {
    Show show(threeCompositions());
    show.application.pauseRendering();
    show.receive("/marvo/playall", 1);
    EXPECT_EQ(running(show), (std::vector<bool>{false, false, false}));
}

TEST(Inbound, UnknownAddressesAndWrongTypesDoNothing) {
    Show show(threeCompositions());
    show.receive("/marvo/nothing", 1);
    show.receive("", 1);
    show.receive("/marvo/triggercompatindex", -4);
    OSCMessage text = OSCMessage::createWithAddress("/marvo/triggercompatindex");
    text.addString("1");
    show.receive(text);
    OSCMessage number = OSCMessage::createWithAddress("/marvo/loadproject");
    number.addInt(1);
    show.receive(number);
    EXPECT_EQ(running(show), (std::vector<bool>{false, false, false}));
    EXPECT_EQ(show.application.compositions.count(), 3u);
}

TEST(Inbound, AProjectIsReplacedOnlyByOneThatCanBeRead) {
    Show show(threeCompositions());
    OSCMessage missing = OSCMessage::createWithAddress("/marvo/loadproject");
    missing.addString("/no/such.mrv");
    show.receive(missing);
    EXPECT_EQ(show.application.compositions.count(), 3u);
    const std::string path = show.file("next.mrv");
    writePropertyList(path, projectOf({compositionOf("Next", 30, 1.0f, {})}));
    OSCMessage next = OSCMessage::createWithAddress("/marvo/loadproject");
    next.addString(path);
    show.receive(next);
    ASSERT_EQ(show.application.compositions.count(), 1u);
    EXPECT_EQ(show.composition().compName(), "Next");
}
