// Cues of a whole composition as they are edited: what goes along with them, and what comes back.
#include "CompositionRig.h"

#include <gtest/gtest.h>

using namespace marvo;
using namespace marvo::testing;

namespace {

using Times = std::vector<std::int64_t>;

class CueGroupEditing : public ::testing::Test {
protected:
    CueGroupEdits& edits() { return rig.composition.cueGroupEdits; }
    MarvoCueController& cues() { return rig.composition.cueController; }
    const MarvoCue& cue(std::size_t index) { return *cues().cues().cueAtIndex(index); }
    CompositionRig rig; // 300 frames
};

} // namespace

TEST_F(CueGroupEditing, SelectedKeyframesFollowTheCuesInOneStep) {
    rig.addTrackWith("MidiCCValue", {10, 50, 290});
    rig.addCues({10, 100});
    rig.selectKeyframes(0, 0, 60);
    rig.selectCues(10, 10);
    const std::string before = rig.bytes();
    edits().moveMultiCuesWithTimeDelta(FrameCount(20));
    EXPECT_EQ(rig.cueTimes(), (Times{30, 100}));
    EXPECT_EQ(rig.times(0), (Times{30, 70, 290}));
    EXPECT_EQ(rig.undo.undoActionName(), "Move Cue");
    // Whatever is selected by then, the ones that went come back.
    rig.composition.keyframeSelection.deselectAllKeyframes();
    rig.selectKeyframes(0, 290, 290);
    rig.undo.undo();
    EXPECT_EQ(rig.bytes(), before);
    rig.undo.redo();
    EXPECT_EQ(rig.times(0), (Times{30, 70, 290}));
    rig.undo.undo();
    EXPECT_FALSE(rig.undo.canUndo());
}

TEST_F(CueGroupEditing, TheTimeFieldTakesTheKeyframesAlong) {
    rig.addTrackWith("MidiCCValue", {10});
    rig.addCues({10});
    rig.selectKeyframes(0, 0, 60);
    rig.selectCues(10, 10);
    edits().setTimeOfMultiCues("1:5", Frame(10));
    EXPECT_EQ(rig.cueTimes(), Times{35});
    EXPECT_EQ(rig.times(0), Times{35});
    edits().setTimeOfMultiCues("i", Frame(35));
    EXPECT_EQ(rig.cueTimes(), Times{265});
    EXPECT_EQ(rig.undo.undoActionName(), "Invert Cues Time");
    EXPECT_EQ(rig.times(0), Times{35}) << "a mirror is for the cues alone";
    edits().setTimeOfMultiCues("", Frame(35));
    EXPECT_EQ(rig.application.beeps, 1);
    rig.undo.undo();
    rig.undo.undo();
    EXPECT_EQ(rig.cueTimes(), Times{10});
}

TEST_F(CueGroupEditing, ARemovedCueComesBackAsItWas) {
    rig.addCues({10, 100, 200});
    rig.onCues([](CueEdits& one) {
        one.undoRenameCueWithName(1, "Storm");
        one.undoChangeCueToTypeToRepeat(1, CueType::passes, CueRepeat::counted);
        one.undoChangeCueToLoopNumberNeeded(1, 7);
    });
    const std::string before = rig.bytes();
    rig.selectCues(0, 300);
    edits().removeSelectedCues();
    EXPECT_EQ(rig.cueTimes(), Times{});
    EXPECT_EQ(rig.undo.undoActionName(), "Remove Cue");
    rig.undo.undo();
    EXPECT_EQ(rig.bytes(), before);
    EXPECT_EQ(cue(1).cueName, "Storm");
    EXPECT_EQ(cue(1).type, CueType::passes);
    EXPECT_EQ(cue(1).repeat, CueRepeat::counted);
    EXPECT_EQ(cue(1).numberOfLoopsNeeded, 7u);
    EXPECT_FALSE(cue(1).isProcessed);
    for (const char* name : {"Change Cue Loop Number", "Change Cue Type", "Change Cue Name"}) {
        EXPECT_EQ(rig.undo.undoActionName(), name);
        rig.undo.undo();
    }
    EXPECT_EQ(cue(1).cueName, "Cue<$>") << "the entries from before found it";
    EXPECT_EQ(cue(1).numberOfLoopsNeeded, 1u);
}

TEST_F(CueGroupEditing, CuesOfOneTimeComeBackInTheirOrder) {
    rig.addCues({50, 50, 50});
    const auto first = cue(0).id;
    rig.onCues([&](CueEdits& one) { one.undoRenameCueWithName(0, "First"); });
    rig.onCues([&](CueEdits&) { cues().undoRemoveCueAtIndex(0); });
    rig.undo.undo();
    EXPECT_EQ(cue(0).cueName, "First");
    EXPECT_EQ(cue(0).id, first);
    rig.onCues([](CueEdits& one) { one.moveCueAtIndex(0, Frame(80), true, true, true); });
    EXPECT_EQ(cue(2).cueName, "First");
    rig.undo.undo();
    EXPECT_EQ(cue(0).cueName, "First");
    rig.undo.redo();
    EXPECT_EQ(cue(2).time, Frame(80));
    rig.undo.undo();
    rig.undo.undo();
    EXPECT_EQ(cue(0).cueName, "Cue<$>");
}

TEST_F(CueGroupEditing, EachSelectedKeyframeGetsACueInOneStep) {
    rig.addTrackWith("OSCFlag", {10, 50, 290});
    rig.selectKeyframes(0, 0, 60);
    edits().createCuesBySelectedKeyframesOnTrack(0);
    EXPECT_EQ(rig.cueTimes(), (Times{10, 50}));
    EXPECT_EQ(rig.undo.undoActionName(), "Add Cue");
    rig.undo.undo();
    EXPECT_EQ(rig.cueTimes(), Times{});
    EXPECT_FALSE(rig.undo.canUndo());
    rig.undo.redo();
    EXPECT_EQ(rig.cueTimes(), (Times{10, 50}));
}
