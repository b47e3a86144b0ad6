#include "composition/CompositionTimeMath.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

using namespace marvo;

namespace {

constexpr auto largest = std::numeric_limits<std::int64_t>::max();
constexpr auto smallest = std::numeric_limits<std::int64_t>::min();

} // namespace

TEST(Tempo, RunsInRealTimeAt120AndTwiceAsFastAt240) {
    EXPECT_EQ(advanceProcesstime(1.0, 120.0f, 0.25f), 1.25);
    EXPECT_EQ(advanceProcesstime(1.0, 240.0f, 0.25f), 1.5);
    EXPECT_EQ(advanceProcesstime(1.0, 60.0f, 0.25f), 1.125);
}

TEST(Tempo, ZeroFreezesThePlayhead) {
    EXPECT_EQ(advanceProcesstime(3.7, 0.0f, 0.001f), 3.7);
}

TEST(Tempo, FactorIsSinglePrecisionAndThePositionIsNot) {
    const float step = 133.0f / 120.0f * 0.001f;
    EXPECT_EQ(advanceProcesstime(1000.0, 133.0f, 0.001f), 1000.0 + static_cast<double>(step));
    EXPECT_NE(advanceProcesstime(1000.0, 133.0f, 0.001f), 1000.0 + 133.0 / 120.0 * 0.001);
    // A hundred thousand ticks of a millisecond: in single precision the sum would be seconds off.
    double t = 0.0;
    for (int i = 0; i < 100000; ++i) t = advanceProcesstime(t, 120.0f, 0.001f);
    EXPECT_NEAR(t, 100.0, 1e-4);
}

TEST(PlayheadFrame, ChangesAtTheHalfFrameAndNotAtTheFull) {
    EXPECT_EQ(frameOfProcesstime(0.016, 30), Frame(0));
    EXPECT_EQ(frameOfProcesstime(0.017, 30), Frame(1));
    EXPECT_EQ(frameOfProcesstime(1.0 / 30.0, 30), Frame(1));
}

TEST(PlayheadFrame, ComesUpWithTheSeventeenthMillisecondAt30) {
    double t = 0.0;
    int ticks = 0;
    while (frameOfProcesstime(t, 30) == Frame(0) && ticks < 100) {
        t = advanceProcesstime(t, 120.0f, 0.001f);
        ++ticks;
    }
    EXPECT_EQ(ticks, 17);
}

TEST(PlayheadFrame, CountsAlmostAHalfAsAHalf) {
    EXPECT_EQ(frameOfProcesstime(0.499996, 1), Frame(1));
    EXPECT_EQ(frameOfProcesstime(0.49999, 1), Frame(0));
}

TEST(PlayheadFrame, IsSinglePrecisionAfterHours) {
    // 4 h at 60: the float position is 1/1024 s coarse, so a double would round elsewhere.
    const double t = 4.0 * 3600.0 + 0.0088;
    const float narrowed = static_cast<float>(t);
    const float scaled = std::round(narrowed / (1.0f / 60.0f) * 100000.0f) / 100000.0f;
    EXPECT_EQ(frameOfProcesstime(t, 60), Frame(static_cast<std::int64_t>(std::round(scaled))));
}

TEST(PlayheadFrame, SurvivesNonsense) {
    EXPECT_EQ(frameOfProcesstime(std::nan(""), 30), Frame(0));
    EXPECT_EQ(frameOfProcesstime(1e300, 30), Frame(largest));
    EXPECT_EQ(frameOfProcesstime(-1e300, 30), Frame(smallest));
    EXPECT_EQ(frameOfProcesstime(2.0, 0), Frame(2)) << "a frame rate of 0 is read as 1";
    EXPECT_EQ(frameOfProcesstime(2.0, -30), Frame(2));
}

TEST(FrameTime, IsTheSinglePrecisionProductOfFrameDurationAndFrame) {
    EXPECT_EQ(secondsOfFrame(Frame(301), 30), (1.0f / 30.0f) * 301.0f);
    EXPECT_NE(secondsOfFrame(Frame(41), 30), 41.0f / 30.0f) << "the product is not the quotient";
    EXPECT_EQ(secondsOfFrame(Frame(7), 0), 7.0f);
}

