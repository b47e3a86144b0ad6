#include "controls/MarvoButton.h"
#include "controls/MarvoControlTextField.h"
#include "controls/MarvoSlider.h"
#include "controls/MidiSubscriptions.h"

#include "RecordingControlHub.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <thread>
#include <utility>
#include <vector>

using marvo::MarvoButton;
using marvo::MarvoSlider;
using marvo::MidiSubscriptions;
using marvo::testing::RecordingControlHub;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class Learning : public ::testing::Test {
protected:
    void startLearning() {
        one.startMidiLearn();
        two.startMidiLearn();
    }
    void stopLearning() {
        one.stopMidiLearn();
        two.stopMidiLearn();
    }

    RecordingControlHub hub;
    MarvoButton one{hub};
    MarvoButton two{hub};
};

class Receiver : public marvo::MidiReceiver {
public:
    std::vector<std::pair<int, int>> heard;
    std::function<void()> reaction;
    void midiMessageReceived(int status, int data2) override {
        heard.emplace_back(status, data2);
        if (reaction) reaction();
    }
};

} // namespace

TEST_F(Learning, TakesAssignedControlsOutOfTheMidiCentre) {
    one.setMidiAssignWithData({0, 1});
    startLearning();
    EXPECT_TRUE(one.learnsMidi());
    hub.receiveMIDI(0, 1, 144, 1);
    EXPECT_FALSE(one.state());
    stopLearning();
    EXPECT_FALSE(one.learnsMidi());
    hub.receiveMIDI(0, 1, 144, 1);
    EXPECT_TRUE(one.state());
}

TEST_F(Learning, MakesAClickedControlTheTargetInsteadOfActing) {
    startLearning();
    one.click();
    EXPECT_FALSE(one.state());
    EXPECT_EQ(hub.selections, 0);
    EXPECT_TRUE(one.needsHighlight());
}

TEST_F(Learning, HasOneTargetAtMost) {
    startLearning();
    one.click();
    two.click();
    EXPECT_FALSE(one.needsHighlight());
    EXPECT_TRUE(two.needsHighlight());
    hub.learn(3, 4);
    EXPECT_EQ(one.midiChannel(), -1);
    EXPECT_EQ(two.midiChannel(), 3);
    two.click();
    EXPECT_TRUE(two.needsHighlight()) << "clicking the target again keeps it";
    hub.learn(5, 6);
    EXPECT_EQ(two.midiChannel(), 5);
}

TEST_F(Learning, KeepsTheLastMessageAndReactsOnlyAfterwards) {
    startLearning();
    one.click();
    hub.learn(3, 4);
    hub.learn(5, 6);
    hub.receiveMIDI(5, 6, 144, 1);
    EXPECT_FALSE(one.state()) << "still learning";
    stopLearning();
    EXPECT_FALSE(one.needsHighlight());
    hub.receiveMIDI(3, 4, 144, 1);
    EXPECT_FALSE(one.state());
    hub.receiveMIDI(5, 6, 144, 1);
    EXPECT_TRUE(one.state());
    hub.learn(7, 8);
    EXPECT_EQ(one.midiChannel(), 5) << "no longer a target";
}

TEST_F(Learning, ForgetsTheTargetsAssignmentOnDelete) {
    one.setMidiAssignWithData({0, 1});
    two.setMidiAssignWithData({0, 2});
    startLearning();
    one.click();
    hub.pressDelete();
    stopLearning();
    EXPECT_EQ(one.midiChannel(), -1);
    EXPECT_EQ(two.midiControl(), 2);
    hub.receiveMIDI(0, 1, 144, 1);
    EXPECT_FALSE(one.state());
}

TEST_F(Learning, PassesByControlsThatIgnoreMidi) {
    one.setIgnoresMIDI(true);
    startLearning();
    EXPECT_FALSE(one.learnsMidi());
    one.click();
    EXPECT_TRUE(one.state()) << "it acts as ever";
    stopLearning();
}

TEST_F(Learning, FreesAControlThatStopsListeningAmidLearning) {
    hub.learnPreference = true;
    MarvoButton made(hub);
    EXPECT_TRUE(made.learnsMidi()) << "made while learn mode is on";
    made.setIgnoresMIDI(true);
    made.click();
    EXPECT_TRUE(made.state());
}

TEST_F(Learning, AlwaysTakesASlider) {
    MarvoSlider slider(hub);
    slider.setIgnoresMIDI(true);
    slider.startMidiLearn();
    EXPECT_TRUE(slider.learnsMidi());
    EXPECT_FALSE(slider.ignoresMIDI());
}

TEST_F(Learning, DeliversOnceThoughAControlSubscribedTwice) {
    one.setMidiAssignWithData({0, 1});
    one.stopMidiLearn();
    hub.receiveMIDI(0, 1, 144, 1);
    EXPECT_TRUE(one.state()) << "twice would have toggled it back";
}

