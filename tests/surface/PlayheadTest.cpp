#include "SurfaceRig.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace marvo {
namespace {

using testing::SurfaceRig;

// Zoomed to 2400 pixels, 4 a frame; the window shows 600 of them, the ruler 620.
struct PlayingRig : SurfaceRig {
    PlayingRig() { zoomTo(4.0f); }
    void play(std::int64_t frame) {
        playTo(frame);
        rig.main.pump();
    }
    void putAt(std::int64_t frame) {
        composition.transport.markerDraggedToTime(Frame(frame));
        rig.main.pump();
    }
};

TEST(FollowPlayhead, AtTheRightEdgeThePageIsTurned) {
    PlayingRig rig;
    rig.play(147);
    EXPECT_EQ(rig.x(SurfaceArea::ruler), 0.0) << "588 + 30 lie within 620";
    rig.play(148);
    EXPECT_EQ(rig.x(SurfaceArea::ruler), 592.0) << "622 do not; the playhead lands at the left edge";
    EXPECT_EQ(rig.x(SurfaceArea::lanes), 592.0);
    EXPECT_EQ(rig.x(SurfaceArea::cueRow), 592.0);
    rig.play(149);
    EXPECT_EQ(rig.x(SurfaceArea::ruler), 592.0) << "by the page, not by the frame";
}

TEST(FollowPlayhead, APlayheadThatHasJumpedBackIsFound) {
    PlayingRig rig;
    rig.surface->scrollTo(SurfaceArea::lanes, {1000.0, 0.0});
    rig.play(250);
    EXPECT_EQ(rig.x(SurfaceArea::ruler), 1000.0) << "exactly at the left edge nothing scrolls";
    rig.play(249);
    EXPECT_EQ(rig.x(SurfaceArea::ruler), 996.0);
}

TEST(FollowPlayhead, ThePageStopsAtTheEndOfTheDocument) {
    PlayingRig rig;
    rig.play(599);
    EXPECT_EQ(rig.x(SurfaceArea::ruler), 1800.0);
    EXPECT_EQ(rig.x(SurfaceArea::lanes), 1800.0);
}

TEST(FollowPlayhead, OnlyWhereThePreferenceAsksForIt) {
    PlayingRig rig;
    rig.preferences.followPlayheadDuringPlayback = false;
    rig.play(500);
    EXPECT_EQ(rig.x(SurfaceArea::ruler), 0.0);
    EXPECT_EQ(rig.composition.markerController.markerTime(), Frame(500));
    EXPECT_TRUE(rig.view.was("time"));
}

TEST(FollowPlayhead, WhereItIsPutOutOfViewItIsFoundWhateverThePreference) {
    PlayingRig rig;
    rig.preferences.followPlayheadDuringPlayback = false;
    rig.putAt(147);
    EXPECT_EQ(rig.x(SurfaceArea::ruler), 0.0) << "588 + 30 lie within 620";
    EXPECT_TRUE(rig.view.was("display lanes")) << "it is painted";
    rig.putAt(250);
    EXPECT_EQ(rig.x(SurfaceArea::ruler), 445.0) << "1000 + 30 lie 410 beyond, and 35 are for the eye";
    EXPECT_EQ(rig.x(SurfaceArea::lanes), 445.0);
    rig.putAt(100);
    EXPECT_EQ(rig.x(SurfaceArea::ruler), 400.0) << "to the left it lands at the edge";
}

TEST(FollowPlayhead, WherePlayingEndedItIsFoundWhateverThePreference) {
    PlayingRig rig;
    rig.preferences.followPlayheadDuringPlayback = false;
    rig.composition.controls.loopButton.setState(false);
    rig.putAt(590);
    rig.surface->scrollTo(SurfaceArea::lanes, {0.0, 0.0});
    rig.composition.transport.togglePlay();
    rig.rig.compQueue.sync([&] { rig.composition.transport.processCompositionAtTime(1.0f); });
    rig.rig.main.pump();
    ASSERT_FALSE(rig.composition.state.isRunning);
    EXPECT_EQ(rig.x(SurfaceArea::ruler), 1800.0);
}

TEST(FollowPlayhead, NotWhileAZoomStepRuns) {
    PlayingRig rig;
    // A painter that hears of the playhead in the middle of a step.
    struct Nosy final : SurfaceView {
        SurfaceRig* rig = nullptr;
        double ruler = -1.0;
        void needsDisplay(SurfaceArea, const SurfaceRect&) override {}
        void scrolled(SurfaceArea) override {}
        void resized(SurfaceArea which) override {
            if (!rig || which != SurfaceArea::cueRow || ruler >= 0.0) return;
            rig->composition.playheadMovedDuringPlayback();
            ruler = rig->composition.surface ? surface->area(SurfaceArea::ruler).origin().x : -2.0;
        }
        void reflectScrolledClipView(SurfaceArea) override {}
        void lanesMoved(bool) override {}
        void laneResized(MarvoTimelineTrackProtocol&) override {}
        void displayActualTime() override {}
        TimelineSurface* surface = nullptr;
    } nosy;
    TimelineSurface other(rig.composition, rig.services, rig.preferences, nosy);
    other.setViewport(rig.surface->viewport());
    nosy.surface = &other;
    rig.placeMarker(590);
    other.zoomIn();
    other.scrollTo(SurfaceArea::lanes, {0.0, 0.0});
    nosy.rig = &rig;
    other.zoomIn();
    EXPECT_EQ(nosy.ruler, 0.0);
}

TEST(PlayheadDrawing, APlayheadThatStandsStillIsLeftAlone) {
    PlayingRig rig;
    rig.play(20);
    rig.forget();
    rig.play(20);
    EXPECT_TRUE(rig.view.calls.empty());
}

TEST(PlayheadDrawing, WhilePlayingOnlyTheColumnsOfThePlayheadArePaintedInTheLanes) {
    PlayingRig rig;
    rig.addLanes(3);
    rig.play(20);
    rig.forget();
    rig.play(21);
    const double height = 400.0; // of the view: three lanes are lower
    ASSERT_LT(rig.surface->surfaceHeight(), height);
    EXPECT_TRUE(rig.view.showed(SurfaceArea::lanes, {20.0 * 4.0 - 1.0, 0.0, 2.0, height})) << "where it was";
    EXPECT_TRUE(rig.view.showed(SurfaceArea::lanes, {21.0 * 4.0 - 1.0, 0.0, 2.0, height}));
    EXPECT_TRUE(rig.view.showed(SurfaceArea::cueRow, {20.0 * 4.0 - 1.0, 0.0, 2.0, 26.0}));
    EXPECT_TRUE(rig.view.showed(SurfaceArea::cueRow, {21.0 * 4.0 - 1.0, 0.0, 2.0, 26.0}));
    for (const auto& dirty : rig.view.dirty) {
        if (dirty.area == SurfaceArea::lanes || dirty.area == SurfaceArea::cueRow) {
            EXPECT_EQ(dirty.rect.width, 2.0);
        }
    }
    EXPECT_TRUE(rig.view.was("time"));
}

TEST(PlayheadDrawing, TheRenderThreadOnlyComparesAndSignals) {
    PlayingRig rig;
    rig.playTo(148);
    EXPECT_TRUE(rig.view.calls.empty()) << "nothing before the main thread comes to it";
    EXPECT_EQ(rig.x(SurfaceArea::ruler), 0.0);
    rig.rig.main.pump();
    EXPECT_EQ(rig.x(SurfaceArea::ruler), 592.0);
}

TEST(PlayheadDrawing, AnotherWorkingAreaIsShadedAtOnceInAllLanes) {
    SurfaceRig rig;
    rig.addLanes(3);
    rig.composition.redrawMarker();
    rig.forget();
    rig.composition.markerController.throttlerMovedToPoint(300.0, ThrottlerPart::leftSide, true);
    ASSERT_EQ(rig.composition.inTime(), Frame(290));
    EXPECT_TRUE(rig.view.showed(SurfaceArea::lanes, rig.seen(SurfaceArea::lanes)));
    rig.forget();
    rig.composition.redrawMarker();
    EXPECT_FALSE(rig.view.showed(SurfaceArea::lanes, rig.seen(SurfaceArea::lanes)))
        << "but not at each move of the playhead";
}

TEST(PlayheadDrawing, CuesThatChangeArePaintedByTheMainThread) {
    SurfaceRig rig;
    rig.rig.compQueue.sync([&] { rig.composition.cueController.resetCueStates(); });
    EXPECT_TRUE(rig.view.calls.empty());
    rig.rig.main.pump();
    EXPECT_TRUE(rig.view.was("display cues"));
}

TEST(RulerGeometry, TheHandleOfThePlayheadReachesOverTheMargins) {
    const RulerGeometry ruler(TimelineGeometry(20.0f, 30), 1220.0);
    EXPECT_EQ(ruler.markerRect(Frame(0)).x, 0.0);
    EXPECT_EQ(ruler.markerRect(Frame(300)).x, 600.0);
    EXPECT_EQ(ruler.markerRect(Frame(600)).maxX(), 1220.0);
}

TEST(RulerGeometry, APressOnTheBarTakesAnEdgeOrTheBody) {
    const RulerGeometry ruler(TimelineGeometry(20.0f, 30), 1220.0);
    const Frame in(100);
    const Frame out(200);
    const SurfaceRect bar = ruler.workingAreaBar(in, out);
    EXPECT_EQ(bar, (SurfaceRect{210.0, 32.0, 200.0, 12.0}));
    const auto part = [&](double x, double y = 38.0) { return ruler.throttlerPartAtPoint({x, y}, in, out); };
    EXPECT_EQ(part(210.0), ThrottlerPart::leftSide);
    EXPECT_EQ(part(205.0), ThrottlerPart::leftSide) << "a little outside too";
    EXPECT_EQ(part(216.0), ThrottlerPart::leftSide);
    EXPECT_EQ(part(217.0), ThrottlerPart::body);
    EXPECT_EQ(part(403.0), ThrottlerPart::body);
    EXPECT_EQ(part(404.0), ThrottlerPart::rightSide);
    EXPECT_EQ(part(416.0), ThrottlerPart::rightSide);
    EXPECT_EQ(part(203.0), std::nullopt);
    EXPECT_EQ(part(417.0), std::nullopt);
    EXPECT_EQ(part(300.0, 31.0), std::nullopt) << "below the bar the press is for the playhead";
    EXPECT_EQ(part(300.0, 44.0), std::nullopt);
}

TEST(RulerGeometry, OfAShortWorkingAreaEveryPartCanBeTaken) {
    const RulerGeometry ruler(TimelineGeometry(20.0f, 30), 1220.0);
    // Three frames, six pixels: from 210 to 216.
    const auto part = [&](double x) { return ruler.throttlerPartAtPoint({x, 38.0}, Frame(100), Frame(103)); };
    EXPECT_EQ(part(211.0), ThrottlerPart::leftSide);
    EXPECT_EQ(part(213.0), ThrottlerPart::body);
    EXPECT_EQ(part(215.0), ThrottlerPart::rightSide);
}

} // namespace
} // namespace marvo
