#include "endpoints/artnet/ArtNetPacket.h"

#include "ArtNetWire.h"
#include "RealtimeScope.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>

namespace marvo {
namespace {

std::vector<std::byte> bytesOf(std::initializer_list<int> values) {
    std::vector<std::byte> bytes;
    for (const int value : values) bytes.push_back(static_cast<std::byte>(value));
    return bytes;
}

template <class Message>
std::vector<std::byte> encoded(const Message& message) {
    std::vector<std::byte> space(600);
    space.resize(encodeArtNet(message, space));
    return space;
}

TEST(ArtNetPacket, WritesTheDmxPacketThatEveryReceiverKnows) {
    const auto data = bytesOf({255, 128});
    EXPECT_EQ(
        encoded(ArtDmx{7, 1, 0x0112, data}),
        bytesOf({'A', 'r', 't', '-', 'N', 'e', 't', 0, 0x00, 0x50, 0, 14, 7, 1, 0x12, 0x01, 0, 2, 255, 128}));
}

TEST(ArtNetPacket, WritesPollAndSyncAsEveryReceiverKnowsThem) {
    ArtPoll poll;
    poll.flags = 2;
    EXPECT_EQ(encoded(poll), bytesOf({'A', 'r', 't', '-', 'N', 'e', 't', 0, 0x00, 0x20, 0,
                                      14,  2,   0,   0,   0,   0,   0,   0, 0,    0,    0}));
    EXPECT_EQ(encoded(ArtSync{}), bytesOf({'A', 'r', 't', '-', 'N', 'e', 't', 0, 0x00, 0x52, 0, 14, 0, 0}));
}

TEST(ArtNetPacket, PutsEachFieldOfAReplyInItsPlace) {
    ArtPollReply reply = nodeReply("10.1.2.3", {0x21, 0x22}, "short", 3);
    reply.setLongName("long");
    reply.setNodeReport("report");
    reply.version = 0x0102;
    reply.status1 = 0xd0;
    reply.status2 = 0x08;
    reply.style = 1;
    reply.hardwareAddress = {1, 2, 3, 4, 5, 6};
    reply.bindAddress = address("10.1.2.4");
    const auto bytes = encoded(reply);
    ASSERT_EQ(bytes.size(), 239u);
    const auto at = [&](std::size_t place) { return static_cast<int>(bytes[place]); };
    EXPECT_EQ(at(8), 0x00);
    EXPECT_EQ(at(9), 0x21);
    EXPECT_EQ(at(10), 10);
    EXPECT_EQ(at(13), 3);
    EXPECT_EQ(at(14), 0x36); // the port, low byte first
    EXPECT_EQ(at(15), 0x19);
    EXPECT_EQ(at(16), 1);
    EXPECT_EQ(at(17), 2);
    EXPECT_EQ(at(19), 2);
    EXPECT_EQ(at(20), 0x00);
    EXPECT_EQ(at(21), 0xff);
    EXPECT_EQ(at(23), 0xd0);
    EXPECT_EQ(at(26), 's');
    EXPECT_EQ(at(44), 'l');
    EXPECT_EQ(at(108), 'r');
    EXPECT_EQ(at(173), 2);
    EXPECT_EQ(at(174), 0x80);
    EXPECT_EQ(at(175), 0x80);
    EXPECT_EQ(at(176), 0);
    EXPECT_EQ(at(190), 1);
    EXPECT_EQ(at(191), 2);
    EXPECT_EQ(at(200), 1);
    EXPECT_EQ(at(201), 1);
    EXPECT_EQ(at(206), 6);
    EXPECT_EQ(at(207), 10);
    EXPECT_EQ(at(210), 4);
    EXPECT_EQ(at(211), 3);
    EXPECT_EQ(at(212), 0x08);
    ArtPollReply back;
    ASSERT_TRUE(decodeArtNet(bytes, back));
    EXPECT_EQ(back, reply);
    EXPECT_EQ(back.portAddressOf(back.swOut[1]), 0x22);
}

TEST(ArtNetPacket, CutsTextsThatAreTooLong) {
    ArtPollReply reply;
    reply.setShortName(std::string(100, 'x'));
    EXPECT_EQ(reply.shortNameText(), std::string(17, 'x'));
    reply.shortName.fill('y');
    EXPECT_EQ(reply.shortNameText(), std::string(18, 'y')) << "of a device that leaves out the zero";
}

TEST(ArtNetPacket, RefusesWhatIsCutAnywhere) {
    const std::vector<std::byte> data(512, std::byte{9});
    const auto dmx = encoded(ArtDmx{1, 0, 0, data});
    for (std::size_t size = 0; size < dmx.size(); ++size) {
        ArtDmx out;
        // A copy of exactly that size, so that a sanitizer sees a step beyond.
        const std::vector<std::byte> cut(dmx.begin(), dmx.begin() + static_cast<std::ptrdiff_t>(size));
        ASSERT_FALSE(decodeArtNet(cut, out)) << size;
    }
    const auto reply = encoded(ArtPollReply{});
    for (std::size_t size = 0; size <= reply.size(); ++size) {
        ArtPollReply out;
        const std::vector<std::byte> cut(reply.begin(), reply.begin() + static_cast<std::ptrdiff_t>(size));
        ASSERT_EQ(decodeArtNet(cut, out), size >= ArtPollReply::smallestSize) << size;
    }
    const auto poll = encoded(ArtPoll{});
    for (std::size_t size = 0; size <= poll.size(); ++size) {
        ArtPoll out;
        const std::vector<std::byte> cut(poll.begin(), poll.begin() + static_cast<std::ptrdiff_t>(size));
        ASSERT_EQ(decodeArtNet(cut, out), size >= 12) << size;
    }
}

TEST(ArtNetPacket, RefusesWrongLengthsMarksAndVersions) {
    const std::vector<std::byte> data(512);
    auto bytes = encoded(ArtDmx{1, 0, 0, data});
    ArtDmx out;
    bytes[16] = std::byte{2}; // 513 and more
    bytes[17] = std::byte{1};
    bytes.resize(1000);
    EXPECT_FALSE(decodeArtNet(bytes, out));
    bytes[16] = std::byte{0};
    bytes[17] = std::byte{0};
    EXPECT_FALSE(decodeArtNet(bytes, out));
    bytes[17] = std::byte{3}; // odd, which some send
    EXPECT_TRUE(decodeArtNet(bytes, out));
    EXPECT_EQ(out.data.size(), 3u);
    bytes[11] = std::byte{13};
    EXPECT_FALSE(decodeArtNet(bytes, out));
    bytes[11] = std::byte{14};
    bytes[0] = std::byte{'a'};
    EXPECT_FALSE(decodeArtNet(bytes, out));
    EXPECT_EQ(artNetOpcodeOf(bytes), ArtNetOpcode::unknown);
}

TEST(ArtNetPacket, WritesNothingWhereItDoesNotFit) {
    std::vector<std::byte> space(529);
    const std::vector<std::byte> data(513);
    const std::span all(data);
    EXPECT_EQ(encodeArtNet(ArtDmx{0, 0, 0, all.first(512)}, space), 0u);
    space.resize(600);
    EXPECT_EQ(encodeArtNet(ArtDmx{0, 0, 0, all}, space), 0u);
    EXPECT_EQ(encodeArtNet(ArtDmx{0, 0, 0, {}}, space), 0u);
    EXPECT_EQ(encodeArtNet(ArtDmx{0, 0, 0, all.first(512)}, space), 530u);
    EXPECT_EQ(encodeArtNet(ArtPoll{}, std::span(space).first(21)), 0u);
    EXPECT_EQ(encodeArtNet(ArtPollReply{}, std::span(space).first(238)), 0u);
    EXPECT_EQ(encodeArtNet(ArtSync{}, std::span(space).first(13)), 0u);
}

TEST(ArtNetPacket, TakesEarlyPollsForUntargeted) {
    ArtPoll poll;
    poll.flags = ArtPoll::targeted;
    poll.targetTop = 3;
    poll.targetBottom = 1;
    auto bytes = encoded(poll);
    ArtPoll out;
    ASSERT_TRUE(decodeArtNet(bytes, out));
    EXPECT_TRUE(out.asksFor(1));
    EXPECT_TRUE(out.asksFor(3));
    EXPECT_FALSE(out.asksFor(0));
    EXPECT_FALSE(out.asksFor(4));
    bytes.resize(14);
    ASSERT_TRUE(decodeArtNet(bytes, out));
    EXPECT_TRUE(out.asksFor(4));
}

TEST(ArtNetPacket, NeitherAllocatesNorWaits) {
    std::array<std::byte, 600> space{};
    std::array<std::byte, 512> data{};
    ArtDmx dmx{1, 0, 3, data};
    ArtPollReply reply;
    RealtimeScope scope;
    const std::size_t size = encodeArtNet(dmx, space);
    ASSERT_TRUE(decodeArtNet(std::span(space).first(size), dmx));
    const std::size_t replySize = encodeArtNet(reply, space);
    ASSERT_TRUE(decodeArtNet(std::span(space).first(replySize), reply));
    EXPECT_EQ(scope.violations(), 0u) << scope.report();
}

// As the fuzzer does with them.
TEST(ArtNetCorpus, ReadsEveryKeptPacketWithoutHarmAndWritesItBackTheSame) {
    int read = 0;
    for (const auto& file : std::filesystem::directory_iterator(MARVO_ARTNET_CORPUS)) {
        std::ifstream stream(file.path(), std::ios::binary);
        const std::string text((std::istreambuf_iterator<char>(stream)), {});
        const auto packet = std::as_bytes(std::span(text.data(), text.size()));
        ArtDmx dmx;
        if (decodeArtNet(packet, dmx)) {
            const auto again = encoded(dmx);
            ArtDmx back;
            ASSERT_TRUE(decodeArtNet(again, back)) << file.path();
            EXPECT_TRUE(std::equal(dmx.data.begin(), dmx.data.end(), back.data.begin(), back.data.end()));
            EXPECT_EQ(back.sequence, dmx.sequence);
            EXPECT_EQ(back.portAddress, dmx.portAddress);
        }
        ArtPollReply reply;
        if (decodeArtNet(packet, reply)) {
            ArtPollReply back;
            ASSERT_TRUE(decodeArtNet(encoded(reply), back)) << file.path();
            EXPECT_EQ(back, reply);
        }
        ArtPoll poll;
        if (decodeArtNet(packet, poll)) {
            ArtPoll back;
            ASSERT_TRUE(decodeArtNet(encoded(poll), back)) << file.path();
            EXPECT_EQ(back, poll);
        }
        ++read;
    }
    EXPECT_GE(read, 10);
}

} // namespace
} // namespace marvo