TEST_F(Learning, KeepsAnAssignmentAcrossARebuild) {
    one.setMidiAssignWithData({3, 9});
    const marvo::MidiAssignment kept = one.removeMIDIAndGetMIDIData();
    EXPECT_EQ(one.midiChannel(), -1);
    EXPECT_FALSE(hub.midi.isAssignedMIDI({3, 9}));
    two.setMidiAssignWithData(kept);
    EXPECT_TRUE(hub.midi.isAssignedMIDI({3, 9}));
    hub.receiveMIDI(3, 9, 144, 1);
    EXPECT_TRUE(two.state());
    EXPECT_FALSE(one.state());
}

TEST_F(Learning, ReplacesTheFormerAssignment) {
    one.setMidiAssignWithData({1, 1});
    one.setMidiAssignWithData({2, 2});
    hub.receiveMIDI(1, 1, 144, 1);
    EXPECT_FALSE(one.state());
    EXPECT_FALSE(hub.midi.isAssignedMIDI({1, 1}));
}

TEST_F(Learning, ShowsTheAddressInsteadOfActing) {
    one.setOSCAddress("/marvo/a/play", "integer 0-1");
    one.startShowOSC();
    two.startShowOSC();
    one.click();
    EXPECT_THAT(hub.shown, ElementsAre("/marvo/a/play (integer 0-1)"));
    EXPECT_FALSE(one.state());
    EXPECT_TRUE(one.needsHighlight());
    hub.learn(1, 1);
    EXPECT_EQ(one.midiChannel(), -1) << "showing is not learning";
    two.click();
    EXPECT_TRUE(two.state()) << "without an address the click acts";
    one.stopShowOSC();
    EXPECT_FALSE(one.needsHighlight());
    one.click();
    EXPECT_TRUE(one.state());
}

TEST_F(Learning, StartsANewControlInThePresentModes) {
    hub.showPreference = true;
    hub.learnPreference = true;
    const MarvoButton made(hub);
    EXPECT_TRUE(made.needsShowOSC());
    EXPECT_TRUE(made.learnsMidi());
}

TEST_F(Learning, LetsTwoControlsShareAnAssignment) {
    one.setMidiAssignWithData({0, 1});
    two.setMidiAssignWithData({0, 1});
    hub.receiveMIDI(0, 1, 144, 1);
    EXPECT_TRUE(one.state());
    EXPECT_TRUE(two.state());
    one.removeMidi();
    EXPECT_FALSE(hub.midi.isAssignedMIDI({0, 1})) << "recording is no longer held off";
    hub.receiveMIDI(0, 1, 144, 1);
    EXPECT_FALSE(two.state()) << "though the other still listens";
}

TEST(MidiSubscriptions, TellsChannelsAndControlsApart) {
    MidiSubscriptions subscriptions;
    Receiver receiver;
    subscriptions.addObserver(receiver, {1, 2});
    EXPECT_TRUE(subscriptions.isAssignedMIDI({1, 2}));
    EXPECT_FALSE(subscriptions.isAssignedMIDI({2, 1}));
    subscriptions.deliver({2, 1}, 144, 5);
    EXPECT_THAT(receiver.heard, IsEmpty());
    subscriptions.deliver({1, 2}, 176, 5);
    EXPECT_THAT(receiver.heard, ElementsAre(std::pair(176, 5)));
}

TEST(MidiSubscriptions, LetsAReceiverRemoveTheNextOne) {
    MidiSubscriptions subscriptions;
    Receiver first;
    Receiver second;
    subscriptions.addObserver(first, {1, 2});
    subscriptions.addObserver(second, {1, 2});
    first.reaction = [&] { subscriptions.removeObserver(second, {1, 2}); };
    subscriptions.deliver({1, 2}, 144, 1);
    EXPECT_EQ(first.heard.size(), 1U);
    EXPECT_THAT(second.heard, IsEmpty());
}

TEST(MidiSubscriptions, FreesWhatNobodyListensToWhenAReceiverLeaves) {
    MidiSubscriptions subscriptions;
    Receiver leaving;
    Receiver staying;
    subscriptions.addObserver(leaving, {1, 1});
    subscriptions.addObserver(leaving, {2, 2});
    subscriptions.addObserver(staying, {2, 2});
    subscriptions.removeObserver(leaving);
    EXPECT_FALSE(subscriptions.isAssignedMIDI({1, 1}));
    EXPECT_TRUE(subscriptions.isAssignedMIDI({2, 2}));
    subscriptions.deliver({2, 2}, 144, 1);
    EXPECT_THAT(leaving.heard, IsEmpty());
    EXPECT_EQ(staying.heard.size(), 1U);
}

TEST(MidiSubscriptions, StandsSubscribingWhileMessagesArrive) {
    MidiSubscriptions subscriptions;
    Receiver steady;
    Receiver passing;
    subscriptions.addObserver(steady, {0, 0});
    std::thread queue([&] {
        for (int i = 0; i < 2000; ++i) subscriptions.deliver({0, 0}, 144, i & 127);
    });
    for (int i = 0; i < 2000; ++i) {
        subscriptions.addObserver(passing, {0, 0});
        subscriptions.removeObserver(passing, {0, 0});
        subscriptions.isAssignedMIDI({0, 0});
    }
    queue.join();
    EXPECT_EQ(steady.heard.size(), 2000U);
}
