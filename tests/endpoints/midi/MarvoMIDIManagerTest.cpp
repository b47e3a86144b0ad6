#include "endpoints/midi/MarvoMIDIManager.h"

#include "FakeMIDITransport.h"
#include "RealtimeScope.h"
#include "endpoints/midi/RecordingMIDITransport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace marvo;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class LinesSink final : public LogSink {
public:
    std::vector<std::string> lines;
    void write(std::string_view line) override { lines.emplace_back(line); }
    std::string contents(std::size_t) override { return {}; }
    bool contains(std::string_view text) const {
        return std::any_of(lines.begin(), lines.end(),
                           [text](const std::string& line) { return line.find(text) != std::string::npos; });
    }
};

// Ports of a machine with a two-way controller and a synthesiser that only listens.
class MIDIPorts : public testing::Test, public MIDIMessageReceiver {
protected:
    MIDIPorts() {
        manager.onBeep = [this] { ++beeps; };
        manager.onInputsTableChanged = [this] { ++inputsTableChanges; };
        outputsChanged =
            center.observe(notifications.midiOutputsChanged, [this] { events.push_back("outputs changed"); });
        setupPosted =
            center.observe(notifications.midiSetupChanged, [this](const std::vector<std::string>& sources) {
                std::string text = "setup posted:";
                for (const std::string& name : sources) text += " " + name;
                events.push_back(text);
            });
        transport.machine = {{{"c", "Controller"}}, {{"c", "Controller"}, {"s", "Synth"}}};
    }

    void start() {
        manager.start();
        manager.setDelegate(this);
        mainThread.pump();
        events.clear();
        transport.lines.clear();
    }

    void receivedMIDI(std::span<const MIDIMessage> messages, const std::string& source,
                      MonotonicTime) override {
        for (const MIDIMessage& message : messages)
            received.push_back(source + " " + hexOf(encodeMIDI(message).span()));
    }
    void receivedSysex(std::span<const std::uint8_t> payload, const std::string& source,
                       MonotonicTime) override {
        received.push_back(source + " sysex " + hexOf(payload));
    }
    void setupChanged() override {
        events.push_back("delegate told, Controller " +
                         std::string(isEnabled("Controller") ? "enabled" : "disabled"));
    }

    bool isEnabled(const std::string& name) const {
        const auto source = manager.findSourceNodeNamed(name);
        return source && source->enabled();
    }
    void arrive(const std::string& source) {
        const MIDIMessage message{MIDIMessage::controlChange, 1, 7, 100};
        if (transport.receivers.contains(source))
            transport.receivers[source]->receivedMIDI({&message, 1}, MonotonicTime(1));
    }
    std::size_t row(const std::string& name) const {
        const auto rows = manager.inputRows();
        for (std::size_t i = 0; i < rows.size(); ++i)
            if (rows[i].name == name) return i;
        return rows.size();
    }

    MonotonicClock clock;
    LinesSink sink;
    Log log{sink, clock};
    MainThread mainThread{clock};
    NotificationCenter center;
    Notifications notifications{center};
    FakeMIDITransport transport;
    MarvoMIDIManager manager{transport, mainThread, center, notifications, &log};
    Observation outputsChanged;
    Observation setupPosted;
    std::vector<std::string> events;
    std::vector<std::string> received;
    int beeps = 0;
    int inputsTableChanges = 0;
    const MIDIMessage note{MIDIMessage::noteOn, 0, 60, 90};
};

TEST_F(MIDIPorts, AStartPublishesTwoOutputsAndOneInput) {
    manager.start();
    EXPECT_THAT(manager.midiOutNodeNames(), ElementsAre("Marvo Midi Out 1", "Marvo Midi Out 2"));
    EXPECT_TRUE(transport.receivers.contains("To Marvo"));
    EXPECT_THAT(manager.detectedMidiOutNodeNames(), ElementsAre("Controller", "Synth"));
    EXPECT_THAT(manager.sourceNodeNameArray(), ElementsAre("Controller"));
    EXPECT_THAT(sink.lines, IsEmpty());
}

