#include "platform/PropertyListFile.h"
#include "platform/PropertyListXmlReader.h"
#include "platform/PropertyListXmlWriter.h"

#include "AllocationCount.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

namespace marvo {
namespace {

using namespace std::string_literals;
using testing::HasSubstr;
using Kind = PropertyList::Kind;

const std::string doctype = "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                            "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n";

std::string document(const std::string& body) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" + doctype + "<plist version=\"1.0\">\n" + body +
           "</plist>\n";
}

PropertyList valueOf(const std::string& text) {
    const ReadResult read = parsePropertyList(text, "show.mrv");
    EXPECT_EQ(read.error, "") << text;
    return read.value;
}

std::string errorOf(const std::string& text) {
    return parsePropertyList(text, "show.mrv").error;
}

std::string textOf(const PropertyList& value, std::size_t* dropped = nullptr) {
    std::string text;
    const XmlWriteReport report = writePropertyListXml(value, [&](std::string_view piece) {
        text.append(piece);
        return true;
    });
    EXPECT_TRUE(report.complete);
    if (dropped) *dropped = report.droppedCharacters;
    return text;
}

PropertyList everyKind() {
    PropertyList inner = PropertyList::array();
    for (const double number :
         {0.1, -0.0, 5e-324, 1.7976931348623157e308, 123456789.0, 1e21, 0.30000000000000004}) {
        inner.push_back(number);
    }
    inner.push_back(std::numeric_limits<double>::infinity());
    inner.push_back(-std::numeric_limits<double>::infinity());
    inner.push_back(std::nan(""));
    inner.push_back(PropertyList::array());
    inner.push_back(PropertyList::dictionary());
    PropertyList value = PropertyList::dictionary();
    value.set("truth", true);
    value.set("lie", false);
    value.set("whole", std::numeric_limits<std::int64_t>::min());
    value.set("largest", std::numeric_limits<std::int64_t>::max());
    value.set("unsigned", std::numeric_limits<std::uint64_t>::max());
    value.set("single", 0.1f);
    value.set("text", " <a & b> \"q\" 'q' ]]> é€\xF0\x9F\x98\x80\t\n\r\r\n end ");
    value.set("empty", "");
    value.set("", "empty key");
    value.set("<&>\r\n", "escaped key");
    value.set("data", PropertyList::data(std::as_bytes(std::span("\0\1\2\xFF\xFE", 5))));
    value.set("no data", PropertyList::data({}));
    value.set("date", PropertyList::date(817790400));
    value.set("reals", inner);
    return value;
}

TEST(PropertyListXml, WritesTheUsualDocument) {
    PropertyList value = PropertyList::dictionary();
    value.set("a", 1);
    PropertyList list = PropertyList::array();
    list.push_back(true);
    list.push_back(0.5f);
    value.set("list", list);
    EXPECT_EQ(textOf(value),
              document("<dict>\n\t<key>a</key>\n\t<integer>1</integer>\n\t<key>list</key>\n\t<array>\n"
                       "\t\t<true/>\n\t\t<real>0.5</real>\n\t</array>\n</dict>\n"));
}

TEST(PropertyListXml, EveryKindOfValueComesBack) {
    const PropertyList before = everyKind();
    const PropertyList after = valueOf(textOf(before));
    ASSERT_EQ(after.size(), before.size());
    for (std::size_t i = 0; i < before.size(); ++i) {
        const auto& [key, value] = before.entries()[i];
        EXPECT_EQ(after.entries()[i].key.view(), key.view()) << "keys keep their order";
        ASSERT_TRUE(after.find(key)) << key.view();
        if (value.kind() == Kind::real32) {
            EXPECT_EQ(static_cast<float>(after.find(key)->realOr(0)), 0.1f);
        } else {
            EXPECT_EQ(*after.find(key), value) << key.view();
            EXPECT_EQ(after.find(key)->kind(), value.kind()) << key.view();
        }
    }
    EXPECT_TRUE(std::signbit(after.find("reals")->at(1)->realOr(1)));
}

TEST(PropertyListXml, SavingWhatWasLoadedChangesNothing) {
    const std::string once = textOf(everyKind());
    EXPECT_EQ(textOf(valueOf(once)), once);
}

TEST(PropertyListXml, ASinglePrecisionNumberIsWrittenInItsShortestForm) {
    EXPECT_EQ(textOf(0.1f), document("<real>0.1</real>\n"));
    EXPECT_EQ(textOf(16777216.0f), document("<real>16777216</real>\n"));
    EXPECT_EQ(textOf(static_cast<double>(0.1f)), document("<real>0.10000000149011612</real>\n"));
}

TEST(PropertyListXml, LeavesOutWhatXmlCannotHoldAndCountsIt) {
    std::size_t dropped = 0;
    PropertyList value = PropertyList::dictionary();
    value.set("k\x01y", "a\x01\x02"
                        "b\x1F\x7F"
                        "c\0d"s);
    value.set("bytes", "x\xFFy\xC3z\xED\xA0\x80!\xEF\xBF\xBF?\xEF\xBF\xBE");
    const PropertyList after = valueOf(textOf(value, &dropped));
    ASSERT_TRUE(after.find("ky"));
    ASSERT_TRUE(after.find("bytes"));
    EXPECT_EQ(after.find("ky")->stringOr(""), "ab\x7F"
                                              "cd");
    EXPECT_EQ(after.find("bytes")->stringOr(""), "xyz!?");
    EXPECT_EQ(dropped, 5u + 7u);
    textOf(everyKind(), &dropped);
    EXPECT_EQ(dropped, 0u);
}

TEST(PropertyListXml, AnAbsentValueHasNoForm) {
    PropertyList value = PropertyList::dictionary();
    value.set("gone", PropertyList());
    value.set("kept", 1);
    PropertyList list = PropertyList::array();
    list.push_back(PropertyList());
    list.push_back(2);
    value.set("list", list);
    const PropertyList after = valueOf(textOf(value));
    EXPECT_FALSE(after.find("gone"));
    EXPECT_EQ(after.find("list")->size(), 2u);
    EXPECT_EQ(after.find("list")->at(1)->integerOr(0), 2);
    const XmlWriteReport report = writePropertyListXml({}, [](std::string_view) { return true; });
    EXPECT_FALSE(report.complete);
    EXPECT_STREQ(report.refusal, "there is no value to write");
}

TEST(PropertyListXml, RefusesToWriteWhatItCouldNotReadBack) {
    for (const int depth : {512, 513}) {
        PropertyList value = PropertyList::array();
        for (int i = 1; i < depth; ++i) {
            PropertyList outer = PropertyList::array();
            outer.push_back(std::move(value));
            value = std::move(outer);
        }
        std::string text;
        const XmlWriteReport report = writePropertyListXml(value, [&](std::string_view piece) {
            text.append(piece);
            return true;
        });
        EXPECT_EQ(report.complete, depth == 512);
        if (depth == 512) {
            EXPECT_EQ(errorOf(text), "");
        }
        if (depth == 513) {
            EXPECT_STREQ(report.refusal, "nested deeper than 512 levels");
        }
    }
}

TEST(PropertyListXml, StopsWritingWhenTheSinkRefuses) {
    PropertyList value = PropertyList::array();
    for (int i = 0; i < 100'000; ++i) value.push_back(i);
    int calls = 0;
    const XmlWriteReport report = writePropertyListXml(value, [&](std::string_view) { return ++calls < 3; });
    EXPECT_FALSE(report.complete);
    EXPECT_EQ(calls, 3);
}

TEST(PropertyListXml, ReadsNumbersInEveryAcceptedForm) {
    const PropertyList value =
        valueOf(document("<array><integer>0x1F</integer><integer> -0X10 "
                         "</integer><integer>+5</integer><integer>18446744073709551615</integer>"
                         "<real>nan</real><real>inf</real><real>+infinity</real><real>-infinity</"
                         "real><real>\n1e3 </real><real>1e999</real>"
                         "<real>7</real><real>-1e-999</real></array>"));
    EXPECT_EQ(value.at(0)->asInteger(), 31);
    EXPECT_EQ(value.at(1)->asInteger(), -16);
    EXPECT_EQ(value.at(2)->asInteger(), 5);
    EXPECT_EQ(value.at(3)->unsignedOr(0), std::numeric_limits<std::uint64_t>::max());
    EXPECT_TRUE(std::isnan(value.at(4)->realOr(0)));
    EXPECT_EQ(value.at(5)->realOr(0), std::numeric_limits<double>::infinity());
    EXPECT_EQ(value.at(6)->realOr(0), std::numeric_limits<double>::infinity());
    EXPECT_EQ(value.at(7)->realOr(0), -std::numeric_limits<double>::infinity());
    EXPECT_EQ(value.at(8)->realOr(0), 1000.0);
    EXPECT_EQ(value.at(9)->realOr(0), std::numeric_limits<double>::infinity());
    EXPECT_EQ(value.at(10)->kind(), Kind::real);
    EXPECT_EQ(value.at(11)->realOr(1), 0.0);
}

TEST(PropertyListXml, ReadsDatesToTheSecond) {
    EXPECT_EQ(valueOf(document("<date>2001-01-01T00:00:00Z</date>")).dateSeconds(), 0.0);
    EXPECT_EQ(valueOf(document("<date>2024-02-29T12:30:59Z</date>")).dateSeconds(), 730902659.0);
    EXPECT_EQ(textOf(PropertyList::date(-0.5)), document("<date>2000-12-31T23:59:59Z</date>\n"));
    EXPECT_EQ(textOf(PropertyList::date(1e300)), document("<date>9999-12-31T23:59:59Z</date>\n"));
    EXPECT_EQ(textOf(PropertyList::date(-1e300)), document("<date>0000-01-01T00:00:00Z</date>\n"));
    EXPECT_EQ(textOf(PropertyList::date(std::nan(""))), document("<date>2001-01-01T00:00:00Z</date>\n"));
    EXPECT_EQ(textOf(valueOf(document("<date>0000-01-01T00:00:00Z</date>\n"))),
              document("<date>0000-01-01T00:00:00Z</date>\n"));
    for (const char* bad : {"", "2024-02-30T00:00:00Z", "2024-13-01T00:00:00Z", "2024-01-01 00:00:00Z",
                            "2024-01-01T24:00:00Z"}) {
        EXPECT_THAT(errorOf(document("<date>"s + bad + "</date>")), HasSubstr("is not a valid <date>"));
    }
}

TEST(PropertyListXml, ReadsTextHoweverItIsWritten) {
    EXPECT_EQ(valueOf(document("<string>a<![CDATA[<b>&]]>c<!-- no -->d&#233;&amp;</string>")).asString(),
              "a<b>&cdé&");
    EXPECT_EQ(valueOf("<plist><string>no declaration, no type</string></plist>").asString(),
              "no declaration, no type");
    EXPECT_EQ(valueOf("\xEF\xBB\xBF" + document("<string>x</string>")).asString(), "x");
    EXPECT_EQ(valueOf("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><plist><string>\xE9</string></plist>")
                  .asString(),
              "é");
    EXPECT_EQ(valueOf(document("<!-- comment --><?note?><string/>")).asString(), "");
}

TEST(PropertyListXml, TheLastOfEqualKeysWins) {
    const PropertyList value = valueOf(document(
        "<dict><key>a</key><integer>1</integer><key>b</key><true/><key>a</key><integer>2</integer></dict>"));
    EXPECT_EQ(value.size(), 2u);
    EXPECT_EQ(value.find("a")->integerOr(0), 2);
}

TEST(PropertyListXml, SaysWhatIsWrongAndWhere) {
    const struct {
        std::string text;
        std::string error;
    } cases[] = {
        {"", "show.mrv: the file is empty"},
        {"hello", "show.mrv: is not a property list"},
        {"{ a = b; }", "show.mrv: is not a property list"},
        {"<plist>\n<dict>\n    <foo>", "show.mrv: line 3, column 5: unexpected element <foo>"},
        {"<foo/>", "show.mrv: line 1, column 1: unexpected element <foo>"},
        {"<plist><foo/></plist>", "show.mrv: line 1, column 8: unexpected element <foo>"},
        {"<dict/>", "show.mrv: line 1, column 1: the root element is not <plist>"},
        {"<string>a</string>", "show.mrv: line 1, column 1: the root element is not <plist>"},
        {"<plist><plist/></plist>", "show.mrv: line 1, column 8: <plist> inside <plist>"},
        {"<plist></plist>", "show.mrv: line 1, column 16: there is no value in it"},
        {"<plist><true/><true/></plist>", "show.mrv: line 1, column 15: a second value behind the first"},
        {"<plist><dict/><dict/></plist>", "show.mrv: line 1, column 15: a second value behind the first"},
        {"<plist><key>a</key></plist>", "show.mrv: line 1, column 8: a <key> outside a dictionary"},
        {"<plist><array><key/></array></plist>", "show.mrv: line 1, column 15: a <key> outside a dictionary"},
        {"<plist><dict><true/></dict></plist>",
         "show.mrv: line 1, column 14: a value without a <key> in a dictionary"},
        {"<plist><dict><dict/></dict></plist>",
         "show.mrv: line 1, column 14: a value without a <key> in a dictionary"},
        {"<plist><dict><key>a</key></dict></plist>", "show.mrv: line 1, column 26: a <key> without a value"},
        {"<plist><dict><key>a</key><key>b</key></dict></plist>",
         "show.mrv: line 1, column 26: a <key> behind a <key> that has no value"},
        {"<plist><string><true/></string></plist>",
         "show.mrv: line 1, column 16: <true> inside a value that holds only text"},
        {"<plist><integer>12x</integer></plist>",
         "show.mrv: line 1, column 20: \"12x\" is not a valid <integer>"},
        {"<plist><integer/></plist>", "show.mrv: line 1, column 18: \"\" is not a valid <integer>"},
        {"<plist><integer>0x</integer></plist>",
         "show.mrv: line 1, column 19: \"0x\" is not a valid <integer>"},
        {"<plist><integer>1.5</integer></plist>",
         "show.mrv: line 1, column 20: \"1.5\" is not a valid <integer>"},
        {"<plist><integer>--1</integer></plist>",
         "show.mrv: line 1, column 20: \"--1\" is not a valid <integer>"},
        {"<plist><integer>18446744073709551616</integer></plist>",
         "show.mrv: line 1, column 37: \"18446744073709551616\" is not a valid <integer>"},
        {"<plist><integer>-9223372036854775809</integer></plist>",
         "show.mrv: line 1, column 37: \"-9223372036854775809\" is not a valid <integer>"},
        {"<plist><real>1,5</real></plist>", "show.mrv: line 1, column 17: \"1,5\" is not a valid <real>"},
        {"<plist><real></real></plist>", "show.mrv: line 1, column 14: \"\" is not a valid <real>"},
        {"<plist><real>a\nb</real></plist>", "show.mrv: line 2, column 2: \"a\\x0ab\" is not a valid <real>"},
        {"<plist><data>AA*A</data></plist>", "show.mrv: line 1, column 18: the text of <data> is not base64"},
        {"<plist><data>A</data></plist>", "show.mrv: line 1, column 15: the text of <data> is not base64"},
        {"<plist><data>AA=A</data></plist>", "show.mrv: line 1, column 18: the text of <data> is not base64"},
        {"<plist><true>x</true></plist>", "show.mrv: line 1, column 15: text inside <true>"},
        {"<plist><dict>x</dict></plist>", "show.mrv: line 1, column 14: text between values"},
        {"<plist><true/></plist>x",
         "show.mrv: line 1, column 23: something follows behind the end of the property list"},
        {"<plist><true/></plist><plist/>",
         "show.mrv: line 1, column 23: something follows behind the end of the property list"},
        {"<plist><string>\xFF</string></plist>",
         "show.mrv: line 1, column 16: not well-formed, or not valid UTF-8"},
        {"<plist><string>\x01</string></plist>",
         "show.mrv: line 1, column 16: not well-formed, or not valid UTF-8"},
        {"<plist><true></plist>", "show.mrv: line 1, column 16: mismatched tag"},
        {"<plist><dict>", "show.mrv: line 1, column 14: the file is cut off"},
        {"<plist><string>abc", "show.mrv: line 1, column 19: the file is cut off"},
        {"<plist><str", "show.mrv: line 1, column 8: the file is cut off"},
        {"<!-- only this -->", "show.mrv: line 1, column 19: the file is cut off"},
    };
    for (const auto& [text, error] : cases) EXPECT_EQ(errorOf(text), error) << text;
}

TEST(PropertyListXml, RefusesEntitiesBeforeTheyUnfold) {
    const std::string bomb =
        "<!DOCTYPE plist [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;\">]>"
        "<plist><string>&b;</string></plist>";
    EXPECT_EQ(errorOf(bomb), "show.mrv: line 1, column 29: entity declarations are not accepted");
    EXPECT_THAT(errorOf("<!DOCTYPE plist [<!ENTITY % p \"x\">]><plist><true/></plist>"),
                HasSubstr("entity declarations are not accepted"));
    EXPECT_THAT(errorOf("<!DOCTYPE plist [<!ENTITY x SYSTEM "
                        "\"file:///etc/passwd\">]><plist><string>&x;</string></plist>"),
                HasSubstr("entity declarations are not accepted"));
    // With a document type that names an outside part, an unknown entity would otherwise be passed over in
    // silence.
    EXPECT_THAT(errorOf(document("<string>a&nbsp;b</string>")), HasSubstr("unknown entity &nbsp;"));
    EXPECT_THAT(errorOf("<plist><string>a&nbsp;b</string></plist>"), HasSubstr("undefined entity"));
}

TEST(PropertyListXml, RefusesDeepNesting) {
    const auto nested = [](int depth) {
        std::string text = "<plist>";
        for (int i = 0; i < depth; ++i) text += "<array>";
        for (int i = 0; i < depth; ++i) text += "</array>";
        return text + "</plist>";
    };
    EXPECT_EQ(errorOf(nested(512)), "");
    EXPECT_THAT(errorOf(nested(513)), HasSubstr("nested deeper than 512 levels"));
    EXPECT_THAT(errorOf(nested(200'000)), HasSubstr("nested deeper than 512 levels"));
}

TEST(PropertyListXml, ReadsTheSameInPiecesOfAnySize) {
    const std::string text = textOf(everyKind());
    const PropertyList whole = valueOf(text);
    for (const std::size_t size : {1, 2, 7, 64}) {
        PropertyListXmlReader reader("show.mrv");
        for (std::size_t at = 0; at < text.size(); at += size)
            ASSERT_TRUE(reader.feed(text.substr(at, size), false));
        ASSERT_TRUE(reader.feed({}, true)) << reader.error();
        EXPECT_EQ(reader.take(), whole);
    }
}

TEST(PropertyListXml, EveryCutIsRefused) {
    const std::string text = textOf(everyKind());
    const std::size_t end = text.rfind('>');
    for (std::size_t size = 0; size < end; ++size) {
        const ReadResult read = parsePropertyList(text.substr(0, size), "show.mrv");
        ASSERT_FALSE(read.ok()) << size;
        ASSERT_THAT(read.error, HasSubstr("show.mrv: ")) << size;
        ASSERT_TRUE(read.value.isNone());
    }
}

TEST(PropertyListXml, AnErrorStaysOneLineWhateverTheNameOfTheFile) {
    EXPECT_EQ(parsePropertyList("<plist>", "a\nb").error, "a\\x0ab: line 1, column 8: the file is cut off");
    const std::string path = "/" + std::string(1000, 'f') + "/show.mrv";
    EXPECT_THAT(parsePropertyList("<plist>", path).error, HasSubstr(path));
}

TEST(PropertyListXml, KeyframesOfALargeProjectStaySmall) {
    constexpr std::size_t count = 10'000;
    std::string body = "<array>";
    for (std::size_t i = 0; i < count; ++i) {
        body +=
            "<dict><key>interpolation</key><string>Linear Interpolation</string><key>time</key><integer>" +
            std::to_string(i) + "</integer><key>value</key><real>0.5</real></dict>";
    }
    const std::string text = document(body + "</array>");
    const AllocationCount before = allocationsOfThisThread();
    const PropertyList value = valueOf(text);
    const AllocationCount after = allocationsOfThisThread();
    ASSERT_EQ(value.size(), count);
    // One block of 88 bytes a record; the array, and the stack it grew on, which doubled its way up, come to
    // 16 bytes a record three times over.
    EXPECT_LE(after.blocks - before.blocks, count + 100);
    EXPECT_LE(after.bytes - before.bytes, count * (88 + 16 + 64) + 100'000);
}

} // namespace
} // namespace marvo
