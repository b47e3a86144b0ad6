#include "Show.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace marvo::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr MIDIMessage cc(int number, int value, int channel = 0) {
    return {176, static_cast<std::uint8_t>(channel), static_cast<std::uint8_t>(number),
            static_cast<std::uint8_t>(value)};
}
constexpr MIDIMessage noteOn(int number, int velocity, int channel = 0) {
    return {144, static_cast<std::uint8_t>(channel), static_cast<std::uint8_t>(number),
            static_cast<std::uint8_t>(velocity)};
}
constexpr MIDIMessage noteOff(int number) {
    return {128, 0, static_cast<std::uint8_t>(number), 64};
}

PropertyList threeCompositions() {
    return projectOf({compositionOf("A", 30, 60.0f, {}), compositionOf("B", 30, 60.0f, {}),
                      compositionOf("C", 30, 60.0f, {})});
}

std::vector<bool> running(Show& show) {
    std::vector<bool> result;
    for (std::size_t i = 0; i < show.application.compositions.count(); ++i)
        result.push_back(show.composition(i).isRunning());
    return result;
}

// Clicks on the control in learn mode, plays the message, and leaves learn mode.
void learn(Show& show, MarvoButton& button, const MIDIMessage& message) {
    show.application.midiLearnToggle();
    button.click();
    show.receiveMIDI({message});
    show.application.midiLearnToggle();
}

TEST(MidiLearn, ALearnedControllerTogglesOnItsRelease) {
    Show show(threeCompositions());
    MarvoButton& play = show.composition().controls.playButton;
    learn(show, play, cc(7, 127));
    EXPECT_FALSE(play.state()) << "a click in learn mode must not play";
    show.receiveMIDI({cc(7, 127)});
    EXPECT_FALSE(show.composition().isRunning());
    show.receiveMIDI({cc(7, 0)});
    EXPECT_TRUE(show.composition().isRunning());
    show.receiveMIDI({cc(7, 0, 1), cc(8, 0)});
    EXPECT_TRUE(show.composition().isRunning());
    show.receiveMIDI({cc(7, 0)});
    EXPECT_FALSE(show.composition().isRunning());
}

TEST(MidiLearn, ANoteTogglesAtAnyVelocityAndNoteOffDoesNot) {
    Show show(threeCompositions());
    learn(show, show.composition().controls.playButton, noteOn(60, 100));
    show.receiveMIDI({noteOn(60, 0)});
    EXPECT_TRUE(show.composition().isRunning());
    show.receiveMIDI({noteOff(60)});
    EXPECT_TRUE(show.composition().isRunning());
}

TEST(MidiLearn, WhatIsLearntOrForgottenIsAChangeThatCanBeLost) {
    Show show(threeCompositions());
    EXPECT_FALSE(show.application.hasUnsavedChanges());
    learn(show, show.composition().controls.playButton, cc(7, 127));
    EXPECT_TRUE(show.application.hasUnsavedChanges());
    show.saved();
    EXPECT_FALSE(show.application.hasUnsavedChanges());
    show.application.midiLearnToggle();
    show.composition().controls.playButton.click();
    EXPECT_FALSE(show.application.hasUnsavedChanges());
    show.application.controlHub().removeCurrentMidi();
    EXPECT_TRUE(show.application.hasUnsavedChanges());
    show.application.midiLearnToggle();
}

TEST(MidiLearn, TheLastMessageBeforeTheEndOfLearningWins) {
    Show show(threeCompositions());
    show.application.midiLearnToggle();
    show.composition().controls.playButton.click();
    show.receiveMIDI({noteOn(60, 1)});
    show.receiveMIDI({noteOn(61, 1)});
    show.application.midiLearnToggle();
    show.receiveMIDI({noteOn(60, 1)});
    EXPECT_FALSE(show.composition().isRunning());
    show.receiveMIDI({noteOn(61, 1)});
    EXPECT_TRUE(show.composition().isRunning());
}

TEST(MidiLearn, LearnModeTakesTrafficAwayFromAssignedControls) {
    Show show(threeCompositions());
    learn(show, show.composition().controls.playButton, noteOn(60, 1));
    show.application.midiLearnToggle();
    show.receiveMIDI({noteOn(60, 1)});
    EXPECT_FALSE(show.composition().isRunning());
    show.application.midiLearnToggle();
    show.receiveMIDI({noteOn(60, 1)});
    EXPECT_TRUE(show.composition().isRunning());
}

TEST(MidiLearn, OnlyTheControlClickedLastLearns) {
    Show show(threeCompositions());
    show.application.midiLearnToggle();
    show.composition(0).controls.playButton.click();
    show.composition(1).controls.playButton.click();
    show.receiveMIDI({noteOn(60, 1)});
    show.application.midiLearnToggle();
    show.receiveMIDI({noteOn(60, 1)});
    EXPECT_THAT(running(show), ElementsAre(false, true, false));
}

