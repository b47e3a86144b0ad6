#include "endpoints/osc/MarvoOSCManager.h"

#include "FakeTransport.h"
#include "RealtimeScope.h"
#include "platform/Log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace marvo;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class OutputsLog final : public OSCOutputsObserver {
public:
    std::vector<std::string> calls;
    void outputsChanged(const std::string* oldLabel, const std::string* newLabel) override {
        calls.push_back(oldLabel && newLabel ? *oldLabel + " -> " + *newLabel : "changed");
    }
    void outputsChangedManually() override { calls.push_back("manually"); }
};

class ReceivedLog final : public OSCMessageReceiver {
public:
    std::vector<std::string> messages;
    void receivedOSCMessage(const OSCMessage& message) override { messages.push_back(shown(message)); }
};

class KeptLines final : public LogSink {
public:
    std::vector<std::string> all;
    void write(std::string_view line) override { all.emplace_back(line); }
    std::string contents(std::size_t) override { return {}; }
};

// Ports as they stand after a launch, unless a test asks for an empty manager.
class OSCPorts : public testing::Test {
protected:
    OSCPorts() {
        manager.setOutputsObserver(&log);
        manager.onBeep = [this] { ++beeps; };
    }
    void launch() {
        manager.initWithDefaults();
        log.calls.clear();
    }
    std::string target(std::size_t index) const {
        const OSCOutPort& port = *manager.outPortArray().at(index);
        return port.addressString() + ":" + std::to_string(port.port());
    }
    std::vector<std::string> feedbackSent() {
        transport.sent.clear();
        OSCMessage message = OSCMessage::createWithAddress("/fb");
        message.addInt(1);
        manager.sendOSCFeedback(message);
        std::vector<std::string> labels;
        for (const auto& one : transport.sent)
            labels.push_back(one.label + (one.feedback ? "" : " (unmarked)"));
        return labels;
    }

    FakeTransport transport;
    FakeFeedbackPreference preference;
    OutputsLog log;
    MarvoOSCManager manager{transport, preference};
    int beeps = 0;
};

const std::string first = "Marvo OSC Out 1";
const std::string second = "Marvo OSC Out 2";
const std::string third = "Marvo OSC Out 3";

} // namespace

TEST_F(OSCPorts, StartWithOneInputOneOutputAndNoFeedback) {
    preference.title = first;
    manager.initWithDefaults();
    EXPECT_THAT(manager.inputPorts(), ElementsAre(1234));
    EXPECT_THAT(manager.outPortLabelArray(), ElementsAre(first));
    EXPECT_EQ(target(0), "127.0.0.1:8000");
    EXPECT_FALSE(manager.oscFeedbackEnabled());
    EXPECT_THAT(feedbackSent(), IsEmpty());
    EXPECT_EQ(preference.title, first) << "the saved choice must outlive a launch";
}

TEST_F(OSCPorts, TakeTheNextInputPortWhenAnotherProgramHoldsOne) {
    transport.busyPorts = {1234, 1236};
    EXPECT_TRUE(manager.addNewOSCInput());
    EXPECT_TRUE(manager.addNewOSCInput());
    EXPECT_TRUE(manager.addNewOSCInput());
    EXPECT_THAT(manager.inputPorts(), ElementsAre(1235, 1237, 1238));
    EXPECT_EQ(beeps, 0);
}

TEST_F(OSCPorts, FillTheGapThatARemovedInputLeaves) {
    for (int i = 0; i < 3; ++i) manager.addNewOSCInput();
    manager.removeOSCInput(1);
    EXPECT_THAT(manager.inputPorts(), ElementsAre(1234, 1236));
    manager.addNewOSCInput();
    EXPECT_THAT(manager.inputPorts(), ElementsAre(1234, 1236, 1235));
}

TEST_F(OSCPorts, SayWhenNoInputPortIsFree) {
    for (int port = 1; port <= 65535; ++port) transport.busyPorts.insert(port);
    EXPECT_FALSE(manager.addNewOSCInput());
    EXPECT_THAT(manager.inputPorts(), IsEmpty());
}

TEST_F(OSCPorts, LetTheOnlyInputBeRemoved) {
    launch();
    manager.removeOSCInput(5);
    EXPECT_THAT(manager.inputPorts(), ElementsAre(1234));
    manager.removeOSCInput(0);
    EXPECT_THAT(manager.inputPorts(), IsEmpty());
    EXPECT_THAT(transport.ownPorts, IsEmpty());
    manager.removeOSCInput(0);
}

