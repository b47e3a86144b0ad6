#include "controls/MarvoControlTextField.h"
#include "controls/MarvoSlider.h"

#include "RecordingControlHub.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <vector>

using marvo::ControlRecord;
using marvo::MarvoControlTextField;
using marvo::MarvoSlider;
using marvo::OSCArgument;
using marvo::testing::RecordingControlHub;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class TempoField : public ::testing::Test {
protected:
    TempoField() {
        field.setAction([this](MarvoControlTextField& sender) { sent.push_back(sender.floatValue()); });
        field.setOSCAddress("/compbpm", "float 0-999");
        field.addOSCListener();
        field.setMidiAssignWithData({0, 1});
    }

    RecordingControlHub hub;
    MarvoControlTextField field{hub};
    std::vector<float> sent;
};

class Volume : public ::testing::Test {
protected:
    Volume() {
        slider.setAction([this](MarvoSlider& sender) { sent.push_back(sender.value()); });
        slider.setOSCAddress("/volume", "float 0-1");
        slider.addOSCListener();
        slider.setMidiAssignWithData({0, 1});
    }

    RecordingControlHub hub;
    MarvoSlider slider{hub};
    std::vector<float> sent;
};

} // namespace

TEST_F(TempoField, KeepsTheTextThatWasTyped) {
    field.setTitle("120.50 bpm");
    EXPECT_EQ(field.title(), "120.50 bpm");
    EXPECT_EQ(field.floatValue(), 120.5F);
    field.setTitle("fast");
    EXPECT_EQ(field.floatValue(), 0.0F);
    field.setFloatValue(119.5F);
    EXPECT_EQ(field.title(), "119.5");
    field.setFloatValue(120.0F);
    EXPECT_EQ(field.title(), "120");
}

TEST_F(TempoField, TakesAnOSCNumberAsItComesOnTheCallingThread) {
    hub.holdsAsync = true;
    for (const float value : {999.0F, -3.0F, 0.25F}) hub.receiveOSC("/compbpm", OSCArgument{2, 0, value});
    EXPECT_THAT(sent, ElementsAre(999.0F, -3.0F, 0.25F));
    EXPECT_EQ(hub.hops, 0);
    hub.receiveOSC("/compbpm", OSCArgument{11, 1, 1.0F});
    hub.receiveOSC("/compbpm", OSCArgument{3, 1, 1.0F});
    EXPECT_EQ(sent.size(), 3U);
}

TEST_F(TempoField, MapsMidiToOneAndUp) {
    hub.receiveMIDI(0, 1, 176, 0);
    hub.receiveMIDI(0, 1, 144, 127);
    hub.receiveMIDI(0, 1, 176, 1); // 6.66
    EXPECT_THAT(sent, ElementsAre(1.0F, 720.0F, 6.0F));
    hub.receiveMIDI(0, 1, 128, 5);
    EXPECT_EQ(sent.size(), 3U);
}

TEST_F(TempoField, SetsAMidiValueLaterOnTheMainThread) {
    hub.holdsAsync = true;
    hub.receiveMIDI(0, 1, 176, 127);
    EXPECT_EQ(field.floatValue(), 0.0F);
    hub.runHeld();
    EXPECT_EQ(field.floatValue(), 720.0F);
    EXPECT_THAT(sent, ElementsAre(720.0F));
}

TEST_F(TempoField, DoesNothingWhenAMidiValueReachesTheMainThreadAfterItsEnd) {
    auto doomed = std::make_unique<MarvoControlTextField>(hub);
    int late = 0;
    doomed->setAction([&](MarvoControlTextField&) { ++late; });
    hub.holdsAsync = true;
    doomed->midiMessageReceived(176, 5);
    doomed.reset();
    hub.runHeld();
    EXPECT_EQ(late, 0);
}

TEST_F(TempoField, RefusesEverythingWhileIgnored) {
    field.setTitle("100");
    field.setIgnored(true);
    hub.receiveOSC("/compbpm", OSCArgument{2, 0, 5.0F});
    hub.receiveMIDI(0, 1, 176, 5);
    field.mouseDownAt(10);
    field.mouseDraggedTo(900, 1000);
    EXPECT_FALSE(field.doubleClick());
    EXPECT_EQ(field.title(), "100");
    EXPECT_THAT(sent, IsEmpty());
}

TEST_F(TempoField, StartsDisabledAndEnablesTypingByDoubleClick) {
    EXPECT_FALSE(field.isEnabled());
    EXPECT_TRUE(field.doubleClick());
    EXPECT_TRUE(field.isEnabled());
    MarvoControlTextField readOnly(hub);
    readOnly.setEditable(false);
    EXPECT_FALSE(readOnly.doubleClick());
    MarvoControlTextField learning(hub);
    learning.startMidiLearn();
    EXPECT_FALSE(learning.doubleClick());
    MarvoControlTextField showing(hub);
    showing.startShowOSC();
    EXPECT_FALSE(showing.doubleClick());
}

TEST_F(TempoField, SpreadsADragAcrossTheRestOfTheScreen) {
    field.setTitle("120");
    field.mouseDownAt(500);
    field.mouseDraggedTo(700, 1000); // 120 + 600 / 300
    field.mouseDraggedTo(880, 1000); // 122 + 598 / 120 = 126.98
    field.mouseDraggedTo(600, 1000); // 126 - 126 / 600 = 125.79
    field.mouseDraggedTo(600, 1000); // straight up or down
    EXPECT_THAT(sent, ElementsAre(122.0F, 126.0F, 125.0F, 125.0F));
    EXPECT_EQ(field.lastDragXPosition(), 600.0F);
}

