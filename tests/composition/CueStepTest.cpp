// Cues during playback: the step they take in the tick, passes and jumps.
#include "FakeCueComposition.h"

#include <gtest/gtest.h>

using namespace marvo;
using marvo::testing_support::FakeCueComposition;

namespace {

using Times = std::vector<std::int64_t>;

class CuePlayback : public ::testing::Test {
protected:
    FakeCueComposition composition;
};

class CueJump : public CuePlayback {};

} // namespace

TEST_F(CuePlayback, SectionThatLoopsOncePlaysTwiceAndThenPasses) {
    composition.add(0, CueType::passes, CueRepeat::counted, 1);
    composition.add(100);
    composition.add(200);
    EXPECT_TRUE(composition.playUntil(250));
    EXPECT_EQ(composition.jumps, Times{0});
    EXPECT_EQ(composition.timesProcessed(50), 2);
    EXPECT_EQ(composition.timesProcessed(150), 1);
    EXPECT_EQ(composition.cue(0).numberOfLoopsDone, 1u);
    EXPECT_TRUE(composition.cue(0).isProcessed);
}

TEST_F(CuePlayback, SectionThatLoopsTwicePlaysThreeTimes) {
    composition.add(50, CueType::passes, CueRepeat::counted, 2);
    composition.add(100);
    EXPECT_TRUE(composition.playUntil(150));
    EXPECT_EQ(composition.jumps, (Times{50, 50}));
    EXPECT_EQ(composition.timesProcessed(75), 3);
    EXPECT_EQ(composition.timesProcessed(100), 1);
}

TEST_F(CuePlayback, SectionThatLoopsForEverNeverPasses) {
    composition.add(0, CueType::passes, CueRepeat::forEver);
    composition.add(10);
    EXPECT_FALSE(composition.playUntil(20, 1000));
    EXPECT_GT(composition.jumps.size(), 90u);
    EXPECT_EQ(composition.cue(0).numberOfLoopsDone, 0u);
    EXPECT_TRUE(composition.cue(0).isProcessed);
    EXPECT_FALSE(composition.cue(1).isProcessed);
}

TEST_F(CuePlayback, RepeatOfTheLastCueHasNoEffect) {
    composition.add(10, CueType::passes, CueRepeat::forEver);
    EXPECT_TRUE(composition.playUntil(50));
    EXPECT_TRUE(composition.jumps.empty());
}

TEST_F(CuePlayback, CountOfLoopsOutlivesAMoveThatStartsANewPass) {
    composition.newPassOnJump = true;
    composition.add(0, CueType::passes, CueRepeat::counted, 3);
    composition.add(10);
    EXPECT_TRUE(composition.playUntil(20, 200));
    EXPECT_EQ(composition.jumps.size(), 3u);
}

TEST_F(CuePlayback, PauseCueStopsBeforeItsFrameIsProcessedAndPlayingOnPassesIt) {
    composition.add(20, CueType::pauses);
    EXPECT_FALSE(composition.playUntil(40));
    EXPECT_EQ(composition.now, Frame(20));
    EXPECT_FALSE(composition.running);
    EXPECT_EQ(composition.timesProcessed(20), 0);
    EXPECT_EQ(composition.calls, (std::vector<std::string>{"togglePlay", "stopByCue", "updateMarker"}));
    EXPECT_TRUE(composition.playUntil(40));
    EXPECT_EQ(composition.timesProcessed(20), 1);
}

TEST_F(CuePlayback, PauseCueFiresAgainInTheNextPass) {
    composition.add(20, CueType::pauses);
    composition.playUntil(40);
    composition.cues.markCuesAsNonProcessed();
    composition.now = Frame(0);
    EXPECT_FALSE(composition.playUntil(40));
    EXPECT_EQ(composition.now, Frame(20));
}

TEST_F(CuePlayback, PauseCueWherePlayWasStartedDoesNotPause) {
    composition.add(20, CueType::pauses);
    composition.now = Frame(20);
    EXPECT_TRUE(composition.playUntil(40));
}

TEST_F(CuePlayback, FrameOfAPauseCueThatWasJumpedToIsProcessed) {
    composition.add(20, CueType::pauses);
    composition.cues.setJumpedToCue(true);
    EXPECT_EQ(composition.cues.stepAt(Frame(20)), CueStepResult::processTracks);
    EXPECT_EQ(composition.calls, (std::vector<std::string>{"stopByCue", "updateMarker"}));
    EXPECT_TRUE(composition.cue(0).isProcessed);
}

