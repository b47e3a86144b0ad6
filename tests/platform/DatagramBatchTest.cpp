#include "platform/DatagramBatch.h"

#include "RealtimeScope.h"
#include "platform/UdpSocket.h"

#include <gtest/gtest.h>

#include <cstring>
#include <netinet/udp.h>
#include <string>
#include <vector>

using namespace marvo;

namespace {

// A receiver and a socket that is connected to it.
struct Link {
    explicit Link(const std::string& address = "127.0.0.1") {
        const auto any = SocketAddress::fromNumeric(address, 0);
        EXPECT_EQ(in.open(any->family()), 0);
        EXPECT_EQ(in.bind(*any), 0);
        const int room = 4 << 20;
        ::setsockopt(in.descriptor(), SOL_SOCKET, SO_RCVBUF, &room, sizeof room);
        EXPECT_EQ(out.open(any->family()), 0);
        EXPECT_EQ(out.connect(*SocketAddress::fromNumeric(address, in.localPort())), 0);
    }
    // Loopback delivers before the sending call returns.
    std::vector<std::string> received() const {
        std::vector<std::string> packets;
        std::vector<std::byte> space(70000);
        for (long got = in.receive(space); got >= 0; got = in.receive(space))
            packets.emplace_back(reinterpret_cast<const char*>(space.data()), static_cast<std::size_t>(got));
        return packets;
    }
    UdpSocket in;
    UdpSocket out;
};

void add(DatagramBatch& batch, const std::string& packet) {
    ASSERT_LE(packet.size(), batch.room().size());
    std::memcpy(batch.room().data(), packet.data(), packet.size());
    batch.add(packet.size());
}

std::vector<std::string> numbered(std::size_t count, std::size_t (*sizeOf)(std::size_t)) {
    std::vector<std::string> packets;
    for (std::size_t i = 0; i < count; ++i) {
        std::string packet = std::to_string(i) + " ";
        packet.resize(std::max(packet.size(), sizeOf(i)), static_cast<char>('a' + i % 26));
        packets.push_back(packet);
    }
    return packets;
}

std::uint64_t bytesOf(const std::vector<std::string>& packets) {
    std::uint64_t bytes = 0;
    for (const std::string& packet : packets) bytes += packet.size();
    return bytes;
}

void expectAllArrive(const std::vector<std::string>& packets, bool segments) {
    const Link link;
    DatagramBatch batch(1 << 20, packets.size());
    for (const std::string& packet : packets) add(batch, packet);
    const DatagramTally tally = batch.send(link.out.descriptor(), segments);
    EXPECT_EQ(tally.sent, packets.size());
    EXPECT_EQ(tally.bytes, bytesOf(packets));
    EXPECT_EQ(tally.dropped, 0u);
    EXPECT_EQ(tally.lastError, 0);
    EXPECT_EQ(batch.count(), 0u);
    EXPECT_EQ(link.received(), packets);
}

constexpr auto equalSizes = [](std::size_t) { return std::size_t{28}; };
constexpr auto mixedSizes = [](std::size_t i) { return 8 + i * 7919 % 61 * 4; };
constexpr auto fallingSizes = [](std::size_t i) { return 400 - i % 100 * 4; };
constexpr auto largeAmongSmall = [](std::size_t i) {
    return i % 10 == 3 ? std::size_t{5000} : std::size_t{24};
};

} // namespace

TEST(DatagramBatch, KeepsPacketsApartAndInOrder) {
    for (const std::size_t count : {1u, 8u, 9u, 63u, 64u, 65u, 129u, 500u}) {
        for (const bool segments : {false, true}) {
            expectAllArrive(numbered(count, equalSizes), segments);
            expectAllArrive(numbered(count, mixedSizes), segments);
            expectAllArrive(numbered(count, fallingSizes), segments);
            expectAllArrive(numbered(count, largeAmongSmall), segments);
        }
    }
}

TEST(DatagramBatch, SendsRowsOfLargePacketsToo) {
    // Together they are more than the largest row.
    expectAllArrive(numbered(100, [](std::size_t) { return std::size_t{1200}; }), true);
}

TEST(DatagramBatch, SpeaksTheNewerProtocolToo) {
    const Link link("::1");
    const auto packets = numbered(40, equalSizes);
    DatagramBatch batch(4096, 40);
    for (const std::string& packet : packets) add(batch, packet);
    bool segments = DatagramBatch::canSegment(link.out.descriptor());
    EXPECT_EQ(batch.send(link.out.descriptor(), segments).sent, 40u);
    EXPECT_EQ(link.received(), packets);
}

