// Who is there.
#include "ArtNetWorld.h"

#include <gmock/gmock.h>

namespace marvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Packet = ArtNetWire::Packet;

std::vector<std::string> shownNodes(const ArtNetWorld& world) {
    std::vector<std::string> rows;
    for (const ArtNetNode& node : world.manager.listOfNodes()) {
        rows.push_back(node.name + " " + node.ip + " " + std::to_string(node.port) + " " +
                       std::to_string(node.subnet) + "-" + std::to_string(node.universe) + " " +
                       node.direction);
    }
    return rows;
}

TEST(ArtNetDiscovery, AsksAtOnceAndThenEveryTwoAndAHalfToThreeSeconds) {
    ArtNetWorld world;
    world.begin({});
    world.manager.startArtNetServer();
    world.run(12000);
    const auto polls = world.transport.packets(ArtNetOpcode::poll);
    ASSERT_GE(polls.size(), 4u);
    for (std::size_t index = 0; index < polls.size(); ++index) {
        EXPECT_EQ(polls[index].to, "10.0.0.255");
        EXPECT_EQ(polls[index].bytes.size(), 22u);
        if (index == 0) continue;
        const double gap = milliseconds(polls[index - 1].at, polls[index].at);
        EXPECT_GE(gap, 2500);
        EXPECT_LE(gap, 3000);
    }
}

TEST(ArtNetDiscovery, AsksAtOnceWhenTheUserDoes) {
    ArtNetWorld world;
    world.begin();
    world.run(500);
    world.transport.sent.clear();
    world.manager.discoverNodes();
    world.run(1);
    EXPECT_THAT(world.transport.packets(ArtNetOpcode::poll), SizeIs(1));
    EXPECT_TRUE(world.lines.has("discoverNodes..."));
}

TEST(ArtNetDiscovery, AnswersItsOwnQuestionToAll) {
    ArtNetWorld world;
    world.begin();
    world.manager.inputSettingsChanged(true, 3, 7);
    world.run(1);
    const auto replies = world.transport.packets(ArtNetOpcode::pollReply);
    ASSERT_THAT(replies, SizeIs(1));
    EXPECT_EQ(replies[0].to, "10.0.0.255");
    EXPECT_EQ(replies[0].bytes.size(), 239u);
    const ArtPollReply reply = replies[0].reply();
    EXPECT_EQ(reply.address.text(), "10.0.0.9");
    EXPECT_EQ(reply.shortNameText(), "Marvo");
    EXPECT_EQ(reply.style, 0x01);
    EXPECT_EQ(reply.numPorts, 1);
    EXPECT_EQ(reply.portTypes[0], 0x80) << "so that others send the input universe here";
    EXPECT_EQ(reply.portAddressOf(reply.swOut[0]), 3 * 16 + 7);
}

TEST(ArtNetDiscovery, AnswersOthersWithinASecond) {
    ArtNetWorld world;
    world.begin();
    world.run(500);
    world.transport.sent.clear();
    world.transport.bring(ArtPoll{}, "10.0.0.20");
    world.run(1000);
    const auto replies = world.transport.packets(ArtNetOpcode::pollReply);
    ASSERT_THAT(replies, SizeIs(1));
    EXPECT_EQ(replies[0].to, "10.0.0.20");
    EXPECT_EQ(replies[0].reply().numPorts, 0) << "nothing is listened to";
}

TEST(ArtNetDiscovery, AnswersAQuestionForAUniverseOnlyWhenItIsMeant) {
    ArtNetWorld world;
    world.begin();
    world.manager.inputSettingsChanged(true, 1, 4);
    world.run(500);
    world.transport.sent.clear();
    ArtPoll poll;
    poll.flags = ArtPoll::targeted;
    poll.targetTop = 19;
    poll.targetBottom = 0;
    world.transport.bring(poll, "10.0.0.20");
    world.run(1000);
    EXPECT_THAT(world.transport.packets(ArtNetOpcode::pollReply), IsEmpty());
    poll.targetTop = 20;
    world.transport.bring(poll, "10.0.0.20");
    world.run(1000);
    EXPECT_FALSE(world.transport.packets(ArtNetOpcode::pollReply).empty());
}

