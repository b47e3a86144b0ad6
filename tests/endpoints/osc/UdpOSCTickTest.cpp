// What one tick sends: kept until its end, in order, and never kept from anybody else.
#include "endpoints/osc/UdpOSCTransport.h"

#include "Eventually.h"
#include "RealtimeScope.h"
#include "endpoints/osc/OSCCodec.h"
#include "platform/UdpSocket.h"

#include <gtest/gtest.h>

#include <atomic>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

using namespace marvo;

namespace {

const std::string here = "127.0.0.1";

OSCMessage numbered(int number) {
    OSCMessage message = OSCMessage::createWithAddress("/n");
    message.addInt(number);
    return message;
}

// Reads without a thread of its own: loopback delivers before the sending call returns.
class Peer {
public:
    Peer() {
        EXPECT_EQ(socket_.open(AF_INET), 0);
        EXPECT_EQ(socket_.bind(*SocketAddress::fromNumeric(here, 0)), 0);
        const int room = 4 << 20;
        ::setsockopt(socket_.descriptor(), SOL_SOCKET, SO_RCVBUF, &room, sizeof room);
    }
    int port() const { return socket_.localPort(); }
    // The first argument of each message.
    std::vector<int> numbers() {
        std::vector<int> numbers;
        std::vector<std::byte> space(70000);
        OSCMessage scratch;
        for (long got = socket_.receive(space); got >= 0; got = socket_.receive(space)) {
            decodeOSC(std::span<const std::byte>(space).first(static_cast<std::size_t>(got)), scratch,
                      [&](const OSCMessage& message) {
                          numbers.push_back(static_cast<int>(message.valueAtIndex(0).intValue()));
                      });
        }
        return numbers;
    }

private:
    UdpSocket socket_;
};

std::vector<int> upTo(int count) {
    std::vector<int> numbers(static_cast<std::size_t>(count));
    std::iota(numbers.begin(), numbers.end(), 0);
    return numbers;
}

} // namespace

TEST(UdpOSCTick, SendsAtItsEndWhatWasSentInIt) {
    for (const int count : {1, 8, 9, 100}) {
        Peer peer;
        UdpOSCTransport transport(here);
        const auto wire = transport.makeWire("A", here, peer.port());
        transport.beginTick();
        for (int i = 0; i < count; ++i) wire->send(numbered(i), {});
        EXPECT_TRUE(peer.numbers().empty());
        transport.flush();
        EXPECT_EQ(peer.numbers(), upTo(count));
        EXPECT_EQ(wire->counters().sent, static_cast<std::uint64_t>(count));
        EXPECT_EQ(wire->counters().bytes, 12u * static_cast<std::uint64_t>(count));
    }
}

TEST(UdpOSCTick, IsOverForWhatIsSentAfterIt) {
    Peer peer;
    UdpOSCTransport transport(here);
    const auto wire = transport.makeWire("A", here, peer.port());
    wire->send(numbered(0), {});
    EXPECT_EQ(peer.numbers(), upTo(1));
    transport.beginTick();
    transport.flush();
    wire->send(numbered(0), {});
    EXPECT_EQ(peer.numbers(), upTo(1));
}

TEST(UdpOSCTick, KeepsNothingOfOtherThreadsOrOfOtherTransports) {
    Peer peer;
    Peer other;
    UdpOSCTransport transport(here);
    UdpOSCTransport otherTransport(here);
    const auto wire = transport.makeWire("A", here, peer.port());
    const auto otherWire = otherTransport.makeWire("B", here, other.port());
    transport.beginTick();
    std::thread([&] { wire->send(numbered(0), {}); }).join();
    EXPECT_EQ(peer.numbers(), upTo(1));
    otherWire->send(numbered(0), {});
    EXPECT_EQ(other.numbers(), upTo(1));
    transport.flush();
    EXPECT_TRUE(peer.numbers().empty());
}

TEST(UdpOSCTick, KeepsTheOrderOfEachOutput) {
    Peer one;
    Peer other;
    UdpOSCTransport transport(here);
    const auto first = transport.makeWire("A", here, one.port());
    const auto second = transport.makeWire("B", here, other.port());
    for (int tick = 0; tick < 3; ++tick) {
        transport.beginTick();
        for (int i = 0; i < 50; ++i) {
            first->send(numbered(i), {});
            second->send(numbered(i), {});
        }
        transport.flush();
        EXPECT_EQ(one.numbers(), upTo(50));
        EXPECT_EQ(other.numbers(), upTo(50));
    }
}

