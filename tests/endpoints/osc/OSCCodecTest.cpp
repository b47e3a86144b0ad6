#include "endpoints/osc/OSCCodec.h"

#include "RealtimeScope.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <random>
#include <string>
#include <vector>

using namespace marvo;
using namespace std::string_literals;

namespace {

std::span<const std::byte> bytesOf(const std::string& text) {
    return std::as_bytes(std::span<const char>(text));
}

std::string encoded(const OSCMessage& message) {
    std::vector<std::byte> space(encodedSize(message));
    EXPECT_EQ(encodeOSC(message, space), space.size());
    return {reinterpret_cast<const char*>(space.data()), space.size()};
}

struct Decoded {
    OSCDecodeError error = OSCDecodeError::none;
    std::vector<OSCMessage> messages;
};

Decoded decoded(const std::string& packet) {
    Decoded result;
    OSCMessage scratch;
    result.error = decodeOSC(bytesOf(packet), scratch,
                             [&result](const OSCMessage& message) { result.messages.push_back(message); });
    return result;
}

std::string number(std::uint32_t value) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) text += static_cast<char>(value >> shift & 0xffU);
    return text;
}

std::string bundle(const std::vector<std::string>& elements) {
    std::string text = "#bundle\0\0\0\0\0\0\0\0\1"s;
    for (const std::string& element : elements) {
        text += number(static_cast<std::uint32_t>(element.size())) + element;
    }
    return text;
}

const std::string plain = "/a\0\0,i\0\0\0\0\0\1"s;

std::string randomText(std::mt19937& random, std::size_t longest) {
    std::string text(random() % (longest + 1), ' ');
    for (char& c : text) c = static_cast<char>(1 + random() % 255);
    return text;
}

OSCValue randomValue(std::mt19937& random, std::string& storage) {
    const auto bits = static_cast<std::uint32_t>(random());
    const std::int64_t wide = static_cast<std::int64_t>(std::uint64_t{random()} << 32 | random());
    switch (random() % 13) {
    case 0:
        return OSCValue::createWithInt(static_cast<std::int32_t>(bits));
    case 1:
        return OSCValue::createWithFloat(static_cast<float>(static_cast<std::int32_t>(bits)) / 1024.0F);
    case 2:
        storage = randomText(random, 40);
        return OSCValue::createWithString(storage);
    case 3:
        return OSCValue::createWithTag(OSCValue::typeTimeTag, 't', wide);
    case 4:
        return OSCValue::createWithInt64(wide);
    case 5:
        return OSCValue::createWithDouble(static_cast<double>(wide) / 3.0);
    case 6:
        return OSCValue::createWithTag(OSCValue::typeChar, 'c', bits % 128);
    case 7:
        return OSCValue::createWithColor(bits);
    case 8:
        return OSCValue::createWithTag(OSCValue::typeMidi, 'm', bits);
    case 9:
        return OSCValue::createWithBool(bits % 2 == 0);
    case 10:
        return OSCValue::createWithTag(OSCValue::typeNil, 'N', 0);
    case 11:
        return OSCValue::createWithTag(OSCValue::typeInfinity, 'I', 0);
    default:
        storage.assign(random() % 41, '\0');
        for (char& c : storage) c = static_cast<char>(random());
        return OSCValue::createWithBlob(storage);
    }
}

} // namespace

TEST(OSCCodec, WritesThePacketThatEveryReceiverKnows) {
    OSCMessage message = OSCMessage::createWithAddress("/light/1");
    message.addInt(1000);
    message.addInt(-1);
    message.addString("hello");
    message.addFloat(1.234F);
    message.addFloat(5.678F);
    EXPECT_EQ(encoded(message), "/light/1\0\0\0\0,iisff\0\0\0\0\x03\xe8\xff\xff\xff\xffhello\0\0\0"
                                "\x3f\x9d\xf3\xb6\x40\xb5\xb2\x2d"s);
}

TEST(OSCCodec, WritesBooleansAsTagsAndColoursAsFourBytes) {
    OSCMessage message = OSCMessage::createWithAddress("/ab");
    message.addBOOL(true);
    message.addBOOL(false);
    message.addColor(0x11223344U);
    EXPECT_EQ(encoded(message), "/ab\0,TFr\0\0\0\0\x11\x22\x33\x44"s);
}