TEST_F(OSCPorts, MakeOutputsSkipThePortsOfInputsOnly) {
    launch();
    manager.addNewOSCOutput();
    EXPECT_EQ(target(1), "127.0.0.1:8000") << "outputs may share a port";
    ASSERT_TRUE(manager.createNewInputForPort(8000));
    ASSERT_TRUE(manager.createNewInputForPort(8001));
    manager.addNewOSCOutput();
    EXPECT_EQ(target(2), "127.0.0.1:8002");
    EXPECT_EQ(target(0), "127.0.0.1:8000");
}

TEST_F(OSCPorts, LabelOutputsWithTheLowestUnusedNumber) {
    launch();
    manager.addNewOSCOutput();
    manager.addNewOSCOutput();
    EXPECT_THAT(manager.outPortLabelArray(), ElementsAre(first, second, third));
    manager.removeOSCOutput(1);
    EXPECT_EQ(manager.getUniqueOutputLabel(), second);
    manager.addNewOSCOutput();
    EXPECT_THAT(manager.outPortLabelArray(), ElementsAre(first, third, second));
}

TEST_F(OSCPorts, KeepTheLastOutput) {
    launch();
    manager.removeOSCOutput(0);
    EXPECT_THAT(manager.outPortLabelArray(), ElementsAre(first));
    EXPECT_THAT(log.calls, IsEmpty());
    EXPECT_EQ(beeps, 0);
    manager.addNewOSCOutput();
    manager.removeOSCOutput(9);
    manager.removeOSCOutput(0);
    manager.removeOSCOutput(0);
    EXPECT_THAT(manager.outPortLabelArray(), ElementsAre(second));
}

TEST_F(OSCPorts, GrowAnOutputWhenAllAreGone) {
    launch();
    manager.addNewOSCOutput();
    manager.deleteAllOutputs();
    EXPECT_THAT(manager.outPortLabelArray(), ElementsAre(first));
    EXPECT_EQ(target(0), "127.0.0.1:8000");
}

TEST_F(OSCPorts, AreFoundByTheirExactLabel) {
    launch();
    manager.createNewOutputToAddress("10.0.0.1", 9, "Desk");
    ASSERT_TRUE(manager.findOutputWithLabel("Desk"));
    EXPECT_EQ(manager.findOutputWithLabel("Desk")->port(), 9);
    EXPECT_FALSE(manager.findOutputWithLabel("desk"));
    EXPECT_FALSE(manager.findOutputWithLabel("Desk "));
    EXPECT_FALSE(manager.findOutputWithLabel(""));
    EXPECT_TRUE(manager.hasOutput("Desk"));
    EXPECT_FALSE(manager.hasOutput("Des"));
}

TEST_F(OSCPorts, TellOfEveryNewAndRemovedOutputOnce) {
    launch();
    manager.addNewOSCOutput();
    EXPECT_THAT(log.calls, ElementsAre("changed"));
    manager.removeOSCOutput(0);
    EXPECT_THAT(log.calls, ElementsAre("changed", "changed"));
}

TEST_F(OSCPorts, HandEveryReceivedMessageToTheDelegate) {
    launch();
    OSCMessage message = OSCMessage::createWithAddress("/in");
    message.addInt(3);
    transport.deliver(message); // nobody listens yet
    ReceivedLog received;
    manager.setDelegate(&received);
    transport.deliver(message);
    EXPECT_THAT(received.messages, ElementsAre("/in 3"));
}

TEST_F(OSCPorts, RebindAnInputByEditing) {
    launch();
    EXPECT_TRUE(manager.editInputPort(0, "1234"));
    EXPECT_TRUE(manager.editInputPort(0, " 5000 "));
    EXPECT_THAT(manager.inputPorts(), ElementsAre(5000));
    EXPECT_EQ(transport.ownPorts, std::set<int>{5000});
    EXPECT_EQ(beeps, 0);
}

TEST_F(OSCPorts, RefuseWithABeepAnInputPortThatCannotBeBound) {
    launch();
    transport.busyPorts = {7000};
    manager.addNewOSCInput();
    for (const char* text : {"7000", "1235", "0", "", "-1", "none"}) {
        beeps = 0;
        EXPECT_FALSE(manager.editInputPort(0, text)) << text;
        EXPECT_EQ(beeps, 1) << text;
        transport.busyPorts.insert(65535); // what -1 would become
    }
    EXPECT_EQ(manager.inputPorts()[1], 1235);
}

