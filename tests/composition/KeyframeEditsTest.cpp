// What a keyframe holds, added, removed and changed by the operator.
#include "CompositionRig.h"

#include <gtest/gtest.h>

using namespace marvo;
using namespace marvo::testing;

namespace {

using Times = std::vector<std::int64_t>;
using Values = std::vector<float>;

class KeyframeEditing : public ::testing::Test {
protected:
    KeyframeEdits& edits() { return rig.composition.keyframeEdits; }
    std::vector<std::string> curves(std::int64_t position) {
        std::vector<std::string> all;
        for (const auto& keyframe : rig.track(position).keyframes().store().all())
            all.emplace_back(keyframe.interpolationType());
        return all;
    }
    const MarvoTimelineKeyframe& keyframe(std::int64_t position, std::size_t index) {
        return rig.track(position).keyframes().store().all()[index];
    }
    // The last step, back and forth; what the project holds is to be `before` and then what it is now.
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
        ASSERT_TRUE(rig.undo.undo());
        EXPECT_EQ(rig.bytes(), before) << "taken back again";
        ASSERT_TRUE(rig.undo.redo());
    }
    CompositionRig rig;
};

} // namespace

TEST_F(KeyframeEditing, AddingAndRemovingAreEachOthersWayBack) {
    rig.addTrackWith("MidiCCValue", {10, 20});
    std::string before = rig.bytes();
    const int changes = rig.projectChanges;
    const auto uID = edits().addNewKeyFrameOnTrack(0, keyframeAt(15, 99));
    ASSERT_TRUE(uID);
    EXPECT_GT(rig.projectChanges, changes);
    EXPECT_EQ(rig.times(0), (Times{10, 15, 20}));
    expectThereAndBack("Add Keyframe", before);
    EXPECT_EQ(rig.uID(0, 1), *uID) << "the same one again";

    before = rig.bytes();
    EXPECT_TRUE(edits().undoRemoveKeyFrameWithUID(*uID, 0));
    expectThereAndBack("Remove Keyframe", before);
    EXPECT_FALSE(edits().undoRemoveKeyFrameWithUID(*uID, 0));
    EXPECT_FALSE(edits().undoRemoveKeyFrameWithUID(rig.uID(0, 0), 7));
    EXPECT_FALSE(edits().addNewKeyFrameOnTrack(7, keyframeAt(1, 1)));
}

TEST_F(KeyframeEditing, AHalfNoteComesBackAsTheHalfNoteThatItWas) {
    MarvoTimelineTrack& track = rig.addTrackWith("MidiNotes", {});
    track.addNewKeyFrameWithData(noteAt(0, 60, 90, 10));
    track.addNewKeyFrameWithData(noteAt(20, 63, 90, 10));
    track.addNewKeyFrameAtTime(Frame(10));
    EXPECT_EQ(rig.values(0), (Values{60, 61.5, 63}));
    rig.undo.undo();
    rig.undo.redo();
    EXPECT_EQ(rig.values(0), (Values{60, 61.5, 63}));
    EXPECT_EQ(track.addNewKeyFramesWithData({noteAt(30, 61.5f, 1, 1)}).size(), 1u);
    EXPECT_EQ(rig.values(0).back(), 62.0f) << "from elsewhere it is a note";
}

TEST_F(KeyframeEditing, KeyframesOfOneTimeComeBackInTheirOrder) {
    MarvoTimelineTrack& track = rig.addTrackWith("MidiCCValue", {});
    for (const float value : {1.0f, 2.0f, 3.0f}) track.addNewKeyFrameWithData(keyframeAt(50, value));
    edits().undoRemoveKeyFrameWithUID(rig.uID(0, 0), 0);
    EXPECT_EQ(rig.values(0), (Values{2, 3}));
    rig.undo.undo();
    EXPECT_EQ(rig.values(0), (Values{1, 2, 3}));
}

