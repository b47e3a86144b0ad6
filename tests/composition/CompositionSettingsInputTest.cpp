#include "composition/CompositionSettingsInput.h"

#include <gtest/gtest.h>

#include <limits>

using namespace marvo;
using Outcome = marvo::CompositionSettingsResult::Outcome;

namespace {

class SettingsDialog : public ::testing::Test {
protected:
    SettingsDialog() {
        present.compTime = 90.5f;
        present.compFPS = 30;
        present.mtcOutStartTime = 3600.0;
        present.mtcOutDestination = "Port";
        open();
    }
    void open() { entered = shown = shownFields(present, {1, 0, 0, 0}); }
    CompositionSettingsResult confirm() const {
        return confirmCompositionSettings(present, shown, entered, loopback);
    }

    CompositionSettings present;
    CompositionSettingsFields shown;
    CompositionSettingsFields entered;
    MidiLoopbackState loopback;
};

} // namespace

TEST_F(SettingsDialog, ShowsTheLengthInHoursMinutesSecondsAndFrames) {
    EXPECT_EQ(shown.length, (TimeFields{0, 1, 30, 15}));
    EXPECT_EQ(shown.compFPS, 30);
    EXPECT_EQ(shown.mtcRateIndex, 2u);
    EXPECT_EQ(shown.startTime, (TimeFields{1, 0, 0, 0}));
}

TEST_F(SettingsDialog, ConfirmedWithoutAChangeChangesNothing) {
    EXPECT_EQ(confirm().outcome, Outcome::unchanged);
    EXPECT_EQ(confirm().settings, present);
    EXPECT_FALSE(confirm().lengthOrFpsChanged);
}

TEST_F(SettingsDialog, ConfirmedWithoutAChangeKeepsWhatWholeFramesCannotSay) {
    present.compTime = 10.01f;
    present.mtcOutStartTime = 3600.0123;
    present.mtcOutFPS = "??";
    open();
    EXPECT_EQ(confirm().outcome, Outcome::unchanged);
    EXPECT_EQ(confirm().settings.compTime, 10.01f);
    EXPECT_EQ(confirm().settings.mtcOutStartTime, 3600.0123);
    EXPECT_EQ(confirm().settings.mtcOutFPS, "??");
    entered.transmitsMTC = true;
    EXPECT_EQ(confirm().outcome, Outcome::changed);
    EXPECT_EQ(confirm().settings.compTime, 10.01f);
    EXPECT_FALSE(confirm().lengthOrFpsChanged);
}

TEST_F(SettingsDialog, TakesANewLength) {
    entered.length = {1, 1, 1, 15};
    const auto result = confirm();
    EXPECT_EQ(result.outcome, Outcome::changed);
    EXPECT_TRUE(result.lengthOrFpsChanged);
    EXPECT_EQ(result.settings.compTime, 3661.5f);
    EXPECT_EQ(result.settings.mtcOutStartTime, 3600.0);
}

TEST_F(SettingsDialog, RefusesALengthThatNoFileWouldBringBack) {
    entered.length = {277777, 46, 40, 0};
    EXPECT_EQ(confirm().outcome, Outcome::changed) << "a thousand million seconds";
    entered.length = {280000, 0, 0, 0};
    EXPECT_EQ(confirm().outcome, Outcome::refused);
}

TEST_F(SettingsDialog, TakesANewFrameRate) {
    entered.compFPS = 60;
    const auto result = confirm();
    EXPECT_TRUE(result.lengthOrFpsChanged);
    EXPECT_EQ(result.settings.compFPS, 60);
    EXPECT_EQ(result.settings.compTime, 90.25f) << "15 frames are a quarter second now";
}

TEST_F(SettingsDialog, RefusesALengthOfNothing) {
    entered.length = {0, 0, 0, 0};
    EXPECT_EQ(confirm().outcome, Outcome::refused);
    entered.length = {0, 0, 0, 1};
    EXPECT_EQ(confirm().outcome, Outcome::changed);
    EXPECT_EQ(confirm().settings.compTime, 1.0f / 30.0f);
}

TEST_F(SettingsDialog, RefusesAFrameRateBelowOne) {
    for (const std::int64_t fps :
         {std::int64_t{0}, std::int64_t{-30}, std::numeric_limits<std::int64_t>::min()}) {
        entered.compFPS = fps;
        EXPECT_EQ(confirm().outcome, Outcome::refused);
        EXPECT_EQ(confirm().settings, present);
    }
    entered.compFPS = 1;
    EXPECT_EQ(confirm().outcome, Outcome::changed);
}

TEST_F(SettingsDialog, RefusesNegativeParts) {
    for (const TimeFields& bad : {TimeFields{-1, 80, 0, 0}, {1, -1, 0, 0}, {1, 0, -1, 0}, {1, 0, 0, -1}}) {
        open();
        entered.length = bad;
        EXPECT_EQ(confirm().outcome, Outcome::refused);
        open();
        entered.startTime = bad;
        EXPECT_EQ(confirm().outcome, Outcome::refused);
        EXPECT_EQ(confirm().settings, present);
    }
}

TEST_F(SettingsDialog, CountsTheStartTimeByTheRateOfTheList) {
    entered.startTime = {1, 2, 3, 12};
    const double seconds = 3723.0;
    entered.mtcRateIndex = 0;
    EXPECT_EQ(confirm().settings.mtcOutStartTime, seconds + 12.0 / 24.0);
    EXPECT_EQ(confirm().settings.mtcOutFPS, "00");
    entered.mtcRateIndex = 1;
    EXPECT_DOUBLE_EQ(confirm().settings.mtcOutStartTime, seconds + 12.0 / 25.0);
    EXPECT_EQ(confirm().settings.mtcOutFPS, "01");
    entered.mtcRateIndex = 2;
    EXPECT_DOUBLE_EQ(confirm().settings.mtcOutStartTime, seconds + 12.0 / 30.0);
    EXPECT_EQ(confirm().settings.mtcOutFPS, "11");
    entered.mtcRateIndex = 3;
    EXPECT_DOUBLE_EQ(confirm().settings.mtcOutStartTime, seconds + 12.0 / 30.0);
    EXPECT_EQ(confirm().settings.mtcOutFPS, "10");
    EXPECT_FALSE(confirm().lengthOrFpsChanged);
    entered.mtcRateIndex = 4;
    EXPECT_EQ(confirm().outcome, Outcome::refused);
}