TEST_F(OSCPorts, RefuseAnInputPortThatOnlyItsLowBitsCouldMeet) {
    launch();
    EXPECT_FALSE(manager.editInputPort(0, "70536")); // 65536 + 5000
    EXPECT_EQ(beeps, 1);
    EXPECT_THAT(manager.inputPorts(), ElementsAre(5000));
}

TEST_F(OSCPorts, TakeAnyOutputAddress) {
    launch();
    EXPECT_TRUE(manager.editOutputAddress(0, "no address at all"));
    EXPECT_EQ(target(0), "no address at all:8000");
    EXPECT_THAT(log.calls, ElementsAre("manually"));
    OSCMessage message = OSCMessage::createWithAddress("/x");
    manager.sendToOutput(first, message, {});
    EXPECT_EQ(transport.sent.at(0).target, "no address at all:8000");
}

TEST_F(OSCPorts, RefuseWithABeepAnOutputPortThatAnInputUses) {
    launch();
    EXPECT_FALSE(manager.editOutputPort(0, "1234"));
    EXPECT_EQ(beeps, 1);
    EXPECT_EQ(target(0), "127.0.0.1:8000");
    EXPECT_THAT(log.calls, IsEmpty());
}

TEST_F(OSCPorts, MoveAnOutputToAnotherPort) {
    launch();
    EXPECT_TRUE(manager.editOutputPort(0, "8000"));
    EXPECT_THAT(log.calls, IsEmpty()) << "an unchanged number changes nothing";
    EXPECT_TRUE(manager.editOutputPort(0, "9001"));
    EXPECT_EQ(target(0), "127.0.0.1:9001");
    EXPECT_THAT(log.calls, ElementsAre("manually"));
    EXPECT_EQ(beeps, 0);
}

TEST_F(OSCPorts, RefuseWithABeepALabelThatIsTaken) {
    launch();
    manager.addNewOSCOutput();
    log.calls.clear();
    EXPECT_FALSE(manager.editOutputLabel(1, first));
    EXPECT_EQ(beeps, 1);
    EXPECT_TRUE(manager.editOutputLabel(1, second)) << "its own label stands";
    EXPECT_EQ(beeps, 1);
    EXPECT_THAT(manager.outPortLabelArray(), ElementsAre(first, second));
    EXPECT_THAT(log.calls, IsEmpty());
}

TEST_F(OSCPorts, AnnounceOldAndNewLabelOfARename) {
    launch();
    EXPECT_TRUE(manager.editOutputLabel(0, "Desk"));
    EXPECT_THAT(manager.outPortLabelArray(), ElementsAre("Desk"));
    EXPECT_THAT(log.calls, ElementsAre(first + " -> Desk", "manually"));
    EXPECT_TRUE(manager.hasOutput("Desk"));
    EXPECT_FALSE(manager.hasOutput(first));
    manager.sendToOutput("Desk", OSCMessage::createWithAddress("/x"), {});
    EXPECT_EQ(transport.sent.at(0).label, "Desk");
}

TEST_F(OSCPorts, SendFeedbackToTheChosenOutputOnly) {
    launch();
    manager.addNewOSCOutput();
    manager.selectOSCFeedbackTarget(second);
    EXPECT_TRUE(manager.oscFeedbackEnabled());
    EXPECT_EQ(preference.title, second);
    EXPECT_THAT(feedbackSent(), ElementsAre(second));
    manager.selectOSCFeedbackTarget("Disabled");
    EXPECT_FALSE(manager.oscFeedbackEnabled());
    EXPECT_EQ(preference.title, "Disabled");
    EXPECT_THAT(feedbackSent(), IsEmpty());
}

TEST_F(OSCPorts, TurnFeedbackOffForATitleThatNoOutputBears) {
    launch();
    manager.selectOSCFeedbackTarget(first);
    manager.selectOSCFeedbackTarget("gone");
    EXPECT_FALSE(manager.oscFeedbackEnabled());
    EXPECT_EQ(preference.title, "gone");
}

TEST_F(OSCPorts, SendFeedbackToAnOutputThatIsCalledDisabled) {
    launch();
    manager.createNewOutputToAddress("10.0.0.1", 1, "Disabled");
    manager.selectOSCFeedbackTarget("Disabled");
    EXPECT_TRUE(manager.oscFeedbackEnabled());
    EXPECT_THAT(feedbackSent(), ElementsAre("Disabled"));
}