TEST(FrameTime, StopsFallBackToWholeSeconds) {
    EXPECT_EQ(wholeSecondsOfFrame(Frame(89), 30), 2.0);
    EXPECT_EQ(wholeSecondsOfFrame(Frame(90), 30), 3.0);
    EXPECT_EQ(wholeSecondsOfFrame(Frame(90), 0), 90.0);
    EXPECT_EQ(wholeSecondsOfFrame(Frame(smallest), -1), static_cast<double>(smallest));
}

TEST(CompositionLength, CountsUpToAndIncludingItsFractionalEnd) {
    EXPECT_EQ(endFrame(10.03f, 30), Frame(300));
    EXPECT_TRUE(isInsideComposition(Frame(300), 10.03f, 30));
    EXPECT_FALSE(isInsideComposition(Frame(301), 10.03f, 30));
    EXPECT_TRUE(isInsideComposition(Frame(300), 10.0f, 30));
    EXPECT_EQ(clampToComposition(Frame(999), 10.03f, 30), Frame(300));
    EXPECT_EQ(clampToComposition(Frame(-5), 10.0f, 30), Frame(0));
    EXPECT_EQ(clampToComposition(Frame(17), 10.0f, 30), Frame(17));
    EXPECT_EQ(clampToComposition(Frame(17), -1.0f, 30), Frame(0));
}

TEST(WorkingAreaStart, IsWaitedForOnlyWhileRunning) {
    EXPECT_TRUE(isWaitingForWorkingArea(9.9, Frame(300), 30, true));
    EXPECT_FALSE(isWaitingForWorkingArea(9.9, Frame(300), 30, false));
    EXPECT_FALSE(isWaitingForWorkingArea(10.1, Frame(300), 30, true));
}

TEST(WorkingAreaStart, IsReachedExactlyOnItsFrame) {
    for (std::int64_t frame = 0; frame < 2000; ++frame)
        EXPECT_FALSE(isWaitingForWorkingArea(secondsOfFrame(Frame(frame), 30), Frame(frame), 30, true))
            << frame;
}

TEST(LoopWrap, KeepsTheOvershootSoThatLoopingDoesNotDrift) {
    EXPECT_NEAR(loopWrap(10.0004, Frame(300), Frame(60), 30), 2.0004, 1e-6);
    const double end = static_cast<double>(301.0f / 30.0f);
    const double start = static_cast<double>((1.0f / 30.0f) * 41.0f);
    EXPECT_EQ(loopWrap(10.05, Frame(301), Frame(41), 30), (10.05 - end) + start);
    // The end is a quotient and the start a product; they differ in the last bit.
    EXPECT_EQ(loopWrap(1.4, Frame(41), Frame(0), 30), 1.4 - static_cast<double>(41.0f / 30.0f));
}

TEST(LoopWrap, AfterASyncJumpTakesSecondsByFrames) {
    EXPECT_DOUBLE_EQ(jumpedLoopWrap(310.5, Frame(300)), 10.5);
    EXPECT_DOUBLE_EQ(jumpedLoopWrap(12.0, Frame(300)), 12.0);
    EXPECT_EQ(jumpedLoopWrap(12.0, Frame(0)), 0.0) << "the playhead must stay a number";
}

TEST(SyncJump, ReachesTheEndWhenTheRoundedFrameIsTheOutFrame) {
    EXPECT_TRUE(jumpReachesEnd(10.0, Frame(300), 30));
    EXPECT_TRUE(jumpReachesEnd(9.99, Frame(300), 30));
    EXPECT_FALSE(jumpReachesEnd(9.98, Frame(300), 30));
    EXPECT_FALSE(jumpReachesEnd(std::nan(""), Frame(300), 30));
}