TEST_F(KeyframeEditing, ManyGoAndComeBackInOneStep) {
    rig.addTrackWith("MidiCCValue", {10, 20, 30, 40});
    const std::string before = rig.bytes();
    edits().undoRemoveKeyFramesWithUIDs({rig.uID(0, 1), rig.uID(0, 3), 4711}, 0);
    EXPECT_EQ(rig.times(0), (Times{10, 30}));
    expectThereAndBack("Remove Keyframe", before);
}

TEST_F(KeyframeEditing, ACurveGoesToAllSelectedKeyframesAndEachTrackTakesWhatItKnows) {
    rig.addTrackWith("MidiCCValue", {10, 20, 30});
    rig.addTrackWith("ArtNetColor", {10});
    rig.addTrackWith("OSCFlag", {10});
    edits().setInterpolation("No Interpolation", 1, rig.uID(1, 0));
    rig.undo.removeAllActions();
    rig.selectKeyframes(0, 0, 20);
    rig.selectKeyframes(1, 0, 20);
    rig.selectKeyframes(2, 0, 20);
    const std::string before = rig.bytes();
    edits().undoSetInterpolation("Cubic Ease-In");
    EXPECT_EQ(curves(0),
              (std::vector<std::string>{"Cubic Ease-In", "Cubic Ease-In", "Linear Interpolation"}));
    EXPECT_EQ(curves(1), std::vector<std::string>{"Linear Interpolation"}) << "the other one of its two";
    EXPECT_EQ(curves(2), std::vector<std::string>{"No Interpolation"});
    expectThereAndBack("Change Keyframe Interpolation", before);
}

TEST_F(KeyframeEditing, ACurveThatIsNotKnownComesBackByName) {
    rig.addTrackWith("MidiCCValue", {10});
    edits().setInterpolation("Of Tomorrow", 0, rig.uID(0, 0));
    const std::string before = rig.bytes();
    edits().setInterpolation("Linear Interpolation", 0, rig.uID(0, 0));
    expectThereAndBack("Change Keyframe Interpolation", before);
    rig.undo.undo();
    EXPECT_EQ(curves(0), std::vector<std::string>{"Of Tomorrow"});
}

TEST_F(KeyframeEditing, VelocitiesAreForNotesAlone) {
    MarvoTimelineTrack& track = rig.addTrackWith("MidiNotes", {});
    track.addNewKeyFrameWithData(noteAt(0, 60, 90, 10));
    track.addNewKeyFrameWithData(noteAt(20, 63, 80, 20));
    rig.addTrackWith("MidiCCValue", {5});
    rig.selectKeyframes(0, 0, 100);
    rig.selectKeyframes(1, 0, 100);
    std::string before = rig.bytes();
    edits().undoSetNoteVelocityOn(33);
    EXPECT_EQ(keyframe(0, 0).noteVelocityOn, 33.0f);
    EXPECT_EQ(keyframe(0, 1).noteVelocityOn, 33.0f);
    EXPECT_EQ(keyframe(0, 1).noteVelocityOff, 20.0f);
    EXPECT_EQ(keyframe(1, 0).noteVelocityOn, 127.0f);
    expectThereAndBack("Change Keyframe Velocity", before);
    before = rig.bytes();
    edits().undoSetNoteVelocityOff(400);
    EXPECT_EQ(keyframe(0, 0).noteVelocityOff, 127.0f) << "no louder than there is";
    expectThereAndBack("Change Keyframe Velocity", before);
    before = rig.bytes();
    edits().setVelocities(1, 2, 0, rig.uID(0, 1));
    EXPECT_EQ(keyframe(0, 1).noteVelocityOn, 1.0f);
    EXPECT_EQ(keyframe(0, 0).noteVelocityOn, 33.0f);
    expectThereAndBack("Change Keyframe Velocity", before);
}

