// When a universe leaves, and how.
#include "ArtNetWorld.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <random>

namespace marvo {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Packet = ArtNetWire::Packet;

// The most packets in any second.
std::size_t busiestSecond(const std::vector<Packet>& packets) {
    std::size_t most = 0;
    std::size_t first = 0;
    for (std::size_t last = 0; last < packets.size(); ++last) {
        while (packets[last].at - packets[first].at >= Duration::ofSeconds(1)) ++first;
        most = std::max(most, last - first + 1);
    }
    return most;
}

void keepAnswering(ArtNetWorld& world, int millisecond, std::initializer_list<int> universes) {
    if (millisecond % 2000 == 0) world.transport.bring(nodeReply("10.0.0.1", universes), "10.0.0.1");
}

TEST(ArtNetSender, SendsAChangeInTheMillisecondInWhichItIsMade) {
    ArtNetWorld world;
    world.begin();
    world.run(500);
    world.transport.sent.clear();
    world.write(77, 5);
    world.run(1);
    const auto packets = world.transport.dmx();
    ASSERT_THAT(packets, SizeIs(1));
    EXPECT_EQ(packets[0].to, "10.0.0.1");
    EXPECT_EQ(packets[0].universe(), 0);
    EXPECT_EQ(packets[0].dmx().data.size(), 512u);
    EXPECT_EQ(packets[0].value(5), 77);
    EXPECT_EQ(packets[0].value(6), 0);
}

TEST(ArtNetSender, SendsAUniverseAtMost44TimesInAnySecond) {
    ArtNetWorld world;
    world.begin();
    world.run(5000, [&](int millisecond) {
        keepAnswering(world, millisecond, {0});
        world.write(millisecond % 256, 1);
    });
    const auto packets = world.transport.dmx(0);
    EXPECT_LE(busiestSecond(packets), 44u);
    EXPECT_GE(packets.size(), 5u * 43) << "and nearly as often";
}

TEST(ArtNetSender, AlwaysSendsTheLastValue) {
    std::mt19937 random(7);
    ArtNetWorld world;
    world.begin();
    for (int round = 0; round < 40; ++round) {
        const int length = std::uniform_int_distribution(1, 60)(random);
        int value = 0;
        world.run(length, [&](int) {
            value = std::uniform_int_distribution(0, 255)(random);
            world.write(value, 1);
        });
        world.run(25);
        ASSERT_EQ(world.transport.dmx(0).back().value(1), value);
    }
}

TEST(ArtNetSender, RepeatsAnUnchangedUniverseBeforeASecondIsOver) {
    ArtNetWorld world;
    world.begin();
    world.write(9, 1);
    world.run(5000, [&](int millisecond) { keepAnswering(world, millisecond, {0}); });
    const auto packets = world.transport.dmx(0);
    ASSERT_GE(packets.size(), 6u);
    for (std::size_t index = 1; index < packets.size(); ++index) {
        EXPECT_NEAR(milliseconds(packets[index - 1].at, packets[index].at), 900, 1.01);
        EXPECT_EQ(packets[index].value(1), 9);
    }
}

TEST(ArtNetSender, RepeatsWhileTheRenderLoopStandsStill) {
    ArtNetWorld world;
    world.begin();
    world.write(9, 1);
    world.run(30);
    world.transport.sent.clear();
    for (int millisecond = 0; millisecond < 2000; ++millisecond) {
        world.clock.advance(Duration::ofMilliseconds(1));
        world.server.runSender(world.clock.now());
    }
    EXPECT_THAT(world.transport.dmx(0), SizeIs(2));
}

TEST(ArtNetSender, KeepsAConstantRateWhereItIsAskedFor) {
    ArtNetWorld world;
    world.begin();
    world.manager.setOutputSending(0, {false, 25});
    world.run(50);
    world.transport.sent.clear();
    world.run(4000, [&](int millisecond) { keepAnswering(world, millisecond, {0}); });
    EXPECT_EQ(world.transport.dmx(0).size(), 100u);
    world.manager.setOutputSending(0, {false, 44});
    world.run(50);
    world.transport.sent.clear();
    world.run(4000, [&](int millisecond) { keepAnswering(world, millisecond, {0}); });
    EXPECT_LE(busiestSecond(world.transport.dmx(0)), 44u);
    EXPECT_GE(world.transport.dmx(0).size(), 170u);
}

TEST(ArtNetSender, CountsEachUniverseFrom1To255AndNever0) {
    ArtNetWorld world;
    world.begin({0, 1});
    world.manager.addArtNetOutput();
    world.run(30);
    const int first = world.transport.dmx(1).back().dmx().sequence;
    world.run(8000, [&](int millisecond) {
        keepAnswering(world, millisecond, {0, 1});
        world.write(millisecond % 256, 1, 0);
    });
    int before = 0;
    for (const Packet& packet : world.transport.dmx(0)) {
        const int sequence = packet.dmx().sequence;
        if (before != 0) {
            ASSERT_EQ(sequence, before == 255 ? 1 : before + 1);
        }
        before = sequence;
    }
    EXPECT_GT(world.transport.dmx(0).size(), 300u) << "once round";
    EXPECT_EQ(first, 1) << "of its own";
}

TEST(ArtNetSender, SendsWhatChangedTogetherTogether) {
    ArtNetWorld world;
    world.begin({0, 1, 2});
    world.manager.addArtNetOutput();
    world.manager.addArtNetOutput();
    world.run(100);
    world.transport.sent.clear();
    world.write(1, 1, 0);
    world.run(5);
    ASSERT_THAT(world.transport.dmx(), SizeIs(1));
    const MonotonicTime before = world.transport.dmx()[0].at;
    world.transport.sent.clear();
    // Universe 0 has been sent just now; 1 and 2 wait for it, so that no half of the picture is seen.
    for (const int universe : {0, 1, 2}) world.write(2, 1, universe);
    world.run(30);
    const auto packets = world.transport.dmx();
    ASSERT_THAT(packets, SizeIs(3));
    EXPECT_NEAR(milliseconds(before, packets[0].at), 23, 0.01) << "not before its turn, nor after it";
    for (const Packet& packet : packets) {
        EXPECT_EQ(packet.at, packets[0].at);
        EXPECT_EQ(packet.value(1), 2);
    }
}

TEST(ArtNetSender, HoldsNoChangeBackForLongerThanAFrame) {
    std::mt19937 random(3);
    ArtNetWorld world;
    world.begin({0, 1, 2, 3});
    for (int count = 0; count < 3; ++count) world.manager.addArtNetOutput();
    world.run(100);
    world.transport.sent.clear();
    std::array<int, 4> written{};
    std::array<MonotonicTime, 4> since{};
    world.run(4000, [&](int millisecond) {
        keepAnswering(world, millisecond, {0, 1, 2, 3});
        for (const Packet& packet : world.transport.dmx()) {
            const auto universe = static_cast<std::size_t>(packet.universe());
            if (packet.value(1) == written[universe]) since[universe] = {};
        }
        world.transport.sent.clear();
        for (std::size_t universe = 0; universe < 4; ++universe) {
            if (since[universe].nanoseconds != 0) {
                ASSERT_LE(milliseconds(since[universe], world.clock.now()), 25.0);
            } else if (random() % 10 == 0) {
                written[universe] = (written[universe] + 1) % 256;
                since[universe] = world.clock.now();
                world.write(written[universe], 1, static_cast<int>(universe));
            }
        }
    });
}

TEST(ArtNetSender, SendsNoHalfOfAFrameWhileTheFaderMoves) {
    ArtNetWorld world;
    world.begin();
    world.run(50);
    world.transport.sent.clear();
    const Observation track = world.center.observe(world.notifications.ReprocessArtNetColorTracks, [&] {
        world.write(1, 1);
        world.manager.sendAllDMXData(); // the render loop, in the middle of it
        world.server.runSender(world.clock.now());
        world.write(1, 2);
    });
    world.manager.setMasterFader(0.5f);
    world.run(1);
    ASSERT_THAT(world.transport.dmx(), SizeIs(1));
    EXPECT_EQ(world.transport.dmx()[0].value(1), 1);
    EXPECT_EQ(world.transport.dmx()[0].value(2), 1);
}

TEST(ArtNetSender, GoesOnWhereTheNetworkHadNoRoomAndLosesNothing) {
    ArtNetWorld world;
    world.begin({0, 1, 2, 3});
    for (int count = 0; count < 3; ++count) world.manager.addArtNetOutput();
    world.run(100);
    world.transport.sent.clear();
    for (int universe = 0; universe < 4; ++universe) world.write(5, 1, universe);
    world.transport.room = 2;
    world.run(1);
    EXPECT_THAT(world.transport.dmx(), SizeIs(2));
    world.run(3);
    world.transport.room = 100;
    world.run(2);
    std::vector<int> universes;
    for (const Packet& packet : world.transport.dmx()) universes.push_back(packet.universe());
    EXPECT_THAT(universes, ElementsAre(0, 1, 2, 3));
    EXPECT_EQ(world.server.packetsFailed(), 0u);
}

TEST(ArtNetSender, GivesUpABurstThatFindsNoRoomForATenthOfASecondAndSendsWhatIsNewer) {
    ArtNetWorld world;
    world.begin({0});
    world.run(50);
    world.transport.sent.clear();
    world.transport.room = 0;
    world.write(1, 1);
    world.run(50);
    world.write(2, 1);
    world.run(100);
    EXPECT_GE(world.server.packetsFailed(), 1u);
    world.transport.room = 100;
    world.run(60);
    ASSERT_FALSE(world.transport.dmx().empty());
    EXPECT_EQ(world.transport.dmx().back().value(1), 2);
}

TEST(ArtNetSender, TellsOnceWhenItCannotSendAndWhenItCanAgain) {
    ArtNetWorld world;
    world.begin();
    world.transport.error = ENETUNREACH;
    world.run(4000, [&](int millisecond) { keepAnswering(world, millisecond, {0}); });
    EXPECT_THAT(world.troubles, ElementsAre("+Art-Net cannot send: Network is unreachable"));
    world.transport.error = 0;
    world.run(4000, [&](int millisecond) { keepAnswering(world, millisecond, {0}); });
    ASSERT_THAT(world.troubles, SizeIs(2));
    EXPECT_EQ(world.troubles[1], "-Art-Net sends again");
}

TEST(ArtNetSender, LetsBlackoutLeaveWhileTheRenderLoopStandsStill) {
    ArtNetWorld world;
    world.begin();
    world.write(9, 1);
    world.run(50);
    world.transport.sent.clear();
    world.manager.doBlackout();
    world.clock.advance(Duration::ofMilliseconds(30));
    world.server.runSender(world.clock.now());
    ASSERT_THAT(world.transport.dmx(), SizeIs(1));
    EXPECT_EQ(world.transport.dmx()[0].value(1), 0);
}

} // namespace
} // namespace marvo