TEST_F(MIDIPorts, AnOutputThatCannotBeMadeIsLoggedAndTheOtherComesUp) {
    transport.refused = {"Marvo Midi Out 1"};
    manager.start();
    EXPECT_THAT(manager.midiOutNodeNames(), ElementsAre("Marvo Midi Out 2"));
    EXPECT_TRUE(sink.contains("cannot create MIDI output"));
    EXPECT_FALSE(sink.contains("cannot create MIDI input"));
}

TEST_F(MIDIPorts, AnInputThatCannotBeMadeIsLoggedAndTheRestComesUp) {
    transport.refused = {"To Marvo"};
    manager.start();
    EXPECT_TRUE(sink.contains("cannot create MIDI input"));
    EXPECT_EQ(manager.midiOutNodeNames().size(), 2U);
}

TEST_F(MIDIPorts, ANewOutputTakesTheLowestFreeNumber) {
    start();
    manager.createOutputs({"Marvo Midi Out 1", "Marvo Midi Out 3"});
    events.clear();
    manager.createNewOutput();
    EXPECT_THAT(manager.midiOutNodeNames(),
                ElementsAre("Marvo Midi Out 1", "Marvo Midi Out 3", "Marvo Midi Out 2"));
    EXPECT_THAT(events, ElementsAre("outputs changed"));
    EXPECT_TRUE(manager.findRealDestNodeNamed("Marvo Midi Out 2"));
}

TEST_F(MIDIPorts, TheLastOutputCannotBeRemovedNorNone) {
    start();
    manager.removeOutput(std::nullopt);
    EXPECT_EQ(beeps, 1);
    manager.removeOutput(7);
    EXPECT_EQ(beeps, 2);
    manager.removeOutput(0);
    EXPECT_EQ(beeps, 2);
    EXPECT_THAT(manager.midiOutNodeNames(), ElementsAre("Marvo Midi Out 2"));
    EXPECT_THAT(events, ElementsAre("outputs changed"));
    manager.removeOutput(0);
    EXPECT_EQ(beeps, 3);
    EXPECT_THAT(manager.midiOutNodeNames(), ElementsAre("Marvo Midi Out 2"));
}

TEST_F(MIDIPorts, ARemovedOutputIsADestinationUntilTheSetupChanges) {
    start();
    manager.createOutputs({"One", "Two"});
    manager.removeOutput(0);
    EXPECT_THAT(manager.midiOutNodeNames(), ElementsAre("Two"));
    EXPECT_THAT(manager.detectedMidiOutNodeNames(), ElementsAre("Controller", "One", "Synth", "Two"));
    EXPECT_TRUE(manager.findDestNodeNamed("One"));
    transport.lines.clear();
    manager.setupChanged();
    EXPECT_THAT(manager.detectedMidiOutNodeNames(), ElementsAre("Controller", "Synth"));
    EXPECT_FALSE(manager.findDestNodeNamed("One"));
    EXPECT_THAT(transport.lines, ElementsAre("close One"));
}

TEST_F(MIDIPorts, ANodeThatATrackHoldsIsOpenUntilTheTrackHasChosenAnew) {
    start();
    manager.createOutputs({"One", "Two"});
    std::shared_ptr<MarvoMIDINode> track = manager.findDestNodeNamed("One");
    manager.removeOutput(0);
    transport.lines.clear();
    const Observation choosesAnew =
        center.observe(notifications.midiOutputsChanged, [&] { track = manager.findDestNodeNamed("One"); });
    manager.setupChanged();
    EXPECT_FALSE(track);
    EXPECT_THAT(transport.lines, ElementsAre("close One"));
}

TEST_F(MIDIPorts, SavedOutputsReplaceTheOthersAndAPortOfTheSameNameStaysPublished) {
    start();
    manager.createOutputs({"Marvo Midi Out 2", "Stage"});
    EXPECT_THAT(manager.midiOutNodeNames(), ElementsAre("Marvo Midi Out 2", "Stage"));
    EXPECT_THAT(transport.lines,
                ElementsAre("silence Marvo Midi Out 2", "publish Stage", "close Marvo Midi Out 1"));
    EXPECT_THAT(events, ElementsAre("outputs changed"));
}