TEST(OSCCodec, WritesAMessageWithoutArgumentsWithAnEmptyTagText) {
    EXPECT_EQ(encoded(OSCMessage::createWithAddress("/abc")), "/abc\0\0\0\0,\0\0\0"s);
}

TEST(OSCCodec, EndsTextsOfEveryLengthWithOneToFourZeroBytes) {
    for (std::size_t size = 0; size < 9; ++size) {
        OSCMessage message = OSCMessage::createWithAddress("/a");
        message.addString(std::string(size, 'x'));
        message.addInt(7);
        const std::string packet = encoded(message);
        EXPECT_EQ(packet.size(), 4 + 4 + (size / 4 + 1) * 4 + 4) << size;
        const Decoded result = decoded(packet);
        ASSERT_EQ(result.messages.size(), 1U) << size;
        EXPECT_EQ(result.messages[0].valueAtIndex(0).stringValue().size(), size);
        EXPECT_EQ(result.messages[0].valueAtIndex(1).intValue(), 7);
    }
}

TEST(OSCCodec, EndsATextAtItsFirstZeroByteSoThatWhatFollowsStaysReadable) {
    OSCMessage message = OSCMessage::createWithAddress("/a\0bcdefgh"s);
    message.addString("one\0two three"s);
    message.addInt(7);
    EXPECT_EQ(encoded(message), "/a\0\0,si\0one\0\0\0\0\7"s);
}

TEST(OSCCodec, WritesNothingWhenTheSpaceIsTooSmall) {
    OSCMessage message = OSCMessage::createWithAddress("/a");
    message.addInt(1);
    std::vector<std::byte> space(encodedSize(message));
    std::vector<std::byte> small(space.size() - 1, std::byte{0x55});
    EXPECT_EQ(encodeOSC(message, small), 0U);
    EXPECT_EQ(small, std::vector<std::byte>(small.size(), std::byte{0x55}));
    EXPECT_EQ(encodeOSC(message, space), space.size());
}

TEST(OSCCodec, ReadsEveryKindOfArgument) {
    const std::string packet = "/all\0\0\0\0,ifsShdtcrmTFNIb\0\0\0\0"s + "\0\0\0\2"s + "\x40\x20\0\0"s +
                               "s\0\0\0"s + "sym\0"s + "\0\0\0\1\0\0\0\0"s + "\x3f\xf8\0\0\0\0\0\0"s +
                               "\0\0\0\0\0\0\0\1"s + "\0\0\0A"s + "\1\2\3\4"s + "\5\6\7\x08"s +
                               "\0\0\0\1!\0\0\0"s;
    const Decoded result = decoded(packet);
    ASSERT_EQ(result.error, OSCDecodeError::none);
    ASSERT_EQ(result.messages.size(), 1U);
    const OSCMessage& message = result.messages[0];
    ASSERT_EQ(message.valueCount(), 15U);
    const std::vector<int> types = {1, 2, 3, 3, 5, 6, 4, 7, 8, 9, 10, 10, 11, 12, 13};
    for (std::size_t i = 0; i < types.size(); ++i) EXPECT_EQ(message.valueAtIndex(i).type(), types[i]) << i;
    EXPECT_EQ(message.valueAtIndex(0).intValue(), 2);
    EXPECT_EQ(message.valueAtIndex(1).floatValue(), 2.5F);
    EXPECT_EQ(message.valueAtIndex(2).stringValue(), "s");
    EXPECT_EQ(message.valueAtIndex(3).stringValue(), "sym");
    EXPECT_EQ(message.valueAtIndex(4).intValue(), std::int64_t{1} << 32);
    EXPECT_EQ(message.valueAtIndex(5).doubleValue(), 1.5);
    EXPECT_EQ(message.valueAtIndex(6).intValue(), 1);
    EXPECT_EQ(message.valueAtIndex(7).intValue(), 'A');
    EXPECT_EQ(message.valueAtIndex(8).colorValue(), 0x01020304U);
    EXPECT_EQ(message.valueAtIndex(9).intValue(), 0x05060708);
    EXPECT_TRUE(message.valueAtIndex(10).boolValue());
    EXPECT_FALSE(message.valueAtIndex(11).boolValue());
    EXPECT_EQ(message.valueAtIndex(14).stringValue(), "!");
}

