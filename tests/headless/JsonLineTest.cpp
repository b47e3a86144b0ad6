#include "headless/JsonLine.h"

#include "platform/Text.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace marvo {
namespace {

template <class Value>
std::string valueOf(void (JsonLine::*add)(Value), Value value) {
    std::string text;
    JsonLine line(text);
    line.member("v");
    (line.*add)(value);
    line.finish();
    EXPECT_TRUE(text.starts_with("{\"v\":") && text.ends_with("}\n"));
    return text.substr(5, text.size() - 7);
}

std::string stringOf(std::string_view value) {
    return valueOf(&JsonLine::string, value);
}
std::string numberOf(float value) {
    return valueOf(static_cast<void (JsonLine::*)(float)>(&JsonLine::number), value);
}
std::string numberOf(double value) {
    return valueOf(static_cast<void (JsonLine::*)(double)>(&JsonLine::number), value);
}

TEST(JsonLine, SeparatesMembersAndElements) {
    std::string text;
    JsonLine line(text);
    line.member("a").integer(1);
    line.member("b").beginArray();
    line.integer(2);
    line.string("x");
    line.boolean(false);
    line.null();
    line.endArray();
    line.member("c").beginArray();
    line.endArray();
    line.member("d").boolean(true);
    line.finish();
    EXPECT_EQ(text, "{\"a\":1,\"b\":[2,\"x\",false,null],\"c\":[],\"d\":true}\n");
}

TEST(JsonLine, AppendsBehindWhatIsThere) {
    std::string text = "{}\n";
    JsonLine(text).finish();
    EXPECT_EQ(text, "{}\n{}\n");
}

TEST(JsonLine, EscapesWhatWouldEndAStringOrALine) {
    EXPECT_EQ(stringOf("a\"b\\c"), R"("a\"b\\c")");
    EXPECT_EQ(stringOf("1\n2\r3\t4"), R"("1\n2\r3\t4")");
    EXPECT_EQ(stringOf(std::string_view("\x00\x1f\x1b", 3)), R"("\u0000\u001f\u001b")");
    EXPECT_EQ(stringOf("/"), "\"/\"");
}

TEST(JsonLine, EscapesNamesOfMembersToo) {
    std::string text;
    JsonLine line(text);
    line.member("a\"b").null();
    line.finish();
    EXPECT_EQ(text, "{\"a\\\"b\":null}\n");
}

TEST(JsonLine, KeepsUtf8AsItIs) {
    EXPECT_EQ(stringOf("Über 🎭 舞"), "\"Über 🎭 舞\"");
}

TEST(JsonLine, PutsAReplacementCharacterForEachByteThatIsNoUtf8AndKeepsTheRest) {
    EXPECT_EQ(stringOf("ü\xff\xfeü"), "\"ü\xEF\xBF\xBD\xEF\xBF\xBDü\"");
    EXPECT_EQ(stringOf("cut \xe2\x82"), "\"cut \xEF\xBF\xBD\xEF\xBF\xBD\"");
    EXPECT_EQ(stringOf("\xc0\xaf"), "\"\xEF\xBF\xBD\xEF\xBF\xBD\""); // an overlong slash
}

TEST(JsonLine, EveryByteGivesAStringThatIsUtf8WithoutControlCharacters) {
    for (int byte = 0; byte < 256; ++byte) {
        const std::string text = stringOf(std::string(1, static_cast<char>(byte)));
        EXPECT_TRUE(isValidUtf8(text)) << byte;
        for (const char c : text) EXPECT_GE(static_cast<unsigned char>(c), 0x20) << byte;
    }
}

TEST(JsonLine, PrintsFloatsShortAndSoThatTheyReadBackToTheSameValue) {
    EXPECT_EQ(numberOf(0.5F), "0.5");
    EXPECT_EQ(numberOf(0.1F), "0.1");
    EXPECT_EQ(numberOf(0.0033333334F), "0.0033333334");
    EXPECT_EQ(numberOf(-0.0F), "-0");
    EXPECT_EQ(numberOf(1.0F), "1");
    EXPECT_EQ(numberOf(1e20F), "1e+20");
    EXPECT_EQ(numberOf(0.1), "0.1");
    EXPECT_EQ(numberOf(static_cast<double>(0.1F)), "0.10000000149011612");
}

TEST(JsonLine, FloatsOfAllMagnitudesReadBackToTheSameBits) {
    std::uint32_t bits = 1;
    for (int i = 0; i < 20000; ++i) {
        bits = bits * 1664525U + 1013904223U;
        float value = 0.0F;
        std::memcpy(&value, &bits, sizeof value);
        if (!std::isfinite(value)) continue;
        const std::string text = numberOf(value);
        float back = 0.0F;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), back);
        ASSERT_EQ(error, std::errc()) << text;
        ASSERT_EQ(end, text.data() + text.size());
        ASSERT_EQ(std::memcmp(&back, &value, sizeof value), 0) << text;
    }
}

TEST(JsonLine, WritesWhatIsNoNumberAsAString) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    EXPECT_EQ(numberOf(infinity), "\"inf\"");
    EXPECT_EQ(numberOf(-infinity), "\"-inf\"");
    EXPECT_EQ(numberOf(std::numeric_limits<float>::quiet_NaN()), "\"nan\"");
    EXPECT_EQ(numberOf(-std::numeric_limits<float>::quiet_NaN()), "\"nan\"");
    EXPECT_EQ(numberOf(-std::numeric_limits<double>::infinity()), "\"-inf\"");
}

TEST(JsonLine, PrintsIntegersOfAllSizes) {
    EXPECT_EQ(valueOf(&JsonLine::integer, std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
    EXPECT_EQ(valueOf(&JsonLine::integer, std::numeric_limits<std::int64_t>::max()), "9223372036854775807");
}

} // namespace
} // namespace marvo
