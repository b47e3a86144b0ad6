#include "platform/Clock.h"

#include <gtest/gtest.h>
#include <type_traits>

using namespace marvo;

TEST(Clock, StandsStillUntilItIsAdvanced) {
    VirtualClock clock(MonotonicTime(5));
    EXPECT_EQ(clock.now(), MonotonicTime(5));
    EXPECT_EQ(clock.now(), MonotonicTime(5));
    clock.advance(Duration::ofMilliseconds(2));
    EXPECT_EQ(clock.now(), MonotonicTime(2'000'005));
}

TEST(Clock, NeverGoesBack) {
    const MonotonicClock clock;
    const MonotonicTime first = clock.now();
    EXPECT_GE(clock.now(), first);
}

TEST(Clock, MeasuresBothWaysBetweenTwoMoments) {
    EXPECT_EQ(MonotonicTime(30) - MonotonicTime(10), Duration(20));
    EXPECT_EQ(MonotonicTime(10) - MonotonicTime(30), Duration(-20));
    EXPECT_EQ(MonotonicTime(30) + Duration(-10), MonotonicTime(20));
    EXPECT_EQ(MonotonicTime(30) - Duration(10), MonotonicTime(20));
    EXPECT_EQ(Duration::ofSeconds(1), Duration::ofMilliseconds(1000));
    EXPECT_EQ(Duration::ofMilliseconds(1), Duration::ofMicroseconds(500) * 2);
}

TEST(Clock, KeepsMomentsAndLengthsApart) {
    EXPECT_FALSE((std::is_convertible_v<std::uint64_t, MonotonicTime>));
    EXPECT_FALSE((std::is_convertible_v<std::int64_t, Duration>));
    EXPECT_FALSE((std::is_convertible_v<Duration, MonotonicTime>));
}
