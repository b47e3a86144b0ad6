#include "surface/TimelineGeometry.h"

#include <gtest/gtest.h>

namespace marvo {
namespace {

TEST(TimelineGeometry, AFrameTakesItsShareOfTheWidth) {
    const TimelineGeometry geometry(20.0f, 30);
    EXPECT_EQ(geometry.length(), 600.0f);
    EXPECT_EQ(geometry.timeUnitInPixels(1200.0), 0.5);
    EXPECT_EQ(geometry.pixelsForTime(Frame(150), 1200.0), 300.0);
    EXPECT_EQ(geometry.pixelsForTime(Frame(600), 1200.0), 1200.0);
}

TEST(TimelineGeometry, TheLengthIsSinglePrecisionForObjectsAndDoubleForALane) {
    // 16.7 has no exact float; the product with 60 rounds to another number in single precision.
    const TimelineGeometry geometry(16.7f, 60);
    const double wide = static_cast<double>(16.7f) * 60.0;
    ASSERT_NE(static_cast<double>(geometry.length()), wide);
    EXPECT_EQ(geometry.length(), 60.0f * 16.7f);
    const Frame time(501);
    EXPECT_EQ(geometry.pixelsForTime(time, 1e6), 501.0 * 1e6 / static_cast<double>(60.0f * 16.7f));
    EXPECT_EQ(geometry.pixelsForTimeOnTrack(time, 1e6), 501.0 * 1e6 / wide);
    EXPECT_NE(geometry.pixelsForTimeOnTrack(time, 1e6), geometry.pixelsForTime(time, 1e6));
}

TEST(TimelineGeometry, PlayheadAndWorkingAreaStandOnePixelLeftInTheLanesAndNotOnTheRuler) {
    const TimelineGeometry geometry(20.0f, 30);
    EXPECT_EQ(geometry.markerPixelsForTime(Frame(300), 1200.0), 599.0);
    EXPECT_EQ(geometry.inPointPixelsForTime(Frame(0), 1200.0), -1.0);
    EXPECT_EQ(geometry.outPointPixelsForTime(Frame(600), 1200.0), 1199.0);
    EXPECT_EQ(geometry.rulerMarkerPixelsForTime(Frame(300), 1220.0), 600.0);
    EXPECT_EQ(geometry.throttlerPixelsForTime(Frame(600), 1220.0), 1200.0);
}

TEST(TimelineGeometry, TheRulerCountsWithoutItsMargins) {
    const TimelineGeometry geometry(20.0f, 30);
    EXPECT_EQ(geometry.markerTimeUnitInPixels(1220.0), 0.5);
    EXPECT_EQ(geometry.throttlerTimeUnitInPixels(1220.0), 0.5);
    EXPECT_EQ(geometry.rulerPixelsPerFrame(1220.0), 2.0);
    EXPECT_EQ(TimelineGeometry::rulerWidth(1200.0), 1220.0);
}

TEST(TimelineGeometry, APixelOfTheLaneIsWorthMoreThanAPixelOfTheValue) {
    // From 0 to 127 a lane of 119 has 127 steps of value, a pointer 129.
    EXPECT_EQ(TimelineGeometry::valueUnitInPixels(0.0f, 127.0f, 119.0), 129.0 / 119.0);
    EXPECT_EQ(TimelineGeometry::valueUnitInPixels(-10.0f, 10.0f, 32.0), 22.0 / 32.0);
}

TEST(TimelineGeometry, ValuesFillTheLaneFromItsLowerEdge) {
    EXPECT_EQ(TimelineGeometry::pixelsForValue(0.0f, 0.0f, 100.0f, 119.0), 0.0);
    EXPECT_EQ(TimelineGeometry::pixelsForValue(50.0f, 0.0f, 100.0f, 119.0), 59.5);
    EXPECT_EQ(TimelineGeometry::pixelsForValue(100.0f, 0.0f, 100.0f, 32.0), 32.0);
    EXPECT_EQ(TimelineGeometry::pixelsForValue(-5.0f, -10.0f, 10.0f, 100.0), 25.0);
}

TEST(TimelineGeometry, ACompositionWithoutLengthGivesNoInfinities) {
    const TimelineGeometry geometry(0.0f, 30);
    EXPECT_EQ(geometry.timeUnitInPixels(600.0), 0.0);
    EXPECT_EQ(geometry.pixelsForTime(Frame(5), 600.0), 0.0);
    EXPECT_EQ(geometry.pixelsForTimeOnTrack(Frame(5), 600.0), 0.0);
    EXPECT_EQ(geometry.rulerPixelsPerFrame(620.0), 0.0);
    EXPECT_EQ(geometry.minPaddingFor(600.0), 0.0f);
    EXPECT_EQ(geometry.laneWidth(2.0f, 4.0f), 0.0);
    const TimelineGeometry some(20.0f, 30);
    EXPECT_EQ(some.timeUnitInPixels(0.0), 0.0);
    EXPECT_EQ(some.markerTimeUnitInPixels(20.0), 0.0);
    EXPECT_EQ(TimelineGeometry::pixelsForValue(0.0f, 0.0f, 0.0f, 119.0), 0.0);
    EXPECT_EQ(TimelineGeometry::valueUnitInPixels(0.0f, 1.0f, 0.0), 0.0);
}

TEST(TimelineGeometry, WidthsAreProductsInSinglePrecision) {
    const TimelineGeometry geometry(100.0f, 30);
    const float padding = geometry.minPaddingFor(1000.0);
    EXPECT_EQ(padding, 1000.0f / 3000.0f);
    EXPECT_EQ(geometry.laneWidth(padding, 4.0f), static_cast<double>(3000.0f * padding * 4.0f));
}

} // namespace
} // namespace marvo
