#include "Show.h"

#include <gtest/gtest.h>

using namespace marvo;
using namespace marvo::testing;

namespace {

PropertyList ramp(std::int64_t fps = 30, float seconds = 1.0f, bool loop = false) {
    const auto end = static_cast<std::int64_t>(seconds * static_cast<float>(fps));
    return projectOf({compositionOf("One", fps, seconds, {oscTrack("A", "/a", {{0, 0}, {end, 100}})}, loop)});
}

std::vector<std::int64_t> framesOf(const std::vector<Sent>& sent) {
    std::vector<std::int64_t> frames;
    for (const Sent& one : sent) frames.push_back(one.frame);
    return frames;
}

} // namespace

TEST(Playback, FramesChangeAtTheHalfNotAtTheFullFrame) {
    Show show(ramp());
    show.playAll();
    show.tick(60);
    const std::vector<Sent> sent = show.take();
    ASSERT_GE(sent.size(), 3u);
    EXPECT_EQ(sent[0].ms, 0);
    EXPECT_EQ(sent[1].ms, 17) << "half of a 30th of a second is 16.67 ms";
    EXPECT_EQ(sent[1].frame, 1);
}

TEST(Playback, TempoScalesHowFastTimeGrows) {
    Show show(ramp(30, 10.0f));
    show.composition().controls.compSpeed.setTitle("60");
    show.composition().changeCompSpeed();
    show.playAll();
    show.tick(1000);
    EXPECT_EQ(show.frame(), 15);
}

TEST(Playback, ATempoOfZeroFreezesThePlayheadWhileItRuns) {
    Show show(ramp());
    show.composition().controls.compSpeed.setTitle("0");
    show.composition().changeCompSpeed();
    show.playAll();
    show.tick(500);
    EXPECT_EQ(show.frame(), 0);
    EXPECT_TRUE(show.composition().state.isRunning);
}

TEST(Playback, TheLastFrameIsSentBeforeTheEndIsHandled) {
    Show show(ramp());
    show.playAll();
    show.tick(1500);
    const std::vector<Sent> sent = show.take();
    EXPECT_EQ(sent.back().frame, 30);
    EXPECT_EQ(sent.back().numbers, std::vector<float>{1.0f});
    EXPECT_FALSE(show.composition().state.isRunning);
    EXPECT_EQ(show.frame(), 30) << "without rewinding the playhead stays at the end";
}

TEST(Playback, TheNextStartAfterTheEndBeginsAtTheStart) {
    Show show(ramp());
    show.playAll();
    show.tick(1500);
    show.take();
    show.composition().transport.togglePlay();
    show.tick(1);
    EXPECT_EQ(show.frame(), 0);
    EXPECT_TRUE(show.composition().state.isRunning);
}

TEST(Playback, RewindOnStopBringsThePlayheadBack) {
    Show show(ramp());
    show.application.prefs.changeRewindOnStop(true);
    show.playAll();
    show.tick(1500);
    EXPECT_EQ(show.frame(), 0);
}

TEST(Playback, ALoopSendsItsLastFrameAndThenItsFirstWithoutASecondEnd) {
    Show show(ramp(30, 1.0f, true));
    show.playAll();
    show.tick(1100);
    const std::vector<std::int64_t> frames = framesOf(show.take());
    const auto last = std::find(frames.begin(), frames.end(), 30);
    ASSERT_NE(last, frames.end());
    ASSERT_NE(last + 1, frames.end());
    EXPECT_LE(*(last + 1), 1);
    EXPECT_EQ(std::count(frames.begin(), frames.end(), 30), 1);
    EXPECT_TRUE(show.composition().state.isRunning);
}

TEST(Playback, LoopsDoNotDrift) {
    Show show(ramp(30, 1.0f, true));
    show.playAll();
    show.tick(60'000);
    EXPECT_NEAR(show.composition().state.processtime.get(), 0.0, 0.02) << "sixty seconds are sixty loops";
}

TEST(Playback, StartingOutsideTheWorkingAreaJumpsToItsStartWithoutAJumpMessage) {
    Show show(ramp(30, 20.0f));
    show.composition().markerController.setInTime(Frame(300));
    show.playAll();
    EXPECT_EQ(show.frame(), 300);
    show.tick(1);
    const std::vector<Sent> sent = show.take();
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0].frame, 300);
}

TEST(Playback, ARunningCompositionWaitsInSilenceBeforeItsWorkingArea) {
    Show show(ramp(30, 2.0f));
    show.playAll();
    show.tick(5);
    show.take();
    show.composition().markerController.setInTime(Frame(30));
    show.tick(500);
    EXPECT_TRUE(show.take().empty());
    show.tick(600);
    EXPECT_FALSE(show.take().empty());
}

TEST(Playback, ACompositionThatIsOffOrStoppedIsNotAdvanced) {
    Show show(ramp());
    show.composition().changeCompState(false);
    show.composition().transport.togglePlay();
    show.tick(200);
    EXPECT_EQ(show.frame(), 0);
    EXPECT_TRUE(show.take().empty());
    show.composition().changeCompState(true);
    show.tick(200);
    EXPECT_GT(show.frame(), 0);
}

TEST(Playback, ARunningPlayheadIsNeverDraggedBeforeTheWorkingArea) {
    Show show(ramp(30, 10.0f));
    show.composition().markerController.setInTime(Frame(60));
    show.playAll();
    show.tick(100);
    show.composition().transport.markerDraggedToTime(Frame(10));
    EXPECT_EQ(show.frame(), 60);
    show.stopAll();
    show.composition().transport.markerDraggedToTime(Frame(10));
    EXPECT_EQ(show.frame(), 10);
}

