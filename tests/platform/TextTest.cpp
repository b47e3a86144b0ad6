#include "platform/Text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace marvo {
namespace {

using testing::ElementsAre;

TEST(Text, AccentsFallAway) {
    EXPECT_EQ(lossyAscii("Über Straße Ñ"), "Uber Strasse N");
    EXPECT_EQ(lossyAscii("Ærø Łódź Đuro Œuvre"), "AEro Lodz Duro OEuvre");
    EXPECT_EQ(lossyAscii("e\xCC\x81"), "e"); // a letter and a combining accent
    EXPECT_EQ(lossyAscii("\xEF\xAC\x81ne \xC2\xBD"), "fine 1/2");
    EXPECT_EQ(lossyAscii("\xE2\x80\x9Cquoted\xE2\x80\x9D \xE2\x80\x93 it\xE2\x80\x99s"), "\"quoted\" - it's");
    EXPECT_EQ(lossyAscii("a\xC2\xA0z"), "a z"); // no-break space
}

TEST(Text, CharactersWithoutAnAsciiFormAreDropped) {
    EXPECT_EQ(lossyAscii("Show \xE6\x97\xA5\xE6\x9C\xAC 1 \xF0\x9F\x98\x80!"), "Show  1 !");
    EXPECT_EQ(lossyAscii("\xCE\xB1"), "");
    EXPECT_EQ(lossyAscii(""), "");
    EXPECT_EQ(lossyAscii("bad \xFF\xC3 bytes"), "bad  bytes");
}

TEST(Text, LowersLettersOfEveryAlphabet) {
    EXPECT_EQ(lowercase("ÀÉ Straße ABC 123"), "àé straße abc 123");
    EXPECT_EQ(lowercase("I"), "i");
    EXPECT_EQ(lowercase(""), "");
}

TEST(Text, RemovesBlanksOnly) {
    EXPECT_EQ(removeBlanks(" a b\tc\n d "), "ab\tc\nd");
}

TEST(Text, TrimsWhiteSpaceAtBothEnds) {
    EXPECT_EQ(trim(" \t\r\n a b \v\f"), "a b");
    EXPECT_EQ(trim("  "), "");
    EXPECT_EQ(trim(""), "");
}

TEST(Text, SplitsIntoPiecesThatMayBeEmpty) {
    EXPECT_THAT(split("a/b//c/", '/'), ElementsAre("a", "b", "", "c", ""));
    EXPECT_THAT(split("", '/'), ElementsAre(""));
    EXPECT_THAT(split("abc", '/'), ElementsAre("abc"));
}

TEST(Text, ReplacesEveryOccurrence) {
    EXPECT_EQ(replaceAll("/folder/show.mrv", "show.mrv", ""), "/folder/");
    EXPECT_EQ(replaceAll("aaaa", "aa", "b"), "bb");
    EXPECT_EQ(replaceAll("aaa", "", "b"), "aaa");
    EXPECT_EQ(replaceAll("x", "x", "xx"), "xx");
}

TEST(Text, ComparesWithoutCase) {
    EXPECT_TRUE(caseInsensitiveEqual("Über", "ÜBER"));
    EXPECT_TRUE(caseInsensitiveEqual("straße", "STRASSE"));
    EXPECT_FALSE(caseInsensitiveEqual("uber", "über"));
    EXPECT_TRUE(caseInsensitiveEqual("", ""));
    EXPECT_FALSE(caseInsensitiveEqual("", "a"));
}

TEST(Text, SortsAsTextWhateverTheCase) {
    EXPECT_LT(localizedCaseInsensitiveCompare("10", "2"), 0);
    EXPECT_LT(localizedCaseInsensitiveCompare("apple", "Banana"), 0);
    EXPECT_GT(localizedCaseInsensitiveCompare("banana", "Apple"), 0);
    EXPECT_EQ(localizedCaseInsensitiveCompare("Track", "tRACK"), 0);
    EXPECT_LT(localizedCaseInsensitiveCompare("a", "ä"), 0);
    EXPECT_LT(localizedCaseInsensitiveCompare("ä", "b"), 0);
    EXPECT_LT(localizedCaseInsensitiveCompare("a b", "ab"), 0);
}

TEST(Text, SortsAsAPersonWouldWithNumbers) {
    std::vector<std::string> names{"Track 10", "track 2", "Track 1", "Cue", "Ärger", "Track 2"};
    std::sort(names.begin(), names.end(),
              [](const std::string& a, const std::string& b) { return localizedStandardCompare(a, b) < 0; });
    EXPECT_THAT(names, ElementsAre("Ärger", "Cue", "Track 1", "track 2", "Track 2", "Track 10"));
    EXPECT_NE(localizedStandardCompare("Track", "track"), 0);
    EXPECT_EQ(localizedStandardCompare("a", "a"), 0);
    EXPECT_LT(localizedStandardCompare("", "a"), 0);
}

TEST(Text, KnowsWhatIsUtf8) {
    for (const char* good :
         {"", "plain", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "\xF4\x8F\xBF\xBF", "\xED\x9F\xBF"}) {
        EXPECT_TRUE(isValidUtf8(good)) << good;
    }
    for (const char* bad :
         {"\x80", "\xC3", "\xC3(", "\xC0\xAF", "\xC1\xBF", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xF0\x8F\xBF\xBF",
          "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xE2\x82", "\xF0\x9F\x98", "\xFF"}) {
        EXPECT_FALSE(isValidUtf8(bad)) << escapeForLog(bad);
    }
    EXPECT_TRUE(isValidUtf8(std::string_view("\0", 1)));
}

TEST(Text, TurnsUtf16IntoUtf8) {
    EXPECT_EQ(utf8Of(u"a\u00e9\u20ac\U0001F600"), "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ(utf8Of(u""), "");
    const char16_t lone[] = {u'a', 0xD800, u'b'};
    EXPECT_FALSE(utf8Of(std::u16string_view(lone, 3)));
}

TEST(Text, ALogLineStaysOneReadableLine) {
    EXPECT_EQ(escapeForLog("a\nb\r\x1b[31m\x7f"), "a\\x0ab\\x0d\\x1b[31m\\x7f");
    EXPECT_EQ(escapeForLog("é\xFF"), "é\\xff");
    EXPECT_EQ(escapeForLog(std::string(500, 'x')), std::string(200, 'x') + "...");
    EXPECT_EQ(escapeForLog("abcdef", 6), "abcdef");
    EXPECT_EQ(escapeForLog("abcdeé", 6), "abcde..."); // no half characters
}

} // namespace
} // namespace marvo