TEST_F(KeyframeEditing, ColoursGoToTheSelectionOfOneTrackOrOfAll) {
    const Colour red{1, 0, 0, 1};
    const Colour blue{0, 0, 1, 0.5};
    for (int i = 0; i < 2; ++i) {
        rig.addTrackWith("ArtNetColor", {10, 20});
        rig.selectKeyframes(i, 0, 10);
    }
    rig.addTrackWith("MidiCCValue", {10});
    const auto colour = [&](std::int64_t position, std::size_t index) {
        return keyframe(position, index).color()->colorValue;
    };
    std::string before = rig.bytes();
    edits().undoSetSelectedKeyframesColorValue(red, 0);
    EXPECT_EQ(colour(0, 0), red);
    EXPECT_NE(colour(0, 1), red);
    EXPECT_NE(colour(1, 0), red);
    expectThereAndBack("Set Color of Keyframes", before);
    before = rig.bytes();
    edits().undoSetSelectedKeyframesColorValueOnMultipleTracks(blue);
    EXPECT_EQ(colour(0, 0), blue);
    EXPECT_EQ(colour(1, 0), blue);
    expectThereAndBack("Set Color of Keyframes", before);
    before = rig.bytes();
    edits().setColorWithUndo(red, 0, rig.uID(0, 0));
    expectThereAndBack("Set Color of Keyframes", before);
    before = rig.bytes();
    edits().updateSelectedColorsOnChannel(ColorComponent::green, 0.25);
    EXPECT_EQ(colour(0, 0), (Colour{1, 0.25, 0, 1}));
    EXPECT_EQ(colour(1, 0), (Colour{0, 0.25, 1, 0.5})) << "each keeps its other components";
    expectThereAndBack("Set Color of Keyframes", before);
    edits().undoSetSelectedKeyframesColorValue(red, 2);
    EXPECT_EQ(rig.values(2), Values{10});
}

TEST_F(KeyframeEditing, AddressesOfFlagsAreSetOneByOneOrTogether) {
    rig.addTrackWith("OSCFlag", {10, 20, 30});
    std::string before = rig.bytes();
    edits().undoSetFlagAddress("/a", rig.uID(0, 1), 0);
    EXPECT_EQ(keyframe(0, 1).flag()->flagAddress, "/a");
    expectThereAndBack("Set Flag Keyframe Address", before);
    before = rig.bytes();
    edits().undoSetFlagAddress("/b <1>", {rig.uID(0, 0), rig.uID(0, 1)}, 0);
    EXPECT_EQ(keyframe(0, 0).flag()->flagAddress, "/b <1>");
    EXPECT_EQ(keyframe(0, 2).flag()->flagAddress, "/example");
    expectThereAndBack("Set Flag Keyframe Address", before);
    rig.undo.undo();
    EXPECT_EQ(keyframe(0, 1).flag()->flagAddress, "/a") << "each has its own back";
}

TEST_F(KeyframeEditing, AnEntryFindsItsKeyframeOnATrackThatWentAndCameBack) {
    rig.addTrackWith("MidiCCValue", {10});
    rig.addTrackWith("OSCValue", {10});
    const std::string before = rig.bytes();
    edits().setInterpolation("No Interpolation", 1, rig.uID(1, 0));
    rig.composition.tracks.undoRemoveTracksWithPositions({1});
    rig.undo.undo();
    rig.undo.undo();
    EXPECT_EQ(rig.bytes(), before);
}

TEST_F(KeyframeEditing, NothingIsLeftToUndoOfACompositionThatGoes) {
    {
        CompositionServices other{rig.world.services, rig.application, rig.undo, rig.commands};
        MarvoTimelineController gone{other, CompositionDefaults{}, "2"};
        gone.tracks.createTrackOfTpye("MidiCCValue");
        gone.keyframeEdits.addNewKeyFrameOnTrack(0, keyframeAt(1, 1));
        EXPECT_TRUE(rig.undo.canUndo());
        gone.removeResources();
    }
    EXPECT_FALSE(rig.undo.canUndo());
}