TEST_F(CuePlayback, PassingCueWithARepeatStaysUnprocessedUntilItsSectionIsDone) {
    composition.add(10, CueType::passes, CueRepeat::counted, 1);
    composition.add(30);
    composition.cues.stepAt(Frame(10));
    EXPECT_FALSE(composition.cue(0).isProcessed);
    composition.cues.stepAt(Frame(30));
    EXPECT_TRUE(composition.cue(0).isProcessed);
    EXPECT_FALSE(composition.cue(1).isProcessed) << "dropped for the jump";
    composition.cues.stepAt(Frame(30));
    EXPECT_TRUE(composition.cue(1).isProcessed);
}

TEST_F(CuePlayback, SectionCountedOutIsMarkedWhenItsEndIsReached) {
    composition.add(10, CueType::passes, CueRepeat::counted, 1);
    composition.add(30);
    composition.cue(0).numberOfLoopsDone = 1;
    EXPECT_EQ(composition.cues.stepAt(Frame(30)), CueStepResult::processTracks);
    EXPECT_TRUE(composition.cue(0).isProcessed);
    EXPECT_TRUE(composition.jumps.empty());
    EXPECT_TRUE(composition.cue(1).isProcessed);
}

TEST_F(CuePlayback, PauseCueAtTheEndOfALoopingSectionPausesOnlyAfterTheLastLoop) {
    composition.add(0, CueType::passes, CueRepeat::counted, 2);
    composition.add(10, CueType::pauses);
    EXPECT_FALSE(composition.playUntil(20));
    EXPECT_EQ(composition.now, Frame(10));
    EXPECT_EQ(composition.jumps.size(), 2u);
    EXPECT_EQ(composition.timesProcessed(5), 3);
}

TEST_F(CuePlayback, FeedbackTellsOfTheSectionBeforeAndThenOfTheCue) {
    composition.add(10);
    composition.add(30);
    composition.cues.stepAt(Frame(30));
    EXPECT_EQ(composition.feedback, (Times{10, 30})) << "the neighbour has not fired in this pass";
    composition.feedback.clear();
    composition.cues.stepAt(Frame(30));
    EXPECT_TRUE(composition.feedback.empty()) << "a processed cue does nothing";
}

TEST_F(CuePlayback, FeedbackOfALoopTellsOnlyOfTheSection) {
    composition.add(10, CueType::passes, CueRepeat::counted, 1);
    composition.add(30);
    composition.cues.stepAt(Frame(30));
    EXPECT_EQ(composition.feedback, Times{10});
}

TEST_F(CuePlayback, FeedbackSkipsASectionThatIsDone) {
    composition.add(10);
    composition.add(30);
    composition.cue(0).markSectionAsDone();
    composition.cues.stepAt(Frame(30));
    EXPECT_EQ(composition.feedback, Times{30});
}

TEST_F(CuePlayback, SecondOfTwoCuesAtOneTimeNeverFires) {
    composition.add(20);
    const CueId second = composition.add(20, CueType::pauses).id;
    EXPECT_TRUE(composition.playUntil(40));
    EXPECT_FALSE(composition.cues.cues().cueWithId(second)->isProcessed);
}

TEST_F(CuePlayback, DisabledCuesDoNotActAndKeepTheirState) {
    composition.add(0, CueType::passes, CueRepeat::counted, 1);
    composition.add(20, CueType::pauses);
    composition.cue(0).isProcessed = true;
    composition.cues.cueEnableStateChanged(false);
    EXPECT_TRUE(composition.playUntil(40));
    EXPECT_TRUE(composition.feedback.empty());
    EXPECT_TRUE(composition.cue(0).isProcessed);
    EXPECT_FALSE(composition.cue(1).isProcessed);
    composition.cues.cueEnableStateChanged(true);
    composition.cues.stepAt(Frame(20));
    EXPECT_EQ(composition.jumps, Times{0});
}

TEST_F(CuePlayback, RepeatBeforeARemovedCueDoesNotFireUntilTheListIsRebuilt) {
    composition.add(0, CueType::passes, CueRepeat::forEver);
    const CueId middle = composition.add(100).id;
    composition.add(200);
    composition.cues.removeCue(middle);
    composition.cues.stepAt(Frame(200));
    EXPECT_TRUE(composition.jumps.empty());
    composition.cues.markCuesAsNonProcessed();
    composition.cues.rebuildCuesWithRefresh(false);
    composition.cues.stepAt(Frame(200));
    EXPECT_EQ(composition.jumps, Times{0});
}

TEST_F(CuePlayback, NewPassForgetsWhatFiredAndHowOftenItLooped) {
    composition.add(0).markSectionAsDone();
    composition.cues.resetCueStates();
    EXPECT_FALSE(composition.cue(0).isProcessed);
    EXPECT_EQ(composition.cue(0).numberOfLoopsDone, 0u);
    EXPECT_GE(composition.redraws, 1);
}

