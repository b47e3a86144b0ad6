// The commands that put the playhead on something, and what the tick tells of cues.
#include "CompositionRig.h"

#include "RealtimeScope.h"

#include <gtest/gtest.h>

using namespace marvo;
using namespace marvo::testing;

namespace {

struct PlayheadJumps : ::testing::Test, CompositionRig {
    PlayheadJumps() {
        addTrackWith("OSCValue", {40, 10, 80});
        track(0).setSelected(true);
    }
    std::int64_t after(void (CompositionTransport::*jump)()) {
        (composition.transport.*jump)();
        return composition.currentTime().value;
    }
};

} // namespace

TEST_F(PlayheadJumps, GoFromKeyframeToKeyframeInTheOrderOfTime) {
    EXPECT_EQ(after(&CompositionTransport::jumpToNextKeyframe), 10);
    EXPECT_EQ(after(&CompositionTransport::jumpToNextKeyframe), 40);
    EXPECT_EQ(after(&CompositionTransport::jumpToNextKeyframe), 80);
    EXPECT_EQ(after(&CompositionTransport::jumpToNextKeyframe), 80);
    EXPECT_EQ(after(&CompositionTransport::jumpToPrevKeyframe), 40);
    composition.transport.markerDraggedToTime(Frame(39));
    EXPECT_EQ(after(&CompositionTransport::jumpToPrevKeyframe), 10);
    EXPECT_EQ(after(&CompositionTransport::jumpToPrevKeyframe), 10);
    EXPECT_EQ(application.beeps, 0) << "behind the last one nothing is wrong";
}

TEST_F(PlayheadJumps, BeepWhereThereIsNothingToJumpTo) {
    track(0).setSelected(false);
    EXPECT_EQ(after(&CompositionTransport::jumpToNextKeyframe), 0);
    EXPECT_EQ(application.beeps, 1);
    addTrackWith("OSCValue", {}).setSelected(true);
    EXPECT_EQ(after(&CompositionTransport::jumpToPrevKeyframe), 0);
    EXPECT_EQ(application.beeps, 2);
    EXPECT_EQ(after(&CompositionTransport::setPlayheadToActiveKeyframeOrCue), 0);
    EXPECT_EQ(application.beeps, 3);
}

TEST_F(PlayheadJumps, TheActiveCueGoesBeforeTheActiveKeyframe) {
    const std::uint64_t active = uID(0, 1);
    track(0).keyframes().mark(
        [active](MarvoTimelineKeyframe& keyframe) { keyframe.isActiveKeyframe = keyframe.uID == active; });
    EXPECT_EQ(after(&CompositionTransport::setPlayheadToActiveKeyframeOrCue), times(0)[1]);
    addCues({70});
    world.compQueue.sync([&] {
        MarvoCueController& cues = composition.cueController;
        cues.setActiveCue(cues.cueAtTime(Frame(70))->id);
    });
    EXPECT_EQ(after(&CompositionTransport::setPlayheadToActiveKeyframeOrCue), 70);
    EXPECT_EQ(application.beeps, 0);
}

TEST_F(PlayheadJumps, WorkingAreaEndsAreReached) {
    composition.markerController.setInTime(Frame(30));
    composition.markerController.setOutTime(Frame(200));
    EXPECT_EQ(after(&CompositionTransport::jumpToWorkingAreaEnd), 200);
    EXPECT_EQ(after(&CompositionTransport::jumpToWorkingAreaBeginning), 30);
}

TEST(CueFeedback, OfALongNameAllocatesNothing) {
    CompositionRig rig;
    rig.world.journal.keeps = false;
    rig.addCues({50});
    rig.world.oscManager.selectOSCFeedbackTarget("Out");
    ASSERT_TRUE(rig.world.oscManager.oscFeedbackEnabled());
    MarvoCue* cue = rig.composition.cueController.cueAtTime(Frame(50));
    rig.world.compQueue.sync([&] { cue->cueName = "The curtain rises for the <$>. time tonight"; });
    rig.world.compQueue.sync([&] {
        RealtimeScope scope;
        rig.composition.feedback.processOSCFeedbackByCue(*cue);
        EXPECT_EQ(scope.violations(), 0u) << scope.report();
    });
    rig.world.journal.keeps = true;
    rig.world.compQueue.sync([&] { rig.composition.feedback.processOSCFeedbackByCue(*cue); });
    EXPECT_EQ(rig.world.journal.take(),
              (std::vector<std::string>{
                  "/marvo/main/loopedbycue \"The curtain rises for the 1. time tonight\"",
                  "/marvo/current/loopedbycue \"The curtain rises for the 1. time tonight\""}));
}

TEST(CompositionSync, ANewCompositionSendsItsTimecodeToTheFirstOutput) {
    CompositionRig rig;
    EXPECT_FALSE(rig.composition.sync.mtcOutDestination);
    rig.world.midi.own = {"Desk", "Rack"};
    MarvoTimelineController other(rig.services, CompositionDefaults{}, "2");
    EXPECT_EQ(other.sync.mtcOutDestination, "Desk");
    other.removeResources();
}