TEST(OSCCodec, ReadsAMessageWithoutTagTextAsOneWithoutArguments) {
    for (const std::string& packet : {"/go\0"s, "/go\0\0\0\0\1"s, "/go\0,\0\0\0"s}) {
        const Decoded result = decoded(packet);
        EXPECT_EQ(result.error, OSCDecodeError::none);
        ASSERT_EQ(result.messages.size(), 1U);
        EXPECT_EQ(result.messages[0].address(), "/go");
        EXPECT_EQ(result.messages[0].valueCount(), 0U);
    }
}

TEST(OSCCodec, ReadsOverTheBracketsOfAnArray) {
    const Decoded result = decoded("/a\0\0,[ii]\0\0\0\0\0\0\1\0\0\0\2"s);
    ASSERT_EQ(result.messages.size(), 1U);
    ASSERT_EQ(result.messages[0].valueCount(), 2U);
    EXPECT_EQ(result.messages[0].valueAtIndex(1).intValue(), 2);
}

TEST(OSCCodec, HandsOverTheMessagesOfNestedBundlesInOrder) {
    const Decoded result = decoded(bundle({plain, bundle({"/b\0\0"s, "/c\0\0"s}), bundle({}), "/d\0\0"s}));
    EXPECT_EQ(result.error, OSCDecodeError::none);
    std::vector<std::string> addresses;
    for (const OSCMessage& message : result.messages) addresses.emplace_back(message.address());
    EXPECT_EQ(addresses, (std::vector<std::string>{"/a", "/b", "/c", "/d"}));
}

TEST(OSCCodec, KeepsWhatCameBeforeABrokenElement) {
    const Decoded result = decoded(bundle({plain, "no address  "s, "/never\0\0"s}));
    EXPECT_EQ(result.error, OSCDecodeError::noAddress);
    ASSERT_EQ(result.messages.size(), 1U);
    EXPECT_EQ(result.messages[0].address(), "/a");
}

TEST(OSCCodec, RefusesBrokenPacketsWithTheirReason) {
    struct Case {
        std::string packet;
        OSCDecodeError error;
    };
    const Case cases[] = {
        {"", OSCDecodeError::empty},
        {"/ab", OSCDecodeError::notAligned},
        {"/abcd"s, OSCDecodeError::notAligned},
        {"abc\0"s, OSCDecodeError::noAddress},
        {"#bundle\0"s, OSCDecodeError::noAddress},
        {"#bundlX\0\0\0\0\0\0\0\0\1"s, OSCDecodeError::noAddress},
        {"/abc"s, OSCDecodeError::unterminatedText},
        {"/abc\0\0\0\0,iii"s, OSCDecodeError::unterminatedText},
        {"/a\0\0,s\0\0abcd"s, OSCDecodeError::unterminatedText},
        {"/a\0\0,i\0\0"s, OSCDecodeError::truncated},
        {"/a\0\0,h\0\0\0\0\0\1"s, OSCDecodeError::truncated},
        {"/a\0\0,d\0\0\0\0\0\1"s, OSCDecodeError::truncated},
        {"/a\0\0,b\0\0\0\0\0\5abcd"s, OSCDecodeError::truncated},
        {"/a\0\0,b\0\0\xff\xff\xff\xff"s, OSCDecodeError::truncated},
        {"/a\0\0,q\0\0\0\0\0\1"s, OSCDecodeError::unknownTag},
        {"#bundle\0\0\0\0\0\0\0\0\1\0\0\0\x10"s + plain, OSCDecodeError::truncated},
        {"#bundle\0\0\0\0\0\0\0\0\1\xff\xff\xff\xf0"s + plain, OSCDecodeError::truncated},
        {"#bundle\0\0\0\0\0\0\0\0\1\0\0\0\0"s, OSCDecodeError::empty},
    };
    for (const Case& one : cases) {
        const Decoded result = decoded(one.packet);
        EXPECT_EQ(textOf(result.error), textOf(one.error)) << one.packet;
        EXPECT_TRUE(result.messages.empty()) << one.packet;
    }
}

TEST(OSCCodec, RefusesBundlesNestedWithoutEnd) {
    std::string packet = plain;
    for (int depth = 0; depth < 16; ++depth) packet = bundle({packet});
    EXPECT_EQ(decoded(packet).messages.size(), 1U);
    packet = bundle({packet});
    EXPECT_EQ(decoded(packet).error, OSCDecodeError::bundleTooDeep);
    for (int depth = 0; depth < 1000; ++depth) packet = bundle({packet});
    EXPECT_EQ(decoded(packet).error, OSCDecodeError::bundleTooDeep);
}