TEST(ArtNetDiscovery, ListsThePortsOfEachDevice) {
    ArtNetWorld world;
    world.begin({0, 5});
    ArtPollReply desk = nodeReply("10.0.0.2", {}, "desk");
    desk.numPorts = 2;
    desk.subSwitch = 2;
    desk.portTypes = {ArtPollReply::portIsInput, ArtPollReply::portIsInput | ArtPollReply::portIsOutput, 0xff,
                      0};
    desk.swIn = {3, 4, 5, 6};
    desk.swOut = {7, 8, 9, 10};
    world.transport.bring(desk, "10.0.0.2");
    // One that needs two answers for its ports.
    world.transport.bring(nodeReply("10.0.0.3", {16, 17, 18, 19}, "wall", 1), "10.0.0.3");
    world.transport.bring(nodeReply("10.0.0.3", {20}, "wall", 2), "10.0.0.3");
    world.run(50);
    EXPECT_THAT(shownNodes(world),
                ElementsAre("node 10.0.0.1 1 0-0 Receiver", "node 10.0.0.1 2 0-5 Receiver",
                            "desk 10.0.0.2 1 2-3 Sender", "desk 10.0.0.2 2 2-8 Receiver",
                            "desk 10.0.0.2 2 2-4 Sender", "wall 10.0.0.3 1 1-0 Receiver",
                            "wall 10.0.0.3 2 1-1 Receiver", "wall 10.0.0.3 3 1-2 Receiver",
                            "wall 10.0.0.3 4 1-3 Receiver", "wall 10.0.0.3 5 1-4 Receiver"));
}

TEST(ArtNetDiscovery, LeavesOutPortsBeyondTheUniversesThatItKnows) {
    ArtNetWorld world;
    world.begin({});
    ArtPollReply reply = nodeReply("10.0.0.2", {0});
    reply.netSwitch = 1;
    world.transport.bring(reply, "10.0.0.2");
    world.write(1, 1);
    world.run(100);
    EXPECT_THAT(shownNodes(world), IsEmpty());
    EXPECT_THAT(world.transport.dmx(), IsEmpty()) << "its universe 0 is another";
}

TEST(ArtNetDiscovery, DoesNotTakeItselfForADevice) {
    ArtNetWorld world;
    world.begin({});
    world.manager.inputSettingsChanged(true, 0, 0);
    world.run(1);
    // What is sent to all comes back; so does what another program of this machine says.
    auto echo = world.transport.packets(ArtNetOpcode::pollReply).back().bytes;
    world.transport.bringBytes(echo, "10.0.0.9");
    world.run(50);
    EXPECT_THAT(shownNodes(world), IsEmpty());
    world.transport.bring(nodeReply("10.0.0.9", {4}, "neighbour"), "10.0.0.9");
    world.run(50);
    EXPECT_THAT(shownNodes(world), ElementsAre("neighbour 10.0.0.9 1 0-4 Receiver"));
}

TEST(ArtNetDiscovery, TrustsTheSenderWhereAReplyNamesAnAddressFromElsewhere) {
    ArtNetWorld world;
    world.begin({});
    world.transport.bring(nodeReply("192.168.7.7", {0}, "a"), "10.0.0.2");
    world.transport.bring(nodeReply("10.0.0.255", {0}, "b"), "10.0.0.3");
    world.transport.bring(nodeReply("0.0.0.0", {0}, "c"), "10.0.0.4");
    world.transport.bring(nodeReply("10.0.0.77", {0}, "d"), "10.0.0.5");
    world.run(50);
    EXPECT_THAT(shownNodes(world), ElementsAre("a 10.0.0.2 1 0-0 Receiver", "b 10.0.0.3 1 0-0 Receiver",
                                               "c 10.0.0.4 1 0-0 Receiver", "d 10.0.0.77 1 0-0 Receiver"));
}

