#include "Show.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace marvo::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Keeps what it is given as "kind ..." lines.
class Tape final : public RecordingTarget {
public:
    void addRecordedOSCData(Frame time, const OSCMessage& message) override {
        lines.push_back("osc " + std::to_string(time.value) + " " + std::string(message.address()));
    }
    void addRecordedData(const RecordedMIDI& data) override {
        lines.push_back("midi " + std::to_string(data.time.value) + " " + std::to_string(data.cc) + "=" +
                        std::to_string(static_cast<int>(data.value)) + (data.isLSB ? " 14bit" : ""));
    }
    void addRecordedDMXData(const RecordedDMX& data) override {
        lines.push_back("dmx " + std::to_string(data.channel) + "=" + std::to_string(data.value) +
                        (data.highResolution ? " 16bit" : ""));
    }
    std::vector<std::string> take() { return std::exchange(lines, {}); }
    std::vector<std::string> lines;
};

class Recording : public ::testing::Test {
protected:
    Recording() { show.composition().recordingTarget = &tape; }
    void arm() { show.receive("/marvo/a/record", 1); }
    void cc(int number, int value) { deliver({{number, value}}); }
    // One delivery of controllers on channel 1.
    void deliver(const std::vector<std::pair<int, int>>& values) {
        std::vector<MIDIMessage> messages;
        for (const auto& [number, value] : values)
            messages.push_back({176, 0, static_cast<std::uint8_t>(number), static_cast<std::uint8_t>(value)});
        show.receiveMIDI(messages);
    }
    void dmx(const std::vector<std::pair<int, int>>& changes) {
        std::vector<DMXPair> pairs;
        for (const auto& [channel, value] : changes) pairs.push_back({channel, value});
        show.application.receivedDMX(pairs);
        show.main.pump();
    }
    void known(std::initializer_list<int> controllers) {
        for (const int number : controllers)
            show.application.recorder.midiFilters.add("Ch:1 CC:" + std::to_string(number));
    }

    Tape tape;
    Show show{projectOf({compositionOf("A", 10, 60.0f, {oscTrack("T", "/t", {})})})};
};

TEST_F(Recording, AForeignAddressIsListedOnceAndOursNever) {
    MarvoOSCFilterManager& filters = show.application.recorder.oscFilters;
    show.receive("/desk/1", 1);
    show.receive("/desk/1", 2);
    show.receive("/marvo/playall", 0);
    EXPECT_THAT(filters.rows(), ElementsAre("/desk/1"));
}

TEST_F(Recording, WhileArmedAForeignAddressIsRecordedAndRoutedNoFurther) {
    arm();
    show.receive("/marvo/a/jumptoframe", 30);
    show.receive("/desk/1", 1);
    show.receive("/marvo/a/loop", 1);
    EXPECT_THAT(tape.take(), ElementsAre("osc 30 /desk/1"));
    EXPECT_TRUE(show.composition().loops());
    show.receive("/marvo/a/record", 0);
    show.receive("/desk/1", 1);
    EXPECT_THAT(tape.take(), IsEmpty());
}

TEST_F(Recording, AnAddressThatIsMarkedOffIsDropped) {
    show.receive("/desk/1", 1);
    show.application.recorder.oscFilters.toggleAllowed("/desk/1", {});
    arm();
    show.receive("/desk/1", 1);
    show.receive("/desk/2", 1);
    EXPECT_THAT(tape.take(), ElementsAre("osc 0 /desk/2"));
}

TEST_F(Recording, NotesAndNoteOffsShareARowOfTheFilter) {
    show.receiveMIDI({{144, 0, 60, 100}});
    show.receiveMIDI({{128, 0, 60, 64}, {176, 0, 60, 1}});
    EXPECT_THAT(show.application.recorder.midiFilters.rows(), ElementsAre("Ch:1 CC:60", "Ch:1 Note:60"));
}

TEST_F(Recording, AControllerIsRecordedWithTheFrameOfItsDelivery) {
    known({7});
    arm();
    show.receive("/marvo/a/jumptoframe", 12);
    cc(7, 64);
    EXPECT_THAT(tape.take(), ElementsAre("midi 12 7=64"));
    show.application.recorder.midiFilters.toggleAllowed("Ch:1 CC:7", {});
    cc(7, 65);
    EXPECT_THAT(tape.take(), IsEmpty());
}

TEST_F(Recording, TheFirstMessageOfARowOnlyMakesTheRow) {
    arm();
    cc(7, 64);
    EXPECT_THAT(tape.take(), IsEmpty());
    cc(7, 65);
    EXPECT_THAT(tape.take(), ElementsAre("midi 0 7=65"));
}

TEST_F(Recording, ALearnedControlIsNotRecorded) {
    known({7});
    show.composition().controls.loopButton.setMidiAssignWithData({0, 7});
    arm();
    cc(7, 0);
    EXPECT_THAT(tape.take(), IsEmpty());
    EXPECT_TRUE(show.composition().loops()) << "it still acts";
}