TEST_F(SettingsDialog, CountsTheSameFramesAnewWhenOnlyTheRateChanges) {
    entered.startTime = shown.startTime = {0, 0, 0, 12};
    entered.mtcRateIndex = 0;
    EXPECT_EQ(confirm().settings.mtcOutStartTime, 0.5);
}

TEST_F(SettingsDialog, LimitsTheFramesFieldByTheRate) {
    EXPECT_EQ(mtcRates[mtcRateIndex("00").value()].framesMaximum, 23);
    EXPECT_EQ(mtcRates[mtcRateIndex("01").value()].framesMaximum, 24);
    EXPECT_EQ(mtcRates[mtcRateIndex("11").value()].framesMaximum, 29);
    EXPECT_EQ(mtcRates[mtcRateIndex("10").value()].framesMaximum, 29);
    EXPECT_EQ(mtcRateIndex("10"), 3u);
    EXPECT_EQ(mtcRateIndex(""), std::nullopt);
}

TEST_F(SettingsDialog, TakesTheTransmissionSwitches) {
    entered.transmitsMMC = entered.useCompIDWithMMC = true;
    entered.mtcOutDestination = std::nullopt;
    const auto result = confirm();
    EXPECT_EQ(result.outcome, Outcome::changed);
    EXPECT_TRUE(result.settings.transmitsMMC);
    EXPECT_FALSE(result.settings.transmitsMTC);
    EXPECT_TRUE(result.settings.useCompIDWithMMC);
    EXPECT_EQ(result.settings.mtcOutDestination, std::nullopt);
}

TEST_F(SettingsDialog, WarnsOfALoopbackOnlyWhenAllThreeMeet) {
    for (int bits = 0; bits < 8; ++bits) {
        entered.transmitsMMC = (bits & 1) != 0;
        loopback.listenToMMC = (bits & 2) != 0;
        loopback.sourceOfSameNameEnabled = (bits & 4) != 0;
        EXPECT_EQ(confirm().outcome == Outcome::loopback, bits == 7) << bits;
    }
    entered.length = {-1, 0, 0, 0};
    EXPECT_EQ(confirm().outcome, Outcome::loopback) << "before the fields are looked at";
    EXPECT_EQ(confirm().settings, present);
    loopback.sourceOfSameNameEnabled = false;
    EXPECT_EQ(confirm().outcome, Outcome::refused);
}

TEST(NewFrameRate, DoublesEveryFrameNumberFrom30To60) {
    const float ratio = fpsRatio(60, 30);
    EXPECT_EQ(ratio, 2.0f);
    EXPECT_EQ(scaledFrame(Frame(301), ratio), Frame(602));
    EXPECT_EQ(scaledFrame(scaledFrame(Frame(301), ratio), fpsRatio(30, 60)), Frame(301));
    EXPECT_EQ(fpsRatio(25, 0), 25.0f) << "a frame rate of 0 is read as 1";
}

TEST(NewFrameRate, TruncatesInSinglePrecision) {
    EXPECT_EQ(scaledFrame(Frame(101), fpsRatio(25, 30)), Frame(84));
    EXPECT_EQ(scaledFrame(Frame(16777217), 1.0f), Frame(16777216));
    EXPECT_EQ(scaledFrame(Frame(std::numeric_limits<std::int64_t>::max()), 2.0f),
              Frame(std::numeric_limits<std::int64_t>::max()));
}

TEST(NewLength, HoldsTheOutFrameInsideAndNotTheInFrame) {
    const auto area = rescaledWorkingArea(Frame(50), Frame(400), Frame(500), 1.0f, 10.03f, 30);
    EXPECT_EQ(area.markerTime, Frame(50));
    EXPECT_EQ(area.inTime, Frame(400));
    EXPECT_EQ(area.outTime, Frame(300));
    const auto inside = rescaledWorkingArea(Frame(50), Frame(40), Frame(150), 2.0f, 10.03f, 30);
    EXPECT_EQ(inside.markerTime, Frame(100));
    EXPECT_EQ(inside.inTime, Frame(80));
    EXPECT_EQ(inside.outTime, Frame(300));
}

TEST(NewLength, KeepsThePlayheadAtItsRelativePosition) {
    EXPECT_EQ(rescaledPlayhead(Frame(150), 10.0f, 30, 20.0f, 30), Frame(300));
    EXPECT_EQ(rescaledPlayhead(Frame(150), 10.0f, 30, 10.0f, 60), Frame(300));
    EXPECT_EQ(rescaledPlayhead(Frame(1), 10.0f, 30, 5.0f, 30), Frame(1)) << "a half rounds up";
    EXPECT_EQ(rescaledPlayhead(Frame(1), 10.0f, 30, 4.0f, 30), Frame(0));
}

TEST(NewLength, BringsThePlayheadOfACompositionWithoutLengthToTheStart) {
    EXPECT_EQ(rescaledPlayhead(Frame(0), 0.0f, 30, 20.0f, 30), Frame(0));
    EXPECT_EQ(rescaledPlayhead(Frame(5), 0.0f, 30, 20.0f, 30), Frame(0));
}
