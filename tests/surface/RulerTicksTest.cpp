#include "surface/RulerTicks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace marvo {
namespace {

using ::testing::ElementsAre;
using Kind = RulerTick::Kind;

const LabelSize sevenALetter = [](std::string_view label) {
    return SurfaceSize{7.0 * static_cast<double>(label.size()), 12.0};
};

// A ruler with that many pixels a frame.
RulerTicks rulerOf(double pixelsPerFrame, float seconds = 100.0f, std::int64_t fps = 30) {
    const double frames = static_cast<double>(TimelineGeometry(seconds, fps).length());
    return RulerTicks(seconds, fps, frames * pixelsPerFrame + 20.0);
}

std::vector<RulerTick> ticksOf(const RulerTicks& ruler, double left, double width, Kind kind) {
    std::vector<RulerTick> all;
    ruler.ticksIn({left, 0.0, width, 44.0}, sevenALetter, all);
    std::erase_if(all, [&](const RulerTick& tick) { return tick.kind != kind; });
    return all;
}

std::vector<std::string> labelsOf(const std::vector<RulerTick>& ticks) {
    std::vector<std::string> labels;
    for (const RulerTick& tick : ticks) labels.push_back(tick.label);
    return labels;
}

std::vector<double> placesOf(const std::vector<RulerTick>& ticks) {
    std::vector<double> places;
    for (const RulerTick& tick : ticks) places.push_back(tick.x);
    return places;
}

TEST(RulerTicks, FramesThinOutAsTheyGetNarrow) {
    // Widths of whole numbers, so that the bounds are met exactly.
    const auto every = [](double pixels) {
        return RulerTicks(10.0f, 10, pixels * 100.0 + 20.0).everyNthFrame();
    };
    EXPECT_EQ(every(10.5), 1);
    EXPECT_EQ(every(10.0), 2) << "a bound belongs to the wider step";
    EXPECT_EQ(every(10.0625), 1);
    EXPECT_EQ(every(6.0625), 2);
    EXPECT_EQ(every(6.0), 5);
    EXPECT_EQ(every(3.0625), 5);
    EXPECT_EQ(every(3.0), 10);
    EXPECT_EQ(every(1.5625), 10);
    EXPECT_EQ(every(1.5), 15);
    EXPECT_EQ(every(1.125), 15);
    EXPECT_EQ(every(1.0625), 0);
    EXPECT_EQ(every(0.5), 0);
}

TEST(RulerTicks, SecondsThinOutAsTheyGetNarrow) {
    // One frame a second: what a frame takes, a second takes.
    const auto every = [](double pixels) {
        return RulerTicks(100.0f, 1, pixels * 100.0 + 20.0).everyNthSecond();
    };
    EXPECT_EQ(every(17.0625), 1);
    EXPECT_EQ(every(17.0), 2);
    EXPECT_EQ(every(9.0625), 2);
    EXPECT_EQ(every(9.0), 5);
    EXPECT_EQ(every(5.0625), 5);
    EXPECT_EQ(every(5.0), 10);
    EXPECT_EQ(every(2.5625), 10);
    EXPECT_EQ(every(2.5), 20);
    EXPECT_EQ(every(1.25), 20);
    EXPECT_EQ(every(1.1875), 30);
    EXPECT_EQ(every(0.625), 30);
    EXPECT_EQ(every(0.5625), 0);
}

TEST(RulerTicks, MinutesThinOutOnlyFromAnHourOn) {
    const auto every = [](float seconds, double pixelsPerMinute) {
        return RulerTicks(seconds, 1, pixelsPerMinute * static_cast<double>(seconds) / 60.0 + 20.0)
            .everyNthMinute();
    };
    EXPECT_EQ(every(3540.0f, 0.01), 1) << "below an hour every minute has its label, however dense";
    EXPECT_EQ(every(3600.0f, 23.0), 1);
    EXPECT_EQ(every(3600.0f, 21.0), 2);
    EXPECT_EQ(every(3600.0f, 11.5), 2);
    EXPECT_EQ(every(3600.0f, 10.5), 5);
    EXPECT_EQ(every(3600.0f, 5.6), 5);
    EXPECT_EQ(every(3600.0f, 5.4), 10);
    EXPECT_EQ(every(3600.0f, 2.8), 10);
    EXPECT_EQ(every(3600.0f, 2.7), 30);
    EXPECT_EQ(every(3600.0f, 0.9), 30);
    EXPECT_EQ(every(3600.0f, 0.87), 60);
}

TEST(RulerTicks, FrameTicksStandOnTheirFramesBehindTheMargin) {
    const auto ticks = ticksOf(rulerOf(12.0), 0.0, 40.0, Kind::frame);
    EXPECT_THAT(placesOf(ticks), ElementsAre(10.0, 22.0, 34.0));
    for (const RulerTick& tick : ticks) {
        EXPECT_EQ(tick.height, 12.0);
        EXPECT_EQ(tick.label, "");
    }
}

TEST(RulerTicks, DrawingBeginsOneStepBeforeWhatIsDirty) {
    // 8 pixels a frame, every second frame: steps of 16 behind the margin.
    EXPECT_THAT(placesOf(ticksOf(rulerOf(8.0), 110.0, 20.0, Kind::frame)), ElementsAre(90.0, 106.0, 122.0));
    EXPECT_THAT(placesOf(ticksOf(rulerOf(8.0), 0.0, 20.0, Kind::frame)), ElementsAre(10.0))
        << "not before frame 0";
}

TEST(RulerTicks, FrameTicksEndWithTheComposition) {
    const auto ticks = ticksOf(rulerOf(12.0, 2.0f, 10), 0.0, 1000.0, Kind::frame);
    ASSERT_FALSE(ticks.empty());
    EXPECT_EQ(ticks.back().x, 20.0 * 12.0 + 10.0);
}

TEST(RulerTicks, SecondsCarryTheirNumberWithinTheMinuteAndLeaveRoomForMinutes) {
    // 20 pixels a second.
    const auto ticks = ticksOf(rulerOf(2.0, 62.0f, 10), 0.0, 2000.0, Kind::second);
    ASSERT_EQ(ticks.size(), 61u) << "1 to 59, 61 and 62; 0 and 60 are minutes";
    EXPECT_EQ(ticks.front().label, "1s");
    EXPECT_EQ(ticks.front().x, 30.0);
    EXPECT_EQ(ticks.front().height, 20.0);
    EXPECT_EQ(ticks.front().labelOrigin, (SurfacePoint{32.0, 12.0}));
    EXPECT_EQ(ticks[58].label, "59s");
    EXPECT_EQ(ticks[59].label, "1s");
    EXPECT_EQ(ticks[59].x, 61.0 * 20.0 + 10.0);
    EXPECT_EQ(ticks.back().label, "2s") << "the second at the end counts";
}

TEST(RulerTicks, SecondsThatAreThinnedOutKeepTheirPlaces) {
    const auto ticks = ticksOf(rulerOf(0.4, 100.0f, 10), 0.0, 130.0, Kind::second);
    EXPECT_THAT(labelsOf(ticks), ElementsAre("10s", "20s"));
    EXPECT_THAT(placesOf(ticks), ElementsAre(50.0, 90.0));
}

TEST(RulerTicks, MinuteLabelsBecomeHoursAndStandHigher) {
    EXPECT_EQ(RulerTicks::minuteLabel(0), "0m");
    EXPECT_EQ(RulerTicks::minuteLabel(59), "59m");
    EXPECT_EQ(RulerTicks::minuteLabel(60), "1h");
    EXPECT_EQ(RulerTicks::minuteLabel(61), "1h1m");
    EXPECT_EQ(RulerTicks::minuteLabel(120), "2h");
    EXPECT_EQ(RulerTicks::minuteLabel(150), "2h30m");

    // 60 pixels a minute.
    const auto ticks = ticksOf(rulerOf(1.0, 7200.0f, 1), 59.0 * 60.0, 130.0, Kind::minute);
    ASSERT_GE(ticks.size(), 2u);
    const RulerTick& before = ticks[ticks.size() - 2];
    const RulerTick& hour = ticks[ticks.size() - 1];
    EXPECT_EQ(before.label, "59m");
    EXPECT_EQ(before.height, 26.0);
    EXPECT_EQ(before.labelOrigin, (SurfacePoint{59.0 * 60.0 + 12.0, 17.0}));
    EXPECT_EQ(hour.label, "1h");
    EXPECT_EQ(hour.height, 29.0);
    EXPECT_EQ(hour.labelOrigin, (SurfacePoint{60.0 * 60.0 + 12.0, 20.0}));
}

TEST(RulerTicks, TheFirstLabelIsMinuteZeroAndTheLastIsTheWholeMinuteAtTheEnd) {
    EXPECT_THAT(labelsOf(ticksOf(rulerOf(1.0, 120.0f, 1), 0.0, 1000.0, Kind::minute)),
                ElementsAre("0m", "1m", "2m"));
    EXPECT_THAT(labelsOf(ticksOf(rulerOf(1.0, 10.0f, 1), 0.0, 1000.0, Kind::minute)), ElementsAre("0m"));
}

TEST(RulerTicks, ALabelIsDrawnOnlyWhereItMeetsWhatIsDirty) {
    // Minute 1 at x = 70, its label from 72 to 86.
    const RulerTicks ruler = rulerOf(1.0, 600.0f, 1);
    const auto labelled = [&](double left, double width) {
        for (const RulerTick& tick : ticksOf(ruler, left, width, Kind::minute)) {
            if (tick.x == 70.0) return !tick.label.empty();
        }
        return false;
    };
    EXPECT_TRUE(labelled(80.0, 10.0));
    EXPECT_FALSE(labelled(86.0, 10.0));
    EXPECT_FALSE(labelled(65.0, 6.0)) << "the tick alone";
}

TEST(RulerTicks, ALabelThatReachesOverManyTicksIsStillDrawn) {
    // Below an hour and dense: 2 pixels a minute.
    const auto ticks = ticksOf(rulerOf(2.0 / 60.0, 3540.0f, 1), 60.0, 4.0, Kind::minute);
    ASSERT_FALSE(ticks.empty());
    EXPECT_EQ(ticks.front().label, "14m") << "it stands at 38 and its label ends at 61";
}

TEST(RulerTicks, WhatIsNotSeenCostsNothing) {
    std::vector<RulerTick> ticks;
    // A day, one frame as wide as a window.
    const RulerTicks ruler(86400.0f, 30, 86400.0 * 30.0 * 500.0 + 20.0);
    ruler.ticksIn({6e8, 0.0, 800.0, 44.0}, sevenALetter, ticks);
    EXPECT_GE(ticks.size(), 2u);
    EXPECT_LE(ticks.size(), 12u);
    RulerTicks(0.0f, 30, 20.0).ticksIn({0.0, 0.0, 800.0, 44.0}, sevenALetter, ticks);
    EXPECT_TRUE(ticks.empty());
    ruler.ticksIn({}, sevenALetter, ticks);
    EXPECT_TRUE(ticks.empty());
}

} // namespace
} // namespace marvo
