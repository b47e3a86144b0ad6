#include "platform/PropertyListFile.h"

#include "BinaryPropertyList.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cmath>

namespace marvo {
namespace {

using namespace std::string_literals;
using testing::HasSubstr;
using testing::StartsWith;
using Kind = PropertyList::Kind;
using File = BinaryPropertyList;

PropertyList valueOf(const std::string& bytes) {
    const ReadResult read = parsePropertyList(bytes, "show.mrv");
    EXPECT_EQ(read.error, "");
    return read.value;
}

std::string errorOf(const std::string& bytes) {
    return parsePropertyList(bytes, "show.mrv").error;
}

TEST(PropertyListBinary, ReadsIntegersOfEverySize) {
    EXPECT_EQ(valueOf(File::single("\x10\xFF")).asInteger(), 255);
    EXPECT_EQ(valueOf(File::single("\x11\xFF\xFE")).asInteger(), 65534);
    EXPECT_EQ(valueOf(File::single("\x12\xFF\xFF\xFF\xFF")).asInteger(), 4294967295);
    EXPECT_EQ(valueOf(File::single("\x13" + File::bigEndian(~std::uint64_t{0}, 8))).asInteger(), -1);
    EXPECT_EQ(valueOf(File::single("\x14" + std::string(8, '\0') + std::string(8, '\xFF'))).unsignedOr(0),
              ~std::uint64_t{0});
    EXPECT_EQ(valueOf(File::single("\x14" + std::string(15, '\xFF') + "\xFE")).asInteger(), -2);
    EXPECT_THAT(errorOf(File::single("\x14\x01" + std::string(15, '\0'))),
                HasSubstr("an integer of more than 64 bits"));
}

TEST(PropertyListBinary, ReadsRealsDatesTruthAndData) {
    EXPECT_EQ(valueOf(File::single("\x22" + File::bigEndian(std::bit_cast<std::uint32_t>(0.1f), 4))).asReal(),
              static_cast<double>(0.1f));
    EXPECT_EQ(
        valueOf(File::single("\x23" + File::bigEndian(std::bit_cast<std::uint64_t>(-2.5e300), 8))).asReal(),
        -2.5e300);
    EXPECT_EQ(valueOf(File::single("\x33" + File::bigEndian(std::bit_cast<std::uint64_t>(86400.0), 8)))
                  .dateSeconds(),
              86400.0);
    EXPECT_EQ(valueOf(File::single("\x08")).asBool(), false);
    EXPECT_EQ(valueOf(File::single("\x09")).asBool(), true);
    const PropertyList data = valueOf(File::single("\x43\x00\xFF\x7F"s));
    ASSERT_EQ(data.kind(), Kind::data);
    ASSERT_EQ(data.dataBytes().size(), 3u);
    EXPECT_EQ(data.dataBytes()[1], std::byte{0xFF});
}

TEST(PropertyListBinary, ReadsTexts) {
    EXPECT_EQ(valueOf(File::single("\x53"
                                   "abc"))
                  .asString(),
              "abc");
    EXPECT_EQ(valueOf(File::single("\x62\x00\xE9\x20\xAC"s)).asString(), "é€");
    EXPECT_EQ(valueOf(File::single("\x62\xD8\x3D\xDE\x00"s)).asString(), "\xF0\x9F\x98\x80");
    EXPECT_EQ(valueOf(File::single(File::counted(5, 1000) + std::string(1000, 'x'))).asString(),
              std::string(1000, 'x'));
    EXPECT_EQ(valueOf(File::single("\x50")).asString(), "");
}

TEST(PropertyListBinary, ReadsContainersInTheirOrder) {
    File file;
    file.add(File::container(13, {1, 2, 3, 4}));
    file.add("\x51"
             "b");
    file.add("\x51"
             "a");
    file.add(File::container(10, {5, 6}));
    file.add(File::container(12, {5}));
    file.add("\x10\x01");
    file.add("\x10\x02");
    for (const int offsetSize : {1, 2, 3, 4, 8}) {
        const PropertyList value = valueOf(file.bytes({offsetSize, 0}));
        ASSERT_EQ(value.size(), 2u);
        EXPECT_EQ(value.entries()[0].key.view(), "b");
        EXPECT_EQ(value.find("b")->at(1)->integerOr(0), 2);
        EXPECT_TRUE(value.find("a")->isArray()) << "a set reads as an array";
    }
    EXPECT_EQ(valueOf(file.bytes({1, 6})).integerOr(0), 2) << "the trailer names the root";
}

TEST(PropertyListBinary, ReadsAUidAsADictionary) {
    EXPECT_EQ(valueOf(File::single("\x81\x01\x02")).find("CF$UID")->integerOr(0), 258);
    EXPECT_THAT(errorOf(File::single("\x8F" + std::string(16, '\1'))), HasSubstr("a damaged UID"));
}

TEST(PropertyListBinary, ReadsANullAsAnAbsentValue) {
    File file;
    file.add(File::container(10, {1, 1}));
    file.add("\0"s);
    EXPECT_TRUE(valueOf(file.bytes()).at(0)->isNone());
    EXPECT_THAT(errorOf(File::single("\0"s)), HasSubstr("there is no value in it"));
}

TEST(PropertyListBinary, SharesWhatIsNamedOften) {
    File file;
    file.add(File::container(10, {1, 2, 1, 2}));
    file.add(File::container(13, {3, 3}));
    file.add(File::container(13, {3, 3}));
    file.add("\x54"
             "text");
    const PropertyList value = valueOf(file.bytes());
    EXPECT_TRUE(value.at(0)->entries()[0].key.sameBlock(value.at(3)->entries()[0].key));
    EXPECT_TRUE(
        value.at(0)->find("text")->sharedString().sameBlock(value.at(1)->find("text")->sharedString()));
}

TEST(PropertyListBinary, RefusesAContainerThatHoldsItself) {
    File file;
    file.add(File::container(10, {1}));
    file.add(File::container(13, {2, 0}));
    file.add("\x51"
             "k");
    EXPECT_EQ(errorOf(file.bytes()), "show.mrv: byte 8: a container holds itself");
    File direct;
    direct.add(File::container(10, {0}));
    EXPECT_THAT(errorOf(direct.bytes()), HasSubstr("a container holds itself"));
}

TEST(PropertyListBinary, RefusesASmallFileThatUnfoldsWithoutBound) {
    File file;
    constexpr std::uint8_t levels = 40;
    for (std::uint8_t i = 0; i < levels; ++i) {
        const auto next = static_cast<std::uint8_t>(i + 1);
        file.add(File::container(10, {next, next, next, next}));
    }
    file.add("\x08");
    EXPECT_THAT(errorOf(file.bytes()), HasSubstr("it unfolds into too many values"));
}

TEST(PropertyListBinary, RefusesTextsThatOverlapWithoutBound) {
    File file;
    std::vector<std::uint8_t> references;
    for (std::uint8_t i = 1; i < 200; ++i) references.push_back(i);
    file.add(File::container(10, references));
    const std::size_t heads = 8 + File::container(10, references).size();
    std::string overlapping;
    for (int i = 0; i < 199; ++i) overlapping += File::counted(5, 0x0700); // each byte of it is ASCII
    file.add(overlapping + std::string(4000, 'x'));
    for (std::size_t i = 0; i < 198; ++i) {
        file.again(1);
        file.moveObject(i + 2, heads + (i + 1) * 10);
    }
    EXPECT_THAT(errorOf(file.bytes()), HasSubstr("it unfolds into too much text"));
}

TEST(PropertyListBinary, NamingOneTextOftenIsNoReasonToRefuse) {
    File file;
    file.add(File::container(10, std::vector<std::uint8_t>(200, 1)));
    file.add(File::counted(5, 5000) + std::string(5000, 'x'));
    EXPECT_EQ(valueOf(file.bytes()).size(), 200u);
}

TEST(PropertyListBinary, RefusesDeepNestingAtTheSameDepthAsXml) {
    for (const int depth : {512, 513}) {
        std::string body = "bplist00";
        std::string table;
        for (int i = 0; i < depth; ++i) {
            table += File::bigEndian(body.size(), 2);
            body += i + 1 < depth ? "\xA1" + File::bigEndian(static_cast<std::uint64_t>(i) + 1, 2) : "\xA0"s;
        }
        const std::string trailer = std::string(6, '\0') + "\x02\x02" +
                                    File::bigEndian(static_cast<std::uint64_t>(depth), 8) +
                                    File::bigEndian(0, 8) + File::bigEndian(body.size(), 8);
        const std::string error = errorOf(body + table + trailer);
        if (depth == 512) {
            EXPECT_EQ(error, "");
        }
        if (depth == 513) {
            EXPECT_THAT(error, HasSubstr("nested deeper than 512 levels"));
        }
    }
}

TEST(PropertyListBinary, SaysWhatIsWrongAndAtWhichByte) {
    const struct {
        std::string bytes;
        std::string error;
    } cases[] = {
        {"bplist00", "byte 8: the file is cut off"},
        {"bplist15" + std::string(40, '\0'), "byte 6: this version of the binary form is not known"},
        {"bplist00" + std::string(40, '\0'), "byte 22: impossible sizes in the trailer"},
        {File::single("\x0F"), "byte 8: an object of unknown kind"},
        {File::single("\x70"), "byte 8: an object of unknown kind"},
        {File::single("\x13\x01"), "byte 8: a damaged integer"},
        {File::single("\x15" + std::string(40, '\1')), "byte 8: a damaged integer"},
        {File::single("\x22\x01"), "byte 8: a damaged real"},
        {File::single("\x21\x01\x01"), "byte 8: a damaged real"},
        {File::single("\x33\x01"), "byte 8: a damaged date"},
        {File::single("\x5F\x13" + std::string(8, '\xFF')), "byte 8: a damaged text"},
        {File::single("\x5F\x23" + std::string(8, '\0')), "byte 8: a damaged text"},
        {File::single("\x6F\x13" + File::bigEndian(std::uint64_t{1} << 63, 8)), "byte 8: a damaged text"},
        {File::single("\x55"
                      "abc"),
         "byte 8: a damaged text"},
        {File::single("\x51\xFF"), "byte 8: a text that is not ASCII"},
        {File::single("\x61\xD8\x00"s), "byte 8: a text that is not UTF-16"},
        {File::single("\x45"
                      "abc"),
         "byte 8: a damaged text"},
        {File::single("\xAF\x13" + std::string(8, '\xFF')), "byte 8: a damaged container"},
        {File::single("\xD2\x00\x00"s), "byte 8: a damaged container"},
        {File::single("\xA1\x09"), "byte 10: an object is named that is not there"},
        {File::single("\xD1\x00\x00"s), "byte 8: a container holds itself"},
    };
    for (const auto& [bytes, error] : cases) EXPECT_EQ(errorOf(bytes), "show.mrv: " + error);

    File numberKey;
    numberKey.add(File::container(13, {1, 1}));
    numberKey.add("\x10\x05");
    EXPECT_THAT(errorOf(numberKey.bytes()), HasSubstr("a key that is not a text"));

    File outside;
    outside.add("\x08");
    outside.moveObject(0, 4000);
    EXPECT_EQ(errorOf(outside.bytes()), "show.mrv: byte 9: an object lies outside the file");
    outside.moveObject(0, 3);
    EXPECT_EQ(errorOf(outside.bytes()), "show.mrv: byte 9: an object lies outside the file");
    EXPECT_THAT(errorOf(outside.bytes({4, 7})), HasSubstr("the trailer points outside the file"));
}

TEST(PropertyListBinary, EveryCutAndEveryFlippedBitEndsInAValueOrAnError) {
    File file;
    file.add(File::container(13, {1, 2, 3, 4}));
    file.add("\x51"
             "b");
    file.add("\x62\x00\xE9\x20\xAC"s);
    file.add(File::container(10, {5, 5, 2}));
    file.add("\x22\x3F\x00\x00\x00"s);
    file.add("\x12\x01\x02\x03\x04");
    const std::string good = file.bytes();
    valueOf(good);
    for (std::size_t size = 6; size < good.size(); ++size) {
        const ReadResult read = parsePropertyList(good.substr(0, size), "show.mrv");
        ASSERT_FALSE(read.ok()) << size;
        ASSERT_THAT(read.error, StartsWith("show.mrv: byte "));
    }
    for (std::size_t bit = 0; bit < good.size() * 8; ++bit) {
        std::string bad = good;
        bad[bit / 8] = static_cast<char>(bad[bit / 8] ^ (1 << (bit % 8)));
        const ReadResult read = parsePropertyList(bad, "show.mrv");
        ASSERT_EQ(read.ok(), !read.value.isNone());
    }
}

} // namespace
} // namespace marvo
