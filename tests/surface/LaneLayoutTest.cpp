#include "SurfaceRig.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace marvo {
namespace {

using ::testing::ElementsAre;
using testing::SurfaceRig;

std::vector<double> placesOf(const TimelineSurface& surface) {
    std::vector<double> places;
    for (const LaneLayout::Lane& lane : surface.lanes().lanes()) places.push_back(lane.y);
    return places;
}

TEST(LaneLayout, LanesStandAtAPitchAndACollapsedOneGivesUpItsRoom) {
    SurfaceRig rig;
    rig.addLanes(4);
    EXPECT_THAT(placesOf(*rig.surface), ElementsAre(0.0, 120.0, 240.0, 360.0));
    rig.surface->handleCollapseAndExpand(*rig.composition.tracks.trackAtPosition(1));
    EXPECT_THAT(placesOf(*rig.surface), ElementsAre(0.0, 120.0, 153.0, 273.0));
    rig.surface->handleCollapseAndExpand(*rig.composition.tracks.trackAtPosition(0));
    EXPECT_THAT(placesOf(*rig.surface), ElementsAre(0.0, 33.0, 66.0, 186.0));
}

TEST(LaneLayout, LanesFollowTheirPositionsAndNotTheOrderInWhichTheyWereMade) {
    SurfaceRig rig;
    rig.addLanes(3);
    MarvoTimelineTrackProtocol* first = rig.composition.tracks.trackAtPosition(0);
    rig.composition.tracks.moveTrack(0, 2);
    EXPECT_EQ(rig.surface->lanes().lanes()[2].track, first);
    EXPECT_TRUE(rig.view.was("lanes glide")) << "they are told to move, animated";
}

TEST(LaneLayout, TheSurfaceGrowsWithItsTracksAndNeverShrinksAgain) {
    SurfaceRig rig;
    rig.addLanes(2);
    const double before = rig.surface->surfaceHeight();
    EXPECT_EQ(before, 242.0);
    rig.addLanes(2);
    EXPECT_EQ(rig.surface->surfaceHeight(), 482.0);
    rig.composition.tracks.undoRemoveTracksWithPositions({3, 2, 1});
    EXPECT_EQ(rig.surface->surfaceHeight(), 482.0);
    EXPECT_EQ(rig.surface->lanes().lanes().size(), 1u);
    EXPECT_EQ(LaneLayout::heightAfterLayout(4, 480.0), 482.0) << "as tall as it needs counts as grown";
    EXPECT_EQ(LaneLayout::heightAfterLayout(4, 481.0), 481.0);
}

TEST(LaneLayout, ThePainterHearsOfTracksThatComeAndGo) {
    SurfaceRig rig;
    rig.addLanes(2);
    rig.add();
    EXPECT_TRUE(rig.view.was("lanes jump"));
    std::vector<double> heard;
    rig.view.whenLanesMove = [&] { heard = placesOf(*rig.surface); };
    rig.surface->handleCollapseAndExpand(*rig.composition.tracks.trackAtPosition(1));
    rig.forget();
    rig.composition.tracks.undoRemoveTracksWithPositions({0, 1});
    EXPECT_TRUE(rig.view.was("lanes jump"));
    EXPECT_EQ(rig.surface->lanes().lanes().size(), 1u);
    rig.forget();
    rig.undo.undo();
    EXPECT_TRUE(rig.view.was("lanes jump"));
    EXPECT_THAT(placesOf(*rig.surface), ElementsAre(0.0, 120.0, 153.0));
    EXPECT_THAT(heard, ElementsAre(0.0, 120.0, 153.0)) << "with the heights that they come back with";
}

TEST(LaneLayout, FortyCollapsedTracksStandTightOnATallSurface) {
    SurfaceRig rig;
    rig.addLanes(40);
    for (const auto& track : rig.composition.tracks.all()) rig.surface->handleCollapseAndExpand(*track);
    const auto lanes = rig.surface->lanes().lanes();
    ASSERT_EQ(lanes.size(), 40u);
    for (std::size_t i = 0; i < lanes.size(); ++i) {
        EXPECT_EQ(lanes[i].y, 33.0 * static_cast<double>(i));
        EXPECT_EQ(lanes[i].height, 32.0);
    }
    EXPECT_EQ(rig.surface->surfaceHeight(), 40.0 * 120.0 + 2.0);
    EXPECT_EQ(rig.surface->area(SurfaceArea::headers).documentSize().height, 40.0 * 120.0 + 2.0);
}

TEST(LaneLayout, ARefreshFitsTheSurfaceToItsTracks) {
    SurfaceRig rig;
    rig.addLanes(5);
    rig.composition.tracks.undoRemoveTracksWithPositions({4, 3, 2});
    rig.forget();
    rig.composition.refreshComposition();
    EXPECT_EQ(rig.surface->surfaceHeight(), 240.0) << "two fit into 400";
    rig.addLanes(2);
    rig.composition.refreshComposition();
    EXPECT_EQ(rig.surface->surfaceHeight(), 482.0);
}

TEST(LaneLayout, APointBelongsToTheLaneAroundItAndToNoneInAGap) {
    SurfaceRig rig;
    rig.addLanes(2);
    const LaneLayout layout = rig.surface->lanes();
    EXPECT_EQ(layout.laneAt(0.0)->track, rig.composition.tracks.trackAtPosition(0));
    EXPECT_EQ(layout.laneAt(118.5)->track, rig.composition.tracks.trackAtPosition(0));
    EXPECT_FALSE(layout.laneAt(119.5));
    EXPECT_EQ(layout.laneAt(120.0)->track, rig.composition.tracks.trackAtPosition(1));
    EXPECT_FALSE(layout.laneAt(239.0));
    EXPECT_FALSE(layout.laneAt(-1.0));
    EXPECT_EQ(layout.laneOf(*rig.composition.tracks.trackAtPosition(1))->y, 120.0);
}

TEST(LaneLayout, YTurnsOverInsideALane) {
    const LaneLayout::Lane lane{nullptr, 120.0, 119.0};
    EXPECT_EQ(TimelineSurface::lanePoint(lane, {5.0, 120.0}), (SurfacePoint{5.0, 119.0}));
    EXPECT_EQ(TimelineSurface::lanePoint(lane, {5.0, 239.0}), (SurfacePoint{5.0, 0.0}));
    EXPECT_EQ(TimelineSurface::documentRect(lane, {5.0, 0.0, 16.0, 16.0}),
              (SurfaceRect{5.0, 223.0, 16.0, 16.0}));
}

TEST(Collapse, AHeightOf119CollapsesAndEveryOtherExpands) {
    LaneHeight height;
    EXPECT_EQ(height.pixels(), 119.0);
    EXPECT_FALSE(height.isCollapsed());
    height.handleCollapseAndExpand();
    EXPECT_EQ(height.pixels(), 32.0);
    EXPECT_TRUE(height.isCollapsed());
    height.handleCollapseAndExpand();
    EXPECT_EQ(height.pixels(), 119.0);
    height.setPixels(60.0);
    EXPECT_FALSE(height.isCollapsed()) << "an odd height is not collapsed";
    height.handleCollapseAndExpand();
    EXPECT_EQ(height.pixels(), 119.0) << "and its next toggle expands";
}

TEST(Collapse, TheOtherSelectedTracksChangeWithTheOneThatIsClicked) {
    SurfaceRig rig;
    rig.addLanes(4);
    const auto at = [&](int position) { return rig.composition.tracks.trackAtPosition(position); };
    for (const auto& track : rig.composition.tracks.all()) track->setSelected(false);
    at(0)->setSelected(true);
    at(2)->setSelected(true);
    at(3)->setSelected(true);
    at(3)->laneHeight.collapse();
    rig.forget();
    rig.surface->handleCollapseAndExpand(*at(0));
    EXPECT_TRUE(at(0)->laneHeight.isCollapsed());
    EXPECT_FALSE(at(1)->laneHeight.isCollapsed());
    EXPECT_TRUE(at(2)->laneHeight.isCollapsed());
    EXPECT_TRUE(at(3)->laneHeight.isCollapsed()) << "the same change, not each its own";
    EXPECT_THAT(rig.view.resizedLanes, ElementsAre(at(0), at(2), at(3)));
    EXPECT_TRUE(rig.view.was("lanes glide"));
    EXPECT_EQ(rig.projectChanges, 1);
}

TEST(Collapse, TheButtonShowsWhatItWillDo) {
    SurfaceRig rig;
    MarvoTimelineTrack& track = rig.add();
    EXPECT_EQ(TimelineSurface::collapseButtonImage(track), "marvo_collapsetrack.png");
    track.laneHeight.handleCollapseAndExpand();
    EXPECT_EQ(TimelineSurface::collapseButtonImage(track), "marvo_expandtrack.png");
}

TEST(Collapse, KeyframesStandAtTheirShareOfACollapsedLane) {
    SurfaceRig rig;
    MarvoTimelineTrack& track = rig.add();
    const MarvoTimelineKeyframe& keyframe = rig.addKeyframe(track, 300, 25.0f);
    EXPECT_EQ(KeyframeGeometry::pointOf(keyframe, rig.surface->scaleOf(track)).y, 29.75);
    rig.surface->handleCollapseAndExpand(track);
    EXPECT_EQ(KeyframeGeometry::pointOf(keyframe, rig.surface->scaleOf(track)).y, 8.0);
}

TEST(Collapse, IsSavedWithTheTrackAndComesBack) {
    SurfaceRig rig;
    MarvoTimelineTrack& track = rig.add();
    rig.surface->handleCollapseAndExpand(track);
    const PropertyList record = track.backupDataForUndo(false);
    EXPECT_TRUE(record.find("isCollapsed")->boolOr(false));
    MarvoTimelineTrack& other = rig.add();
    other.restoreWithData(record, false, nullptr);
    EXPECT_TRUE(other.laneHeight.isCollapsed());
    other.restoreWithData(record, false, nullptr);
    EXPECT_TRUE(other.laneHeight.isCollapsed());
}

} // namespace
} // namespace marvo