TEST(SoloEnd, LeavesThePlayheadAtTheSecondsOfInTimeTakenAsAFrame) {
    EXPECT_EQ(soloEndFrame(Frame(75), 30), Frame(2));
}

TEST(PlayheadText, SplitsHoursMinutesSecondsAndFrames) {
    const Frame frame(((1 * 60 + 2) * 60 + 3) * 30 + 4);
    EXPECT_EQ(splitTime(frame, 30), (TimeFields{1, 2, 3, 4}));
    EXPECT_EQ(playheadText(frame, 30), "01:02:03:04");
    EXPECT_EQ(playheadText(Frame(0), 30), "00:00:00:00");
    EXPECT_EQ(playheadText(Frame(123 * 3600 * 25), 25), "123:00:00:00");
    EXPECT_EQ(playheadText(Frame(119), 120), "00:00:00:119");
}

TEST(PlayheadText, ForTheControlLinkEndsWithAColon) {
    EXPECT_EQ(compSMPTEText(Frame(61), 30), "00:00:02:01:");
}

TEST(PlayheadText, SplitsAtAnyFrameRateOfADamagedFile) {
    EXPECT_EQ(splitTime(Frame(3661), 0), (TimeFields{1, 1, 1, 0}));
    const TimeFields fields = splitTime(Frame(largest), largest);
    EXPECT_EQ(joinTime(fields, largest), Frame(largest));
}

TEST(PlayheadFields, AreTheInverseOfTheText) {
    for (const std::int64_t fps : {1, 24, 25, 30, 60, 1000})
        for (std::int64_t frame = 0; frame < 500000; frame += 997)
            ASSERT_EQ(joinTime(splitTime(Frame(frame), fps), fps), Frame(frame)) << fps;
}

TEST(PlayheadFields, AreCappedAtTheEnd) {
    EXPECT_EQ(editedPlayhead({0, 0, 3, 5}, 10.0f, 30), Frame(95));
    EXPECT_EQ(editedPlayhead({9, 0, 0, 0}, 10.0f, 30), Frame(300));
    EXPECT_EQ(editedPlayhead({largest, largest, largest, largest}, 10.0f, 30), Frame(300));
}

TEST(SmpteTime, HasHoursLowest) {
    EXPECT_EQ(packSmpte({1, 2, 3, 4}), 0x0004'0003'0002'0001u);
    EXPECT_EQ(unpackSmpte(0x0004'0003'0002'0001u), (TimeFields{1, 2, 3, 4}));
    EXPECT_EQ(unpackSmpte(0xffff'0000'0000'0000u), (TimeFields{0, 0, 0, 65535}));
}

TEST(SmpteTime, IsIgnoredPastTheEnd) {
    EXPECT_EQ(smpteFrame(packSmpte({0, 0, 10, 0}), 10.0f, 30), Frame(300));
    EXPECT_EQ(smpteFrame(packSmpte({0, 0, 10, 1}), 10.0f, 30), std::nullopt);
    EXPECT_EQ(smpteFrame(packSmpte({0, 1, 0, 0}), 100.0f, 25), Frame(1500));
    EXPECT_EQ(smpteFrame(packSmpte({1, 0, 0, 0}), 4000.0f, 25), Frame(90000));
}

TEST(Progress, RunsFromInToOut) {
    EXPECT_FLOAT_EQ(progress(Frame(100), Frame(100), Frame(300)), 0.0f);
    EXPECT_FLOAT_EQ(progress(Frame(150), Frame(100), Frame(300)), 0.25f);
    EXPECT_FLOAT_EQ(progress(Frame(50), Frame(100), Frame(300)), -0.25f);
}

TEST(Progress, OfAWorkingAreaWithoutLengthIsNoNumber) {
    EXPECT_TRUE(std::isnan(progress(Frame(5), Frame(5), Frame(5))));
    EXPECT_TRUE(std::isinf(progress(Frame(6), Frame(5), Frame(5))));
    EXPECT_TRUE(std::isfinite(progress(Frame(largest), Frame(smallest), Frame(0))));
}
