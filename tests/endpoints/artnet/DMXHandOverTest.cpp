// From the render loop to the thread that sends.
#include "ArtNetWorld.h"

#include "RealtimeScope.h"

#include <gtest/gtest.h>

namespace marvo {
namespace {

TEST(ArtNetSender, CostsTheRenderLoopNoAllocationAndNoWait) {
    ArtNetWorld world;
    world.server.setRecordingDMX(nullptr);
    world.begin();
    for (int count = 0; count < 300; ++count) world.manager.addArtNetOutput();
    RealtimeScope scope;
    for (int round = 0; round < 20; ++round) {
        for (int universe = 0; universe < universeCount; ++universe)
            world.manager.setValue(round + 1, 1, universe, {});
        world.manager.sendAllDMXData();
    }
    EXPECT_EQ(scope.violations(), 0u) << scope.report();
}

UniverseSet allUniverses() {
    UniverseSet all;
    for (int universe = 0; universe < universeCount; ++universe) all.insert(universe);
    return all;
}

TEST(DMXHandOver, CapturesNothingWhileTheOtherSideIsInsideAndEverythingLater) {
    DMXBuffer buffer;
    DMXHandOver handOver;
    buffer.store(7, 1, 3);
    bool busy = false;
    ASSERT_TRUE(handOver.enter());
    EXPECT_EQ(handOver.capture(buffer, allUniverses()), DMXHandOver::Captured::notNow);
    EXPECT_TRUE(handOver.take(busy).isEmpty());
    EXPECT_TRUE(busy);
    handOver.leave();
    EXPECT_EQ(handOver.capture(buffer, allUniverses()), DMXHandOver::Captured::something);
    EXPECT_EQ(handOver.take(busy).size(), 1u);
    EXPECT_FALSE(busy);
}

TEST(DMXHandOver, CarriesTheNewestValuesOfWhatLeaves) {
    DMXBuffer buffer;
    DMXHandOver handOver;
    const UniverseSet all = allUniverses();
    EXPECT_EQ(handOver.capture(buffer, all), DMXHandOver::Captured::nothing);
    buffer.store(1, 1, 3);
    EXPECT_EQ(handOver.capture(buffer, UniverseSet{}), DMXHandOver::Captured::nothing) << "does not leave";
    UniverseSet one;
    one.insert(4);
    buffer.store(1, 1, 4);
    EXPECT_EQ(handOver.capture(buffer, one), DMXHandOver::Captured::something);
    bool wasBusy = false;
    EXPECT_EQ(handOver.take(wasBusy), one) << "what does not leave waits in its place";
    EXPECT_EQ(handOver.capture(buffer, all), DMXHandOver::Captured::something);
    buffer.store(2, 1, 3);
    buffer.store(4, 2, 255);
    EXPECT_EQ(handOver.capture(buffer, all), DMXHandOver::Captured::something);
    bool busy = false;
    const UniverseSet taken = handOver.take(busy);
    EXPECT_EQ(taken.size(), 2u);
    ArtDmx dmx;
    ASSERT_TRUE(decodeArtNet(handOver.packetOf(3), dmx));
    EXPECT_EQ(dmx.data[0], std::byte{2});
    ASSERT_TRUE(decodeArtNet(handOver.packetOf(255), dmx));
    EXPECT_EQ(dmx.data[1], std::byte{4});
    EXPECT_EQ(dmx.portAddress, 255);
    EXPECT_TRUE(handOver.take(busy).isEmpty());
    EXPECT_FALSE(busy);
    // What is held stays as it is while newer values are captured.
    buffer.store(9, 1, 3);
    handOver.capture(buffer, all);
    ASSERT_TRUE(decodeArtNet(handOver.packetOf(3), dmx));
    EXPECT_EQ(dmx.data[0], std::byte{2});
    handOver.take(busy);
    ASSERT_TRUE(decodeArtNet(handOver.packetOf(3), dmx));
    EXPECT_EQ(dmx.data[0], std::byte{9});
}

} // namespace
} // namespace marvo
