#include "endpoints/osc/OSCIntake.h"

#include "endpoints/osc/OSCCodec.h"

#include <atomic>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

using namespace marvo;
using namespace std::string_literals;

namespace {

// Writes down what it is told, in order: "/a?" for what it may expect, "/a" for what has come.
class Notes final : public OSCMessageReceiver {
public:
    void receivedOSCMessage(const OSCMessage& message) override {
        all.emplace_back(message.address());
        if (stopAfter && all.back() == *stopAfter) stopping.store(true);
    }
    void expectOSCMessages(std::span<const std::string_view> addresses) override {
        for (const std::string_view address : addresses) all.push_back(std::string(address) + "?");
    }
    std::vector<std::string> all;
    std::optional<std::string> stopAfter;
    std::atomic<bool> stopping{false};
};

struct Input {
    Input() {
        in.open(AF_INET);
        in.bind(*SocketAddress::fromNumeric("127.0.0.1", 0));
        out.open(AF_INET);
        out.connect(*SocketAddress::fromNumeric("127.0.0.1", in.localPort()));
    }
    void sendBytes(const std::string& bytes) const { out.send(std::as_bytes(std::span<const char>(bytes))); }
    void send(const std::string& address) const {
        const OSCMessage message = OSCMessage::createWithAddress(address);
        std::string bytes(encodedSize(message), '\0');
        encodeOSC(message, std::as_writable_bytes(std::span<char>(bytes)));
        sendBytes(bytes);
    }
    bool take() { return intake.takeFrom(in, notes.stopping); }

    UdpSocket in;
    UdpSocket out;
    Notes notes;
    OSCIntake intake{notes};
};

TEST(OSCIntake, TellsWhichMessagesLieReadyAndThenDeliversEach) {
    Input input;
    input.send("/a");
    input.send("/b");
    EXPECT_TRUE(input.take());
    EXPECT_EQ(input.notes.all, (std::vector<std::string>{"/a?", "/b?", "/a", "/b"}));
    EXPECT_FALSE(input.take());
}

TEST(OSCIntake, HasNothingToTellOfOneMessageAlone) {
    Input input;
    input.send("/a");
    EXPECT_TRUE(input.take());
    EXPECT_EQ(input.notes.all, std::vector<std::string>{"/a"});
}

TEST(OSCIntake, ReadsNoAddressBeyondTheEndOfAPacketOrOutOfABundle) {
    Input input;
    input.sendBytes("/unended");
    input.sendBytes("#bundle\0\0\0\0\0\0\0\0\1\0\0\0\4/c\0\0"s);
    input.sendBytes("");
    EXPECT_TRUE(input.take());
    EXPECT_EQ(input.notes.all, (std::vector<std::string>{"/unended?", "/c"}));
    EXPECT_EQ(input.intake.malformed(), 2u);
}

TEST(OSCIntake, DeliversNothingMoreOnceItIsToStop) {
    Input input;
    input.notes.stopAfter = "/b";
    for (const char* address : {"/a", "/b", "/c"}) input.send(address);
    EXPECT_FALSE(input.take());
    EXPECT_EQ(input.notes.all, (std::vector<std::string>{"/a?", "/b?", "/c?", "/a", "/b"}));
}

} // namespace