TEST(MidiLearn, TheDeleteKeyForgetsTheAssignmentOfTheTarget) {
    Show show(threeCompositions());
    MarvoButton& play = show.composition().controls.playButton;
    learn(show, play, noteOn(60, 1));
    show.application.midiLearnToggle();
    play.click();
    show.application.controlHub().removeCurrentMidi();
    show.application.midiLearnToggle();
    show.receiveMIDI({noteOn(60, 1)});
    EXPECT_FALSE(show.composition().isRunning());
    EXPECT_FALSE(play.midiAssignment().isAssigned());
}

TEST(MidiLearn, AnAssignmentIsSavedAndHoldsAfterALoad) {
    Show show(threeCompositions());
    learn(show, show.composition().controls.playButton, noteOn(60, 1));
    learn(show, show.composition().cueControls.nextCueButton, noteOn(61, 1));
    Show again(show.saved());
    again.receiveMIDI({noteOn(60, 1)});
    EXPECT_TRUE(again.composition().isRunning());
    EXPECT_EQ(again.composition().cueControls.nextCueButton.midiControl(), 61);
}

TEST(MidiLearn, AControllerMovesTheTempo) {
    Show show(threeCompositions());
    MarvoControlTextField& tempo = show.composition().controls.compSpeed;
    tempo.setMidiAssignWithData({0, 20});
    show.receiveMIDI({cc(20, 0)});
    EXPECT_EQ(tempo.floatValue(), 1.0f);
    show.receiveMIDI({cc(20, 127)});
    EXPECT_EQ(tempo.floatValue(), 720.0f);
    EXPECT_EQ(show.composition().state.compBPM, 720.0f);
}

TEST(MidiFeedback, GoesToTheTickedDevicesWhateverSwitchedTheButton) {
    PropertyList project = threeCompositions();
    PropertyList feedback = PropertyList::dictionary();
    feedback.set("Desk", "Desk");
    PropertyList appData = *project.find("appData");
    PropertyList preferences = *appData.find("preferences");
    preferences.set("feedbackNodes", feedback);
    appData.set("preferences", preferences);
    project.set("appData", appData);
    Show show(project);
    learn(show, show.composition().controls.loopButton, noteOn(60, 1));
    show.receiveMIDI({noteOn(60, 1)});
    show.sentMIDI.clear();
    show.receive("/marvo/a/loop", 0);
    show.receive("/marvo/a/loop", 1);
    ASSERT_EQ(show.sentMIDI.size(), 2U);
    EXPECT_EQ(show.sentMIDI[0].node, "Desk");
    EXPECT_THAT(show.sentMIDI[0].bytes, ElementsAre(128, 60, 0));
    EXPECT_THAT(show.sentMIDI[1].bytes, ElementsAre(144, 60, 127));
}

TEST(MidiFeedback, WithNoDeviceTickedNothingIsSent) {
    Show show(threeCompositions());
    learn(show, show.composition().controls.loopButton, noteOn(60, 1));
    show.receiveMIDI({noteOn(60, 1)});
    EXPECT_THAT(show.sentMIDI, IsEmpty());
}

class MachineControl : public ::testing::Test {
protected:
    MachineControl() {
        show.application.prefs.changeListenToMMC(true);
        show.application.compositions.selectCompositionAtIndex(2);
    }
    void command(std::uint8_t device, std::uint8_t number) { show.receiveSysex({127, device, 6, number}); }
    Show show{threeCompositions()};
};

TEST_F(MachineControl, PlayIsAToggleForOneComposition) {
    command(1, 2);
    EXPECT_THAT(running(show), ElementsAre(true, false, false));
    command(1, 2);
    EXPECT_THAT(running(show), ElementsAre(false, false, false));
    command(127, 2);
    EXPECT_THAT(running(show), ElementsAre(false, false, true));
    command(4, 2);
    command(126, 2);
    EXPECT_THAT(running(show), ElementsAre(false, false, true));
}

TEST_F(MachineControl, StopStopsOnlyWhatRuns) {
    command(2, 1);
    EXPECT_THAT(running(show), ElementsAre(false, false, false));
    command(2, 2);
    command(2, 1);
    EXPECT_THAT(running(show), ElementsAre(false, false, false));
}

TEST_F(MachineControl, DeviceZeroIsTheMaster) {
    command(0, 1);
    EXPECT_THAT(running(show), ElementsAre(false, false, false));
    command(0, 2);
    EXPECT_THAT(running(show), ElementsAre(true, true, true));
    command(0, 1);
    EXPECT_THAT(running(show), ElementsAre(false, false, false));
    command(0, 2);
    command(0, 2);
    EXPECT_THAT(running(show), ElementsAre(false, false, false));
}

