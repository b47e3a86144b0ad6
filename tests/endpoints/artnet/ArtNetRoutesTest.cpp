// Where a universe goes.
#include "ArtNetWorld.h"

#include <gmock/gmock.h>

namespace marvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Packet = ArtNetWire::Packet;

void keepAnswering(ArtNetWorld& world, int millisecond, std::initializer_list<int> universes) {
    if (millisecond % 2000 == 0) world.transport.bring(nodeReply("10.0.0.1", universes), "10.0.0.1");
}

TEST(ArtNetSender, SendsNothingThatIsNoOutput) {
    ArtNetWorld world;
    world.begin({0, 1, 2});
    world.run(3000, [&](int millisecond) {
        keepAnswering(world, millisecond, {0, 1, 2});
        for (const int universe : {0, 1, 2, 200}) world.write(millisecond % 256, 1, universe);
    });
    for (const Packet& packet : world.transport.dmx()) ASSERT_EQ(packet.universe(), 0);
    EXPECT_FALSE(world.transport.dmx().empty());
}

TEST(ArtNetSender, SendsTheDestinationsOfThePatchWhileItIsOn) {
    ArtNetWorld world;
    world.begin({0, 7});
    world.manager.softPatch().createSoftPatchItem(0, 1, 7, "3", -1);
    world.write(50, 1);
    world.run(100);
    EXPECT_THAT(world.transport.dmx(7), IsEmpty());
    world.manager.setSoftPatchEnabled(true);
    world.write(60, 1);
    world.run(100);
    ASSERT_FALSE(world.transport.dmx(7).empty());
    EXPECT_EQ(world.transport.dmx(7).back().value(3), 60);
    world.manager.softPatch().removeAllSoftPatchItems();
    world.transport.sent.clear();
    world.run(2000);
    EXPECT_THAT(world.transport.dmx(7), IsEmpty());
}

TEST(ArtNetSender, SendsWhatWasWrittenBeforeTheOutputWasMade) {
    ArtNetWorld world;
    world.begin({0, 1});
    world.write(31, 1, 1);
    world.run(50);
    EXPECT_THAT(world.transport.dmx(1), IsEmpty());
    world.manager.addArtNetOutput();
    world.run(2);
    ASSERT_THAT(world.transport.dmx(1), SizeIs(1));
    EXPECT_EQ(world.transport.dmx(1)[0].value(1), 31);
}

TEST(ArtNetSender, SendsNoOldValueWhenAnOutputReturns) {
    ArtNetWorld world;
    world.begin({0, 1});
    world.manager.addArtNetOutput();
    world.write(31, 1, 1);
    world.run(50);
    world.manager.removeArtNetOutput(1);
    world.run(50);
    world.write(99, 1, 1);
    world.run(50);
    world.transport.sent.clear();
    world.manager.addArtNetOutput();
    world.server.runSender(world.clock.now()); // before the render loop has handed anything over
    world.run(50);
    ASSERT_FALSE(world.transport.dmx(1).empty());
    for (const Packet& packet : world.transport.dmx(1)) EXPECT_EQ(packet.value(1), 99);
}

TEST(ArtNetSender, ClosesEachBurstWithASyncWhereThatIsAskedFor) {
    ArtNetWorld world;
    world.begin({0, 1});
    world.manager.addArtNetOutput();
    world.write(1, 1, 0);
    world.run(50);
    EXPECT_THAT(world.transport.packets(ArtNetOpcode::sync), IsEmpty());
    world.manager.setArtSync(true);
    world.transport.sent.clear();
    world.run(3000, [&](int millisecond) {
        keepAnswering(world, millisecond, {0, 1});
        if (millisecond % 50 == 0 && millisecond < 1000) {
            world.write(millisecond % 256, 1, 0);
            world.write(millisecond % 256, 1, 1);
        }
    });
    bool owed = false;
    std::size_t syncs = 0;
    for (const Packet& packet : world.transport.sent) {
        if (packet.opcode() == ArtNetOpcode::dmx) owed = true;
        if (packet.opcode() == ArtNetOpcode::sync) {
            EXPECT_TRUE(owed) << "nothing to show";
            EXPECT_EQ(packet.to, "10.0.0.255");
            owed = false;
            ++syncs;
        }
    }
    EXPECT_FALSE(owed);
    EXPECT_GE(syncs, 20u) << "also of what is repeated: a device that heard one waits for the next";
}

