#include "endpoints/osc/MarvoOSCBundleManager.h"

#include "FakeTransport.h"
#include "RealtimeScope.h"
#include "endpoints/osc/MarvoOSCManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

using namespace marvo;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class GroupedMessages : public testing::Test {
protected:
    GroupedMessages() {
        manager.createNewOutputToAddress("127.0.0.1", 9000, "A");
        manager.createNewOutputToAddress("127.0.0.1", 9001, "B");
        gatherer.setOSCManager(&manager);
    }
    bool add(std::string_view address, int value, std::string_view label = "A") {
        OSCMessage message = OSCMessage::createWithAddress(address);
        message.addInt(value);
        return gatherer.addMessage(message, label, {});
    }
    std::vector<std::string> flush() {
        transport.sent.clear();
        gatherer.processGroupedOSCMessages({});
        return transport.messages();
    }

    FakeTransport transport;
    FakeFeedbackPreference preference;
    MarvoOSCManager manager{transport, preference};
    MarvoOSCBundleManager gatherer;
};

} // namespace

TEST_F(GroupedMessages, LeaveAsOneMessageInTheOrderOfTheirIndices) {
    EXPECT_TRUE(add("/light/rgb#3", 30));
    EXPECT_TRUE(add("/light/rgb#1", 10));
    EXPECT_TRUE(add("/light/rgb#2", 20));
    EXPECT_THAT(transport.messages(), IsEmpty()) << "nothing leaves before the flush";
    EXPECT_THAT(flush(), ElementsAre("/light/rgb 10 20 30"));
    EXPECT_THAT(flush(), IsEmpty());
}

TEST_F(GroupedMessages, SortIndicesAsText) {
    for (const int index : {2, 10, 1, 100, 20}) add("/a#" + std::to_string(index), index);
    EXPECT_THAT(flush(), ElementsAre("/a 1 10 100 2 20"));
}

TEST_F(GroupedMessages, SendTheLastValueOfAPass) {
    add("/a#1", 1);
    add("/a#2", 5);
    add("/a#1", 2);
    EXPECT_THAT(flush(), ElementsAre("/a 2 5"));
}

TEST_F(GroupedMessages, ReadTheIndexByItsLeadingDigits) {
    EXPECT_TRUE(add("/a#2nd", 1));
    EXPECT_TRUE(add("/a#02", 2)) << "the same index in another spelling";
    EXPECT_TRUE(add("/a#1.9", 3));
    EXPECT_THAT(flush(), ElementsAre("/a 3 2"));
}

TEST_F(GroupedMessages, TellLargeIndicesApart) {
    EXPECT_TRUE(add("/a#4000000000", 1));
    EXPECT_TRUE(add("/a#5000000000", 2));
    EXPECT_THAT(flush(), ElementsAre("/a 1 2"));
}

TEST_F(GroupedMessages, AreRefusedWithoutAUsableIndex) {
    for (const char* address : {"/a", "/a#", "/a#0", "/a#x", "/a#-1", "/a#1#2", "/a##1", "/a#1#", "#", ""}) {
        EXPECT_FALSE(add(address, 1)) << address;
    }
    EXPECT_THAT(flush(), IsEmpty());
}

TEST_F(GroupedMessages, AreRefusedWithoutTheirOutput) {
    EXPECT_FALSE(add("/a#1", 1, "C"));
    EXPECT_FALSE(add("/a#1", 1, ""));
    EXPECT_THAT(flush(), IsEmpty());
}

TEST_F(GroupedMessages, AreRefusedWithoutAManagerWhichKeepsWhatWasGathered) {
    add("/a#1", 1);
    gatherer.setOSCManager(nullptr);
    EXPECT_FALSE(add("/a#2", 2));
    EXPECT_THAT(flush(), IsEmpty());
    gatherer.setOSCManager(&manager);
    EXPECT_THAT(flush(), ElementsAre("/a 1"));
}

TEST_F(GroupedMessages, LeaveOncePerOutputAndBase) {
    add("/a#1", 1, "A");
    add("/b#1", 2, "A");
    add("/a#1", 3, "B");
    add("/a#2", 4, "A");
    flush();
    std::vector<std::string> left;
    for (const auto& one : transport.sent) left.push_back(one.label + " " + one.message);
    EXPECT_THAT(left, testing::UnorderedElementsAre("A /a 1 4", "A /b 2", "B /a 3"));
}

TEST_F(GroupedMessages, DoNotLeaveForAnOutputThatWasRemoved) {
    add("/a#1", 1, "A");
    add("/a#1", 2, "B");
    manager.removeOSCOutput(0);
    EXPECT_THAT(flush(), ElementsAre("/a 2"));
    EXPECT_FALSE(add("/a#1", 3, "A"));
    manager.createNewOutputToAddress("127.0.0.1", 9000, "A");
    EXPECT_THAT(flush(), IsEmpty()) << "an old value must not come up again";
}

TEST_F(GroupedMessages, KeepAllValuesAndTextsOfEachMember) {
    OSCMessage two = OSCMessage::createWithAddress("/a#2");
    two.addString("text of the second");
    two.addFloat(0.5F);
    OSCMessage one = OSCMessage::createWithAddress("/a#1");
    one.addInt(1);
    one.addString("text of the first");
    EXPECT_TRUE(gatherer.addMessage(two, "A", {}));
    EXPECT_TRUE(gatherer.addMessage(one, "A", {}));
    two.resetWithAddress("/other");
    two.addString("something else, as long");
    EXPECT_THAT(flush(), ElementsAre("/a 1 text of the first text of the second 0.5"));
}

TEST_F(GroupedMessages, ReplaceAListOfValuesByASingleOne) {
    OSCMessage many = OSCMessage::createWithAddress("/a#1");
    for (int i = 0; i < 3; ++i) many.addInt(i);
    gatherer.addMessage(many, "A", {});
    add("/a#1", 9);
    EXPECT_THAT(flush(), ElementsAre("/a 9"));
}

TEST_F(GroupedMessages, AreGoneAfterAReset) {
    add("/a#1", 1);
    gatherer.reset();
    EXPECT_THAT(flush(), IsEmpty());
    add("/a#2", 2);
    EXPECT_THAT(flush(), ElementsAre("/a 2")) << "nothing of before the reset";
}

TEST_F(GroupedMessages, WithoutABaseSendNoBrokenPacket) {
    EXPECT_TRUE(add("#1", 1));
    add("/a#1", 2);
    EXPECT_THAT(flush(), ElementsAre("/a 2"));
}

TEST_F(GroupedMessages, AreGatheredAndSentWithoutAllocating) {
    transport.keeps = false;
    std::vector<OSCMessage> messages;
    for (int base = 0; base < 10; ++base) {
        for (int index = 1; index <= 20; ++index) {
            OSCMessage message = OSCMessage::createWithAddress("/a/rather/long/base/" + std::to_string(base) +
                                                               "#" + std::to_string(index));
            message.addFloat(1.0F);
            message.addString("a text that is longer than a small buffer");
            messages.push_back(message);
        }
    }
    const auto pass = [&] {
        for (const OSCMessage& message : messages) gatherer.addMessage(message, "A", {});
        for (const OSCMessage& message : messages) gatherer.addMessage(message, "B", {});
        gatherer.processGroupedOSCMessages({});
    };
    pass();
    std::size_t violations = 0;
    {
        const RealtimeScope scope;
        for (int i = 0; i < 20; ++i) pass();
        violations = scope.violations();
    }
    EXPECT_EQ(violations, 0U);
    EXPECT_EQ(transport.count, 21U * 20U);
}