TEST_F(TempoField, ReachesBothEndsByDragging) {
    field.setTitle("120");
    field.mouseDownAt(999);
    field.mouseDraggedTo(1000, 1000);
    field.mouseDraggedTo(1001, 1000);
    field.mouseDownAt(1);
    field.mouseDraggedTo(0, 1000);
    field.mouseDownAt(1);
    field.mouseDraggedTo(0, 1000);
    field.mouseDownAt(0);
    field.setTitle("720");
    field.mouseDraggedTo(1000, 1000);
    EXPECT_THAT(sent, ElementsAre(720.0F, 720.0F, 0.0F, 0.0F, 720.0F));
}

TEST_F(TempoField, DoesNotDragWhileReadOnlyOrHighlighted) {
    field.setEditable(false);
    field.mouseDraggedTo(900, 1000);
    field.setEditable(true);
    field.startMidiLearn();
    field.mouseDown();
    field.mouseDraggedTo(901, 1000);
    EXPECT_THAT(sent, IsEmpty());
}

TEST_F(TempoField, SavesOnlyItsAssignment) {
    field.setTitle("100");
    EXPECT_EQ(field.saveData(), (ControlRecord{0, 1, {}, {}}));
    const ControlRecord record{4, 5, true, 0.5F};
    field.loadWithData(&record);
    EXPECT_EQ(field.title(), "100");
    EXPECT_FALSE(hub.midi.isAssignedMIDI({0, 1}));
    EXPECT_TRUE(hub.midi.isAssignedMIDI({4, 5}));
    field.loadWithData(nullptr);
    EXPECT_FALSE(hub.midi.isAssignedMIDI({4, 5}));
    EXPECT_THAT(sent, IsEmpty());
}

TEST_F(TempoField, HoldsItsClockTexts) {
    EXPECT_FALSE(field.isWaitingForClock());
    EXPECT_TRUE(field.mtcOffsetString().empty());
    field.setIsWaitingForClock(true);
    field.setMtcOffsetString("00:10:00");
    EXPECT_TRUE(field.isWaitingForClock());
    EXPECT_EQ(field.mtcOffsetString(), "00:10:00");
}

TEST_F(Volume, HoldsAnOSCLevelToItsRangeOnTheMainThread) {
    for (const float value : {0.25F, 7.0F, -1.0F}) hub.receiveOSC("/volume", OSCArgument{2, 0, value});
    EXPECT_THAT(sent, ElementsAre(0.25F, 1.0F, 0.0F));
    EXPECT_EQ(hub.hops, 3);
    hub.receiveOSC("/volume", OSCArgument{11, 1, 1.0F});
    hub.receiveOSC("/volume", OSCArgument{3, 1, 1.0F});
    EXPECT_EQ(sent.size(), 3U);
}

TEST_F(Volume, KeepsItsLevelWhenOSCSendsNoNumber) {
    slider.setValue(0.5F);
    hub.receiveOSC("/volume", OSCArgument{2, 0, std::numeric_limits<float>::quiet_NaN()});
    EXPECT_EQ(slider.value(), 0.5F);
}

TEST_F(Volume, FollowsAControllerOnTheCallingThread) {
    hub.holdsAsync = true;
    hub.receiveMIDI(0, 1, 176, 127);
    hub.receiveMIDI(0, 1, 176, 64);
    hub.receiveMIDI(0, 1, 176, 0);
    EXPECT_THAT(sent, ElementsAre(1.0F, static_cast<float>(64 / 127.0), 0.0F));
    EXPECT_EQ(hub.hops, 0);
}

TEST_F(Volume, OpensOnSoftNotesAndClosesOnHardOnes) {
    hub.receiveMIDI(0, 1, 144, 63);
    hub.receiveMIDI(0, 1, 144, 64);
    hub.receiveMIDI(0, 1, 144, 0);
    EXPECT_THAT(sent, ElementsAre(1.0F, 0.0F, 1.0F));
}

TEST_F(Volume, SendsItsActionForAnyMessage) {
    slider.setValue(0.5F);
    hub.receiveMIDI(0, 1, 128, 64);
    EXPECT_THAT(sent, ElementsAre(0.5F));
    EXPECT_EQ(slider.midiType(), 128);
}

TEST_F(Volume, SavesAndRestoresItsLevel) {
    slider.setValue(0.3F);
    const ControlRecord saved = slider.saveData();
    EXPECT_EQ(saved, (ControlRecord{0, 1, {}, 0.3F}));
    MarvoSlider restored(hub);
    restored.loadWithData(&saved);
    EXPECT_EQ(restored.value(), 0.3F);
    const ControlRecord wild{-1, -1, {}, 9.0F};
    restored.loadWithData(&wild);
    EXPECT_EQ(restored.value(), 1.0F);
    const ControlRecord older{-1, -1, {}, {}};
    restored.loadWithData(&older);
    EXPECT_EQ(restored.value(), 1.0F);
    EXPECT_THAT(sent, IsEmpty());
}

TEST_F(Volume, SendsNoFeedback) {
    hub.receiveMIDI(0, 1, 176, 5);
    hub.receiveOSC("/volume", OSCArgument{2, 0, 1.0F});
    slider.setValue(0.1F);
    EXPECT_THAT(hub.feedback, IsEmpty());
}
