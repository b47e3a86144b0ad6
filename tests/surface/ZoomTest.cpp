#include "SurfaceRig.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace marvo {
namespace {

using testing::SurfaceRig;

TEST(SurfaceWidth, AtZoomOneTheCompositionJustFits) {
    SurfaceRig rig;
    EXPECT_EQ(rig.surface->zoomRatio(), 1.0f);
    EXPECT_EQ(rig.surface->minPadding(), 1.0f);
    EXPECT_EQ(rig.surface->laneWidth(), 600.0);
    EXPECT_EQ(rig.surface->rulerWidth(), 620.0);
    EXPECT_EQ(rig.composition.markerController.viewWidth(), 620.0);
    EXPECT_EQ(rig.surface->area(SurfaceArea::lanes).documentSize().width, 600.0);
    EXPECT_EQ(rig.surface->area(SurfaceArea::ruler).documentSize().width, 620.0);
    EXPECT_EQ(rig.surface->area(SurfaceArea::cueRow).documentSize().width, 600.0);
}

TEST(SurfaceWidth, BeforeItsFirstUpdateAFrameTakesTwoPixels) {
    SurfaceRig rig;
    rig.surface.reset();
    rig.surface = std::make_unique<TimelineSurface>(rig.composition, rig.services, rig.preferences, rig.view);
    EXPECT_EQ(rig.surface->minPadding(), 2.0f);
    EXPECT_EQ(rig.surface->laneWidth(), 1200.0);
    rig.surface->setZoomRatio(4.0f);
    EXPECT_EQ(rig.surface->laneWidth(), 4800.0);
    rig.surface->setViewport({{600.0, 400.0}});
    EXPECT_EQ(rig.surface->zoomRatio(), 4.0f);
    EXPECT_EQ(rig.surface->laneWidth(), 2400.0);
}

TEST(SurfaceWidth, AZoomThatIsNoPowerOfTwoFromOneIsNotTaken) {
    SurfaceRig rig;
    for (const float bad : {0.5f, 3.0f, -2.0f, 0.0f, std::numeric_limits<float>::infinity(),
                            std::numeric_limits<float>::quiet_NaN()}) {
        rig.surface->setZoomRatio(8.0f);
        EXPECT_EQ(rig.surface->zoomRatio(), 8.0f);
        rig.surface->setZoomRatio(bad);
        EXPECT_EQ(rig.surface->zoomRatio(), 1.0f) << bad;
    }
}

TEST(SurfaceWidth, AnUnchangedScaleRedrawsNothingAndPostsNothing) {
    SurfaceRig rig;
    rig.addLanes(1);
    rig.surface->updateCompositionWidthAndShouldDisplay(true);
    EXPECT_TRUE(rig.view.calls.empty());
    EXPECT_EQ(rig.projectChanges, 0);
}

TEST(SurfaceWidth, AWiderWindowWidensEverythingAndKeepsTheZoom) {
    SurfaceRig rig;
    rig.addLanes(2);
    rig.zoomTo(4.0f);
    rig.surface->setViewport({{900.0, 400.0}, 150.0, RulerGeometry::height, 26.0});
    EXPECT_EQ(rig.surface->zoomRatio(), 4.0f);
    EXPECT_EQ(rig.surface->minPadding(), 1.5f);
    EXPECT_EQ(rig.surface->laneWidth(), 3600.0);
    EXPECT_EQ(rig.surface->rulerWidth(), 3620.0);
    EXPECT_EQ(rig.surface->area(SurfaceArea::cueRow).documentSize().width, 3600.0);
    EXPECT_EQ(rig.surface->area(SurfaceArea::cueRow).contentSize().width, 900.0)
        << "its right edge lines up with the lanes";
    EXPECT_EQ(rig.view.resizedLanes.size(), 2u);
    EXPECT_TRUE(rig.view.was("display ruler"));
    EXPECT_TRUE(rig.view.was("display cues"));
    EXPECT_TRUE(rig.view.was("display lanes"));
    EXPECT_EQ(rig.projectChanges, 1);
}

TEST(SurfaceWidth, AnUpdateWithoutDisplayChangesTheWidthsAlone) {
    SurfaceRig rig;
    rig.addLanes(1);
    rig.composition.state.compTime = 40.0f;
    rig.surface->updateCompositionWidthAndShouldDisplay(false);
    EXPECT_EQ(rig.surface->minPadding(), 0.5f);
    EXPECT_EQ(rig.view.resizedLanes.size(), 1u);
    EXPECT_FALSE(rig.view.was("display ruler"));
    EXPECT_FALSE(rig.view.was("display cues"));
    EXPECT_FALSE(rig.view.was("display lanes"));
    EXPECT_EQ(rig.projectChanges, 1);
}

TEST(SurfaceWidth, AnotherLengthOrRateGoesThroughTheUpdate) {
    SurfaceRig rig;
    rig.composition.settings.setNewCompTime(40.0f, 30, {}, {});
    EXPECT_EQ(rig.surface->minPadding(), 0.5f);
    EXPECT_EQ(rig.surface->laneWidth(), 600.0);
    rig.composition.settings.setNewCompTime(40.0f, 60, {}, {});
    EXPECT_EQ(rig.surface->minPadding(), 0.25f);
    EXPECT_EQ(rig.surface->laneWidth(), 600.0);
}

TEST(SurfaceWidth, ACompositionWithoutLengthIsAnEmptySurface) {
    SurfaceRig rig;
    rig.composition.state.compTime = 0.0f;
    rig.surface->updateCompositionWidth();
    EXPECT_EQ(rig.surface->laneWidth(), 0.0);
    rig.surface->zoomIn();
    EXPECT_EQ(rig.surface->zoomRatio(), 1.0f);
    rig.composition.state.compTime = 20.0f;
    rig.surface->updateCompositionWidth();
    EXPECT_EQ(rig.surface->laneWidth(), 600.0);
}

TEST(Zoom, InDoublesEveryWidth) {
    SurfaceRig rig;
    rig.addLanes(2);
    rig.surface->zoomIn();
    EXPECT_EQ(rig.surface->zoomRatio(), 2.0f);
    EXPECT_EQ(rig.surface->laneWidth(), 1200.0);
    EXPECT_EQ(rig.surface->rulerWidth(), 1220.0);
    EXPECT_EQ(rig.surface->area(SurfaceArea::cueRow).documentSize().width, 1200.0);
    EXPECT_EQ(rig.surface->area(SurfaceArea::lanes).documentSize().width, 1200.0);
    EXPECT_EQ(rig.surface->area(SurfaceArea::lanes).documentSize().height, rig.surface->surfaceHeight());
    EXPECT_EQ(rig.view.resizedLanes.size(), 2u) << "each track once";
    EXPECT_TRUE(rig.view.was("reflect lanes"));
    EXPECT_EQ(rig.projectChanges, 1);
    EXPECT_FALSE(rig.surface->isZooming());
}

TEST(Zoom, KeyframesKeepTheirTimes) {
    SurfaceRig rig;
    MarvoTimelineTrack& track = rig.add();
    const MarvoTimelineKeyframe& keyframe = rig.addKeyframe(track, 150, 30.0f);
    rig.surface->zoomIn();
    EXPECT_EQ(keyframe.time, Frame(150));
    EXPECT_EQ(keyframe.value, 30.0f);
    EXPECT_EQ(KeyframeGeometry::pointOf(keyframe, rig.surface->scaleOf(track)).x, 300.0);
}

TEST(Zoom, InMovesTheLeftEdgePastTheDoubledPositionByHalfAWindow) {
    SurfaceRig rig;
    rig.zoomTo(4.0f);
    rig.surface->scrollTo(SurfaceArea::lanes, {100.0, 0.0});
    rig.surface->zoomIn();
    EXPECT_EQ(rig.x(SurfaceArea::lanes), 100.0 * 2.0 + 300.0);
    EXPECT_EQ(rig.x(SurfaceArea::ruler), 500.0);
    EXPECT_EQ(rig.x(SurfaceArea::cueRow), 500.0);
}

TEST(Zoom, OutGoesBackToHalfThePositionLessHalfAWindow) {
    SurfaceRig rig;
    rig.zoomTo(8.0f);
    rig.surface->scrollTo(SurfaceArea::lanes, {1500.0, 0.0});
    rig.surface->zoomOut();
    EXPECT_EQ(rig.surface->zoomRatio(), 4.0f);
    EXPECT_EQ(rig.surface->laneWidth(), 2400.0);
    EXPECT_EQ(rig.surface->rulerWidth(), 2420.0);
    EXPECT_EQ(rig.surface->area(SurfaceArea::cueRow).documentSize().width, 2400.0);
    EXPECT_EQ(rig.x(SurfaceArea::lanes), 1500.0 * 0.5 - 300.0);
    rig.surface->scrollTo(SurfaceArea::lanes, {200.0, 0.0});
    rig.surface->zoomOut();
    EXPECT_EQ(rig.x(SurfaceArea::lanes), 0.0) << "not below the beginning";
}

TEST(Zoom, OutCountsItsPositionInSinglePrecision) {
    SurfaceRig rig;
    rig.composition.state.compTime = 36000.0f;
    rig.surface->updateCompositionWidth();
    rig.zoomTo(1048576.0f);
    const double x0 = 400000008.0; // no float has these digits
    rig.surface->scrollTo(SurfaceArea::lanes, {x0, 0.0});
    ASSERT_EQ(rig.x(SurfaceArea::lanes), x0);
    const double lane = rig.surface->laneWidth();
    rig.surface->zoomOut();
    EXPECT_EQ(rig.surface->rulerWidth(), lane * 0.5 + 20.0) << "the widths are not";
    EXPECT_EQ(rig.x(SurfaceArea::lanes), static_cast<double>(static_cast<float>(x0) * 0.5f - 300.0f));
    EXPECT_NE(rig.x(SurfaceArea::lanes), x0 * 0.5 - 300.0);
    EXPECT_NE(rig.x(SurfaceArea::lanes), static_cast<double>(static_cast<float>(x0 * 0.5 - 300.0)));
}

TEST(Zoom, TheVerticalPositionStays) {
    SurfaceRig rig;
    rig.addLanes(10);
    rig.surface->scrollTo(SurfaceArea::lanes, {0.0, 240.0});
    rig.surface->zoomIn();
    EXPECT_EQ(rig.y(SurfaceArea::lanes), 240.0);
    EXPECT_EQ(rig.y(SurfaceArea::headers), 240.0);
    rig.surface->zoomOut();
    EXPECT_EQ(rig.y(SurfaceArea::lanes), 240.0);
}

TEST(Zoom, ToThePlayheadPutsItIntoTheMiddle) {
    SurfaceRig rig;
    rig.preferences.zoomToPlayhead = true;
    rig.placeMarker(400);
    rig.surface->zoomIn();
    EXPECT_EQ(rig.x(SurfaceArea::lanes), 400.0 * 2.0 - 300.0);
    rig.surface->zoomIn();
    EXPECT_EQ(rig.x(SurfaceArea::lanes), 400.0 * 4.0 - 300.0);
    rig.surface->zoomOut();
    EXPECT_EQ(rig.x(SurfaceArea::lanes), 400.0 * 2.0 - 300.0);
}

TEST(Zoom, ToAPlayheadInTheFirstHalfWindowLeavesThePositionAlone) {
    SurfaceRig rig;
    rig.preferences.zoomToPlayhead = true;
    rig.zoomTo(4.0f);
    rig.placeMarker(37); // at 296 after the next step; at 304 it would be followed
    rig.surface->scrollTo(SurfaceArea::lanes, {120.0, 0.0});
    rig.forget();
    rig.surface->zoomIn();
    EXPECT_TRUE(rig.view.was("reflect lanes")) << "what is seen is another share of the whole";
    EXPECT_EQ(rig.x(SurfaceArea::lanes), 120.0);
    rig.surface->zoomOut();
    rig.placeMarker(38);
    rig.surface->zoomIn();
    EXPECT_EQ(rig.x(SurfaceArea::lanes), 4.0);
}

TEST(Zoom, InEndsWhereOneFrameFillsTheWindow) {
    SurfaceRig rig;
    for (int i = 0; i < 40; ++i) rig.surface->zoomIn();
    // 512 pixels a frame may be doubled, 1024 are wider than the window of 600.
    EXPECT_EQ(rig.surface->zoomRatio(), 1024.0f);
    rig.forget();
    rig.surface->zoomIn();
    rig.surface->zoomIn();
    EXPECT_EQ(rig.surface->zoomRatio(), 1024.0f);
    EXPECT_TRUE(rig.view.calls.empty());
    EXPECT_EQ(rig.projectChanges, 0);
}

TEST(Zoom, OutAtOneDoesNothingAtAll) {
    SurfaceRig rig;
    rig.addLanes(1);
    rig.surface->zoomOut();
    EXPECT_EQ(rig.surface->zoomRatio(), 1.0f);
    EXPECT_EQ(rig.surface->laneWidth(), 600.0);
    EXPECT_TRUE(rig.view.calls.empty());
    EXPECT_EQ(rig.projectChanges, 0);
}

TEST(Zoom, InAndOutAgainGivesTheSameWidthsToTheLastBit) {
    SurfaceRig rig;
    rig.composition.state.compTime = 3607.7f;
    rig.surface->updateCompositionWidth();
    const double lane = rig.surface->laneWidth();
    for (int i = 0; i < 12; ++i) rig.surface->zoomIn();
    EXPECT_EQ(rig.surface->laneWidth(), lane * 4096.0);
    for (int i = 0; i < 12; ++i) rig.surface->zoomOut();
    EXPECT_EQ(rig.surface->laneWidth(), lane);
    EXPECT_EQ(rig.surface->zoomRatio(), 1.0f);
}

TEST(Zoom, ItIsZoomingWhileAStepRuns) {
    SurfaceRig rig;
    rig.surface->zoomIn();
    struct Asking final : SurfaceView {
        TimelineSurface* surface = nullptr;
        bool seen = false;
        void needsDisplay(SurfaceArea, const SurfaceRect&) override {}
        void scrolled(SurfaceArea) override {}
        void resized(SurfaceArea) override { seen = seen || (surface && surface->isZooming()); }
        void reflectScrolledClipView(SurfaceArea) override {}
        void lanesMoved(bool) override {}
        void laneResized(MarvoTimelineTrackProtocol&) override {}
        void displayActualTime() override {}
    } asking;
    TimelineSurface other(rig.composition, rig.services, rig.preferences, asking);
    other.setViewport(rig.surface->viewport());
    asking.surface = &other;
    other.zoomIn();
    EXPECT_TRUE(asking.seen);
    EXPECT_FALSE(other.isZooming());
}

TEST(Zoom, AWheelWithCommandZoomsAndWithoutBelongsToTheScrollArea) {
    SurfaceRig rig;
    EXPECT_TRUE(rig.surface->scrollWheel(0.25, true));
    EXPECT_EQ(rig.surface->zoomRatio(), 2.0f);
    EXPECT_TRUE(rig.surface->scrollWheel(-0.25, true));
    EXPECT_EQ(rig.surface->zoomRatio(), 1.0f);
    rig.surface->zoomIn();
    rig.forget();
    EXPECT_TRUE(rig.surface->scrollWheel(0.0, true)) << "taken, and not passed on";
    EXPECT_EQ(rig.surface->zoomRatio(), 2.0f);
    EXPECT_TRUE(rig.view.calls.empty());
    EXPECT_FALSE(rig.surface->scrollWheel(3.0, false));
    EXPECT_FALSE(rig.surface->scrollWheel(-3.0, false));
    EXPECT_EQ(rig.surface->zoomRatio(), 2.0f);
}

TEST(Zoom, APinchOfZeroZoomsOut) {
    SurfaceRig rig;
    rig.zoomTo(4.0f);
    rig.surface->magnifyWithEvent(0.1);
    EXPECT_EQ(rig.surface->zoomRatio(), 8.0f);
    rig.surface->magnifyWithEvent(-0.1);
    EXPECT_EQ(rig.surface->zoomRatio(), 4.0f);
    rig.surface->magnifyWithEvent(0.0);
    EXPECT_EQ(rig.surface->zoomRatio(), 2.0f);
}

TEST(Zoom, TheButtonsReachASurfaceThatIsThereAndNothingElse) {
    SurfaceRig rig;
    rig.composition.controls.zoomInButton.performClick();
    EXPECT_EQ(rig.surface->zoomRatio(), 2.0f);
    rig.composition.controls.zoomInButton.handleOSCMessage(OSCArgument{.intValue = 1});
    rig.rig.main.pump();
    EXPECT_EQ(rig.surface->zoomRatio(), 4.0f);
    rig.composition.controls.zoomOutButton.performClick();
    EXPECT_EQ(rig.surface->zoomRatio(), 2.0f);
    rig.surface.reset();
    EXPECT_EQ(rig.composition.surface, nullptr);
    rig.composition.controls.zoomInButton.performClick();
    rig.composition.controls.zoomOutButton.performClick();
    rig.composition.refreshComposition();
    rig.playTo(20);
    rig.rig.main.pump();
    EXPECT_EQ(rig.composition.markerController.viewWidth(), 1220.0);
}

} // namespace
} // namespace marvo
