#include "platform/Numbers.h"

#include "AllocationCount.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <string>

namespace marvo {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

TEST(Numbers, ReadsTheIntegerAtTheBeginningOfAText) {
    EXPECT_EQ(parseLeadingInt("42"), 42);
    EXPECT_EQ(parseLeadingInt(" \t\n-42abc"), -42);
    EXPECT_EQ(parseLeadingInt("+7 "), 7);
    EXPECT_EQ(parseLeadingInt("3.9"), 3);
    EXPECT_EQ(parseLeadingInt("007"), 7);
}

TEST(Numbers, ATextWithoutANumberIsZero) {
    for (const char* text : {"", " ", "abc", "-", "+", "+-5", "-+5", "--5", "++5", "- 5", ".", "x1"}) {
        EXPECT_EQ(parseLeadingInt(text), 0) << text;
        EXPECT_EQ(parseLeadingFloat(text), 0.0) << text;
    }
    EXPECT_EQ(parseLeadingFloat("inf"), 0.0);
    EXPECT_EQ(parseLeadingFloat("-nan"), 0.0);
    EXPECT_EQ(parseLeadingFloat("infinity"), 0.0);
}

TEST(Numbers, HoldsIntegersToTheirRange) {
    EXPECT_EQ(parseLeadingInt("2147483647"), 2147483647);
    EXPECT_EQ(parseLeadingInt("2147483648"), std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(parseLeadingInt("-2147483649"), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(parseLeadingInt64("9223372036854775807"), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(parseLeadingInt64("99999999999999999999"), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(parseLeadingInt64("-99999999999999999999x"), std::numeric_limits<std::int64_t>::min());
}

TEST(Numbers, ReadsTheRealAtTheBeginningOfAText) {
    EXPECT_EQ(parseLeadingFloat("0.5"), 0.5);
    EXPECT_EQ(parseLeadingFloat(" -.25s"), -0.25);
    EXPECT_EQ(parseLeadingFloat("+1.5e3!"), 1500.0);
    EXPECT_EQ(parseLeadingFloat("2E-2"), 0.02);
    EXPECT_EQ(parseLeadingFloat("5."), 5.0);
    EXPECT_EQ(parseLeadingFloat("1e"), 1.0);
    EXPECT_EQ(parseLeadingFloat("1e+"), 1.0);
    EXPECT_EQ(parseLeadingFloat("1,5"), 1.0);
}

TEST(Numbers, TellsTooLargeFromTooSmall) {
    EXPECT_EQ(parseLeadingFloat("1e999"), infinity);
    EXPECT_EQ(parseLeadingFloat("-1e999 and more"), -infinity);
    EXPECT_EQ(parseLeadingFloat("1e-999"), 0.0);
    EXPECT_TRUE(std::signbit(parseLeadingFloat("-1e-999")));
    EXPECT_EQ(parseLeadingFloat("0." + std::string(400, '0') + "1"), 0.0);
    EXPECT_EQ(parseLeadingFloat("1" + std::string(400, '0')), infinity);
    EXPECT_EQ(parseLeadingFloat("1" + std::string(800, '0') + "e-10"), infinity);
    EXPECT_EQ(parseLeadingFloat("0." + std::string(800, '0') + "1e10"), 0.0);
    EXPECT_EQ(parseLeadingFloat("1e99999999999999999999"), infinity);
    EXPECT_EQ(parseLeadingFloat("1e-99999999999999999999"), 0.0);
}

TEST(Numbers, ReadsAWholeTextOrNothing) {
    EXPECT_EQ(parseWholeFloat("0.5"), 0.5);
    EXPECT_EQ(parseWholeFloat("+0.5"), 0.5);
    EXPECT_EQ(parseWholeFloat("-infinity"), -infinity);
    EXPECT_EQ(parseWholeFloat("+INF"), infinity);
    EXPECT_TRUE(std::isnan(parseWholeFloat("nan").value()));
    EXPECT_EQ(parseWholeFloat("1e999"), infinity);
    for (const char* text : {"", "+", "-", "+-1", "1x", "1 ", " 1", "0,5", "0x10"}) {
        EXPECT_FALSE(parseWholeFloat(text)) << text;
    }
}

TEST(Numbers, WritesAFixedNumberOfDigits) {
    EXPECT_EQ(formatFixed(0.5, 6).view(), "0.500000");
    EXPECT_EQ(formatFixed(-1.005, 2).view(), "-1.00");
    EXPECT_EQ(formatFixed(2.5, 0).view(), "2");
    EXPECT_EQ(formatFixed(-0.0, 1).view(), "-0.0");
    EXPECT_EQ(formatFixed(infinity, 2).view(), "inf");
    EXPECT_EQ(formatFixed(-infinity, 2).view(), "-inf");
    EXPECT_EQ(formatFixed(std::nan(""), 2).view(), "nan");
    EXPECT_EQ(formatFixed(-std::nan(""), 2).view(), "nan");
    EXPECT_EQ(formatFixed(1.5, -3).view(), "2");
    EXPECT_EQ(formatFixed(1.5, 1000).view().size(), 42u);
}

TEST(Numbers, FixedDigitsAreThoseOfThePrintfFamilyForEveryMagnitude) {
    std::mt19937_64 random(7);
    char expected[400];
    for (int i = 0; i < 20'000; ++i) {
        const double value =
            std::ldexp(static_cast<double>(random()), static_cast<int>(random() % 1500) - 700);
        if (!std::isfinite(value)) continue;
        const int digits = static_cast<int>(random() % 12);
        std::snprintf(expected, sizeof expected, "%.*f", digits, value);
        ASSERT_EQ(formatFixed(value, digits).view(), expected);
    }
    std::snprintf(expected, sizeof expected, "%.40f", -std::numeric_limits<double>::max());
    EXPECT_EQ(formatFixed(-std::numeric_limits<double>::max(), 40).view(), expected);
}

TEST(Numbers, WritesTheShortestTextThatComesBack) {
    EXPECT_EQ(shortestFloat(0.1f).view(), "0.1");
    EXPECT_EQ(shortestReal(0.1).view(), "0.1");
    EXPECT_EQ(shortestReal(static_cast<double>(0.1f)).view(), "0.10000000149011612");
    std::mt19937_64 random(3);
    for (int i = 0; i < 20'000; ++i) {
        const auto value = std::bit_cast<double>(random());
        if (std::isfinite(value)) {
            ASSERT_EQ(parseWholeFloat(shortestReal(value)), value);
        }
        const auto single = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
        if (!std::isfinite(single)) continue;
        ASSERT_EQ(static_cast<float>(parseWholeFloat(shortestFloat(single)).value()), single);
    }
}

TEST(Numbers, WritesWholeNumbers) {
    EXPECT_EQ(formatInteger(0).view(), "0");
    EXPECT_EQ(formatInteger(std::numeric_limits<std::int64_t>::min()).view(), "-9223372036854775808");
    EXPECT_EQ(formatUnsigned(std::numeric_limits<std::uint64_t>::max()).view(), "18446744073709551615");
}

TEST(Numbers, NothingAllocates) {
    const AllocationCount before = allocationsOfThisThread();
    double sum = 0;
    for (const double value : {0.5, 1e308, -1e-308, infinity}) {
        sum += static_cast<double>(formatFixed(value, 6).view().size() + shortestReal(value).view().size());
        sum += parseLeadingFloat(formatFixed(value, 6));
    }
    EXPECT_GT(sum, 0);
    EXPECT_EQ(allocationsOfThisThread().blocks, before.blocks);
}

} // namespace
} // namespace marvo
