#include "tracks/ColorTable.h"

#include "Sanitized.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <limits>

using namespace marvo;

namespace {

constexpr Colour red{1, 0, 0};
constexpr Colour blue{0, 0, 1};

struct Key {
    std::int64_t time;
    Colour color;
    const char* curve = "Linear Interpolation";
};

std::vector<MarvoTimelineKeyframe> keyframesOf(const std::vector<Key>& keys) {
    std::vector<MarvoTimelineKeyframe> keyframes(keys.size());
    for (std::size_t i = 0; i < keys.size(); ++i) {
        keyframes[i].time = Frame(keys[i].time);
        keyframes[i].becomeColor().setColorValue(keys[i].color);
        keyframes[i].setInterpolationType(keys[i].curve);
    }
    return keyframes;
}

ColorTable tableOf(const std::vector<Key>& keys, std::int64_t frames = 100) {
    return ColorTable(keyframesOf(keys), frames);
}

} // namespace

TEST(ColorTable, FadesInAStraightLineBetweenTwoKeyframes) {
    const ColorTable table = tableOf({{10, red}, {20, blue}});
    EXPECT_EQ(table.colorAtFrame(10), red);
    EXPECT_EQ(table.colorAtFrame(15), (Colour{0.5, 0, 0.5}));
    EXPECT_EQ(table.colorAtFrame(18), (Colour{0.2, 0, 0.8}));
    EXPECT_EQ(table.colorAtFrame(20), blue);
    EXPECT_EQ(table.colorAtFrame(100), blue) << "behind the last keyframe its colour stands";
}

TEST(ColorTable, BeforeTheFirstKeyframeThereIsTransparentBlackWithoutAFade) {
    const ColorTable table = tableOf({{10, red}, {20, blue}});
    EXPECT_EQ(table.colorAtFrame(0), Colour::clear());
    EXPECT_EQ(table.colorAtFrame(9), Colour::clear());
    EXPECT_EQ(table.gradient().colorAtFrame(9), Colour::clear()) << "and so the lane is drawn";
    EXPECT_EQ(tableOf({{0, red}}).colorAtFrame(0), red);
    EXPECT_EQ(tableOf({}).colorAtFrame(5), Colour::clear());
}

TEST(ColorTable, AStepHoldsTheColourBeforeUpToItsKeyframe) {
    const ColorTable table = tableOf({{10, red}, {20, blue, "No Interpolation"}, {30, red}});
    EXPECT_EQ(table.colorAtFrame(19), red);
    EXPECT_EQ(table.colorAtFrame(20), blue);
    EXPECT_EQ(table.colorAtFrame(25), (Colour{0.5, 0, 0.5}));
}

TEST(ColorTable, OnAKeyframeThereIsItsColourAndOfSeveralThatOfTheLast) {
    const ColorTable table = tableOf({{0, red}, {10, blue}, {10, {0, 1, 0}}, {20, red}});
    EXPECT_EQ(table.colorAtFrame(10), (Colour{0, 1, 0}));
    EXPECT_EQ(table.colorAtFrame(5), (Colour{0.5, 0, 0.5})) << "the fade leads to the first of them";
    EXPECT_EQ(table.colorAtFrame(15), (Colour{0.5, 0.5, 0})) << "and away from the last";
    EXPECT_EQ(table.colorOfKeyframe(1), blue);
}

TEST(ColorTable, AlphaFadesLikeTheOthersAndIsNotMultipliedIntoThem) {
    const ColorTable table = tableOf({{0, {1, 0, 0, 1}}, {10, {0, 1, 0, 0}}});
    EXPECT_EQ(table.colorAtFrame(5), (Colour{0.5, 0.5, 0, 0.5}));
}

TEST(ColorTable, HoldsWhatTheGradientGivesFrameByFrameAndEveryKeyframeToTheBit) {
    std::vector<Key> keys;
    std::uint32_t state = 7;
    const auto random = [&] {
        return static_cast<double>((state = state * 1664525u + 1013904223u) >> 8) / 16777217.3;
    };
    std::int64_t time = 3;
    for (int i = 0; i < 200; ++i) {
        keys.push_back({time,
                        {random(), random(), random(), random()},
                        random() < 0.3 ? "No Interpolation" : "Linear Interpolation"});
        time += static_cast<std::int64_t>(random() * 12.0);
    }
    const ColorTable table = tableOf(keys, time + 10);
    for (std::int64_t frame = 0; frame <= time + 10; ++frame) {
        const bool isOnKeyframe =
            std::any_of(keys.begin(), keys.end(), [&](const Key& key) { return key.time == frame; });
        if (isOnKeyframe) {
            const auto last =
                std::find_if(keys.rbegin(), keys.rend(), [&](const Key& key) { return key.time == frame; });
            EXPECT_EQ(table.colorAtFrame(frame), last->color) << frame;
            continue;
        }
        EXPECT_EQ(table.colorAtFrame(frame), table.gradient().colorAtFrame(frame)) << frame;
    }
    for (const auto& stop : table.gradient().stops()) EXPECT_GE(stop.frame, 3);
}