TEST_F(MIDIPorts, AVirtualOutputGoesBeforeADeviceOfTheSameName) {
    start();
    manager.createOutputs({"Synth"});
    manager.findDestNodeNamed("Synth")->sendMsg(note, {});
    EXPECT_EQ(manager.findDestNodeNamed("Synth"), manager.midiOutNodes().at(0));
    EXPECT_NE(manager.findRealDestNodeNamed("Synth"), manager.midiOutNodes().at(0));
    EXPECT_FALSE(manager.findDestNodeNamed("Nobody"));
}

TEST_F(MIDIPorts, DetectedOutputsAreInTheOrderAPersonExpects) {
    transport.machine.destinations = {{"a", "Port 10"}, {"b", "port 2"}, {"c", "Port 1"}};
    start();
    EXPECT_THAT(manager.detectedMidiOutNodeNames(), ElementsAre("Port 1", "port 2", "Port 10"));
}

TEST_F(MIDIPorts, AChangeOfTheSetupIsToldInOrder) {
    start();
    transport.plug("Keys");
    EXPECT_THAT(events, IsEmpty()); // the transport's thread only posts
    manager.findSourceNodeNamed("Controller")->setEnabled(false);
    inputsTableChanges = 0;
    mainThread.pump();
    EXPECT_TRUE(sink.contains("MIDI setupChanged"));
    EXPECT_THAT(events, ElementsAre("delegate told, Controller disabled", "setup posted: Controller Keys",
                                    "outputs changed"));
    EXPECT_EQ(inputsTableChanges, 1);
    EXPECT_TRUE(manager.findDestNodeNamed("Keys"));
}

TEST_F(MIDIPorts, TheUsersChoiceIsAppliedAfterTheDelegateWasTold) {
    start();
    manager.toggleMidiPort(row("Controller")); // off, and stored
    manager.findSourceNodeNamed("Controller")->setEnabled(true);
    manager.setupChanged();
    EXPECT_THAT(events, testing::Contains("delegate told, Controller enabled"));
    EXPECT_FALSE(isEnabled("Controller"));
}

TEST_F(MIDIPorts, ADeviceThatStaysKeepsItsPort) {
    start();
    const auto before = manager.findDestNodeNamed("Synth");
    transport.plug("Keys");
    mainThread.pump();
    EXPECT_EQ(manager.findDestNodeNamed("Synth"), before);
    EXPECT_THAT(transport.lines, ElementsAre("open Keys"));
}

TEST_F(MIDIPorts, ASourceThatReturnsIsAsTheUserLeftIt) {
    start();
    manager.toggleMidiPort(row("Controller"));
    EXPECT_FALSE(isEnabled("Controller"));
    transport.unplug("Controller");
    mainThread.pump();
    EXPECT_THAT(manager.inputRows(), IsEmpty());
    transport.plug("Controller");
    mainThread.pump();
    EXPECT_FALSE(isEnabled("Controller"));
    manager.toggleMidiPort(row("Controller"));
    EXPECT_TRUE(isEnabled("Controller"));
}

TEST_F(MIDIPorts, ASourceThatTheSystemMadeAnewKeepsItsState) {
    start();
    manager.findSourceNodeNamed("Controller")->setEnabled(false);
    transport.machine.sources = {{"another id", "Controller"}};
    manager.setupChanged();
    EXPECT_EQ(manager.findSourceNodeNamed("Controller")->id(), "another id");
    EXPECT_FALSE(isEnabled("Controller"));
}

TEST_F(MIDIPorts, ASourceWithoutAChoiceKeepsItsState) {
    start();
    manager.findSourceNodeNamed("Controller")->setEnabled(false);
    transport.plug("Keys");
    mainThread.pump();
    EXPECT_FALSE(isEnabled("Controller"));
    EXPECT_TRUE(isEnabled("Keys"));
}

TEST_F(MIDIPorts, ChoosingATwoWayDeviceSwitchesItsInputOffWithoutStoringIt) {
    start();
    manager.needsCheckOutputSelected(*manager.findDestNodeNamed("Controller"));
    EXPECT_FALSE(isEnabled("Controller"));
    EXPECT_EQ(inputsTableChanges, 1);
    PropertyList saved = PropertyList::dictionary();
    manager.saveInto(saved);
    EXPECT_EQ(saved.find("cachedMIDIStates")->size(), 0U);
    manager.needsCheckOutputSelected(*manager.findDestNodeNamed("Synth"));
    EXPECT_EQ(inputsTableChanges, 1);
}

