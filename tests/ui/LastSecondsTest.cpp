// What the status line judges by: the last ten seconds of counters that only ever grow.
#include "ui/LastSeconds.h"

#include <gtest/gtest.h>

using namespace marvo;
using namespace marvo::ui;

namespace {

struct LastSecondsTest : ::testing::Test {
    // Four looks a second, at a counter that stands at that total.
    void seconds(int count, std::uint64_t total) {
        for (int i = 0; i < 4 * count; ++i) {
            now = now + Duration::ofMilliseconds(250);
            last.look(now, lateness, {{&key, total}});
        }
    }
    int key = 0;
    MonotonicTime now;
    DurationHistogram lateness;
    LastSeconds last;
};

} // namespace

TEST_F(LastSecondsTest, AMessageThatWasDroppedCountsForTenSecondsAndNotForEver) {
    seconds(3'600, 0);
    EXPECT_EQ(last.dropped(&key, 0), 0u);
    EXPECT_EQ(last.dropped(&key, 1), 1u);
    seconds(9, 1);
    EXPECT_EQ(last.dropped(&key, 1), 1u);
    seconds(3, 1);
    EXPECT_EQ(last.dropped(&key, 1), 0u);
    EXPECT_EQ(last.dropped(&key, 3), 2u) << "the next ones count anew";
}

TEST_F(LastSecondsTest, WhatWasDroppedBeforeTheFirstLookIsHistory) {
    seconds(1, 7);
    EXPECT_EQ(last.dropped(&key, 7), 0u);
}

TEST_F(LastSecondsTest, AnOutputThatIsMadeMeanwhileCountsFromItsBeginning) {
    seconds(1, 0);
    const int made = 0;
    EXPECT_EQ(last.dropped(&made, 2), 2u);
}

TEST_F(LastSecondsTest, LatenessIsThatOfTheLastTenSeconds) {
    for (int i = 0; i < 1'000'000; ++i) lateness.record(Duration(20'000));
    seconds(20, 0);
    EXPECT_EQ(last.usualLateness(lateness), Duration());
    for (int i = 0; i < 100; ++i) lateness.record(Duration::ofMilliseconds(5));
    EXPECT_GE(last.usualLateness(lateness), Duration::ofMilliseconds(4));
    EXPECT_LT(lateness.percentile(0.99), Duration::ofMilliseconds(1));
    seconds(12, 0);
    EXPECT_EQ(last.usualLateness(lateness), Duration());
}
