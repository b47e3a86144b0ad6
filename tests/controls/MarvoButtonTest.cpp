#include "controls/MarvoButton.h"

#include "RecordingControlHub.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

using marvo::ControlRecord;
using marvo::MarvoButton;
using marvo::OSCArgument;
using marvo::testing::RecordingControlHub;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class SelectedComposition : public marvo::ControlComposition {
public:
    bool selected = true;
    bool isSelectedComposition() const override { return selected; }
    std::string path = "/marvo/actone";
    const std::string& oscNamespace() const override { return path; }
};

class Button : public ::testing::Test {
protected:
    Button() {
        button.setOSCAddress("/marvo/actone/loop", "integer 0-1");
        button.addOSCListener();
        button.setAction([this](MarvoButton& sender) {
            ++actions;
            stateAtAction = sender.state();
        });
    }

    void assign(std::int64_t channel, std::int64_t control) {
        button.setMidiAssignWithData({channel, control});
    }

    RecordingControlHub hub;
    MarvoButton button{hub};
    int actions = 0;
    bool stateAtAction = false;
};

} // namespace

TEST_F(Button, StartsUnassignedAndOff) {
    EXPECT_EQ(button.midiChannel(), -1);
    EXPECT_EQ(button.midiControl(), -1);
    EXPECT_EQ(button.midiType(), 176);
    EXPECT_FALSE(button.state());
    EXPECT_FALSE(button.ignoresMIDI());
    EXPECT_FALSE(button.needsHighlight());
    EXPECT_TRUE(button.allowsFeedbackSending);
    EXPECT_EQ(button.progress(), 0.0F);
    EXPECT_EQ(button.cachedButtonType(), 6U);
}

TEST_F(Button, TakesAnyOSCNumberFromOneUpAsOn) {
    hub.receiveOSC("/marvo/actone/loop", 5);
    EXPECT_TRUE(button.state());
    EXPECT_EQ(actions, 1);
    EXPECT_TRUE(stateAtAction) << "the state is set ahead of the action";
    hub.receiveOSC("/marvo/actone/loop", 0);
    EXPECT_FALSE(button.state());
    EXPECT_EQ(actions, 2);
    EXPECT_EQ(hub.hops, 2);
}

TEST_F(Button, DoesNothingWhenOSCRepeatsTheState) {
    hub.receiveOSC("/marvo/actone/loop", 1);
    hub.takeFeedback();
    for (const int value : {1, 2, 5}) hub.receiveOSC("/marvo/actone/loop", value);
    EXPECT_EQ(actions, 1);
    EXPECT_THAT(hub.feedback, IsEmpty());
    EXPECT_EQ(hub.hops, 1)
        << "the port's thread does not wait for the main thread to learn that nothing changes";
}

TEST_F(Button, SendsOneActionWhenTheStateChangesWhileAMessageWaits) {
    hub.atEachHop = [&] { button.setState(true); };
    hub.receiveOSC("/marvo/actone/loop", 1);
    EXPECT_TRUE(button.state());
    EXPECT_EQ(actions, 0);
    EXPECT_THAT(hub.feedback, ElementsAre("osc /marvo/actone/loop 1"));
}

TEST_F(Button, TakesNumbersAndKindElevenOnly) {
    for (const int type : {3, 5, 6, 10, 12}) {
        hub.receiveOSC("/marvo/actone/loop", OSCArgument{type, 1, 1.0F});
        EXPECT_FALSE(button.state()) << type;
    }
    for (const int type : {0, 1, 2, 11}) {
        button.setState(false);
        hub.receiveOSC("/marvo/actone/loop", OSCArgument{type, 1, 1.0F});
        EXPECT_TRUE(button.state()) << type;
    }
}

TEST_F(Button, IgnoresOSCAndMIDIWhileDisabled) {
    assign(0, 7);
    button.setEnabled(false);
    hub.receiveOSC("/marvo/actone/loop", 1);
    hub.receiveMIDI(0, 7, 144, 100);
    hub.receiveMIDI(0, 7, 176, 0);
    button.performClick();
    EXPECT_FALSE(button.state());
    EXPECT_EQ(actions, 0);
}

TEST_F(Button, TriggersAMomentaryActionByAnyValue) {
    button.setButtonType(marvo::momentaryButtonType);
    for (const int value : {0, 0, 1, -4}) hub.receiveOSC("/marvo/actone/loop", value);
    EXPECT_EQ(actions, 4);
    EXPECT_FALSE(button.state());
    EXPECT_THAT(hub.feedback, IsEmpty());
}