TEST_F(Recording, LearningRestsWhileARecordingIsArmed) {
    arm();
    show.application.midiLearnToggle();
    show.composition().controls.loopButton.click();
    cc(7, 0);
    show.application.midiLearnToggle();
    EXPECT_FALSE(show.composition().controls.loopButton.midiAssignment().isAssigned());
}

TEST_F(Recording, TwoHalvesOfOneDeliveryBecomeOneValueInWhateverOrderTheyCome) {
    known({7, 39});
    show.application.recorder.midiFilters.toggleHighResolution("Ch:1 CC:7", {});
    arm();
    deliver({{39, 5}, {7, 100}});
    EXPECT_THAT(tape.take(), ElementsAre("midi 0 7=12805 14bit"));
}

TEST_F(Recording, AFineHalfAloneGoesOnFromTheLastCoarseOne) {
    known({7, 39});
    show.application.recorder.midiFilters.toggleHighResolution("Ch:1 CC:7", {});
    arm();
    deliver({{7, 100}, {39, 5}});
    tape.take();
    cc(39, 6);
    EXPECT_THAT(tape.take(), ElementsAre("midi 0 7=12806 14bit"));
}

TEST_F(Recording, AFineHalfWithoutACoarseOneLosesTheRestOfItsDelivery) {
    known({7, 39, 50});
    show.application.recorder.midiFilters.toggleHighResolution("Ch:1 CC:7", {});
    arm();
    deliver({{39, 5}, {50, 1}});
    EXPECT_THAT(tape.take(), IsEmpty());
    cc(50, 1);
    EXPECT_THAT(tape.take(), ElementsAre("midi 0 50=1"));
}

TEST_F(Recording, AFineRowThatIsMarkedHighResolutionItselfOverflowsNothing) {
    known({7, 39});
    show.application.recorder.midiFilters.toggleHighResolution("Ch:1 CC:7", {"Ch:1 CC:39"});
    arm();
    cc(7, 127);
    for (int i = 0; i < 60; ++i) cc(39, 127);
    EXPECT_THAT(tape.take(), IsEmpty()) << "the half that would end the value never comes";
}

TEST_F(Recording, ArmingAnewForgetsTheCoarseHalves) {
    known({7, 39});
    show.application.recorder.midiFilters.toggleHighResolution("Ch:1 CC:7", {});
    arm();
    deliver({{7, 100}, {39, 5}});
    tape.take();
    show.receive("/marvo/a/record", 0);
    arm();
    cc(39, 6);
    EXPECT_THAT(tape.take(), IsEmpty());
}

TEST_F(Recording, DMXChannelsAreRecordedOneByOneOrAsPairs) {
    dmx({{0, 1}, {1, 2}, {2, 3}});
    arm();
    dmx({{0, 10}, {2, 30}});
    EXPECT_THAT(tape.take(), ElementsAre("dmx 0=10", "dmx 2=30"));
    show.application.recorder.artNetFilters.toggleHighResolution("U:0 CH:1", {});
    dmx({{0, 1}, {1, 2}, {2, 3}});
    EXPECT_THAT(tape.take(), ElementsAre("dmx 0=258 16bit", "dmx 2=3"));
    dmx({{1, 9}});
    EXPECT_THAT(tape.take(), IsEmpty()) << "a fine half alone";
    show.application.recorder.artNetFilters.toggleAllowed("U:0 CH:3", {});
    dmx({{2, 3}});
    EXPECT_THAT(tape.take(), IsEmpty());
}

TEST_F(Recording, NothingIsListedWhileTheGateIsShut) {
    show.application.pauseRendering();
    show.receive("/desk/1", 1);
    cc(7, 1);
    dmx({{0, 1}});
    show.application.restartRendering();
    EXPECT_EQ(show.application.recorder.oscFilters.count(), 0U);
    EXPECT_EQ(show.application.recorder.midiFilters.count(), 0U);
    EXPECT_EQ(show.application.recorder.artNetFilters.count(), 0U);
}

TEST_F(Recording, ACompositionThatGoesIsNotRecordedIntoAnyMore) {
    arm();
    show.application.removeCompositionAtIndex(0);
    EXPECT_FALSE(show.application.recorder.isArmed());
    show.receive("/desk/1", 1);
    EXPECT_THAT(tape.take(), IsEmpty());
}

TEST_F(Recording, TheTablesAreSavedWithTheProject) {
    show.receive("/desk/1", 1);
    show.application.recorder.oscFilters.toggleAllowed("/desk/1", {});
    cc(7, 1);
    show.application.recorder.midiFilters.toggleHighResolution("Ch:1 CC:7", {});
    dmx({{0, 1}});
    Show again(show.saved());
    EXPECT_EQ(again.application.recorder.oscFilters.find("/desk/1"), (FilterEntry{false, false}));
    EXPECT_EQ(again.application.recorder.midiFilters.find("Ch:1 CC:7"), (FilterEntry{true, true}));
    EXPECT_THAT(again.application.recorder.artNetFilters.rows(), ElementsAre("U:0 CH:1"));
}

} // namespace
} // namespace marvo::testing