TEST(ArtNetDiscovery, ShowsAnyNameOnOneLine) {
    ArtNetWorld world;
    world.begin({});
    world.transport.bring(nodeReply("10.0.0.2", {0},
                                    "a\nb\xff"
                                    "c"),
                          "10.0.0.2");
    ArtPollReply full = nodeReply("10.0.0.3", {0});
    full.shortName.fill('x');
    world.transport.bring(full, "10.0.0.3");
    world.run(50);
    EXPECT_THAT(shownNodes(world), ElementsAre("a?b?c 10.0.0.2 1 0-0 Receiver",
                                               std::string(18, 'x') + " 10.0.0.3 1 0-0 Receiver"));
}

TEST(ArtNetDiscovery, ForgetsADeviceThatIsSilentForTenSeconds) {
    ArtNetWorld world;
    world.begin({0});
    int changes = 0;
    world.manager.userInterface.nodesChanged = [&] { ++changes; };
    world.run(9000, [&](int millisecond) {
        if (millisecond % 2000 == 0) world.transport.bring(nodeReply("10.0.0.1", {0}), "10.0.0.1");
    });
    EXPECT_THAT(shownNodes(world), SizeIs(1));
    EXPECT_EQ(changes, 0);
    // The last word was spoken a second ago.
    world.run(8500);
    EXPECT_THAT(shownNodes(world), SizeIs(1));
    world.run(1500);
    EXPECT_THAT(shownNodes(world), IsEmpty());
    EXPECT_EQ(changes, 1);
    EXPECT_TRUE(world.lines.has("updateNodeList"));
    world.transport.sent.clear();
    world.write(5, 1);
    world.run(2000);
    EXPECT_THAT(world.transport.dmx(), IsEmpty());
    world.transport.bring(nodeReply("10.0.0.1", {0}), "10.0.0.1");
    world.run(25);
    EXPECT_THAT(shownNodes(world), SizeIs(1));
    EXPECT_FALSE(world.transport.dmx().empty()) << "served again as soon as it is back";
}

TEST(ArtNetDiscovery, FollowsADeviceThatChangesItsUniverse) {
    ArtNetWorld world;
    world.begin({0});
    world.transport.bring(nodeReply("10.0.0.1", {5}), "10.0.0.1");
    world.run(50);
    EXPECT_THAT(shownNodes(world), ElementsAre("node 10.0.0.1 1 0-5 Receiver"));
    world.transport.sent.clear();
    world.write(5, 1);
    world.run(50);
    EXPECT_THAT(world.transport.dmx(), IsEmpty());
}

TEST(ArtNetDiscovery, SaysThatNobodyListensOnceThereWasTimeToAnswer) {
    ArtNetWorld world;
    world.begin({0});
    world.manager.addArtNetOutput();
    world.run(5500, [&](int millisecond) {
        if (millisecond % 2000 == 0) world.transport.bring(nodeReply("10.0.0.1", {0}), "10.0.0.1");
    });
    EXPECT_THAT(world.troubles, IsEmpty());
    EXPECT_THAT(world.server.outputsWithoutListener(), IsEmpty());
    world.run(2000);
    EXPECT_THAT(world.troubles,
                ElementsAre("+No device listens to Art-Net output Marvo Art-Net Out 2 (0-1)"));
    EXPECT_THAT(world.server.outputsWithoutListener(), ElementsAre("Marvo Art-Net Out 2 (0-1)"));
    world.transport.bring(nodeReply("10.0.0.1", {0, 1}), "10.0.0.1");
    world.run(1000);
    ASSERT_THAT(world.troubles, SizeIs(2));
    EXPECT_EQ(world.troubles[1], "-No Art-Net output is without a listening device any more");
}

TEST(ArtNetDiscovery, DoesNotMissListenersWhereTheUserSendsToAll) {
    ArtNetWorld world;
    world.begin({});
    world.manager.setOutputSending(0, {true, 0});
    world.run(10000);
    EXPECT_THAT(world.troubles, IsEmpty());
}

TEST(ArtNetDiscovery, MakesOutputsForTheDevicesThatAreThere) {
    ArtNetWorld world;
    world.manager.autoConfigureArtNetOutputs();
    EXPECT_THAT(world.outputNames(), ElementsAre("Marvo Art-Net Out 1 (0-0)")) << "nobody is there";
    world.begin({18, 19});
    world.manager.autoConfigureArtNetOutputs();
    EXPECT_THAT(world.outputNames(), ElementsAre("Marvo Art-Net Out 1 (1-2)", "Marvo Art-Net Out 2 (1-3)"));
}