TEST(UdpOSCTick, SendsMoreThanItCanKeepInOrder) {
    Peer peer;
    UdpOSCTransport transport(here);
    const auto wire = transport.makeWire("A", here, peer.port());
    transport.beginTick();
    for (int i = 0; i < 3000; ++i) {
        wire->send(numbered(i), {});
        // The receiver's room is smaller than all of it.
        if (i == 1499) {
            const std::vector<int> early = peer.numbers();
            EXPECT_EQ(early, upTo(static_cast<int>(early.size())));
            EXPECT_GE(early.size(), 512u);
            transport.flush();
            peer.numbers();
            transport.beginTick();
        }
    }
    transport.flush();
    const std::vector<int> late = peer.numbers();
    ASSERT_FALSE(late.empty());
    EXPECT_EQ(late.front(), 1500);
    EXPECT_EQ(late.back(), 2999);
    EXPECT_EQ(wire->counters().sent, 3000u);
}

TEST(UdpOSCTick, KeepsAMessageOfAnySizeInItsPlace) {
    Peer peer;
    UdpOSCTransport transport(here);
    const auto wire = transport.makeWire("A", here, peer.port());
    transport.beginTick();
    std::vector<int> expected;
    for (int i = 0; i < 40; ++i) {
        OSCMessage message = numbered(i);
        if (i % 5 == 4) {
            for (int k = 0; k < 12000; ++k) message.addInt(k);
        }
        if (i == 33) {
            for (int k = 0; k < 20000; ++k) message.addInt(k); // no datagram holds it
        } else {
            expected.push_back(i);
        }
        wire->send(message, {});
    }
    transport.flush();
    EXPECT_EQ(peer.numbers(), expected);
    EXPECT_EQ(wire->counters().dropped, 1u);
}

TEST(UdpOSCTick, SendsThroughAnOutputThatGoesAwayInItsMidst) {
    Peer peer;
    UdpOSCTransport transport(here);
    auto wire = transport.makeWire("A", here, peer.port());
    std::atomic<bool> sent{false};
    std::atomic<bool> removing{false};
    std::thread tick([&] {
        transport.beginTick();
        for (int i = 0; i < 20; ++i) wire->send(numbered(i), {});
        sent = true;
        // Long enough for the removal to run into the tick.
        EXPECT_TRUE(eventually([&] { return removing.load(); }));
        for (int i = 0; i < 1000; ++i) std::this_thread::yield();
        transport.flush();
    });
    ASSERT_TRUE(eventually([&] { return sent.load(); }));
    removing = true;
    wire.reset();
    tick.join();
    EXPECT_EQ(peer.numbers(), upTo(20));
}

TEST(UdpOSCTick, LosesNoCountWhenItsTargetIsNotThereAnyMore) {
    Peer peer;
    UdpOSCTransport transport(here, [](const std::string&) -> LookupResult { return {std::nullopt, "no"}; });
    const auto wire = transport.makeWire("A", here, peer.port());
    transport.beginTick();
    for (int i = 0; i < 20; ++i) wire->send(numbered(i), {});
    wire->setTarget("desk", 9);
    transport.flush();
    EXPECT_TRUE(peer.numbers().empty());
    EXPECT_EQ(wire->counters().dropped, 20u);
    EXPECT_EQ(wire->counters().sent, 0u);
}

TEST(UdpOSCTick, NeitherAllocatesNorWaits) {
    Peer peer;
    UdpOSCTransport transport(here);
    const auto wire = transport.makeWire("A", here, peer.port());
    const OSCMessage message = numbered(1);
    std::size_t violations = 0;
    {
        const RealtimeScope scope;
        for (int tick = 0; tick < 20; ++tick) {
            transport.beginTick();
            for (int i = 0; i < 700; ++i) wire->send(message, {});
            transport.flush();
        }
        violations = scope.violations();
    }
    EXPECT_EQ(violations, 0U);
    EXPECT_EQ(wire->counters().sent + wire->counters().dropped, 20U * 700U);
}