TEST_F(MIDIPorts, AStoredChoiceComesBackAfterALoopWasGuardedAgainst) {
    start();
    manager.toggleMidiPort(row("Controller"));
    manager.toggleMidiPort(row("Controller")); // on, and stored
    manager.needsCheckOutputSelected(*manager.findDestNodeNamed("Controller"));
    EXPECT_FALSE(isEnabled("Controller"));
    manager.setupChanged();
    EXPECT_TRUE(isEnabled("Controller"));
}

TEST_F(MIDIPorts, WhatArrivesIsHandedOnWithTheNameOfItsSource) {
    start();
    arrive("Controller");
    arrive("To Marvo");
    const std::vector<std::uint8_t> payload{0x7f, 1, 2};
    transport.receivers["Controller"]->receivedSysex(payload, MonotonicTime(1));
    EXPECT_THAT(received,
                ElementsAre("Controller b1 07 64", "To Marvo b1 07 64", "Controller sysex 7f 01 02"));
}

TEST_F(MIDIPorts, ASourceThatIsOffDeliversNothing) {
    start();
    manager.toggleMidiPort(row("Controller"));
    arrive("Controller");
    EXPECT_THAT(received, IsEmpty());
}

TEST_F(MIDIPorts, AfterTheDelegateHasGoneNothingIsDelivered) {
    start();
    manager.setDelegate(nullptr);
    arrive("Controller");
    manager.setupChanged();
    EXPECT_THAT(received, IsEmpty());
    EXPECT_THAT(events, ElementsAre("outputs changed"));
}

TEST_F(MIDIPorts, ADeliveryThatOutlivesItsSourceGoesNowhere) {
    start();
    const auto held = transport.receivers["Controller"];
    transport.unplug("Controller");
    mainThread.pump();
    held->receivedMIDI({&note, 1}, MonotonicTime(1));
    EXPECT_THAT(received, IsEmpty());
}

TEST_F(MIDIPorts, InputRowsAreInTheOrderAPersonExpectsAndShowBothColumns) {
    transport.machine.sources = {{"a", "Pad 10"}, {"b", "Pad 2"}};
    start();
    manager.toggleMidiFeedback(row("Pad 10"));
    manager.toggleMidiPort(row("Pad 2"));
    const auto rows = manager.inputRows();
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_EQ(rows[0].name, "Pad 2");
    EXPECT_FALSE(rows[0].enabled);
    EXPECT_FALSE(rows[0].feedback);
    EXPECT_EQ(rows[1].name, "Pad 10");
    EXPECT_TRUE(rows[1].enabled);
    EXPECT_TRUE(rows[1].feedback);
    manager.toggleMidiPort(99);
    manager.toggleMidiFeedback(99);
}

TEST_F(MIDIPorts, FeedbackGoesToTheTickedDevicesOnly) {
    start();
    const auto post = center.name<MIDIMessage>("sendMIDIFeedback");
    center.post(post, note);
    EXPECT_THAT(transport.takeLines(), IsEmpty());
    manager.toggleMidiFeedback(row("Controller"));
    center.post(post, note);
    EXPECT_THAT(transport.takeLines(), ElementsAre("Controller: 90 3c 5a feedback"));
    manager.toggleMidiFeedback(row("Controller"));
    center.post(post, note);
    EXPECT_THAT(transport.takeLines(), IsEmpty());
}

TEST_F(MIDIPorts, FeedbackToADeviceThatIsAwayIsPassedOver) {
    start();
    manager.toggleMidiFeedback(row("Controller"));
    transport.unplug("Controller");
    mainThread.pump();
    transport.lines.clear();
    manager.sendMIDIFeedback(note);
    EXPECT_THAT(transport.lines, IsEmpty());
    transport.plug("Controller");
    mainThread.pump();
    transport.lines.clear();
    manager.sendMIDIFeedback(note);
    EXPECT_THAT(transport.lines, ElementsAre("Controller: 90 3c 5a feedback"));
}

TEST_F(MIDIPorts, SilenceReachesEveryOutput) {
    start();
    manager.silence();
    EXPECT_THAT(transport.lines, ElementsAre("silence Marvo Midi Out 1", "silence Marvo Midi Out 2",
                                             "silence Controller", "silence Synth"));
}