TEST_F(OSCPorts, TakeFeedbackUpAgainWhenItsOutputReturns) {
    launch();
    manager.createNewOutputToAddress("10.0.0.1", 1, "Desk");
    manager.selectOSCFeedbackTarget("Desk");
    manager.removeOSCOutput(1);
    EXPECT_FALSE(manager.oscFeedbackEnabled());
    EXPECT_EQ(manager.selectedFeedbackTitle(), "Disabled");
    EXPECT_EQ(preference.title, "Desk");
    EXPECT_THAT(feedbackSent(), IsEmpty());
    manager.createNewOutputToAddress("10.0.0.2", 1, "Desk");
    EXPECT_TRUE(manager.oscFeedbackEnabled());
    EXPECT_EQ(manager.selectedFeedbackTitle(), "Desk");
    EXPECT_THAT(feedbackSent(), ElementsAre("Desk"));
}

TEST_F(OSCPorts, TurnFeedbackOffWhenItsOutputIsRenamed) {
    launch();
    manager.selectOSCFeedbackTarget(first);
    manager.editOutputLabel(0, "Desk");
    EXPECT_FALSE(manager.oscFeedbackEnabled());
    EXPECT_EQ(preference.title, first);
    manager.editOutputLabel(0, first);
    EXPECT_TRUE(manager.oscFeedbackEnabled());
}

TEST_F(OSCPorts, ComeBackFromASnapshotAsTheyWere) {
    launch();
    manager.createNewInputForPort(9100);
    manager.createNewOutputToAddress("10.0.0.7", 9200, "Desk");
    manager.selectOSCFeedbackTarget("Desk");
    const OSCPortsSnapshot snapshot = manager.createSnapshot();

    FakeTransport otherTransport;
    FakeFeedbackPreference otherPreference;
    MarvoOSCManager other(otherTransport, otherPreference);
    other.initWithDefaults();
    other.loadSnapshot(&snapshot);
    EXPECT_THAT(other.inputPorts(), ElementsAre(1234, 9100));
    EXPECT_THAT(other.outPortLabelArray(), ElementsAre(first, "Desk"));
    EXPECT_EQ(other.findOutputWithLabel("Desk")->addressString(), "10.0.0.7");
    EXPECT_EQ(other.findOutputWithLabel("Desk")->port(), 9200);
    EXPECT_EQ(other.selectedFeedbackTitle(), "Desk");
    EXPECT_TRUE(other.oscFeedbackEnabled());
    EXPECT_EQ(otherPreference.title, "Desk");
}

TEST_F(OSCPorts, WriteDisabledIntoASnapshotWithoutFeedback) {
    launch();
    EXPECT_EQ(manager.createSnapshot().feedback, "Disabled");
}

TEST_F(OSCPorts, StayAsTheyAreWithoutASnapshot) {
    launch();
    manager.loadSnapshot(nullptr);
    EXPECT_THAT(manager.inputPorts(), ElementsAre(1234));
    EXPECT_THAT(manager.outPortLabelArray(), ElementsAre(first));
    EXPECT_THAT(log.calls, IsEmpty());
}

TEST_F(OSCPorts, LeaveOutAnInputOfASnapshotThatCannotBeBound) {
    launch();
    transport.busyPorts = {9000};
    OSCPortsSnapshot snapshot;
    snapshot.inputs = {{9000}, {9001}};
    snapshot.outputs = {{"10.0.0.1", 1, "A"}, {"10.0.0.2", 2, "B"}};
    manager.loadSnapshot(&snapshot);
    EXPECT_THAT(manager.inputPorts(), ElementsAre(9001));
    EXPECT_THAT(manager.outPortLabelArray(), ElementsAre("A", "B"))
        << "no default output slips in while loading";
    EXPECT_EQ(beeps, 0);
}

TEST_F(OSCPorts, TellOfALoadedSnapshotOnceAndAtItsEnd) {
    launch();
    OSCPortsSnapshot snapshot;
    snapshot.outputs = {{"10.0.0.1", 1, "A"}, {"10.0.0.2", 2, "B"}};
    manager.loadSnapshot(&snapshot);
    EXPECT_THAT(log.calls, ElementsAre("changed"));
    manager.addNewOSCOutput();
    EXPECT_EQ(log.calls.size(), 2U) << "changes are told again after the load";
}

TEST_F(OSCPorts, HoldAnOutputEvenAfterASnapshotWithoutOne) {
    launch();
    const OSCPortsSnapshot empty;
    manager.loadSnapshot(&empty);
    EXPECT_THAT(manager.inputPorts(), IsEmpty());
    EXPECT_THAT(manager.outPortLabelArray(), ElementsAre(first));
}