TEST(ColorTable, KeyframesOutsideTheCompositionTakeNoRoom) {
    EXPECT_EQ(tableOf({{-5, red}, {5, blue}}).colorAtFrame(0), (Colour{0.5, 0, 0.5}));
    EXPECT_EQ(tableOf({{90, red}, {1'000'000'000'000, blue, "No Interpolation"}}).colorAtFrame(95), red);
    EXPECT_EQ(tableOf({{200, red}, {300, blue}}).colorAtFrame(50), Colour::clear());
}

TEST(ColorTable, OneFrameTooLongForATableHasTheSameColoursToTheBit) {
    std::uint32_t state = 11;
    const auto random = [&] {
        return static_cast<double>((state = state * 1664525u + 1013904223u) >> 8) / 16777217.3;
    };
    for (int round = 0; round < 30; ++round) {
        std::vector<Key> keys;
        auto time = static_cast<std::int64_t>(random() * 20.0) - 10;
        for (int i = 0; i < 20; ++i) {
            keys.push_back({time,
                            {random(), random(), random(), random()},
                            random() < 0.3 ? "No Interpolation" : "Linear Interpolation"});
            time += static_cast<std::int64_t>(random() * 9.0);
        }
        const std::vector<MarvoTimelineKeyframe> keyframes = keyframesOf(keys);
        const std::int64_t frames = round % 2 ? time + 5 : time - 15;
        const ColorTable whole(keyframes, frames);
        const auto count = static_cast<std::uint64_t>(whole.endFrame() - whole.firstFrame());
        const ColorTable atTheEdge(keyframes, frames, count);
        const ColorTable without(keyframes, frames, count - 1);
        ASSERT_TRUE(atTheEdge.holdsEveryFrame());
        ASSERT_FALSE(without.holdsEveryFrame());
        EXPECT_EQ(without.firstFrame(), whole.firstFrame());
        EXPECT_EQ(without.endFrame(), whole.endFrame());
        for (std::int64_t frame = -2; frame < time + 10; ++frame) {
            EXPECT_EQ(without.colorAtFrame(frame), whole.colorAtFrame(frame)) << round << " " << frame;
            EXPECT_EQ(atTheEdge.colorAtFrame(frame), whole.colorAtFrame(frame)) << round << " " << frame;
        }
        for (std::size_t i = 0; i < keys.size(); ++i)
            EXPECT_EQ(without.colorOfKeyframe(i), whole.colorOfKeyframe(i));
    }
}

TEST(ColorTable, AFadeOverThirtyYearsTakesNoMemoryForItsFrames) {
    constexpr std::int64_t frames = 60'000'000'000;
    const ColorTable table = tableOf({{0, red}, {frames, blue}}, frames);
    EXPECT_FALSE(table.holdsEveryFrame());
    EXPECT_EQ(table.colorAtFrame(frames / 2), (Colour{0.5, 0, 0.5}));
    EXPECT_EQ(table.colorAtFrame(frames), blue);
    EXPECT_EQ(table.endFrame(), frames + 1);
    constexpr std::int64_t endless = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(tableOf({{0, red}, {endless, blue}}, endless).colorAtFrame(endless / 2), (Colour{0.5, 0, 0.5}));
}

#if !MARVO_SANITIZED // makes one of the two many times slower
static double bestSeconds(int rounds, const std::function<void()>& work) {
    double best = 1e9;
    for (int i = 0; i < rounds; ++i) {
        const auto start = std::chrono::steady_clock::now();
        work();
        best =
            std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    return best;
}

TEST(ColorTable, AnHourAtSixtyFramesIsMadeInLessThanFiftyTimesItsWriting) {
    constexpr std::int64_t frames = 60 * 60 * 60;
    std::vector<Key> keys;
    for (std::int64_t i = 0; i <= 600; ++i) keys.push_back({i * frames / 600, i % 2 ? red : blue});
    const std::vector<MarvoTimelineKeyframe> keyframes = keyframesOf(keys);
    Colour last;
    const double making =
        bestSeconds(7, [&] { last = ColorTable(keyframes, frames).colorAtFrame(frames - 1); });
    std::vector<Colour> written(static_cast<std::size_t>(frames) + 1);
    double shade = 0;
    const double writing = bestSeconds(7, [&] {
        std::fill(written.begin(), written.end(), Colour::grey(shade += 0.1));
        last = written[static_cast<std::size_t>(shade * 100)];
    });
    EXPECT_LT(making, 50 * writing) << making << " s against " << writing << " s";
}
#endif
