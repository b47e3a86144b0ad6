#include "SurfaceRig.h"
#include "surface/WorkingAreaShade.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace marvo {
namespace {

using testing::SurfaceRig;

// One lane of 0 to 100, one pixel a frame.
struct LaneRig : SurfaceRig {
    MarvoTimelineTrack& track = add();
    LaneRig() { forget(); }
    LaneScale scale() const { return surface->scaleOf(track); }
    const MarvoTimelineKeyframe* at(double x, double y) { return surface->keyframeAtPoint(track, {x, y}); }
};

MarvoTimelineKeyframe flagAt(std::int64_t time, std::uint64_t uID, bool isLeftSided = false) {
    MarvoTimelineKeyframe flag;
    flag.time = Frame(time);
    flag.uID = uID;
    flag.becomeFlag().isLeftSided = isLeftSided;
    return flag;
}

TEST(HitTest, AKeyframeIsSixteenBySixteenAroundItsPoint) {
    LaneRig rig;
    const MarvoTimelineKeyframe& keyframe = rig.addKeyframe(rig.track, 300, 50.0f);
    EXPECT_EQ(KeyframeGeometry::frameOf(keyframe, rig.scale(), false),
              (SurfaceRect{292.0, 51.5, 16.0, 16.0}));
    EXPECT_EQ(rig.at(300.0, 59.5), &keyframe);
    EXPECT_EQ(rig.at(292.0, 51.5), &keyframe);
    EXPECT_EQ(rig.at(307.9, 67.4), &keyframe);
    EXPECT_EQ(rig.at(308.0, 59.5), nullptr);
    EXPECT_EQ(rig.at(291.9, 59.5), nullptr);
    EXPECT_EQ(rig.at(300.0, 67.5), nullptr);
}

TEST(HitTest, WhatIsDrawnOnTopIsHitFirst) {
    LaneRig rig;
    rig.addKeyframe(rig.track, 300, 50.0f);
    const auto uID = rig.addKeyframe(rig.track, 305, 50.0f).uID;
    EXPECT_EQ(rig.at(302.0, 59.5)->uID, uID);
    EXPECT_EQ(rig.at(294.0, 59.5)->time, Frame(300));
    // Of two at one time the one that was added last.
    const auto twin = rig.addKeyframe(rig.track, 305, 50.0f).uID;
    EXPECT_EQ(rig.at(302.0, 59.5)->uID, twin);
}

TEST(HitTest, TheOneThatIsFoundAmongManyIsTheOneThatAFullSearchFinds) {
    const LaneScale lane{TimelineGeometry(600.0f, 30), 7777.0, LaneHeight::expanded};
    std::vector<MarvoTimelineKeyframe> keyframes;
    std::uint32_t seed = 12345;
    const auto next = [&](std::uint32_t below) {
        seed = seed * 1664525u + 1013904223u;
        return (seed >> 8) % below;
    };
    for (std::uint64_t i = 1; i <= 3000; ++i) {
        MarvoTimelineKeyframe keyframe;
        keyframe.time = Frame(next(18001));
        keyframe.value = static_cast<float>(next(128));
        keyframe.uID = i;
        keyframes.push_back(std::move(keyframe));
    }
    std::stable_sort(keyframes.begin(), keyframes.end(),
                     [](const auto& a, const auto& b) { return a.time < b.time; });
    int hits = 0;
    for (int i = 0; i < 5000; ++i) {
        const SurfacePoint point{static_cast<double>(next(7777)) + 0.3, static_cast<double>(next(119)) + 0.1};
        const std::uint64_t tracked = 1 + next(3000);
        const MarvoTimelineKeyframe* expected = nullptr;
        for (const MarvoTimelineKeyframe& keyframe : keyframes) {
            if (KeyframeGeometry::hitRectOf(keyframe, lane, keyframe.uID == tracked).contains(point))
                expected = &keyframe;
        }
        hits += expected != nullptr;
        ASSERT_EQ(KeyframeGeometry::keyframeAtPoint(keyframes, lane, point, tracked), expected);
    }
    EXPECT_GT(hits, 500);
}

TEST(HitTest, AFlagStandsWithItsLeftEdgeOnItsTimeAndIsTakenALittleAroundIt) {
    const LaneScale lane{TimelineGeometry(20.0f, 30), 600.0, LaneHeight::expanded};
    std::vector<MarvoTimelineKeyframe> flags;
    flags.push_back(flagAt(300, 1));
    const SurfaceRect frame = KeyframeGeometry::frameOf(flags[0], lane, false);
    EXPECT_EQ(frame.x, 300.0);
    EXPECT_EQ(frame.width, 16.0);
    EXPECT_EQ(frame.height, 16.0);
    EXPECT_EQ(KeyframeGeometry::hitRectOf(flags[0], lane, false), (SurfaceRect{300.0, frame.y, 22.0, 22.0}))
        << "six wider to the right and six higher";
    const auto hit = [&](double x, double y) {
        return KeyframeGeometry::keyframeAtPoint(flags, lane, {x, y}) != nullptr;
    };
    EXPECT_TRUE(hit(300.0, frame.y));
    EXPECT_TRUE(hit(321.9, frame.y + 21.9));
    EXPECT_FALSE(hit(299.9, frame.y + 1.0));
    EXPECT_FALSE(hit(322.0, frame.y + 1.0));
    EXPECT_FALSE(hit(310.0, frame.y + 22.0));
    EXPECT_FALSE(hit(310.0, frame.y - 0.1));
}

TEST(HitTest, ALeftSidedFlagIsTakenOnTheOtherSide) {
    const LaneScale lane{TimelineGeometry(20.0f, 30), 600.0, LaneHeight::collapsed};
    std::vector<MarvoTimelineKeyframe> flags;
    flags.push_back(flagAt(300, 1, true));
    const double y = KeyframeGeometry::frameOf(flags[0], lane, false).y;
    EXPECT_EQ(KeyframeGeometry::hitRectOf(flags[0], lane, false), (SurfaceRect{278.0, y, 22.0, 22.0}));
    EXPECT_NE(KeyframeGeometry::keyframeAtPoint(flags, lane, {279.0, y + 1.0}), nullptr);
    EXPECT_EQ(KeyframeGeometry::keyframeAtPoint(flags, lane, {301.0, y + 1.0}), nullptr);
    EXPECT_LE(y + 22.0, 32.0) << "all of it lies on a collapsed lane";
}

TEST(HitTest, AColourStandsInTheMiddleOfItsLaneHoweverHigh) {
    SurfaceRig rig;
    MarvoTimelineTrack& track = rig.add("ArtNetColor");
    track.addNewKeyFrameWithData(testing::keyframeAt(300, 0.0f));
    rig.forget();
    const MarvoTimelineKeyframe* keyframe = &track.keyframes().store().all().front();
    EXPECT_EQ(rig.surface->keyframeAtPoint(track, {300.0, 59.5}), keyframe);
    EXPECT_EQ(rig.surface->keyframeAtPoint(track, {300.0, 16.0}), nullptr);
    rig.surface->handleCollapseAndExpand(track);
    EXPECT_EQ(rig.surface->keyframeAtPoint(track, {300.0, 16.0}), keyframe);
}

TEST(HitTest, CuesAreTriedInTheOrderOfTheList) {
    const TimelineGeometry geometry(20.0f, 30);
    const SurfaceSize row{600.0, 26.0};
    CueList cues;
    CueRecord record;
    record.time = 300;
    const CueId first = cues.insert(record).id;
    record.time = 305;
    MarvoCue& second = cues.insert(record);
    const auto at = [&](double x, double y = 13.0) {
        return KeyframeGeometry::cueAtPoint(cues, geometry, row, {x, y});
    };
    EXPECT_EQ(KeyframeGeometry::frameOf(*cues.cueWithId(first), geometry, row),
              (SurfaceRect{300.0, 6.5, 13.0, 13.0}));
    EXPECT_EQ(at(310.0), first) << "both are there";
    EXPECT_EQ(at(320.0), second.id);
    EXPECT_EQ(at(318.9), first) << "six wider";
    EXPECT_EQ(at(302.0, 25.4), first) << "and six higher";
    EXPECT_FALSE(at(302.0, 25.5));
    EXPECT_FALSE(at(302.0, 6.4));
    EXPECT_FALSE(at(299.9));
    EXPECT_FALSE(at(324.0));
    second.isLeftSided = true;
    EXPECT_EQ(at(290.0), second.id) << "left of its time by the width of what is hit";
    EXPECT_FALSE(at(285.9));
    EXPECT_FALSE(at(320.0));
}

TEST(HitTest, TheSurfaceFindsTheCuesOfItsComposition) {
    SurfaceRig rig;
    rig.rig.compQueue.sync([&] { rig.composition.cueController.addNewCueAtTime(Frame(100)); });
    EXPECT_TRUE(rig.surface->cueAtPoint({105.0, 13.0}));
    rig.surface->zoomIn();
    EXPECT_FALSE(rig.surface->cueAtPoint({105.0, 13.0}));
    EXPECT_TRUE(rig.surface->cueAtPoint({205.0, 13.0}));
}

TEST(HitTest, ATrackWithoutKeyframesHasNothingUnderThePointer) {
    SurfaceRig rig;
    auto* block = rig.composition.tracks.createTrackOfTpye("Composition");
    EXPECT_EQ(rig.surface->keyframeAtPoint(*block, {10.0, 10.0}), nullptr);
}

TEST(Hover, AKeyframeOnTheEdgeOfItsLaneGrowsUnderThePointer) {
    LaneRig rig;
    const MarvoTimelineKeyframe& keyframe = rig.addKeyframe(rig.track, 300, 100.0f);
    rig.forget();
    EXPECT_EQ(rig.at(300.0, 106.0), nullptr) << "sixteen pixels end at 111";
    rig.surface->mouseMoved(rig.track, {300.0, 115.0});
    EXPECT_EQ(rig.surface->trackedKeyframe(), keyframe.uID);
    EXPECT_EQ(KeyframeGeometry::frameOf(keyframe, rig.scale(), true),
              (SurfaceRect{286.0, 105.0, 28.0, 28.0}));
    EXPECT_EQ(rig.at(300.0, 106.0), &keyframe);
    EXPECT_TRUE(rig.view.showed(SurfaceArea::lanes, {0.0, 0.0, 600.0, 119.0})) << "the lane is painted";
}

TEST(Hover, AllFourEdgesCountAndTheInsideDoesNot) {
    const TimelineGeometry geometry(20.0f, 30);
    MarvoTimelineKeyframe keyframe;
    const auto onEdge = [&](std::int64_t time, float value) {
        keyframe.time = Frame(time);
        keyframe.value = value;
        return KeyframeGeometry::isOnEdge(keyframe, geometry);
    };
    EXPECT_TRUE(onEdge(0, 64.0f));
    EXPECT_TRUE(onEdge(600, 64.0f));
    EXPECT_TRUE(onEdge(300, 0.0f));
    EXPECT_TRUE(onEdge(300, 127.0f));
    EXPECT_FALSE(onEdge(300, 64.0f));
    EXPECT_FALSE(onEdge(1, 1.0f));
    EXPECT_FALSE(onEdge(599, 126.0f));
    const LaneScale lane{geometry, 600.0, 119.0};
    EXPECT_EQ(KeyframeGeometry::frameOf(keyframe, lane, true).width, 16.0) << "an inner one keeps its size";
}

TEST(Hover, ThePreviousKeyframeShrinksWhenThePointerMovesOn) {
    LaneRig rig;
    const auto edge = rig.addKeyframe(rig.track, 300, 100.0f).uID;
    const auto inner = rig.addKeyframe(rig.track, 400, 50.0f).uID;
    rig.surface->mouseMoved(rig.track, {300.0, 115.0});
    ASSERT_EQ(rig.surface->trackedKeyframe(), edge);
    rig.forget();
    rig.surface->mouseMoved(rig.track, {400.0, 59.5});
    EXPECT_EQ(rig.surface->trackedKeyframe(), inner);
    EXPECT_EQ(rig.at(300.0, 106.0), nullptr);
    EXPECT_EQ(rig.view.count("display lanes"), 1);
    rig.forget();
    rig.surface->mouseMoved(rig.track, {402.0, 59.5});
    EXPECT_TRUE(rig.view.calls.empty()) << "still the same one";
    rig.surface->mouseMoved(rig.track, {500.0, 10.0});
    EXPECT_EQ(rig.surface->trackedKeyframe(), std::nullopt);
    EXPECT_EQ(rig.view.count("display lanes"), 1);
}

TEST(Hover, LeavingTheLaneEndsItAlsoWhenTheNextLaneWasEnteredFirst) {
    LaneRig rig;
    MarvoTimelineTrack& other = rig.add();
    const auto here = rig.addKeyframe(rig.track, 300, 50.0f).uID;
    const auto there = rig.addKeyframe(other, 300, 50.0f).uID;
    rig.surface->mouseMoved(rig.track, {300.0, 59.5});
    ASSERT_EQ(rig.surface->trackedKeyframe(), here);
    rig.forget();
    rig.surface->mouseExited(rig.track);
    EXPECT_EQ(rig.surface->trackedKeyframe(), std::nullopt);
    EXPECT_TRUE(rig.view.showed(SurfaceArea::lanes, {0.0, 0.0, 600.0, 119.0}));
    rig.surface->mouseMoved(rig.track, {300.0, 59.5});
    rig.forget();
    rig.surface->mouseMoved(other, {300.0, 59.5});
    EXPECT_TRUE(rig.view.showed(SurfaceArea::lanes, {0.0, 0.0, 600.0, 119.0}));
    EXPECT_TRUE(rig.view.showed(SurfaceArea::lanes, {0.0, 120.0, 600.0, 119.0}));
    rig.surface->mouseExited(rig.track);
    EXPECT_EQ(rig.surface->trackedKeyframe(), there);
}

TEST(Hover, AKeyframeOrATrackThatIsGoneDoesNoHarm) {
    LaneRig rig;
    const auto uID = rig.addKeyframe(rig.track, 300, 100.0f).uID;
    rig.surface->mouseMoved(rig.track, {300.0, 115.0});
    rig.track.removeKeyFrameWithUID(uID);
    rig.surface->mouseMoved(rig.track, {300.0, 115.0});
    EXPECT_EQ(rig.surface->trackedKeyframe(), std::nullopt);
    rig.addKeyframe(rig.track, 300, 100.0f);
    rig.surface->mouseMoved(rig.track, {300.0, 115.0});
    MarvoTimelineTrack& other = rig.add();
    rig.composition.tracks.undoRemoveTracksWithPositions({0});
    rig.forget();
    rig.surface->mouseMoved(other, {10.0, 10.0});
    EXPECT_EQ(rig.surface->trackedKeyframe(), std::nullopt);
    EXPECT_TRUE(rig.view.calls.empty()) << "a lane that is not there is not painted";
}

TEST(Hover, OnlyWhatIsSeenOfALaneIsPainted) {
    LaneRig rig;
    rig.addKeyframe(rig.track, 300, 50.0f);
    rig.zoomTo(4.0f);
    rig.surface->scrollTo(SurfaceArea::lanes, {1000.0, 0.0});
    rig.forget();
    rig.surface->mouseMoved(rig.track, {1200.0, 59.5});
    EXPECT_TRUE(rig.view.showed(SurfaceArea::lanes, {1000.0, 0.0, 600.0, 119.0}));
}

TEST(WorkingAreaShade, TheWholeTimelineIsNotShaded) {
    const WorkingAreaShade shade = drawsOutsideOfWorkingAreaOverlapsInDirtyRect(
        {0.0, 0.0, 600.0, 119.0}, {600.0, 119.0}, TimelineGeometry(20.0f, 30), Frame(0), Frame(600));
    EXPECT_TRUE(shade.before.isEmpty());
    EXPECT_TRUE(shade.behind.isEmpty());
}

TEST(WorkingAreaShade, WhatLiesLeftAndRightIsShaded) {
    const TimelineGeometry geometry(20.0f, 30);
    const SurfaceRect all{0.0, 0.0, 600.0, 119.0};
    const WorkingAreaShade both =
        drawsOutsideOfWorkingAreaOverlapsInDirtyRect(all, {600.0, 119.0}, geometry, Frame(100), Frame(400));
    EXPECT_EQ(both.before, (SurfaceRect{0.0, 0.0, 99.0, 119.0}));
    EXPECT_EQ(both.behind, (SurfaceRect{399.0, 0.0, 201.0, 119.0}));
    const WorkingAreaShade right =
        drawsOutsideOfWorkingAreaOverlapsInDirtyRect(all, {600.0, 119.0}, geometry, Frame(0), Frame(599));
    EXPECT_TRUE(right.before.isEmpty());
    EXPECT_EQ(right.behind, (SurfaceRect{598.0, 0.0, 2.0, 119.0}));
    const WorkingAreaShade left =
        drawsOutsideOfWorkingAreaOverlapsInDirtyRect(all, {600.0, 119.0}, geometry, Frame(1), Frame(600));
    EXPECT_TRUE(left.before.isEmpty()) << "one frame in, one pixel less";
    EXPECT_EQ(left.behind, (SurfaceRect{599.0, 0.0, 1.0, 119.0}));
}

TEST(WorkingAreaShade, OnlyWhereItMeetsWhatIsDirty) {
    const TimelineGeometry geometry(20.0f, 30);
    const WorkingAreaShade shade = drawsOutsideOfWorkingAreaOverlapsInDirtyRect(
        {90.0, 10.0, 200.0, 20.0}, {600.0, 119.0}, geometry, Frame(100), Frame(400));
    EXPECT_EQ(shade.before, (SurfaceRect{90.0, 10.0, 9.0, 20.0}));
    EXPECT_TRUE(shade.behind.isEmpty());
}

} // namespace
} // namespace marvo