TEST_F(OSCPorts, KeepTheSavedFeedbackWhenASnapshotNamesAVanishedOutput) {
    launch();
    preference.title = "A";
    OSCPortsSnapshot snapshot;
    snapshot.outputs = {{"10.0.0.1", 1, "A"}, {"10.0.0.2", 2, "B"}};
    snapshot.feedback = "vanished";
    manager.loadSnapshot(&snapshot);
    EXPECT_EQ(manager.selectedFeedbackTitle(), "A");
    EXPECT_EQ(preference.title, "A");
    EXPECT_THAT(feedbackSent(), ElementsAre("A"));
    snapshot.feedback = "Disabled";
    manager.loadSnapshot(&snapshot);
    EXPECT_FALSE(manager.oscFeedbackEnabled());
    EXPECT_EQ(preference.title, "Disabled");
}

TEST_F(OSCPorts, FindTheOutputToADiscoveredHost) {
    launch();
    manager.createNewOutputToAddress("10.0.0.5", 9000, "Desk");
    EXPECT_EQ(manager.oscPortNameForHostInfo("10.0.0.5", 9000, "Remote"), "Desk");
    EXPECT_EQ(manager.oscPortNameForHostInfo("10.0.0.9", 1, "Desk"), "Desk")
        << "the name alone is enough, whatever its address";
    EXPECT_EQ(manager.outPortArray().size(), 2U);
    EXPECT_EQ(manager.oscPortNameForHostInfo("10.0.0.5", 9001, "Remote"), std::nullopt);
    EXPECT_THAT(manager.outPortLabelArray(), ElementsAre(first, "Desk", "Remote"));
    EXPECT_EQ(target(2), "10.0.0.5:9001");
    EXPECT_EQ(manager.oscPortNameForHostInfo("10.0.0.5", 9001, "Remote"), "Remote");
}

TEST_F(OSCPorts, SendThroughARemovedOutputThatIsStillHeld) {
    launch();
    manager.addNewOSCOutput();
    const auto held = manager.outPortArray()[1];
    manager.removeOSCOutput(1);
    held->sendThisMessage(OSCMessage::createWithAddress("/late"), {});
    EXPECT_THAT(transport.messages(), ElementsAre("/late"));
    EXPECT_FALSE(manager.sendToOutput(second, OSCMessage::createWithAddress("/x"), {}));
}

TEST_F(OSCPorts, CountWhatRemovedOutputsSent) {
    launch();
    manager.addNewOSCOutput();
    const OSCMessage message = OSCMessage::createWithAddress("/x");
    manager.sendToOutput(first, message, {});
    manager.sendToOutput(second, message, {});
    manager.removeOSCOutput(0);
    manager.sendToOutput(second, message, {});
    EXPECT_EQ(manager.messagesSent(), 3U);
}

TEST_F(OSCPorts, CountWhatIsSentThroughARemovedOutputThatIsStillHeld) {
    launch();
    manager.addNewOSCOutput();
    auto held = manager.outPortArray()[1];
    const OSCMessage message = OSCMessage::createWithAddress("/x");
    held->sendThisMessage(message, {});
    manager.removeOSCOutput(1);
    held->sendThisMessage(message, {});
    EXPECT_EQ(manager.messagesSent(), 2U);
    held->sendThisMessage(message, {});
    held.reset();
    EXPECT_EQ(manager.messagesSent(), 3U) << "what was sent stays sent when the last track lets go";
}

TEST_F(OSCPorts, SayInTheLogThatTheyAreThere) {
    KeptLines lines;
    const VirtualClock clock;
    Log kept(lines, clock);
    MarvoOSCManager logged(transport, preference, &kept);
    EXPECT_THAT(lines.all, IsEmpty());
    logged.initWithDefaults();
    EXPECT_THAT(lines.all, ElementsAre("OSC ports inited by the OSC Manager!"));
}

TEST_F(OSCPorts, SendWithoutAllocating) {
    launch();
    manager.selectOSCFeedbackTarget(first);
    transport.keeps = false;
    OSCMessage message = OSCMessage::createWithAddress("/value");
    message.addFloat(0.5F);
    std::size_t violations = 0;
    {
        const RealtimeScope scope;
        for (int i = 0; i < 1000; ++i) {
            manager.sendToOutput(first, message, {});
            manager.sendOSCFeedback(message);
        }
        violations = scope.violations();
    }
    EXPECT_EQ(violations, 0U);
    EXPECT_EQ(transport.count, 2000U);
}
