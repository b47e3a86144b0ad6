#include "headless/RunStatistics.h"

#include "RealtimeScope.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <thread>
#include <vector>

namespace marvo {
namespace {

std::int64_t percentile(const DurationHistogram& histogram, double share) {
    return histogram.percentile(share).nanoseconds;
}

TEST(DurationHistogram, IsAllZeroBeforeTheFirstTick) {
    const DurationHistogram histogram;
    EXPECT_EQ(histogram.count(), 0U);
    EXPECT_EQ(percentile(histogram, 0.999), 0);
    EXPECT_EQ(histogram.maximum(), Duration());
}

TEST(DurationHistogram, NamesTheRankThatAtLeastThatShareStaysWithin) {
    DurationHistogram histogram;
    for (std::int64_t i = 1; i <= 10; ++i) histogram.record(Duration(i));
    EXPECT_EQ(percentile(histogram, 0.5), 5);
    EXPECT_EQ(percentile(histogram, 0.51), 6);
    EXPECT_EQ(percentile(histogram, 0.9), 9);
    EXPECT_EQ(percentile(histogram, 1.0), 10);
    EXPECT_EQ(percentile(histogram, 0.0), 1);
}

TEST(DurationHistogram, OneLateTickInAThousandShowsInP999AndNotInP99) {
    DurationHistogram histogram;
    for (int i = 0; i < 1998; ++i) histogram.record(Duration(10));
    histogram.record(Duration(5'000'000));
    histogram.record(Duration(5'000'000));
    histogram.record(Duration(5'000'000));
    EXPECT_EQ(percentile(histogram, 0.99), 10);
    EXPECT_EQ(percentile(histogram, 0.999), 5'000'000);
}

TEST(DurationHistogram, NeverTellsLessThanWhatWasMeasuredAndAtMostA32ndMore) {
    for (const std::int64_t value : {1L, 31L, 32L, 33L, 63L, 64L, 65L, 1000L, 12345L, 999'999L, 1'000'000L,
                                     60'000'000'000L, (1L << 40) - 1, 1L << 40, (1L << 62) + 12345L}) {
        DurationHistogram histogram;
        histogram.record(Duration(value));
        histogram.record(Duration(std::numeric_limits<std::int64_t>::max()));
        const std::int64_t told = percentile(histogram, 0.5);
        EXPECT_GE(told, value);
        EXPECT_LE(told - value, value / 32) << value;
    }
}

TEST(DurationHistogram, CountsAllThatExceedALimitAndNoneFarBelowIt) {
    DurationHistogram histogram;
    for (const std::int64_t value : {0L, 30L, 31L, 960'000L, 1'000'001L, 1'100'000L, 5'000'000'000L})
        histogram.record(Duration(value));
    EXPECT_EQ(histogram.countAbove(Duration::ofMilliseconds(1)), 3U);
    EXPECT_EQ(histogram.countAbove(Duration(30)), 5U);
    EXPECT_EQ(histogram.countAbove(Duration(31)), 4U);
    EXPECT_EQ(histogram.countAbove(Duration(-1)), 7U);
    EXPECT_EQ(histogram.countAbove(Duration::ofSeconds(6)), 0U);
}

TEST(DurationHistogram, TheStepsOfANeighbourhoodDoNotOverlap) {
    std::int64_t before = -1;
    for (std::int64_t value = 0; value < 5000; ++value) {
        DurationHistogram histogram;
        histogram.record(Duration(value));
        histogram.record(Duration(1'000'000));
        const std::int64_t told = percentile(histogram, 0.5);
        ASSERT_GE(told, before) << value;
        before = told;
    }
}

TEST(DurationHistogram, TellsTheMaximumExactly) {
    DurationHistogram histogram;
    histogram.record(Duration(1'234'567));
    EXPECT_EQ(histogram.maximum(), Duration(1'234'567));
    EXPECT_EQ(percentile(histogram, 1.0), 1'234'567);
    histogram.record(Duration(std::numeric_limits<std::int64_t>::max()));
    EXPECT_EQ(percentile(histogram, 1.0), std::numeric_limits<std::int64_t>::max());
}

TEST(DurationHistogram, WhoWakesEarlyIsNotLate) {
    DurationHistogram histogram;
    histogram.record(Duration(-5));
    EXPECT_EQ(histogram.count(), 1U);
    EXPECT_EQ(percentile(histogram, 1.0), 0);
}

TEST(RunStatistics, RecordingIsAllowedOnTheTick) {
    RunStatistics statistics;
    std::size_t violations = 0;
    {
        const RealtimeScope scope;
        for (int i = 0; i < 1000; ++i) statistics.recordTick(Duration(i * 1000), Duration(i));
        violations = scope.violations();
    }
    EXPECT_EQ(violations, 0U);
    EXPECT_EQ(statistics.lateness().count(), 1000U);
}

TEST(RunStatistics, CanBeReadWhileItIsRecorded) {
    RunStatistics statistics;
    std::thread render([&] {
        for (int i = 0; i < 200000; ++i) statistics.recordTick(Duration(1000 + i % 100), Duration(10));
    });
    for (int i = 0; i < 200; ++i) {
        const std::int64_t told = percentile(statistics.lateness(), 0.99);
        EXPECT_TRUE(told == 0 || (told >= 1000 && told <= 1100)) << told;
    }
    render.join();
    EXPECT_EQ(statistics.lateness().count(), 200000U);
    EXPECT_EQ(statistics.length().count(), 200000U);
}

TEST(RunStatistics, TellsTicksLatenessLongestTickAndMessages) {
    RunStatistics statistics;
    for (int i = 1; i <= 10; ++i) statistics.recordTick(Duration(i), Duration(i == 10 ? 45'600 : 100));
    statistics.recordTick(Duration(120'000), Duration(100));
    EXPECT_EQ(statistics.text({{"osc", 42}, {"midi", 0}}),
              "ticks 11\n"
              "wake-up lateness p50 0.0 us, p99 120.0 us, p99.9 120.0 us, "
              "max 120.0 us\n"
              "longest tick 45.6 us\n"
              "messages osc 42\n"
              "messages midi 0\n");
}

} // namespace
} // namespace marvo
