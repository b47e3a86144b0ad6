// Messages of nothing but floats, which are nearly all that a show sends, and texts with a zero byte inside.
#include "endpoints/osc/OSCCodec.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace marvo;
using namespace std::string_literals;

namespace {

std::string encoded(const OSCMessage& message) {
    std::vector<std::byte> space(encodedSize(message));
    EXPECT_EQ(encodeOSC(message, space), space.size());
    return {reinterpret_cast<const char*>(space.data()), space.size()};
}

// A copy of its own size, so that reading behind the end is reading behind an allocation.
OSCDecodeError decode(const std::string& packet, OSCMessage& last) {
    const std::vector<std::byte> exact(reinterpret_cast<const std::byte*>(packet.data()),
                                       reinterpret_cast<const std::byte*>(packet.data()) + packet.size());
    OSCMessage scratch;
    return decodeOSC(exact, scratch, [&last](const OSCMessage& message) { last = message; });
}

OSCMessage rowOf(std::size_t count) {
    OSCMessage message = OSCMessage::createWithAddress("/row");
    for (std::size_t i = 0; i < count; ++i) message.addFloat(static_cast<float>(i) + 0.5f);
    return message;
}

} // namespace

TEST(OSCFloatRows, OfEveryLengthComeBackAsTheyWereSent) {
    for (std::size_t count = 0; count < 20; ++count) {
        OSCMessage back;
        ASSERT_EQ(decode(encoded(rowOf(count)), back), OSCDecodeError::none) << count;
        EXPECT_EQ(back.address(), "/row");
        ASSERT_EQ(back.valueCount(), count);
        for (std::size_t i = 0; i < count; ++i) {
            EXPECT_EQ(back.valueAtIndex(i).tag(), 'f');
            EXPECT_EQ(back.valueAtIndex(i).floatValue(), static_cast<float>(i) + 0.5f);
        }
    }
}

TEST(OSCFloatRows, WithAnotherArgumentAtAnyPlaceComeBackAsTheyWereSent) {
    for (std::size_t count = 1; count < 12; ++count) {
        for (std::size_t place = 0; place <= count; ++place) {
            OSCMessage message = OSCMessage::createWithAddress("/row");
            for (std::size_t i = 0; i <= count; ++i) {
                if (i == place) {
                    message.addInt(-7);
                } else {
                    message.addFloat(static_cast<float>(i));
                }
            }
            OSCMessage back;
            ASSERT_EQ(decode(encoded(message), back), OSCDecodeError::none);
            ASSERT_EQ(back.valueCount(), count + 1);
            for (std::size_t i = 0; i <= count; ++i) {
                EXPECT_EQ(back.valueAtIndex(i).tag(), i == place ? 'i' : 'f');
                EXPECT_EQ(back.valueAtIndex(i).intValue(), i == place ? -7 : static_cast<std::int64_t>(i));
            }
        }
    }
}

TEST(OSCFloatRows, ThatAreCutOffAreRefused) {
    for (std::size_t count = 1; count < 10; ++count) {
        const std::string whole = encoded(rowOf(count));
        const std::size_t head = whole.size() - 4 * count;
        for (std::size_t size = head; size < whole.size(); size += 4) {
            OSCMessage back;
            EXPECT_EQ(decode(whole.substr(0, size), back), OSCDecodeError::truncated) << count << ' ' << size;
        }
        // Without the zero bytes behind the tags there is no end of them.
        OSCMessage back;
        EXPECT_EQ(decode("/row\0\0\0\0,"s + std::string(3 + 4 * ((count + 2) / 4), 'f'), back),
                  OSCDecodeError::unterminatedText);
    }
}

TEST(OSCFloatRows, KeepTheBitsOfNumbersThatAreNone) {
    const std::string packet = "/n\0\0,ff\0\x7f\xa0\0\x01\xff\xc0\0\x02"s;
    OSCMessage back;
    ASSERT_EQ(decode(packet, back), OSCDecodeError::none);
    EXPECT_EQ(encoded(back), packet);
}

TEST(OSCTexts, EndAtTheirFirstZeroByteWhereverItIs) {
    for (std::size_t size = 1; size < 40; ++size) {
        for (std::size_t zero = 1; zero <= size; ++zero) {
            std::string text = "/" + std::string(size - 1, 'x');
            if (zero < size) text[zero] = '\0';
            OSCMessage message = OSCMessage::createWithAddress(text);
            message.addString(text);
            message.addInt(5);
            OSCMessage back;
            ASSERT_EQ(decode(encoded(message), back), OSCDecodeError::none);
            EXPECT_EQ(back.address(), text.substr(0, zero));
            ASSERT_EQ(back.valueCount(), 2u);
            EXPECT_EQ(back.valueAtIndex(0).stringValue(), text.substr(0, zero));
            EXPECT_EQ(back.valueAtIndex(1).intValue(), 5);
        }
    }
}

TEST(OSCTexts, ThatAreNotTextAsPeopleKnowItComeBackAsTheyWereSent) {
    // Bytes around those that a search for zero bytes may take for one.
    for (const char odd : {'\x01', '\x7f', '\x80', '\x81', '\xff'}) {
        for (std::size_t size = 1; size < 24; ++size) {
            for (std::size_t place = 0; place < size; ++place) {
                std::string text(size, '\x01');
                text[place] = odd;
                OSCMessage message = OSCMessage::createWithAddress("/t");
                message.addString(text);
                OSCMessage back;
                ASSERT_EQ(decode(encoded(message), back), OSCDecodeError::none);
                ASSERT_EQ(back.valueCount(), 1u);
                EXPECT_EQ(back.valueAtIndex(0).stringValue(), text);
            }
        }
    }
}

TEST(OSCTexts, FitASpaceOfExactlyTheirSizeAndNoneSmaller) {
    for (std::size_t size = 1; size < 40; ++size) {
        OSCMessage message = OSCMessage::createWithAddress("/" + std::string(size - 1, 'y'));
        message.addFloat(1.0f);
        message.addString(std::string(size, 'z'));
        const std::size_t needed = encodedSize(message);
        for (std::size_t room = 0; room <= needed; ++room) {
            std::vector<std::byte> space(room);
            EXPECT_EQ(encodeOSC(message, space), room == needed ? needed : 0) << room;
        }
    }
}
