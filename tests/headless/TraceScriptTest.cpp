#include "headless/TraceScript.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <ostream>

namespace marvo {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

std::vector<ScriptLine> read(const std::string& text) {
    TraceScriptResult result = parseTraceScript(text, "cues.txt");
    EXPECT_EQ(result.error, "");
    return result.lines;
}

std::string errorOf(const std::string& text) {
    const TraceScriptResult result = parseTraceScript(text, "cues.txt");
    EXPECT_TRUE(result.lines.empty());
    return result.error;
}

const ScriptOSC& oscOf(const std::vector<ScriptLine>& lines, std::size_t index = 0) {
    return std::get<ScriptOSC>(lines.at(index).event);
}

std::string onlyString(const std::string& word) {
    const std::vector<ScriptLine> lines = read("0 osc /a " + word);
    EXPECT_EQ(oscOf(lines).arguments.size(), 1U);
    EXPECT_EQ(oscOf(lines).arguments.at(0).kind, ScriptArgument::Kind::text);
    return oscOf(lines).arguments.at(0).text;
}

TEST(TraceScript, ReadsEveryKindOfArgument) {
    const auto lines = read("1500 osc /a i:-7 f:0.25 s:go T F");
    EXPECT_EQ(lines.at(0).milliseconds, 1500);
    const ScriptOSC& osc = oscOf(lines);
    EXPECT_EQ(osc.address, "/a");
    ASSERT_EQ(osc.arguments.size(), 5U);
    EXPECT_EQ(osc.arguments[0].integer, -7);
    EXPECT_EQ(osc.arguments[1].floating, 0.25F);
    EXPECT_EQ(osc.arguments[2].text, "go");
    EXPECT_EQ(osc.arguments[3].kind, ScriptArgument::Kind::yes);
    EXPECT_EQ(osc.arguments[4].kind, ScriptArgument::Kind::no);
}

TEST(TraceScript, TakesAnAddressWithoutArguments) {
    EXPECT_TRUE(oscOf(read("0 osc /stop")).arguments.empty());
}

TEST(TraceScript, ReadsAMidiMessageFromANode) {
    const auto lines = read("20 midi Keys B0074f");
    const auto& midi = std::get<ScriptMIDI>(lines.at(0).event);
    EXPECT_EQ(midi.node, "Keys");
    EXPECT_THAT(midi.bytes, ::testing::ElementsAre(0xb0, 0x07, 0x4f));
}

TEST(TraceScript, TakesMidiBytesWithBlanksBetweenThem) {
    EXPECT_EQ(read("0 midi Keys 90 3C 40").at(0), read("0 midi Keys 903c40").at(0));
}

TEST(TraceScript, ReadsAChannelOfTheInputUniverse) {
    const auto lines = read("0 dmx 512 255");
    EXPECT_EQ(std::get<ScriptDMX>(lines.at(0).event), (ScriptDMX{512, 255}));
}

TEST(TraceScript, KeepsBlanksQuotesAndBackslashesOfAQuotedString) {
    EXPECT_EQ(onlyString(R"(s:"Act 2")"), "Act 2");
    EXPECT_EQ(onlyString(R"(s:"say \"go\" \\ now")"), R"(say "go" \ now)");
    EXPECT_EQ(onlyString(R"(s:"")"), "");
    EXPECT_EQ(onlyString("s:"), "");
}

TEST(TraceScript, TakesQuotesAndBackslashesInsideAnUnquotedStringAsTheyAre) {
    EXPECT_EQ(onlyString(R"(s:5"x)"), R"(5"x)");
    EXPECT_EQ(onlyString(R"(s:a\b)"), R"(a\b)");
}

TEST(TraceScript, AnEmptyStringDoesNotSwallowTheNextArgument) {
    const auto lines = read("0 osc /a s: i:3");
    ASSERT_EQ(oscOf(lines).arguments.size(), 2U);
    EXPECT_EQ(oscOf(lines).arguments[0].text, "");
    EXPECT_EQ(oscOf(lines).arguments[1].integer, 3);
}

TEST(TraceScript, TakesQuotedNamesOfNodesAndAddresses) {
    EXPECT_EQ(std::get<ScriptMIDI>(read(R"(0 midi "Stage \"L\" keys" 80)").at(0).event).node,
              R"(Stage "L" keys)");
    EXPECT_EQ(oscOf(read(R"(0 osc "/house lights" T)")).address, "/house lights");
}

TEST(TraceScript, TakesWordsThatLookLikeOthersAsText) {
    EXPECT_EQ(onlyString("s:T"), "T");
    EXPECT_EQ(onlyString("s:i:1"), "i:1");
}

TEST(TraceScript, SendsValuesThatNoReceiverShouldTrust) {
    const auto lines = read("0 osc /a f:inf f:-inf f:nan f:1e-45");
    const auto& arguments = oscOf(lines).arguments;
    EXPECT_EQ(arguments.at(0).floating, INFINITY);
    EXPECT_EQ(arguments.at(1).floating, -INFINITY);
    EXPECT_TRUE(std::isnan(arguments.at(2).floating));
    EXPECT_EQ(arguments.at(3).floating, 1e-45F);
}

TEST(TraceScript, SkipsCommentsAndEmptyLinesButCountsThem) {
    const std::string text = "# begin\n\n \t\r\n  # more\n0 osc /a\n7 nothing\n";
    EXPECT_THAT(errorOf(text), StartsWith("cues.txt: line 6: "));
}

TEST(TraceScript, AHashBehindTheBeginningIsNoComment) {
    EXPECT_EQ(oscOf(read("0 osc /light/rgb#1")).address, "/light/rgb#1");
    EXPECT_THAT(errorOf("0 osc /a # now"), HasSubstr("line 1: \"#\" is no argument"));
}

TEST(TraceScript, ReadsLinesThatEndAsOnOtherSystemsAndALastOneWithoutAnEnd) {
    EXPECT_EQ(read("0 osc /a\r\n\t5  dmx\t1 2").size(), 2U);
}

TEST(TraceScript, BringsTimesIntoOrderAndKeepsTheOrderOfOneTime) {
    const auto lines = read("900 osc /d\n100 osc /a\n100 osc /b\n0 osc /z\n100 osc /c\n");
    std::string order;
    for (std::size_t i = 0; i < lines.size(); ++i) order += oscOf(lines, i).address;
    EXPECT_EQ(order, "/z/a/b/c/d");
}

TEST(TraceScript, SaysWhichLineIsWrongAndReadsNothingOfTheScript) {
    EXPECT_EQ(errorOf("0 osc /a\nlater osc /b\n"),
              "cues.txt: line 2: a line begins with its time in whole milliseconds, not \"later\"");
}

struct Refused {
    const char* text;
    const char* why;
};

void PrintTo(const Refused& refused, std::ostream* out) {
    *out << refused.text;
}

class TraceScriptRefusal : public ::testing::TestWithParam<Refused> {};

TEST_P(TraceScriptRefusal, RefusesWhatIsNoEventAndSaysWhy) {
    EXPECT_THAT(errorOf(GetParam().text), HasSubstr(GetParam().why)) << GetParam().text;
}

INSTANTIATE_TEST_SUITE_P(
    Lines, TraceScriptRefusal,
    ::testing::Values(
        Refused{"-1 osc /a", "time"}, Refused{"1.5 osc /a", "time"}, Refused{"1000000000001 osc /a", "time"},
        Refused{"99999999999999999999 osc /a", "time"}, Refused{"+5 osc /a", "time"},
        Refused{"0", "followed by osc, midi or dmx"}, Refused{"0 OSC /a", "followed by osc, midi or dmx"},
        Refused{"0 osc", "begins with a slash"}, Refused{"0 osc a/b", "begins with a slash"},
        Refused{"0 osc \"\"", "begins with a slash"}, Refused{"0 osc /a 5", "no argument"},
        Refused{"0 osc /a t", "no argument"}, Refused{"0 osc /a TF", "no argument"},
        Refused{"0 osc /a i:", "32-bit integer"}, Refused{"0 osc /a i:1.0", "32-bit integer"},
        Refused{"0 osc /a i:2147483648", "32-bit integer"}, Refused{"0 osc /a i:0x10", "32-bit integer"},
        Refused{"0 osc /a f:", "32-bit float"}, Refused{"0 osc /a f:1,5", "32-bit float"},
        Refused{"0 osc /a f:1e39", "32-bit float"}, Refused{"0 osc /a s:\"open", "not closed"},
        Refused{"0 osc /a s:\"a\\", "\\ stands only before"},
        Refused{"0 osc /a s:\"a\\n\"", "\\ stands only before"},
        Refused{"0 osc /a s:\"a\"b", "closing quote"}, Refused{"0 osc \"/a\"T", "closing quote"},
        Refused{"0 osc /a s:\xff", "UTF-8"}, Refused{"0 osc /\xc3 T", "UTF-8"},
        Refused{"0 midi", "name of its source"}, Refused{"0 midi \"\" 80", "name of its source"},
        Refused{"0 midi Keys", "needs its bytes"}, Refused{"0 midi Keys 9", "two hexadecimal digits"},
        Refused{"0 midi Keys 9 03C40", "two hexadecimal digits"},
        Refused{"0 midi Keys 9G", "two hexadecimal digits"},
        Refused{"0 midi Keys -1", "two hexadecimal digits"}, Refused{"0 midi Keys 3C40", "status"},
        Refused{"0 dmx", "channel from 1 to 512"}, Refused{"0 dmx 0 1", "channel from 1 to 512"},
        Refused{"0 dmx 513 1", "channel from 1 to 512"}, Refused{"0 dmx 1", "value from 0 to 255"},
        Refused{"0 dmx 1 256", "value from 0 to 255"}, Refused{"0 dmx 1 -1", "value from 0 to 255"},
        Refused{"0 dmx 1 2 3", "nothing more"}));

TEST(TraceScript, AZeroByteEndsNothingAndIsRefused) {
    using namespace std::string_literals;
    EXPECT_THAT(errorOf("0 osc /a s:x\0y"s), HasSubstr("zero bytes"));
    EXPECT_THAT(errorOf("0 osc /a\0b"s), HasSubstr("zero bytes"));
}

TEST(TraceScript, AnErrorStaysOnOneLineWhateverTheScriptHolds) {
    const std::string error = errorOf("0 osc /a \x1b[31m\x07\n");
    EXPECT_EQ(error.find_first_of("\x1b\x07\n"), std::string::npos) << error;
    EXPECT_LT(errorOf("0 " + std::string(100000, 'x')).size(), 300U);
}

TEST(TraceScript, ReadsManyLinesQuickly) {
    std::string text;
    for (int i = 0; i < 20000; ++i) text += std::to_string(20000 - i) + " osc /a/b/c f:0.5 s:\"two words\"\n";
    EXPECT_EQ(read(text).size(), 20000U);
}

} // namespace
} // namespace marvo