TEST_F(MIDIPorts, TheSavedRecordsBringEverythingBack) {
    start();
    manager.createOutputs({"Stage", "Pit"});
    manager.toggleMidiPort(row("Controller"));
    manager.toggleMidiFeedback(row("Controller"));
    PropertyList saved = PropertyList::dictionary();
    manager.saveInto(saved);
    EXPECT_EQ(saved.find("midiOutputs")->at(0)->stringOr(""), "Stage");
    EXPECT_EQ(saved.find("feedbackNodes")->find("Controller")->stringOr(""), "Controller");
    EXPECT_EQ(saved.find("cachedMIDIStates")->find("Controller")->asBool(), false);
    EXPECT_EQ(saved.find("midiInputs")->find("Controller")->asBool(), false);

    FakeMIDITransport other;
    other.machine = transport.machine;
    MarvoMIDIManager later(other, mainThread, center, notifications, nullptr);
    later.start();
    later.load(saved);
    EXPECT_THAT(later.midiOutNodeNames(), ElementsAre("Stage", "Pit"));
    EXPECT_FALSE(later.inputRows().at(0).enabled);
    EXPECT_TRUE(later.inputRows().at(0).feedback);
    PropertyList again = PropertyList::dictionary();
    later.saveInto(again);
    EXPECT_EQ(again, saved);
}

TEST_F(MIDIPorts, AProjectWithoutOutputsLeavesNone) {
    start();
    manager.load(PropertyList::dictionary());
    EXPECT_THAT(manager.midiOutNodeNames(), IsEmpty());
    EXPECT_THAT(events, ElementsAre("outputs changed"));
}

TEST_F(MIDIPorts, AProjectWithoutChoicesKeepsThoseThatStandButForgetsFeedback) {
    start();
    manager.toggleMidiPort(row("Controller"));
    manager.toggleMidiFeedback(row("Controller"));
    manager.findSourceNodeNamed("Controller")->setEnabled(true);
    manager.load(PropertyList::dictionary());
    EXPECT_FALSE(isEnabled("Controller")); // the stored choice was applied again
    EXPECT_FALSE(manager.inputRows().at(0).feedback);
}

TEST_F(MIDIPorts, AStoredChoiceGoesBeforeTheSavedState) {
    start();
    PropertyList saved = PropertyList::dictionary();
    PropertyList states = PropertyList::dictionary();
    states.set("Controller", true);
    saved.set("cachedMIDIStates", states);
    states.set("Controller", false);
    saved.set("midiInputs", states);
    manager.load(saved);
    EXPECT_TRUE(isEnabled("Controller"));
}

TEST_F(MIDIPorts, ASavedStateHoldsWhereThereIsNoChoice) {
    start();
    PropertyList saved = PropertyList::dictionary();
    PropertyList states = PropertyList::dictionary();
    states.set("Controller", false);
    saved.set("midiInputs", states);
    manager.load(saved);
    EXPECT_FALSE(isEnabled("Controller"));
}

TEST_F(MIDIPorts, SavedChoicesReplaceTheOnesThatStand) {
    start();
    manager.toggleMidiPort(row("Controller"));
    PropertyList saved = PropertyList::dictionary();
    saved.set("cachedMIDIStates", PropertyList::dictionary());
    manager.load(saved);
    PropertyList again = PropertyList::dictionary();
    manager.saveInto(again);
    EXPECT_EQ(again.find("cachedMIDIStates")->size(), 0U);
}

TEST_F(MIDIPorts, AChoiceForADeviceThatIsAwayIsKeptForItsReturn) {
    start();
    PropertyList saved = PropertyList::dictionary();
    PropertyList states = PropertyList::dictionary();
    states.set("Absent", false);
    saved.set("cachedMIDIStates", states);
    manager.load(saved);
    transport.plug("Absent");
    mainThread.pump();
    EXPECT_FALSE(isEnabled("Absent"));
}

TEST_F(MIDIPorts, RecordsOfAnotherShapeDoNoHarm) {
    start();
    PropertyList odd = PropertyList::dictionary();
    odd.set("midiInputs", PropertyList::array());
    odd.set("cachedMIDIStates", "no dictionary");
    odd.set("feedbackNodes", 7);
    PropertyList outputs = PropertyList::array();
    outputs.push_back(7);
    outputs.push_back("");
    outputs.push_back("Fine");
    odd.set("midiOutputs", outputs);
    manager.load(odd);
    EXPECT_THAT(manager.midiOutNodeNames(), ElementsAre("Fine"));
}