TEST(DatagramBatch, HandsManyPacketsToTheKernelAtOnce) {
    const Link link;
    bool segments = DatagramBatch::canSegment(link.out.descriptor());
    ASSERT_TRUE(segments) << "this kernel is older than the oldest that is served";
    // A receiver that asks for rows is told how they were put together.
    const int yes = 1;
    ASSERT_EQ(::setsockopt(link.in.descriptor(), SOL_UDP, UDP_GRO, &yes, sizeof yes), 0);
    const auto packets = numbered(40, equalSizes);
    DatagramBatch batch(4096, 40);
    for (const std::string& packet : packets) add(batch, packet);
    batch.send(link.out.descriptor(), segments);
    const std::vector<std::string> rows = link.received();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].size(), 40u * 28u);
}

TEST(DatagramBatch, SendsAHandfulOneByOne) {
    const Link link;
    bool segments = true;
    const int yes = 1;
    ASSERT_EQ(::setsockopt(link.in.descriptor(), SOL_UDP, UDP_GRO, &yes, sizeof yes), 0);
    DatagramBatch batch(4096, 40);
    const auto packets = numbered(DatagramBatch::fewPackets, equalSizes);
    for (const std::string& packet : packets) add(batch, packet);
    batch.send(link.out.descriptor(), segments);
    EXPECT_EQ(link.received(), packets);
}

TEST(DatagramBatch, GoesOnPacketByPacketWhereRowsAreRefused) {
    const Link link;
    // A socket without checksums refuses rows, as a device without them does.
    const int yes = 1;
    ASSERT_EQ(::setsockopt(link.out.descriptor(), SOL_SOCKET, SO_NO_CHECK, &yes, sizeof yes), 0);
    const auto packets = numbered(200, mixedSizes);
    DatagramBatch batch(1 << 16, 200);
    for (const std::string& packet : packets) add(batch, packet);
    bool segments = true;
    const DatagramTally tally = batch.send(link.out.descriptor(), segments);
    EXPECT_FALSE(segments);
    EXPECT_EQ(tally.sent, 200u);
    EXPECT_EQ(tally.bytes, bytesOf(packets));
    EXPECT_EQ(tally.lastError, 0);
    EXPECT_EQ(link.received(), packets);
}

TEST(DatagramBatch, TakesNobodyListeningForNoFailure) {
    Link link;
    const std::uint16_t port = link.in.localPort();
    link.in.close();
    DatagramBatch batch(4096, 100);
    for (int round = 0; round < 5; ++round) {
        for (const bool rows : {true, false}) {
            for (const std::string& packet : numbered(30, equalSizes)) add(batch, packet);
            bool segments = rows;
            const DatagramTally tally = batch.send(link.out.descriptor(), segments);
            EXPECT_EQ(tally.sent, 30u);
            EXPECT_EQ(tally.dropped, 0u);
            EXPECT_EQ(tally.lastError, 0);
            EXPECT_EQ(segments, rows);
        }
    }
    ASSERT_EQ(link.in.open(AF_INET), 0);
    ASSERT_EQ(link.in.bind(*SocketAddress::fromNumeric("127.0.0.1", port)), 0);
    const auto packets = numbered(30, equalSizes);
    for (const std::string& packet : packets) add(batch, packet);
    bool segments = true;
    batch.send(link.out.descriptor(), segments);
    EXPECT_EQ(link.received(), packets) << "the first one after the silence is not lost";
}

TEST(DatagramBatch, CountsWhatTheNetworkDoesNotTake) {
    UdpSocket unconnected;
    ASSERT_EQ(unconnected.open(AF_INET), 0);
    DatagramBatch batch(4096, 100);
    for (const std::string& packet : numbered(30, equalSizes)) add(batch, packet);
    bool segments = true;
    const DatagramTally tally = batch.send(unconnected.descriptor(), segments);
    EXPECT_EQ(tally.sent, 0u);
    EXPECT_EQ(tally.dropped, 30u);
    EXPECT_EQ(tally.lastError, EDESTADDRREQ);
    EXPECT_TRUE(segments) << "says nothing about the route";
    EXPECT_EQ(batch.count(), 0u);
}

TEST(DatagramBatch, NeitherAllocatesNorWaits) {
    const Link link;
    DatagramBatch batch(1 << 16, 200);
    const auto packets = numbered(200, mixedSizes);
    bool segments = true;
    std::size_t violations = 0;
    {
        const RealtimeScope scope;
        for (int round = 0; round < 20; ++round) {
            for (const std::string& packet : packets) add(batch, packet);
            batch.send(link.out.descriptor(), segments);
        }
        violations = scope.violations();
    }
    EXPECT_EQ(violations, 0u);
}
