#include "app/TimeText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <ostream>
#include <vector>

namespace marvo {
namespace {

struct Length {
    float seconds;
    std::int64_t fps;
    const char* text;
};

void PrintTo(const Length& length, std::ostream* out) {
    *out << length.seconds << " s at " << length.fps;
}

class TimeText : public ::testing::TestWithParam<Length> {};

TEST_P(TimeText, ShowsALengthAsHoursMinutesSecondsAndFrames) {
    EXPECT_EQ(timeWithSeconds(GetParam().seconds, GetParam().fps), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(WholeSeconds, TimeText,
                         ::testing::Values(Length{0.0F, 30, "00s"}, Length{1.0F, 30, "01s"},
                                           Length{59.0F, 30, "59s"}, Length{60.0F, 30, "01:00"},
                                           Length{61.0F, 25, "01:01"}, Length{3599.0F, 25, "59:59"},
                                           Length{3600.0F, 25, "01:00:00"}, Length{3661.0F, 25, "01:01:01"},
                                           Length{36000.0F, 60, "10:00:00"},
                                           Length{360000.0F, 1, "100:00:00"}));

// One digit of frames is padded with a blank, not with a zero.
INSTANTIATE_TEST_SUITE_P(LeftOverFrames, TimeText,
                         ::testing::Values(Length{1.0F + 5.0F / 30.0F + 0.001F, 30, "01s 5"},
                                           Length{0.04F, 25, "00s 1"}, Length{12.5F, 30, "12s15"},
                                           Length{60.5F, 50, "01:0025"}, Length{65.25F, 24, "01:05 6"},
                                           Length{3600.5F, 4, "01:00:00 2"}, Length{59.99F, 100, "59s99"},
                                           Length{59.999F, 100, "59s99"}, Length{0.999F, 1000, "00s999"}));

// What is not a whole frame is cut, and the product is a 32-bit one: 65.2 s at 25 is just below frame 5 of
// its second.
INSTANTIATE_TEST_SUITE_P(Truncation, TimeText,
                         ::testing::Values(Length{0.0333F, 30, "00s"}, Length{65.2F, 25, "01:05 4"},
                                           Length{0.0334F, 30, "00s 1"}, Length{0.1F, 30, "00s 3"},
                                           Length{59.9999F, 30, "59s29"},
                                           Length{16777217.0F, 1, "4660:20:16"}));

INSTANTIATE_TEST_SUITE_P(NoTime, TimeText,
                         ::testing::Values(Length{10.0F, 0, "10s"}, Length{10.0F, -30, "10s"},
                                           Length{-5.0F, 30, "00s"},
                                           Length{std::numeric_limits<float>::quiet_NaN(), 30, "00s"}));

TEST(TimeTextBounds, HoldsLengthsBeyondAllMeasure) {
    for (const float seconds : {1e30F, std::numeric_limits<float>::infinity()}) {
        for (const std::int64_t fps :
             {std::int64_t{1}, std::int64_t{60}, std::numeric_limits<std::int64_t>::max()}) {
            const std::string text = timeWithSeconds(seconds, fps);
            EXPECT_EQ(std::count(text.begin(), text.end(), ':'), 2) << text;
        }
    }
    EXPECT_NE(totalLength(std::vector<float>{std::numeric_limits<float>::infinity()}), "");
}

TEST(TotalLength, AddsUpAndCutsToWholeSeconds) {
    EXPECT_EQ(totalLength({}), "00s");
    EXPECT_EQ(totalLength(std::vector<float>{10.0F}), "10s");
    EXPECT_EQ(totalLength(std::vector<float>{59.0F, 0.9F}), "59s");
    EXPECT_EQ(totalLength(std::vector<float>{59.5F, 0.5F}), "01:00");
    EXPECT_EQ(totalLength(std::vector<float>{10.0F, 10.0F, 46.0F}), "01:06");
    EXPECT_EQ(totalLength(std::vector<float>{3599.9F}), "59:59");
    EXPECT_EQ(totalLength(std::vector<float>{3600.0F}), "01:00:00");
    EXPECT_EQ(totalLength(std::vector<float>{3600.0F, 61.0F}), "01:01:01");
    EXPECT_EQ(totalLength(std::vector<float>{360000.0F}), "100:00:00");
}

TEST(TotalLength, AddsInSinglePrecision) {
    // In double these would be 16777217 seconds.
    EXPECT_EQ(totalLength(std::vector<float>{16777216.0F, 1.0F}), "4660:20:16");
}

} // namespace
} // namespace marvo