TEST_F(Button, CreatesTheTrackTypeThatOSCAsksFor) {
    std::vector<std::string> created;
    button.setButtonType(marvo::momentaryButtonType);
    button.setAddTrackAction([&](std::string_view type) { created.emplace_back(type); });
    for (int value = -1; value < 9; ++value) hub.receiveOSC("/marvo/actone/loop", value);
    EXPECT_THAT(created, ElementsAre("MidiCCValue", "MidiNotes", "OSCValue", "OSCColor", "AudioFile",
                                     "Art-Net Value", "Art-Net Value"));
    EXPECT_EQ(actions, 0);
    button.click();
    EXPECT_EQ(actions, 1) << "a mouse click opens the menu instead";
}

TEST_F(Button, HearsNothingAfterItsListenerIsGone) {
    button.removeOSCListener();
    hub.receiveOSC("/marvo/actone/loop", 1);
    EXPECT_FALSE(button.state());
}

TEST_F(Button, TogglesOnANoteOfAnyVelocity) {
    assign(2, 60);
    hub.receiveMIDI(2, 60, 144, 0);
    EXPECT_TRUE(button.state());
    hub.receiveMIDI(2, 60, 144, 127);
    EXPECT_FALSE(button.state());
    EXPECT_EQ(actions, 2);
    EXPECT_EQ(button.midiType(), 144);
}

TEST_F(Button, ActsOnTheReleaseOfAControllerButton) {
    assign(2, 60);
    for (const int value : {127, 1, 64}) hub.receiveMIDI(2, 60, 176, value);
    EXPECT_FALSE(button.state());
    EXPECT_EQ(actions, 0);
    hub.receiveMIDI(2, 60, 176, 0);
    EXPECT_TRUE(button.state());
    EXPECT_EQ(actions, 1);
    hub.receiveMIDI(2, 60, 128, 0);
    EXPECT_TRUE(button.state()) << "a note-off does nothing but set the feedback type";
    EXPECT_EQ(button.midiType(), 128);
}

TEST_F(Button, ClicksInsteadOfSendingTheActionWhenItIsAClickOnlyButton) {
    button.setButtonType(marvo::momentaryButtonType);
    button.tag = marvo::clickOnlyTag;
    assign(0, 1);
    hub.receiveMIDI(0, 1, 144, 1);
    EXPECT_EQ(actions, 1);
    EXPECT_TRUE(button.state());
    const ControlRecord on{{}, {}, true, {}};
    button.loadWithData(&on);
    EXPECT_EQ(actions, 1) << "and a load does not act";
}

TEST_F(Button, SendsFeedbackForEveryStateThatIsSet) {
    assign(1, 20);
    button.setState(true);
    button.setState(true);
    button.setState(false);
    EXPECT_THAT(hub.feedback,
                ElementsAre("osc /marvo/actone/loop 1", "midi 176 1 20 127", "osc /marvo/actone/loop 1",
                            "midi 176 1 20 127", "osc /marvo/actone/loop 0", "midi 176 1 20 0"));
}

TEST_F(Button, AnswersNotesWithNotes) {
    assign(1, 20);
    hub.receiveMIDI(1, 20, 144, 9);
    hub.receiveMIDI(1, 20, 144, 9);
    button.allowsFeedbackSending = false;
    EXPECT_THAT(hub.takeFeedback(), ElementsAre("osc /marvo/actone/loop 1", "midi 144 1 20 127",
                                                "osc /marvo/actone/loop 0", "midi 128 1 20 0"));
    button.setState(true);
    EXPECT_THAT(hub.feedback, ElementsAre("midi 144 1 20 127")) << "the switch stops OSC alone";
}

TEST_F(Button, SendsNoFeedbackWithoutAnAddressOrAssignment) {
    MarvoButton bare(hub);
    bare.setState(true);
    EXPECT_THAT(hub.feedback, IsEmpty());
    bare.setMidiAssignWithData({3, -1});
    bare.setState(true);
    bare.setMidiAssignWithData({3, 4});
    bare.setIgnoresMIDI(true);
    bare.setState(true);
    EXPECT_THAT(hub.feedback, IsEmpty());
}

