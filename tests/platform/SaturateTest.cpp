#include "platform/Saturate.h"
#include "platform/TimelineTime.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

using namespace marvo;

namespace {

constexpr auto largest = std::numeric_limits<std::int64_t>::max();
constexpr auto smallest = std::numeric_limits<std::int64_t>::min();

} // namespace

TEST(Saturation, StopsAtTheEndsOfTheNumberRange) {
    EXPECT_EQ(truncatedToInt64(9.2233720368547758e18f), largest);
    EXPECT_EQ(truncatedToInt64(-9.3e18f), smallest);
    EXPECT_EQ(truncatedToInt64(std::numeric_limits<float>::infinity()), largest);
    EXPECT_EQ(truncatedToInt64(-std::numeric_limits<double>::infinity()), smallest);
    EXPECT_EQ(truncatedToInt64(std::numeric_limits<double>::quiet_NaN()), 0);
    EXPECT_EQ(truncatedToInt64(-2.9f), -2);
    EXPECT_EQ(truncatedToInt64(2.9), 2);
    EXPECT_EQ(saturatingAdd(largest, 1), largest);
    EXPECT_EQ(saturatingAdd(smallest, -1), smallest);
    EXPECT_EQ(saturatingSubtract(0, smallest), largest);
    EXPECT_EQ(saturatingSubtract(smallest, 1), smallest);
    EXPECT_EQ(saturatingMultiply(largest, -2), smallest);
    EXPECT_EQ(saturatingMultiply(smallest, -2), largest);
    EXPECT_EQ(saturatingMultiply(6, 7), 42);
}

// A damaged file can put the playhead or a cue anywhere.
TEST(TimelineTime, NoPositionFromADamagedFileRunsAroundTheEndOfTime) {
    EXPECT_EQ(Frame(smallest) - Frame(1), FrameCount(smallest));
    EXPECT_EQ(Frame(largest) - Frame(-1), FrameCount(largest));
    EXPECT_EQ(Frame(largest) + FrameCount(1), Frame(largest));
    EXPECT_EQ(Frame(smallest) - FrameCount(1), Frame(smallest));
    EXPECT_EQ(FrameCount(largest) + FrameCount(largest), FrameCount(largest));
    EXPECT_EQ(FrameCount(smallest) - FrameCount(largest), FrameCount(smallest));
    EXPECT_EQ(-FrameCount(smallest), FrameCount(largest));
    EXPECT_EQ(Frame(7) - Frame(9) + FrameCount(2), FrameCount(0));
}