TEST_F(CueJump, NextGoesToTheFirstCueAfterThePlayheadAndStaysAtTheLast) {
    composition.add(100);
    composition.add(200);
    composition.now = Frame(100);
    composition.cues.jumpToNextCue();
    composition.cues.jumpToNextCue();
    composition.now = Frame(900);
    composition.cues.jumpToNextCue();
    EXPECT_EQ(composition.jumps, (Times{200, 200, 200}));
}

TEST_F(CueJump, PrevGoesToTheLastCueBeforeThePlayheadAndStaysAtTheFirst) {
    composition.add(100);
    composition.add(200);
    composition.now = Frame(200);
    composition.cues.jumpToPrevCue();
    composition.cues.jumpToPrevCue();
    composition.now = Frame(3);
    composition.cues.jumpToPrevCue();
    EXPECT_EQ(composition.jumps, (Times{100, 100, 100}));
}

TEST_F(CueJump, WithoutCuesStaysAtThePlayhead) {
    composition.now = Frame(55);
    composition.cues.jumpToNextCue();
    composition.cues.jumpToPrevCue();
    EXPECT_EQ(composition.jumps, (Times{55, 55}));
}

TEST_F(CueJump, IsNotPulledBackByTheSectionBeforeTheTarget) {
    composition.add(0, CueType::passes, CueRepeat::counted, 3);
    composition.add(100);
    composition.cue(1).isProcessed = true;
    composition.now = Frame(50);
    composition.cues.jumpToNextCue();
    EXPECT_TRUE(composition.cue(0).isProcessed);
    EXPECT_EQ(composition.cue(0).numberOfLoopsDone, 3u);
    EXPECT_FALSE(composition.cue(1).isProcessed) << "a new pass";
    composition.running = true;
    EXPECT_TRUE(composition.playUntil(150));
    EXPECT_EQ(composition.jumps, Times{100});
}

TEST_F(CueJump, ByNumberCountsFromOne) {
    composition.add(100);
    composition.add(200);
    EXPECT_TRUE(composition.cues.jumpToCueAtIndex(1));
    EXPECT_TRUE(composition.cues.jumpToCueAtIndex(2));
    EXPECT_TRUE(composition.cue(0).isProcessed) << "the section before the target is done";
    EXPECT_EQ(composition.jumps, (Times{100, 200}));
}

TEST_F(CueJump, ByNumberOutOfRangeDoesNothing) {
    composition.add(100).isProcessed = true;
    EXPECT_FALSE(composition.cues.jumpToCueAtIndex(0));
    EXPECT_FALSE(composition.cues.jumpToCueAtIndex(-1));
    EXPECT_FALSE(composition.cues.jumpToCueAtIndex(2));
    EXPECT_FALSE(composition.cues.playCueAtIndex(2));
    EXPECT_TRUE(composition.jumps.empty());
    EXPECT_TRUE(composition.calls.empty());
    EXPECT_TRUE(composition.cue(0).isProcessed);
}

TEST_F(CueJump, ByNameTakesTheShownName) {
    composition.add(100);
    composition.add(200);
    EXPECT_TRUE(composition.cues.jumpToCueWithName("Cue2"));
    EXPECT_FALSE(composition.cues.jumpToCueWithName("Cue<$>"));
    EXPECT_FALSE(composition.cues.jumpToCueWithName("Cue3"));
    EXPECT_FALSE(composition.cues.playCueWithName("Cue3"));
    EXPECT_EQ(composition.jumps, Times{200});
}

TEST_F(CueJump, PlayStartsAStoppedCompositionAndAPauseCueDoesNotStopIt) {
    composition.add(100, CueType::pauses);
    EXPECT_TRUE(composition.cues.playCueAtIndex(1));
    EXPECT_TRUE(composition.running);
    EXPECT_TRUE(composition.cue(0).isProcessed);
    EXPECT_TRUE(composition.playUntil(150));
}

TEST_F(CueJump, PlayLeavesARunningCompositionRunning) {
    composition.add(100, CueType::pauses);
    composition.running = true;
    EXPECT_TRUE(composition.cues.playCueWithName("Cue1"));
    EXPECT_TRUE(composition.running);
    EXPECT_TRUE(composition.calls.empty());
    EXPECT_TRUE(composition.cue(0).isProcessed);
}

TEST_F(CueJump, PlayOfAPassingCueLetsItFire) {
    composition.add(100);
    composition.running = true;
    composition.cues.playCueAtIndex(1);
    EXPECT_FALSE(composition.cue(0).isProcessed);
}