TEST_F(Button, ReportsOnTheCurrentAddressTooWhileItsCompositionIsSelected) {
    SelectedComposition composition;
    button.setComposition(&composition);
    button.setState(true);
    EXPECT_THAT(hub.takeFeedback(), ElementsAre("osc /marvo/actone/loop 1", "osc /marvo/current/loop 1"));
    composition.selected = false;
    button.setState(false);
    EXPECT_THAT(hub.feedback, ElementsAre("osc /marvo/actone/loop 0"));
}

TEST_F(Button, RestoresASavedOnStateWithItsEffect) {
    assign(1, 2);
    button.setState(true);
    const ControlRecord saved = button.saveData();
    EXPECT_EQ(saved, (ControlRecord{1, 2, true, {}}));

    MarvoButton restored(hub);
    std::vector<bool> assignedAtAction;
    restored.setAction([&](MarvoButton&) { assignedAtAction.push_back(hub.midi.isAssignedMIDI({9, 9})); });
    const ControlRecord other{9, 9, true, {}};
    restored.loadWithData(&other);
    EXPECT_TRUE(restored.state());
    EXPECT_THAT(assignedAtAction, ElementsAre(false)) << "the subscription follows the action";
    EXPECT_TRUE(hub.midi.isAssignedMIDI({9, 9}));
    hub.receiveMIDI(9, 9, 144, 1);
    EXPECT_FALSE(restored.state());
}

TEST_F(Button, RestoresASavedOffStateWithoutAnAction) {
    button.setState(true);
    const ControlRecord off{-1, -1, false, {}};
    button.loadWithData(&off);
    EXPECT_FALSE(button.state());
    EXPECT_EQ(actions, 0);
    EXPECT_THAT(hub.feedback, ElementsAre("osc /marvo/actone/loop 1", "osc /marvo/actone/loop 0"));
}

TEST_F(Button, LosesOnlyItsAssignmentWhenThereIsNoRecord) {
    assign(1, 2);
    button.setState(true);
    button.loadWithData(nullptr);
    EXPECT_EQ(button.midiChannel(), -1);
    EXPECT_TRUE(button.state());
    EXPECT_FALSE(hub.midi.isAssignedMIDI({1, 2}));
}

TEST_F(Button, StaysUnassignedWhenARecordHasNoChannel) {
    const ControlRecord damaged{{}, 5, false, {}};
    button.loadWithData(&damaged);
    EXPECT_EQ(button.midiControl(), -1);
    const ControlRecord half{5, {}, false, {}};
    button.loadWithData(&half);
    EXPECT_FALSE(button.midiAssignment().isAssigned());
}

TEST_F(Button, TellsTheSelectionAfterAPlainClick) {
    button.click();
    EXPECT_TRUE(button.state());
    EXPECT_EQ(actions, 1);
    EXPECT_EQ(hub.selections, 1);
}

TEST_F(Button, SurvivesAnActionThatTakesItDown) {
    auto doomed = std::make_unique<MarvoButton>(hub);
    doomed->setOSCAddress("/doomed", "");
    doomed->addOSCListener();
    doomed->setButtonType(marvo::momentaryButtonType);
    doomed->setAction([&](MarvoButton&) { doomed.reset(); });
    doomed->click();
    EXPECT_EQ(doomed, nullptr);
    EXPECT_EQ(hub.selections, 0);
    hub.receiveOSC("/doomed", 1);
}

TEST_F(Button, DoesNothingWhenAMessageReachesTheMainThreadAfterItsEnd) {
    auto doomed = std::make_unique<MarvoButton>(hub);
    int late = 0;
    doomed->setAction([&](MarvoButton&) { ++late; });
    doomed->setMidiAssignWithData({4, 4});
    hub.holdsSync = true;
    hub.receiveMIDI(4, 4, 144, 1);
    doomed->handleOSCMessage({1, 1, 1.0F});
    doomed.reset();
    EXPECT_EQ(hub.held.size(), 2U);
    hub.runHeld();
    EXPECT_EQ(late, 0);
}

TEST_F(Button, HearsNothingAfterItsResourcesAreRemoved) {
    assign(1, 2);
    button.removeResources();
    EXPECT_TRUE(button.oscAddress().empty());
    EXPECT_TRUE(button.oscExtraInfo().empty());
    EXPECT_EQ(hub.listenerCount(), 0U);
    hub.receiveMIDI(1, 2, 144, 1);
    hub.receiveOSC("/marvo/actone/loop", 1);
    EXPECT_FALSE(button.state());
    EXPECT_FALSE(hub.midi.isAssignedMIDI({1, 2}));
}
