#include "endpoints/osc/OSCMessage.h"

#include "RealtimeScope.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

using namespace marvo;

TEST(OSCMessage, HasNoValueUntilOneIsAdded) {
    const OSCMessage message = OSCMessage::createWithAddress("/a");
    EXPECT_EQ(message.address(), "/a");
    EXPECT_EQ(message.valueCount(), 0U);
    EXPECT_EQ(message.value(), nullptr);
    EXPECT_EQ(message.valueArray(), nullptr);
}

TEST(OSCMessage, ShowsAListOnlyForMoreThanOneValue) {
    OSCMessage message = OSCMessage::createWithAddress("/a");
    message.addInt(7);
    ASSERT_NE(message.value(), nullptr);
    EXPECT_EQ(message.value()->intValue(), 7);
    EXPECT_EQ(message.valueArray(), nullptr);
    message.addFloat(1.5F);
    ASSERT_NE(message.valueArray(), nullptr);
    EXPECT_EQ(message.valueArray()->size(), 2U);
    EXPECT_EQ(message.value()->intValue(), 7);
}

TEST(OSCMessage, ReportsKindsByTheirNumbers) {
    OSCMessage message = OSCMessage::createWithAddress("/a");
    message.addInt(1);
    message.addFloat(1.0F);
    message.addString("s");
    message.addBOOL(true);
    message.addValue(OSCValue::createWithInt64(1));
    message.addValue(OSCValue::createWithDouble(1.0));
    const int kinds[] = {1, 2, 3, 10, 5, 6};
    for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(message.valueAtIndex(i).type(), kinds[i]) << i;
}

TEST(OSCMessage, KeepsEarlierTextsWhileLaterOnesArrive) {
    OSCMessage message = OSCMessage::createWithAddress("/a");
    for (int i = 0; i < 200; ++i) {
        message.addString("text " + std::to_string(i));
        message.addString("");
    }
    for (std::size_t i = 0; i < 200; ++i) {
        EXPECT_EQ(message.valueAtIndex(2 * i).stringValue(), "text " + std::to_string(i));
        EXPECT_EQ(message.valueAtIndex(2 * i + 1).stringValue(), "");
    }
}

TEST(OSCMessage, AddsAValueOfItsOwnAgain) {
    OSCMessage message = OSCMessage::createWithAddress("/a");
    message.addString("a text that is too long for a small buffer");
    for (int i = 0; i < 50; ++i) message.addValue(message.valueAtIndex(0));
    for (const OSCValue& value : message.values()) {
        EXPECT_EQ(value.stringValue(), "a text that is too long for a small buffer");
    }
}

TEST(OSCMessage, HoldsTextsOfItsOwnAfterACopy) {
    OSCMessage copy;
    {
        OSCMessage original = OSCMessage::createWithAddress("/a");
        original.addString("kept");
        original.addValue(OSCValue::createWithBlob("blob"));
        copy = original;
        original.resetWithAddress("/b");
        original.addString("XXXXXXXX");
        const OSCMessage& same = copy;
        copy = same;
    }
    EXPECT_EQ(copy.address(), "/a");
    EXPECT_EQ(copy.valueAtIndex(0).stringValue(), "kept");
    EXPECT_EQ(copy.valueAtIndex(1).stringValue(), "blob");
    EXPECT_EQ(copy.valueAtIndex(1).type(), OSCValue::typeBlob);
}

TEST(OSCMessage, ForgetsEverythingOnReset) {
    OSCMessage message = OSCMessage::createWithAddress("/a");
    message.addString("old");
    message.resetWithAddress("/b");
    EXPECT_EQ(message.address(), "/b");
    EXPECT_EQ(message.valueCount(), 0U);
}

TEST(OSCMessage, AllocatesNothingWhenItIsFilledAgain) {
    OSCMessage message;
    const auto fill = [&message] {
        message.resetWithAddress("/an/address/that/is/longer/than/a/small/buffer");
        for (int i = 0; i < 30; ++i) {
            message.addFloat(1.0F);
            message.addString("a text that is longer than a small buffer");
        }
    };
    fill();
    std::size_t violations = 0;
    {
        const RealtimeScope scope;
        for (int i = 0; i < 1000; ++i) fill();
        violations = scope.violations();
    }
    EXPECT_EQ(violations, 0U);
}

TEST(OSCValue, CutsFloatsAndKeepsWhatDoesNotFitAtTheLimit) {
    EXPECT_EQ(OSCValue::createWithFloat(2.9F).intValue(), 2);
    EXPECT_EQ(OSCValue::createWithFloat(-2.9F).intValue(), -2);
    EXPECT_EQ(OSCValue::createWithDouble(1e300).intValue(), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(OSCValue::createWithDouble(-1e300).intValue(), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(OSCValue::createWithFloat(std::numeric_limits<float>::quiet_NaN()).intValue(), 0);
}

TEST(OSCValue, GivesZeroAsTheNumberOfAText) {
    EXPECT_EQ(OSCValue::createWithString("12").intValue(), 0);
    EXPECT_EQ(OSCValue::createWithString("12").floatValue(), 0.0F);
    EXPECT_FALSE(OSCValue::createWithString("12").boolValue());
}

TEST(OSCValue, TakesAnyNumberButZeroForTrue) {
    EXPECT_TRUE(OSCValue::createWithFloat(0.1F).boolValue());
    EXPECT_TRUE(OSCValue::createWithInt(-1).boolValue());
    EXPECT_FALSE(OSCValue::createWithInt(0).boolValue());
    EXPECT_TRUE(OSCValue::createWithBool(true).boolValue());
}