TEST(OSCCodec, BringsBackEveryMessageThatItWrote) {
    std::mt19937 random(20260101);
    for (int round = 0; round < 5000; ++round) {
        OSCMessage message = OSCMessage::createWithAddress("/" + randomText(random, 30));
        std::string storage;
        for (std::size_t left = random() % 12; left > 0; --left)
            message.addValue(randomValue(random, storage));
        const std::string packet = encoded(message);
        ASSERT_EQ(packet.size() % 4, 0U);
        const Decoded back = decoded(packet);
        ASSERT_EQ(back.error, OSCDecodeError::none) << "round " << round;
        ASSERT_EQ(back.messages.size(), 1U);
        ASSERT_EQ(back.messages[0].address(), message.address());
        ASSERT_EQ(back.messages[0].valueCount(), message.valueCount());
        for (std::size_t i = 0; i < message.valueCount(); ++i) {
            ASSERT_EQ(back.messages[0].valueAtIndex(i), message.valueAtIndex(i)) << "round " << round;
        }
        ASSERT_EQ(encoded(back.messages[0]), packet);
        for (std::size_t cut = 4; cut < packet.size(); cut += 4) decoded(packet.substr(0, cut));
    }
}

TEST(OSCCodec, KeepsTheLimitsOfNumbers) {
    OSCMessage message = OSCMessage::createWithAddress("/n");
    message.addInt(std::numeric_limits<std::int32_t>::min());
    message.addFloat(-0.0F);
    message.addFloat(std::numeric_limits<float>::infinity());
    message.addFloat(std::numeric_limits<float>::denorm_min());
    message.addFloat(std::numeric_limits<float>::quiet_NaN());
    message.addValue(OSCValue::createWithInt64(std::numeric_limits<std::int64_t>::min()));
    const Decoded back = decoded(encoded(message));
    ASSERT_EQ(back.messages.size(), 1U);
    const OSCMessage& got = back.messages[0];
    EXPECT_EQ(got.valueAtIndex(0).intValue(), std::numeric_limits<std::int32_t>::min());
    EXPECT_TRUE(std::signbit(got.valueAtIndex(1).floatValue()));
    EXPECT_TRUE(std::isinf(got.valueAtIndex(2).floatValue()));
    EXPECT_EQ(got.valueAtIndex(3).floatValue(), std::numeric_limits<float>::denorm_min());
    EXPECT_TRUE(std::isnan(got.valueAtIndex(4).floatValue()));
    EXPECT_EQ(got.valueAtIndex(5).intValue(), std::numeric_limits<std::int64_t>::min());
}

TEST(OSCCodec, AllocatesNothingForMessagesOfASizeItHasSeen) {
    OSCMessage message = OSCMessage::createWithAddress("/an/address/longer/than/any/small/buffer");
    for (int i = 0; i < 20; ++i) {
        message.addInt(i);
        message.addString("a text longer than any small buffer of a string");
    }
    std::vector<std::byte> space(65507);
    OSCMessage scratch;
    std::size_t received = 0;
    const std::function<void(const OSCMessage&)> receive = [&received](const OSCMessage& one) {
        received += one.valueCount();
    };
    decodeOSC(std::span(space).first(encodeOSC(message, space)), scratch, receive);
    std::size_t violations = 0;
    {
        const RealtimeScope scope;
        for (int i = 0; i < 1000; ++i) {
            decodeOSC(std::span(space).first(encodeOSC(message, space)), scratch, receive);
        }
        violations = scope.violations();
    }
    EXPECT_EQ(violations, 0U);
    EXPECT_EQ(received, 40U * 1001);
}

TEST(OSCCorpus, ReadsEveryKeptPacketWithoutHarmAndWritesItBackTheSame) {
    int files = 0;
    int messages = 0;
    for (const auto& entry : std::filesystem::directory_iterator(MARVO_OSC_CORPUS)) {
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string packet((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
        ++files;
        for (const OSCMessage& message : decoded(packet).messages) {
            ++messages;
            const Decoded back = decoded(encoded(message));
            ASSERT_EQ(back.messages.size(), 1U) << entry.path();
            EXPECT_EQ(encoded(back.messages[0]), encoded(message)) << entry.path();
        }
    }
    EXPECT_GE(files, 10);
    EXPECT_GE(messages, 5);
}
