#include "surface/KeyframePainting.h"
#include "RealtimeScope.h"
#include "tracks/Curves.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

namespace marvo {
namespace {

MarvoTimelineKeyframe keyframe(std::int64_t time, float value, const char* curve = "Linear Interpolation") {
    MarvoTimelineKeyframe one;
    one.time = Frame(time);
    one.value = value;
    one.minValue = 0.0f;
    one.maxValue = 100.0f;
    one.setInterpolationType(curve);
    return one;
}

// Keyframes cannot be copied.
template <class... Keyframes>
std::vector<MarvoTimelineKeyframe> listOf(Keyframes... keyframes) {
    std::vector<MarvoTimelineKeyframe> list;
    (list.push_back(std::move(keyframes)), ...);
    return list;
}

// `count` of them, `apart` frames from one to the next.
std::vector<MarvoTimelineKeyframe> many(std::size_t count, std::int64_t apart = 1) {
    std::vector<MarvoTimelineKeyframe> keyframes;
    keyframes.reserve(count);
    std::uint32_t seed = 99;
    for (std::size_t i = 0; i < count; ++i) {
        seed = seed * 1664525u + 1013904223u;
        keyframes.push_back(
            keyframe(static_cast<std::int64_t>(i) * apart, static_cast<float>((seed >> 8) % 101)));
    }
    return keyframes;
}

// That many frames over that many pixels; a lane of 100, so that values are pixels.
LaneScale laneOf(std::int64_t frames, double width) {
    return {TimelineGeometry(static_cast<float>(frames), 1), width, 100.0};
}

std::vector<LanePoint> lineOf(const std::vector<MarvoTimelineKeyframe>& keyframes, const LaneScale& lane,
                              double left, double right) {
    std::vector<LanePoint> points;
    KeyframePainting(keyframes, lane).line(left, right, points);
    return points;
}

double heightAt(const std::vector<LanePoint>& points, double x) {
    for (std::size_t i = 1; i < points.size(); ++i) {
        if (points[i - 1].x <= x && x <= points[i].x && points[i].x > points[i - 1].x) {
            const double p = (x - points[i - 1].x) / (points[i].x - points[i - 1].x);
            return points[i - 1].y + p * (points[i].y - points[i - 1].y);
        }
    }
    return -1000.0;
}

TEST(KeyframePainting, ALinearLineGoesFromKeyframeToKeyframe) {
    const auto points = lineOf(listOf(keyframe(10, 0.0f), keyframe(50, 80.0f), keyframe(90, 20.0f)),
                               laneOf(100, 100.0), 0.0, 100.0);
    ASSERT_EQ(points.size(), 3u);
    EXPECT_EQ(points[1].x, 50.0);
    EXPECT_EQ(points[1].y, 80.0);
}

TEST(KeyframePainting, ASteppedSegmentHoldsAndThenJumps) {
    for (const char* curve : {"No Interpolation", "Something of tomorrow"}) {
        const auto points =
            lineOf(listOf(keyframe(10, 20.0f), keyframe(50, 80.0f, curve)), laneOf(100, 100.0), 0.0, 100.0);
        ASSERT_EQ(points.size(), 3u) << curve;
        EXPECT_EQ(points[1].x, 50.0);
        EXPECT_EQ(points[1].y, 20.0);
        EXPECT_EQ(points[2].y, 80.0);
    }
}

TEST(KeyframePainting, ACurveIsFollowedPixelByPixelAsItIsPlayed) {
    for (const std::string_view label : allCurveLabels()) {
        const Curve curve = curveWithLabel(label);
        if (isStepped(curve)) continue;
        for (const bool falls : {false, true}) {
            const float from = falls ? 80.0f : 20.0f;
            const float to = falls ? 20.0f : 80.0f;
            const auto points =
                lineOf(listOf(keyframe(0, from), keyframe(200, to, std::string(label).c_str())),
                       laneOf(200, 200.0), 0.0, 200.0);
            for (int x = 1; x < 200; ++x) {
                const float eased = easedProgress(curve, static_cast<float>(x) / 200.0f) * 60.0f;
                const double expected = static_cast<double>(falls ? from - eased : from + eased);
                EXPECT_NEAR(heightAt(points, x), expected, 0.01) << label << " at " << x;
            }
        }
    }
}

TEST(KeyframePainting, ShortCurvesThatSwingAreLookedAtMoreClosely) {
    const auto points = lineOf(listOf(keyframe(0, 20.0f), keyframe(200, 80.0f, "Elastic Ease-In-Out")),
                               laneOf(200, 8.0), 0.0, 8.0);
    ASSERT_EQ(curveWithLabel("Elastic Ease-In-Out") == Curve::unknown, false);
    EXPECT_GT(points.size(), 20u);
}

TEST(KeyframePainting, WhatShowsOfALongSegmentIsCutAtTheEdges) {
    // The keyframes stand far outside of what is seen.
    const auto points =
        lineOf(listOf(keyframe(0, 0.0f), keyframe(1000, 100.0f)), laneOf(1000, 1e8), 5e7, 5e7 + 600.0);
    ASSERT_EQ(points.size(), 2u);
    EXPECT_EQ(points.front().x, 5e7 - 1.0);
    EXPECT_EQ(points.back().x, 5e7 + 601.0);
    EXPECT_NEAR(points.front().y, 50.0, 0.001);
    const auto curved = lineOf(listOf(keyframe(0, 0.0f), keyframe(1000, 100.0f, "Cubic Ease-In")),
                               laneOf(1000, 1e8), 5e7, 5e7 + 600.0);
    EXPECT_LE(curved.size(), 604u);
    EXPECT_GE(curved.size(), 600u);
}

TEST(KeyframePainting, NothingIsShownWhereThereIsNothing) {
    EXPECT_TRUE(lineOf(listOf(), laneOf(100, 100.0), 0.0, 100.0).empty());
    EXPECT_TRUE(lineOf(listOf(keyframe(10, 1.0f)), laneOf(100, 100.0), 50.0, 100.0).empty());
    EXPECT_EQ(lineOf(listOf(keyframe(10, 1.0f)), laneOf(100, 100.0), 0.0, 100.0).size(), 1u);
    EXPECT_TRUE(
        lineOf(listOf(keyframe(10, 1.0f)), {TimelineGeometry(0.0f, 30), 0.0, 100.0}, 0.0, 100.0).empty());
}

TEST(KeyframePainting, AColumnKeepsItsFirstLeastGreatestAndLast) {
    // Ten frames a pixel.
    auto keyframes =
        listOf(keyframe(100, 50.0f), keyframe(101, 60.0f), keyframe(102, 95.0f), keyframe(103, 40.0f),
               keyframe(104, 5.0f), keyframe(105, 30.0f), keyframe(106, 45.0f));
    const auto points = lineOf(keyframes, laneOf(1000, 100.0), 0.0, 100.0);
    std::vector<double> heights;
    for (const LanePoint& point : points) heights.push_back(point.y);
    EXPECT_THAT(heights, ::testing::ElementsAre(50.0, 95.0, 5.0, 45.0)) << "in the order in which they come";
}

TEST(KeyframePainting, AHundredThousandKeyframesCostNoMorePointsThanPixels) {
    for (const std::size_t count : {std::size_t{10'000}, std::size_t{100'000}}) {
        const auto keyframes = many(count);
        const auto points = lineOf(keyframes, laneOf(static_cast<std::int64_t>(count), 800.0), 0.0, 800.0);
        EXPECT_LE(points.size(), 4u * 802u);
        // Each column spans from its least to its greatest.
        std::vector<double> least(801, 1e9);
        std::vector<double> greatest(801, -1e9);
        std::vector<double> shownLeast(801, 1e9);
        std::vector<double> shownGreatest(801, -1e9);
        const LaneScale lane = laneOf(static_cast<std::int64_t>(count), 800.0);
        for (const MarvoTimelineKeyframe& one : keyframes) {
            const SurfacePoint point = KeyframeGeometry::pointOf(one, lane);
            const auto column = static_cast<std::size_t>(point.x);
            least[column] = std::min(least[column], point.y);
            greatest[column] = std::max(greatest[column], point.y);
        }
        for (const LanePoint& point : points) {
            const auto column = static_cast<std::size_t>(point.x);
            shownLeast[column] = std::min(shownLeast[column], point.y);
            shownGreatest[column] = std::max(shownGreatest[column], point.y);
        }
        EXPECT_EQ(shownLeast, least);
        EXPECT_EQ(shownGreatest, greatest);
    }
}

TEST(KeyframePainting, PaintingAgainAllocatesNothing) {
    const auto keyframes = many(100'000);
    const LaneScale lane = laneOf(100'000, 800.0);
    const KeyframePainting painting(keyframes, lane);
    std::vector<LanePoint> points;
    std::vector<KeyframeSprite> sprites;
    painting.line(0.0, 800.0, points);
    painting.sprites(0.0, 800.0, sprites);
    const LanePoint* const pointsBefore = points.data();
    const KeyframeSprite* const spritesBefore = sprites.data();
    RealtimeScope scope;
    painting.line(0.0, 800.0, points);
    painting.sprites(0.0, 800.0, sprites);
    painting.line(100.0, 200.0, points);
    EXPECT_EQ(scope.violations(), 0u) << scope.report();
    EXPECT_EQ(points.data(), pointsBefore);
    EXPECT_EQ(sprites.data(), spritesBefore);
}

TEST(KeyframePainting, KeyframesThatAreNotSeenAreNotLookedAt) {
    // Those outside stand where they would spoil the result if they were taken.
    const auto keyframes = many(100'000, 10);
    const LaneScale lane = laneOf(1'000'000, 1e6);
    std::vector<LanePoint> points;
    std::vector<KeyframeSprite> sprites;
    const KeyframePainting painting(keyframes, lane);
    painting.line(500'000.0, 500'800.0, points);
    EXPECT_LE(points.size(), 84u);
    EXPECT_GE(points.size(), 80u);
    painting.sprites(500'000.0, 500'800.0, sprites);
    EXPECT_LE(sprites.size(), 87u);
    EXPECT_GE(sprites.size(), 81u);
    for (const KeyframeSprite& sprite : sprites) {
        EXPECT_GE(sprite.point.x, 500'000.0 - 32.0);
        EXPECT_LE(sprite.point.x, 500'800.0 + 32.0);
    }
}

TEST(KeyframePainting, ASpriteThatIsSeenInPartIsThere) {
    const auto keyframes = listOf(keyframe(95, 50.0f), keyframe(205, 50.0f));
    std::vector<KeyframeSprite> sprites;
    KeyframePainting(keyframes, laneOf(300, 300.0)).sprites(100.0, 200.0, sprites);
    EXPECT_EQ(sprites.size(), 2u);
}

TEST(KeyframePainting, OneSpriteForEachColumnAndRow) {
    const auto keyframes = many(100'000);
    std::vector<KeyframeSprite> sprites;
    KeyframePainting(keyframes, laneOf(100'000, 800.0)).sprites(0.0, 800.0, sprites);
    std::set<std::pair<int, int>> cells;
    for (const KeyframeSprite& sprite : sprites)
        EXPECT_TRUE(
            cells.insert({static_cast<int>(sprite.point.x), static_cast<int>(sprite.point.y)}).second);
    std::set<std::pair<int, int>> all;
    for (const MarvoTimelineKeyframe& one : keyframes) {
        const SurfacePoint point = KeyframeGeometry::pointOf(one, laneOf(100'000, 800.0));
        all.insert({static_cast<int>(point.x), static_cast<int>(point.y)});
    }
    EXPECT_EQ(cells, all) << "and no cell is lost";
    std::vector<KeyframeSprite> coarse;
    KeyframePainting(keyframes, laneOf(100'000, 800.0)).sprites(0.0, 800.0, coarse, 4.0);
    EXPECT_LE(coarse.size(), 201u * 26u);
}

TEST(KeyframePainting, TheLastDrawnIsShownUnlessASelectedOneLiesThere) {
    auto keyframes = listOf(keyframe(100, 50.0f), keyframe(101, 50.0f), keyframe(102, 50.0f));
    std::vector<KeyframeSprite> sprites;
    const LaneScale lane = laneOf(1000, 100.0);
    KeyframePainting(keyframes, lane).sprites(0.0, 100.0, sprites);
    ASSERT_EQ(sprites.size(), 1u);
    EXPECT_EQ(sprites[0].keyframe, &keyframes[2]);
    keyframes[0].selected = true;
    KeyframePainting(keyframes, lane).sprites(0.0, 100.0, sprites);
    ASSERT_EQ(sprites.size(), 1u);
    EXPECT_EQ(sprites[0].keyframe, &keyframes[0]);
    keyframes[1].selected = true;
    KeyframePainting(keyframes, lane).sprites(0.0, 100.0, sprites);
    EXPECT_EQ(sprites[0].keyframe, &keyframes[1]);
}

} // namespace
} // namespace marvo