TEST(ArtNetSender, SendsNoSyncWhereNothingWasSent) {
    ArtNetWorld world;
    world.begin({});
    world.manager.setArtSync(true);
    world.run(3000, [&](int millisecond) { world.write(millisecond % 256, 1); });
    EXPECT_THAT(world.transport.packets(ArtNetOpcode::sync), IsEmpty());
}

TEST(ArtNetSender, SendsToTheWholeNetworkOnlyWhereThatIsForced) {
    ArtNetWorld world;
    world.begin({});
    world.write(1, 1);
    world.run(1000);
    EXPECT_THAT(world.transport.dmx(), IsEmpty()) << "nobody asked for it";
    world.manager.setOutputSending(0, {true, 0});
    world.run(50);
    ASSERT_FALSE(world.transport.dmx().empty());
    for (const Packet& packet : world.transport.dmx()) EXPECT_EQ(packet.to, "10.0.0.255");
}

TEST(ArtNetSender, SendsToEachDeviceThatAskedForTheUniverse) {
    ArtNetWorld world;
    world.begin({0});
    world.transport.bring(nodeReply("10.0.0.2", {0, 1}), "10.0.0.2");
    world.transport.bring(nodeReply("10.0.0.3", {1}), "10.0.0.3");
    world.run(50);
    world.transport.sent.clear();
    world.write(1, 1);
    world.run(1);
    std::vector<std::string> to;
    for (const Packet& packet : world.transport.dmx()) to.push_back(packet.to);
    EXPECT_THAT(to, ElementsAre("10.0.0.1", "10.0.0.2"));
    const auto packets = world.transport.dmx();
    EXPECT_EQ(packets[0].dmx().sequence, packets[1].dmx().sequence);
}

TEST(ArtNetSender, SendsOnceToAllWhenMoreThanFortyDevicesAsk) {
    ArtNetWorld world;
    world.begin({});
    for (int host = 100; host < 140; ++host) {
        const std::string ip = "10.0.0." + std::to_string(host);
        world.transport.bring(nodeReply(ip.c_str(), {0}), ip.c_str());
    }
    world.run(50);
    world.transport.sent.clear();
    world.write(1, 1);
    world.run(1);
    EXPECT_THAT(world.transport.dmx(), SizeIs(40));
    world.transport.bring(nodeReply("10.0.0.99", {0}), "10.0.0.99");
    world.run(50);
    world.transport.sent.clear();
    world.write(2, 1);
    world.run(1);
    ASSERT_THAT(world.transport.dmx(), SizeIs(1));
    EXPECT_EQ(world.transport.dmx()[0].to, "10.0.0.255");
}

TEST(ArtNetSender, GivesADeviceThatComesThePresentValuesAtOnce) {
    ArtNetWorld world;
    world.begin({});
    world.write(42, 1);
    world.run(200);
    EXPECT_THAT(world.transport.dmx(), IsEmpty());
    world.transport.bring(nodeReply("10.0.0.7", {0}), "10.0.0.7");
    world.run(25);
    ASSERT_THAT(world.transport.dmx(), SizeIs(1));
    EXPECT_EQ(world.transport.dmx()[0].value(1), 42);
    EXPECT_EQ(world.transport.dmx()[0].to, "10.0.0.7");
}

TEST(ArtNetSender, GoesOnCountingAndKeepsItsDevicesWhenItIsStartedAnewAtTheSameAddress) {
    ArtNetWorld world;
    world.begin();
    world.write(1, 1);
    world.run(50);
    const int before = world.transport.dmx().back().dmx().sequence;
    world.manager.startArtNetServer();
    world.transport.sent.clear();
    world.run(30);
    ASSERT_FALSE(world.transport.dmx().empty()) << "at once, to those who were there";
    EXPECT_EQ(world.transport.dmx()[0].dmx().sequence, before + 1);
    EXPECT_EQ(world.transport.dmx()[0].value(1), 1);
    world.server.startManagerWithIPAddress("10.0.1.9", std::nullopt);
    world.transport.sent.clear();
    world.run(30);
    EXPECT_THAT(world.transport.dmx(), IsEmpty()) << "another network has other devices";
}

TEST(ArtNetSender, IsSilentWhileArtNetIsDisabled) {
    ArtNetWorld world;
    world.begin();
    world.manager.selectNetworkInterface("Disable Art-Net");
    world.transport.sent.clear();
    world.run(4000, [&](int millisecond) { world.write(millisecond % 256, 1); });
    EXPECT_THAT(world.transport.sent, IsEmpty());
    EXPECT_THAT(world.troubles, IsEmpty());
}

} // namespace
} // namespace marvo
