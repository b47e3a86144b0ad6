// What a composition keeps of its surface while another one is shown.
#include "SurfaceRig.h"

#include <gtest/gtest.h>

namespace marvo {
namespace {

using testing::SurfaceRig;

struct PlaceRig : SurfaceRig {
    const SurfaceViewport viewport{{600.0, 400.0}, 150.0, RulerGeometry::height, 26.0};
    void showAnew() {
        surface.reset();
        surface = std::make_unique<TimelineSurface>(composition, services, preferences, view);
    }
};

TEST(SurfacePlace, TheNextSurfaceShowsTheSamePartAtTheSameZoom) {
    PlaceRig rig;
    rig.addLanes(10);
    rig.zoomTo(8.0f);
    rig.surface->scrollTo(SurfaceArea::lanes, {1234.0, 321.0});
    rig.showAnew();
    EXPECT_EQ(rig.surface->zoomRatio(), 8.0f);
    rig.forget();
    rig.surface->setViewport(rig.viewport);
    EXPECT_EQ(rig.surface->laneWidth(), 4800.0);
    EXPECT_EQ(rig.surface->rulerWidth(), 4820.0);
    EXPECT_EQ(rig.x(SurfaceArea::lanes), 1234.0);
    EXPECT_EQ(rig.x(SurfaceArea::ruler), 1234.0);
    EXPECT_EQ(rig.x(SurfaceArea::cueRow), 1234.0);
    EXPECT_EQ(rig.y(SurfaceArea::lanes), 321.0);
    EXPECT_EQ(rig.y(SurfaceArea::headers), 321.0);
    EXPECT_EQ(rig.projectChanges, 0) << "to look again is no change";
    rig.surface->scrollTo(SurfaceArea::lanes, {7.0, 0.0});
    rig.surface->setViewport({{500.0, 400.0}, 150.0, RulerGeometry::height, 26.0});
    EXPECT_EQ(rig.x(SurfaceArea::lanes), 7.0) << "once alone";
}

TEST(SurfacePlace, OneThatNeverHadRoomLeavesItAsItWas) {
    PlaceRig rig;
    rig.zoomTo(4.0f);
    rig.surface->scrollTo(SurfaceArea::lanes, {100.0, 0.0});
    rig.showAnew();
    rig.showAnew();
    EXPECT_EQ(rig.composition.surfacePlace, (SurfacePlace{4.0f, 100.0, 0.0}));
}

TEST(SurfacePlace, OfAnotherLengthItStaysWithinTheDocument) {
    PlaceRig rig;
    rig.addLanes(10);
    rig.zoomTo(2.0f);
    rig.surface->scrollTo(SurfaceArea::lanes, {600.0, 802.0});
    rig.surface.reset();
    rig.composition.state.compTime = 5.0f;
    rig.composition.tracks.undoRemoveTracksWithPositions({9, 8, 7, 6, 5});
    rig.showAnew();
    rig.surface->setViewport({{1000.0, 400.0}, 150.0, RulerGeometry::height, 26.0});
    EXPECT_NEAR(rig.surface->laneWidth(), 2000.0, 0.001);
    EXPECT_EQ(rig.x(SurfaceArea::lanes), 600.0);
    EXPECT_EQ(rig.y(SurfaceArea::lanes), 202.0);
}

TEST(SurfacePlace, ANewCompositionIsShownWholeFromItsStart) {
    PlaceRig rig;
    rig.zoomTo(16.0f);
    MarvoTimelineController other(rig.services, CompositionDefaults{30, 0, 20, true}, "2");
    TimelineSurface surface(other, rig.services, rig.preferences, rig.view);
    EXPECT_EQ(surface.zoomRatio(), 1.0f);
    surface.setViewport(rig.viewport);
    EXPECT_EQ(surface.laneWidth(), 600.0);
    EXPECT_EQ(surface.area(SurfaceArea::lanes).origin(), (SurfacePoint{0.0, 0.0}));
}

} // namespace
} // namespace marvo
