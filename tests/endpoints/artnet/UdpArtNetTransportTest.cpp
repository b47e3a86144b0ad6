// Over the loopback.
#include "Loopback.h"

#include "endpoints/artnet/UdpArtNetPort.h"

#include "Eventually.h"

#include <array>
#include <gmock/gmock.h>
#include <thread>
#include <vector>

namespace marvo {
namespace {

// Who the packets that have come in are from, once there are that many.
std::vector<std::string> heardFrom(ArtNetPort& port, std::size_t count) {
    std::vector<std::string> from;
    eventually([&] {
        for (const ArtNetReceived& one : port.receive()) {
            if (artNetOpcodeOf(one.bytes) == ArtNetOpcode::poll) from.push_back(one.from.text());
        }
        return from.size() >= count;
    });
    return from;
}

TEST(UdpArtNet, CarriesPacketsFromTheChosenAddressToOneAndToAll) {
    UdpArtNetTransport transport(freePort());
    const auto a = opened(transport, "127.0.0.2");
    const auto b = opened(transport, "127.0.0.3");
    const auto c = opened(transport, "127.0.0.4");
    EXPECT_EQ(a->addresses().broadcast.text(), "127.255.255.255");
    EXPECT_TRUE(a->addresses().isOnNetwork(address("127.0.0.3")));
    EXPECT_EQ(sendPoll(*a, "127.0.0.3").sent, 1u);
    EXPECT_THAT(heardFrom(*b, 1), testing::ElementsAre("127.0.0.2"));
    EXPECT_EQ(sendPoll(*a, "127.255.255.255").sent, 1u);
    EXPECT_THAT(heardFrom(*b, 1), testing::ElementsAre("127.0.0.2"));
    EXPECT_THAT(heardFrom(*c, 1), testing::ElementsAre("127.0.0.2"));
    EXPECT_THAT(heardFrom(*a, 1), testing::ElementsAre("127.0.0.2")) << "what is sent to all comes back";
}

TEST(UdpArtNet, SaysWhatIsWrongWhereItCannotBeHad) {
    const std::uint16_t number = freePort();
    UdpArtNetTransport transport(number);
    std::string reason;
    EXPECT_EQ(transport.open(address("203.0.113.77"), reason), nullptr);
    EXPECT_EQ(reason, "no interface of this machine has the address 203.0.113.77");
    UdpSocket other;
    ASSERT_EQ(other.open(AF_INET), 0);
    ASSERT_EQ(other.bind(SocketAddress::any(number)), 0);
    EXPECT_EQ(transport.open(address("127.0.0.2"), reason), nullptr);
    EXPECT_EQ(reason,
              "UDP port " + std::to_string(number) + " is held by another program, which does not share it");
    other.close();
    EXPECT_NE(transport.open(address("127.0.0.2"), reason), nullptr);
}

TEST(UdpArtNet, SharesItsPortWithProgramsThatShareIt) {
    const std::uint16_t number = freePort();
    UdpArtNetTransport transport(number);
    UdpSocket other;
    ASSERT_EQ(other.open(AF_INET), 0);
    const int yes = 1;
    ::setsockopt(other.descriptor(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    ASSERT_EQ(other.bind(SocketAddress::any(number)), 0);
    const auto port = opened(transport, "127.0.0.2");
    ASSERT_NE(port, nullptr);
    sendPoll(*port, "127.255.255.255");
    std::byte space[100];
    EXPECT_TRUE(eventually([&] { return other.receive(space) > 0; })) << "both hear what is said to all";
    EXPECT_THAT(heardFrom(*port, 1), testing::SizeIs(1));
}

TEST(UdpArtNet, LeavesOutADestinationThatFailsAndGoesOn) {
    UdpArtNetTransport transport(freePort());
    const auto a = opened(transport, "127.0.0.2");
    const auto b = opened(transport, "127.0.0.3");
    std::byte space[ArtPoll::encodedSize];
    const std::size_t size = encodeArtNet(ArtPoll{}, space);
    const ArtNetDatagram datagrams[] = {
        {space, size, address("127.0.0.3")},
        {space, size, address("240.0.0.1")}, // what comes from the loopback stays there
        {space, size, address("127.0.0.3")}};
    const ArtNetSendResult result = a->send(datagrams);
    EXPECT_EQ(result.sent, 2u);
    EXPECT_EQ(result.failed, 1u);
    EXPECT_NE(result.error, 0);
    EXPECT_THAT(heardFrom(*b, 2), testing::SizeIs(2));
}

TEST(UdpArtNet, CountsEveryPacketThatANetworkWithoutAWayThereLoses) {
    UdpArtNetTransport transport(freePort());
    const auto a = opened(transport, "127.0.0.2");
    std::byte space[ArtPoll::encodedSize];
    const std::size_t size = encodeArtNet(ArtPoll{}, space);
    const std::vector<ArtNetDatagram> datagrams(300, ArtNetDatagram{space, size, address("240.0.0.1")});
    const ArtNetSendResult result = a->send(datagrams);
    EXPECT_EQ(result.failed, 300u);
    EXPECT_EQ(result.sent, 0u);
}

std::vector<std::string> sequencesHeard(ArtNetPort& port, std::size_t count) {
    std::vector<std::string> heard;
    eventually([&] {
        for (const ArtNetReceived& one : port.receive()) {
            ArtDmx dmx;
            if (decodeArtNet(one.bytes, dmx)) heard.push_back(std::to_string(dmx.portAddress));
        }
        return heard.size() >= count;
    });
    return heard;
}

struct Burst {
    explicit Burst(std::initializer_list<const char*> to) {
        const std::array<std::byte, 512> values{};
        packets.resize(200);
        for (std::size_t index = 0; index < packets.size(); ++index)
            encodeArtNet(ArtDmx{1, 0, static_cast<std::uint16_t>(index), values}, packets[index]);
        for (const char* target : to) {
            for (auto& packet : packets) datagrams.push_back({packet.data(), packet.size(), address(target)});
        }
        for (std::size_t index = 0; index < packets.size(); ++index) wanted.push_back(std::to_string(index));
    }
    std::vector<std::array<std::byte, ArtDmx::encodedSize>> packets;
    std::vector<ArtNetDatagram> datagrams;
    std::vector<std::string> wanted;
};

TEST(UdpArtNet, CarriesABurstWholeAndInOrderToEachOfItsTargets) {
    UdpArtNetTransport transport(freePort());
    const auto a = opened(transport, "127.0.0.2");
    const auto b = opened(transport, "127.0.0.3");
    const auto c = opened(transport, "127.0.0.4");
    const Burst burst({"127.0.0.3", "127.0.0.4"});
    EXPECT_EQ(a->send(burst.datagrams).sent, 400u);
    EXPECT_EQ(sequencesHeard(*b, 200), burst.wanted);
    EXPECT_EQ(sequencesHeard(*c, 200), burst.wanted);
    const Burst toAll({"127.255.255.255"});
    EXPECT_EQ(a->send(toAll.datagrams).sent, 200u);
    EXPECT_EQ(sequencesHeard(*b, 200), toAll.wanted);
}

TEST(UdpArtNet, SendsOneByOneWhereTheRouteTakesNoRows) {
    const std::uint16_t number = freePort();
    UdpArtNetTransport transport(number);
    const auto b = opened(transport, "127.0.0.3");
    UdpSocket own;
    UdpSocket all;
    ASSERT_EQ(own.open(AF_INET), 0);
    const int yes = 1;
    ::setsockopt(own.descriptor(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    ASSERT_EQ(own.bind(*SocketAddress::fromNumeric("127.0.0.2", number)), 0);
    ASSERT_EQ(all.open(AF_INET), 0);
    // Rows need sums that the system makes.
    ASSERT_EQ(::setsockopt(own.descriptor(), SOL_SOCKET, SO_NO_CHECK, &yes, sizeof yes), 0);
    UdpArtNetPort a(std::move(own), std::move(all), {address("127.0.0.2"), {}, {}, {}}, 1, number);
    const Burst burst({"127.0.0.3"});
    const ArtNetSendResult result = a.send(burst.datagrams);
    EXPECT_EQ(result.sent, 200u);
    EXPECT_EQ(result.failed, 0u);
    EXPECT_EQ(sequencesHeard(*b, 200), burst.wanted);
}

TEST(UdpArtNet, WakesTheOneWhoWaitsForInput) {
    UdpArtNetTransport transport(freePort());
    const auto port = opened(transport, "127.0.0.2");
    const MonotonicClock clock;
    const MonotonicTime begun = clock.now();
    std::thread other([&] { port->wake(); });
    port->waitForInput(begun + Duration::ofSeconds(60));
    other.join();
    sendPoll(*port, "127.0.0.2");
    port->waitForInput(begun + Duration::ofSeconds(60));
    EXPECT_LT(clock.now() - begun, Duration::ofSeconds(30));
}

} // namespace
} // namespace marvo