TEST(Playback, ATargetPastTheEndIsIgnored) {
    Show show(ramp());
    show.composition().transport.markerDraggedToTime(Frame(31));
    EXPECT_EQ(show.frame(), 0);
    show.composition().transport.markerDraggedToTime(Frame(30));
    EXPECT_EQ(show.frame(), 30);
}

TEST(Playback, ScrubbingSendsOnlyWhenAskedTo) {
    Show show(ramp());
    show.composition().transport.markerDraggedToTime(Frame(15));
    EXPECT_TRUE(show.take().empty());
    show.application.prefs.changeProcessCompositions(true);
    show.composition().transport.markerDraggedToTime(Frame(20));
    const std::vector<Sent> sent = show.take();
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_NEAR(sent[0].numbers[0], 20.0f / 30.0f, 1e-6f);
}

TEST(Playback, StartingAgainGoesOnFromWhereThePlayheadStands) {
    Show show(ramp(30, 10.0f));
    show.playAll();
    show.tick(1000);
    show.stopAll();
    const std::int64_t stopped = show.frame();
    show.tick(500);
    show.playAll();
    show.tick(100);
    EXPECT_NEAR(static_cast<double>(show.frame()), static_cast<double>(stopped + 3), 1.0);
}

// Ticks in the middle of an edit, as the render thread does.
class TickingSurface final : public CompositionSurface {
public:
    explicit TickingSurface(Show& show) : show_(show) { show_.composition().surface = this; }
    ~TickingSurface() override { show_.composition().surface = nullptr; }
    void zoomIn() override {}
    void zoomOut() override {}
    void updateCompositionWidth() override {
        show_.tick(40);
        ++ticked;
    }
    void refreshComposition() override {}
    void updateTrackPositionsWithAnimation(bool) override {}
    void redrawMarker() override {}
    void playheadMovedDuringPlayback() override {}
    void playheadJumped() override {}
    void redrawCues() override {}
    int ticked = 0;

private:
    Show& show_;
};

TEST(Playback, AnotherFrameRateNeitherEndsTheRunNorSendsWhatIsNotThere) {
    Show show(projectOf({compositionOf("C", 30, 10.0f, {oscTrack("T", "/t", {{0, 0}, {300, 100}})})}));
    show.playAll();
    show.tick(7000);
    show.take();
    TickingSurface surface(show);
    show.composition().settings.setNewCompTime(10.0f, 60, {}, {});
    ASSERT_GT(surface.ticked, 0);
    EXPECT_TRUE(show.composition().state.isRunning);
    EXPECT_NEAR(static_cast<double>(show.frame()), 420.0, 2.0);
    show.tick(100);
    for (const Sent& sent : show.take()) EXPECT_NEAR(sent.numbers.at(0), 0.7f, 0.02f) << sent.frame;
    ASSERT_TRUE(show.application.undo.undo());
    EXPECT_TRUE(show.composition().state.isRunning);
    show.tick(100);
    EXPECT_NEAR(static_cast<double>(show.frame()), 216.0, 4.0);
}

TEST(RenderTick, APauseOfTheGateDoesNotBecomeOneHugeStep) {
    Show show(ramp(30, 10.0f));
    show.playAll();
    show.tick(100);
    const std::int64_t before = show.frame();
    show.application.pauseRendering();
    show.tick(3000);
    show.application.restartRendering();
    show.tick(1);
    EXPECT_LE(show.frame() - before, 1);
}

TEST(RenderTick, ALateTickTakesItsWholeStepAtOnce) {
    Show show(ramp(30, 10.0f));
    show.playAll();
    show.tick(10);
    show.take();
    show.clock.advance(Duration::ofMilliseconds(990));
    show.tick(1);
    EXPECT_EQ(show.take().size(), 1u) << "nothing is caught up";
    EXPECT_EQ(show.frame(), 30);
}

TEST(RenderTick, TheSizeOfTheStepsDoesNotChangeWhichFramesExist) {
    Show fine(ramp(25, 4.0f));
    Show coarse(ramp(25, 4.0f));
    fine.playAll();
    coarse.playAll();
    fine.tick(2000);
    for (int i = 0; i < 200; ++i) {
        coarse.tick(1);
        coarse.clock.advance(Duration::ofMilliseconds(9));
    }
    const auto byFrame = [](const std::vector<Sent>& sent) {
        std::map<std::int64_t, float> values;
        for (const Sent& one : sent) values[one.frame] = one.numbers[0];
        return values;
    };
    const auto fineValues = byFrame(fine.take());
    for (const auto& [frame, value] : byFrame(coarse.take())) EXPECT_EQ(fineValues.at(frame), value) << frame;
}

TEST(RenderTick, AnEmptyProjectTicksOn) {
    Show show;
    show.tick(1000);
    EXPECT_TRUE(show.take().empty());
}

TEST(Feedback, ReportsThePlayheadOncePerFrameAndOnTheCurrentAddressToo) {
    Show show(projectOf({compositionOf("My Comp 1", 30, 1.0f, {})}, "Out"));
    show.playAll();
    show.take();
    show.tick(18);
    std::vector<std::string> addresses;
    for (const Sent& one : show.take()) {
        EXPECT_TRUE(one.feedback);
        if (one.ms == 17) addresses.push_back(one.address);
    }
    EXPECT_EQ(addresses,
              (std::vector<std::string>{"/marvo/mycomp1/playhead", "/marvo/mycomp1/playheadastime",
                                        "/marvo/current/playhead", "/marvo/current/playheadastime"}));
}

TEST(Feedback, IsSilentWhileItIsOff) {
    Show show(projectOf({compositionOf("One", 30, 1.0f, {})}));
    show.playAll();
    show.tick(500);
    EXPECT_TRUE(show.take().empty());
}