TEST(ArtNetDiscovery, MakesOneOutputWhereOnlySendersAreThere) {
    ArtNetWorld world;
    world.begin({});
    ArtPollReply desk = nodeReply("10.0.0.2", {}, "desk");
    desk.numPorts = 1;
    desk.portTypes[0] = ArtPollReply::portIsInput;
    desk.swIn[0] = 9;
    world.transport.bring(desk, "10.0.0.2");
    world.run(50);
    world.manager.autoConfigureArtNetOutputs();
    EXPECT_THAT(world.outputNames(), ElementsAre("Marvo Art-Net Out 1 (0-1)"));
}

TEST(ArtNetFlood, OfFalseDevicesNeitherFillsTheTableNorPutsOutThoseThatAreThere) {
    ArtNetWorld world;
    world.network.present = NetworkConfiguration{{"Ethernet (en0)", "10.0.0.9"}};
    world.transport.mask = address("255.0.0.0");
    world.begin({0});
    std::uint32_t host = 0;
    // 50,000 packets a second.
    world.run(1000, [&](int millisecond) {
        if (millisecond % 500 == 0) world.transport.bring(nodeReply("10.0.0.1", {0}), "10.0.0.1");
        for (int count = 0; count < 50; ++count) {
            const std::string ip = IPv4Address{0x0a010000u + host++}.text();
            world.transport.bring(nodeReply(ip.c_str(), {static_cast<int>(host % 16)}), ip.c_str());
        }
        if (millisecond == 999) world.write(123, 1);
    });
    EXPECT_LE(world.manager.listOfNodes().size(), ArtNetNodes::largestCount);
    EXPECT_TRUE(world.transport.isRead());
    world.run(30);
    EXPECT_EQ(world.transport.dmx(0).back().value(1), 123);
    EXPECT_EQ(shownNodes(world).front(), "node 10.0.0.1 1 0-0 Receiver");
}

TEST(ArtNetFlood, OfQuestionsIsNotAnsweredByAFlood) {
    ArtNetWorld world;
    world.begin();
    world.transport.sent.clear();
    std::uint32_t host = 0;
    world.run(2000, [&](int) {
        for (int count = 0; count < 50; ++count)
            world.transport.bring(ArtPoll{}, IPv4Address{0x0a000100u + host++ % 5000}.text().c_str());
    });
    EXPECT_LE(world.transport.packets(ArtNetOpcode::pollReply).size(), 2u * 64 * 3);
    EXPECT_TRUE(world.transport.isRead());
}

TEST(ArtNetFlood, OfChangingAnswersChangesTheRoutesOnlyNowAndThen) {
    ArtNetWorld world;
    world.begin({0});
    int told = 0;
    world.manager.userInterface.nodesChanged = [&] { ++told; };
    world.run(1000, [&](int) {
        for (int count = 0; count < 50; ++count)
            world.transport.bring(nodeReply("10.0.0.5", {count % 16}), "10.0.0.5");
    });
    EXPECT_LE(told, 51);
    EXPECT_GE(told, 10);
}

TEST(ArtNetFlood, OfBrokenPacketsDoesNothing) {
    ArtNetWorld world;
    world.begin({0});
    ArtNetWire::Packet whole;
    world.transport.bring(nodeReply("10.0.0.5", {0}), "10.0.0.5");
    world.run(1000, [&](int millisecond) {
        for (int count = 0; count < 50; ++count) {
            std::vector<std::byte> bytes(239);
            encodeArtNet(nodeReply("10.0.0.6", {0}), bytes);
            bytes.resize(static_cast<std::size_t>((millisecond * 50 + count) % 207));
            world.transport.bringBytes(std::move(bytes), "10.0.0.6");
        }
    });
    EXPECT_THAT(shownNodes(world), SizeIs(2));
}

} // namespace
} // namespace marvo