TEST_F(MachineControl, RewindAndLocateMoveThePlayhead) {
    show.receiveSysex({127, 1, 6, 68, 6, 1, 0, 0, 2, 15, 0});
    EXPECT_EQ(show.frame(0), 75);
    command(1, 5);
    EXPECT_EQ(show.frame(0), 0);
    show.receiveSysex({127, 1, 6, 68, 6, 1, 0, 0, 2, 15, 0});
    show.receiveSysex({127, 2, 6, 68, 6, 1, 0, 0, 3, 0, 0});
    command(0, 5);
    EXPECT_EQ(show.frame(0), 0);
    EXPECT_EQ(show.frame(1), 0);
}

TEST_F(MachineControl, ALocateThatIsCutShortDoesNothing) {
    show.receiveSysex({127, 1, 6, 68});
    EXPECT_EQ(show.frame(0), 0);
}

TEST_F(MachineControl, RecordStrobeClicksTheRecordButton) {
    command(2, 6);
    EXPECT_TRUE(show.composition(1).records());
    EXPECT_TRUE(show.application.recorder.isArmed());
    command(2, 6);
    EXPECT_FALSE(show.composition(1).records());
    EXPECT_FALSE(show.application.recorder.isArmed());
}

TEST_F(MachineControl, OtherPayloadsAndCommandsDoNothing) {
    show.receiveSysex({127, 1, 6, 3});
    show.receiveSysex({127, 1, 6, 4});
    show.receiveSysex({127, 1, 7, 2});
    show.receiveSysex({126, 1, 6, 2});
    show.receiveSysex({127, 1, 6, 2, 0});
    show.receiveSysex({127, 1, 6});
    EXPECT_THAT(running(show), ElementsAre(false, false, false));
}

TEST_F(MachineControl, IsHeardOnlyWhenThePreferenceSaysSo) {
    show.application.prefs.changeListenToMMC(false);
    command(1, 2);
    EXPECT_THAT(running(show), ElementsAre(false, false, false));
}

TEST(Timecode, FullFramesAndQuarterFramesAreAnnouncedWithTheirSource) {
    Show show(threeCompositions());
    std::vector<std::string> quarters;
    std::vector<TimecodeMessage> frames;
    const Observation a = show.application.notifications().observe(
        show.application.names().MTCQuarterFrameReceivedNotification,
        [&](const std::string& source) { quarters.push_back(source); });
    const Observation b = show.application.notifications().observe(
        show.application.names().MTCFullFrameReceivedNotification,
        [&](const TimecodeMessage& message) { frames.push_back(message); });
    show.receiveMIDI({{241, 0, 33, 0}});
    show.receiveSysex({127, 127, 1, 1, 33, 2, 3, 4});
    show.receiveSysex({127, 127, 1, 1, 33, 2, 3});
    show.receiveSysex({127, 126, 1, 1, 33, 2, 3, 4});
    EXPECT_THAT(quarters, ElementsAre("Desk"));
    ASSERT_EQ(frames.size(), 1U);
    EXPECT_EQ(frames[0].source, "Desk");
    EXPECT_THAT(frames[0].payload, ElementsAre(127, 127, 1, 1, 33, 2, 3, 4));
}

TEST(MachineLink, PlaysStopsAndLocatesTheCompositionItNames) {
    Show show(threeCompositions());
    show.application.compositions.selectCompositionAtIndex(2);
    const auto packet = [&](std::uint8_t command, std::uint8_t position) {
        const std::vector<std::uint8_t> data = {0, 0, 0, 0, command, 0, 0, 2, 15, 30, position, 0};
        show.application.receivedNMCMessage(data);
        show.main.pump();
    };
    packet(10, 1);
    EXPECT_EQ(show.frame(0), 75);
    EXPECT_FALSE(show.composition(0).isRunning());
    packet(2, 0);
    EXPECT_EQ(show.frame(2), 75);
    packet(2, 0);
    EXPECT_THAT(running(show), ElementsAre(false, false, true));
    packet(1, 0);
    packet(1, 0);
    EXPECT_THAT(running(show), ElementsAre(false, false, false));
    packet(2, 4);
    packet(3, 1);
    EXPECT_THAT(running(show), ElementsAre(false, false, false));
    show.application.gate.shut();
    packet(2, 1);
    show.application.gate.open();
    EXPECT_THAT(running(show), ElementsAre(false, false, false)) << "nothing comes in while a project loads";
    const std::vector<std::uint8_t> tooShort(11, 2);
    show.application.receivedNMCMessage(tooShort);
    EXPECT_THAT(running(show), ElementsAre(false, false, false));
}

} // namespace
} // namespace marvo::testing
