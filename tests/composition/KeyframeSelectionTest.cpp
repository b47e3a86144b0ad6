// Keyframes and cues selected by range.
#include "CompositionRig.h"

#include <gtest/gtest.h>

using namespace marvo;
using namespace marvo::testing;

namespace {

using Times = std::vector<std::int64_t>;

class RangeSelection : public ::testing::Test {
protected:
    RangeSelection() {
        rig.addTrackWith("MidiCCValue", {10, 50, 90});
        rig.addTrackWith("OSCFlag", {20, 50, 80});
        rig.addTrack("Composition");
        rig.addCues({10, 50, 90});
        range(20, 50);
    }
    KeyframeSelection& selection() { return rig.composition.keyframeSelection; }
    void range(std::int64_t start, std::int64_t end) {
        rig.composition.state.rangeSelectStart = Frame(start);
        rig.composition.state.rangeSelectEnd = Frame(end);
    }
    Times selected(std::int64_t position) {
        Times times;
        for (const KeyframePlace& place : rig.track(position).keyframes().selectedKeyframes())
            times.push_back(place.time.value);
        return times;
    }
    Times selectedCues() {
        Times times;
        for (const CueTime& cue : rig.composition.cueEdits.selectedTimes()) times.push_back(cue.time.value);
        return times;
    }
    CompositionRig rig;
};

} // namespace

TEST_F(RangeSelection, TakesTheKeyframesOfSelectedTracksBothEndsIncluded) {
    rig.track(1).setSelected(true);
    rig.selectKeyframes(0, 0, 300);
    selection().selectKeyframesInRange();
    EXPECT_EQ(selected(0), Times{}) << "whatever was selected before";
    EXPECT_EQ(selected(1), (Times{20, 50}));
    EXPECT_EQ(selectedCues(), Times{}) << "not with a track selected";
    EXPECT_FALSE(rig.undo.canUndo());
}

TEST_F(RangeSelection, WithoutASelectedTrackItTakesCuesUnlessTheyAreLocked) {
    rig.composition.cueController.setLocked(true);
    selection().selectKeyframesInRange();
    EXPECT_EQ(selectedCues(), Times{});
    rig.composition.cueController.setLocked(false);
    selection().selectKeyframesInRange();
    EXPECT_EQ(selectedCues(), Times{50});
    EXPECT_EQ(selected(0), Times{});
}

TEST_F(RangeSelection, WithTheCueRowSelectedItTakesCuesAndLeavesAllElse) {
    rig.track(0).setSelected(true);
    rig.selectKeyframes(0, 90, 90);
    rig.composition.cueController.setSelected(true);
    selection().selectKeyframesInRange();
    EXPECT_EQ(selectedCues(), Times{50});
    EXPECT_EQ(selected(0), Times{90});
    rig.world.compQueue.sync([&] { rig.composition.cueController.deselectCues(); });
    rig.composition.cueController.setLocked(true);
    selection().selectKeyframesInRange();
    EXPECT_EQ(selectedCues(), Times{});
}

TEST_F(RangeSelection, LeavesLockedTracksAndEmptyRangesAlone) {
    rig.track(0).lockTrack(true);
    rig.track(0).setSelected(true);
    rig.track(1).setSelected(true);
    range(50, 50);
    selection().selectKeyframesInRange();
    EXPECT_EQ(selected(1), Times{});
    range(60, 50);
    selection().selectKeyframesInRange();
    EXPECT_EQ(selected(1), Times{});
    range(0, 300);
    selection().selectKeyframesInRange();
    EXPECT_EQ(selected(0), Times{});
    EXPECT_EQ(selected(1), (Times{20, 50, 80}));
}

TEST_F(RangeSelection, OfTheWorkingAreaGoesOverAllTracksOrTheSelectedOnes) {
    rig.composition.markerController.setInTime(Frame(50));
    rig.composition.markerController.setOutTime(Frame(85));
    rig.track(0).setSelected(true);
    selection().selectKeyframesInWorkAreaOnSelectedTracks();
    EXPECT_EQ(rig.composition.state.rangeSelectStart.get(), Frame(50));
    EXPECT_EQ(rig.composition.state.rangeSelectEnd.get(), Frame(85));
    EXPECT_EQ(selected(0), Times{50});
    EXPECT_EQ(selected(1), Times{});
    selection().selectKeyframesInWorkArea();
    EXPECT_EQ(selected(0), Times{50});
    EXPECT_EQ(selected(1), (Times{50, 80}));
    EXPECT_EQ(rig.composition.tracks.selectedTracks().size(), 3u);
}

TEST_F(RangeSelection, ByCuesReachesFromEachSelectedOneToTheNextThatIsNot) {
    rig.selectCues(10, 10);
    selection().selectKeyframesBySelectedCues(true);
    EXPECT_EQ(selected(0), (Times{10, 50}));
    EXPECT_EQ(selected(1), (Times{20, 50}));
    selection().selectKeyframesBySelectedCues(false);
    EXPECT_EQ(selected(1), Times{});
    rig.world.compQueue.sync([&] { rig.composition.cueController.deselectCues(); });
    rig.selectCues(90, 90);
    rig.addTrackWith("MidiCCValue", {89, 90, 300});
    rig.track(1).lockTrack(true);
    selection().selectKeyframesBySelectedCues(true);
    EXPECT_EQ(selected(3), (Times{90, 300})) << "the last run reaches to the end";
    EXPECT_EQ(selected(0), Times{90});
}