TEST_F(MIDIPorts, LookingUpAndSendingIsFitForTheTick) {
    start();
    manager.toggleMidiFeedback(row("Controller"));
    transport.countsOnly = true;
    transport.sendCount = 0;
    RealtimeScope scope;
    for (int i = 0; i < 10; ++i) {
        const auto node = manager.findDestNodeNamed("Marvo Midi Out 2");
        node->sendMsg(note, {});
        manager.sendMIDIFeedback(note);
        manager.silence();
    }
    EXPECT_EQ(scope.violations(), 0U) << scope.report();
    EXPECT_EQ(transport.sendCount, 10 * (1 + 1 + 4));
}

TEST(MIDIManager, NothingOfTheTransportReachesAManagerThatHasGone) {
    MonotonicClock clock;
    MainThread mainThread(clock);
    NotificationCenter center;
    Notifications notifications(center);
    FakeMIDITransport transport;
    {
        MarvoMIDIManager manager(transport, mainThread, center, notifications, nullptr);
        manager.start();
        EXPECT_TRUE(transport.isObserved());
        transport.tellSetupChanged();
    }
    EXPECT_FALSE(transport.isObserved());
    mainThread.pump();
    center.post(center.name<MIDIMessage>("sendMIDIFeedback"), MIDIMessage{});
}

class RecordedLines final : public MIDIMessageSink {
public:
    std::vector<std::string> lines;
    void messageSent(const std::string& node, std::span<const std::uint8_t> bytes,
                     const SendOrigin& origin) override {
        lines.push_back(node + ": " + hexOf(bytes) + (origin.track ? " by " + *origin.track : ""));
    }
};

TEST(RehearsedMIDI, EveryNodeThatIsAskedForIsThereAndOfOneNameThereIsOne) {
    MonotonicClock clock;
    MainThread mainThread(clock);
    NotificationCenter center;
    Notifications notifications(center);
    RecordedLines recorded;
    RecordingMIDITransport transport(recorded);
    MarvoMIDIManager manager(transport, mainThread, center, notifications, nullptr);
    manager.start();
    const std::string track = "Drums";
    SendOrigin origin;
    origin.track = &track;
    const auto node = manager.findDestNodeNamed("Some desk");
    ASSERT_TRUE(node);
    EXPECT_EQ(manager.findDestNodeNamed("Some desk"), node);
    EXPECT_FALSE(manager.findDestNodeNamed(""));
    node->sendMsg({MIDIMessage::noteOn, 9, 36, 127}, origin);
    manager.findDestNodeNamed("Marvo Midi Out 1")->sendMsg({0xc0, 2, 5, 99}, origin);
    const std::vector<std::uint8_t> payload{1, 2, 3};
    node->sendSysex(payload, origin);
    EXPECT_THAT(manager.detectedMidiOutNodeNames(), IsEmpty());
    EXPECT_THAT(recorded.lines,
                ElementsAre("Some desk: 99 24 7f by Drums", "Marvo Midi Out 1: c2 05 by Drums",
                            "Some desk: f0 01 02 03 f7 by Drums"));
    recorded.lines.clear();
    manager.silence();
    EXPECT_THAT(recorded.lines, ElementsAre("Some desk: 89 24 00"));
    manager.silence();
    EXPECT_EQ(recorded.lines.size(), 1U);
}

TEST(RehearsedMIDI, NothingIsRecordedAfterTheEnd) {
    RecordedLines recorded;
    auto transport = std::make_unique<RecordingMIDITransport>(recorded);
    const auto output = transport->makeVirtualSender("Out");
    const MIDIMessage note{MIDIMessage::noteOn, 0, 60, 90};
    output->send({&note, 1}, {});
    transport.reset();
    output->send({&note, 1}, {});
    output->silence();
    EXPECT_THAT(recorded.lines, ElementsAre("Out: 90 3c 5a"));
    EXPECT_EQ(output->counters().sent, 1U);
}

} // namespace
