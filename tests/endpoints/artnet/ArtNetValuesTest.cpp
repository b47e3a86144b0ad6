// What becomes of a value that is written.
#include "ArtNetWorld.h"

#include <gmock/gmock.h>

namespace marvo {
namespace {

using testing::ElementsAre;
using Store = DMXStores::Store;

TEST(DMXValues, AreLimitedToAByteEachByItselfAndNeverWrap) {
    ArtNetWorld world;
    world.write(256, 1);
    world.write(-1, 2);
    world.write(1000, 3);
    world.write(128, 4);
    EXPECT_EQ(world.value(1), 255);
    EXPECT_EQ(world.value(2), 0);
    EXPECT_EQ(world.value(3), 255);
    EXPECT_EQ(world.value(4), 128);
}

TEST(DMXValues, OutsideOfChannelsAndUniversesAreDropped) {
    ArtNetWorld world;
    world.write(7, 0);
    world.write(7, 513);
    world.write(7, 1, -1);
    world.write(7, 1, 256);
    EXPECT_TRUE(world.stores.stores.empty());
    for (int universe = 0; universe < universeCount; ++universe) {
        for (int channel = 1; channel <= channelsOfAUniverse; ++channel)
            ASSERT_EQ(world.value(channel, universe), 0);
    }
    world.write(7, 512, 255);
    EXPECT_EQ(world.value(512, 255), 7);
}

TEST(DMXValues, OfColourTracksAreScaledByTheFaderAndCutTowardsZero) {
    ArtNetWorld world;
    world.manager.setMasterFader(0.5f);
    world.manager.setValueByColorTrack(255, 1, 0, {});
    EXPECT_EQ(world.value(1), 127);
    world.manager.setValueByColorTrack(1000, 2, 0, {});
    EXPECT_EQ(world.value(2), 255);
}

TEST(DMXValues, OfOtherTracksAreLeftAloneByTheFader) {
    ArtNetWorld world;
    world.manager.setMasterFader(0.5f);
    world.write(255, 1);
    EXPECT_EQ(world.value(1), 255);
}

TEST(DMXValues, AreToldAsTheyAreStoredBehindFaderAndPatch) {
    ArtNetWorld world;
    world.manager.setMasterFader(0.5f);
    world.manager.softPatch().createSoftPatchItem(0, 1, 2, "4,6x2", -1);
    world.manager.setSoftPatchEnabled(true);
    const std::string track = "wash";
    world.manager.setValueByColorTrack(255, 1, 0, SendOrigin{nullptr, &track, 3, false});
    EXPECT_THAT(world.stores.stores, ElementsAre(Store{2, 4, 127}, Store{2, 6, 127}, Store{2, 7, 127}));
    EXPECT_EQ(world.stores.lastTrack, &track);
}

TEST(MasterFader, LetsColourTracksWriteAnewWhileNothingIsSent) {
    ArtNetWorld world;
    std::vector<bool> ready;
    const Observation observation = world.center.observe(world.notifications.ReprocessArtNetColorTracks, [&] {
        ready.push_back(world.manager.readyToUpdate());
    });
    world.manager.setMasterFader(0.25f);
    EXPECT_THAT(ready, ElementsAre(false));
    EXPECT_TRUE(world.manager.readyToUpdate());
    EXPECT_EQ(world.manager.masterFaderTitle(), "0.25");
}

TEST(MasterFader, StaysWithinItsRange) {
    ArtNetWorld world;
    world.manager.setMasterFader(2.0f);
    EXPECT_EQ(world.manager.masterFader(), 1.0f);
    world.manager.setMasterFader(-1.0f);
    EXPECT_EQ(world.manager.masterFader(), 0.0f);
    world.manager.setMasterFader(std::numeric_limits<float>::quiet_NaN());
    EXPECT_EQ(world.manager.masterFader(), 0.0f);
}

TEST(Blackout, ZeroesAllChannelsOfAllOutputsAndNothingElse) {
    ArtNetWorld world;
    world.manager.addArtNetOutput();
    world.write(9, 1, 0);
    world.write(9, 512, 1);
    world.write(9, 1, 2);
    world.manager.doBlackout();
    EXPECT_EQ(world.value(1, 0), 0);
    EXPECT_EQ(world.value(512, 1), 0);
    EXPECT_EQ(world.value(1, 2), 9);
}

TEST(Blackout, GoesThroughThePatch) {
    ArtNetWorld world;
    // Output 0 alone: what is reached from it goes dark, what only universe 5 reaches stays.
    world.write(9, 10, 7);
    world.write(9, 11, 7);
    world.write(9, 1, 0);
    world.manager.softPatch().createSoftPatchItem(0, 1, 7, "10", -1);
    world.manager.softPatch().createSoftPatchItem(5, 1, 7, "11", -1);
    world.manager.setSoftPatchEnabled(true);
    world.manager.doBlackout();
    EXPECT_EQ(world.value(10, 7), 0);
    EXPECT_EQ(world.value(11, 7), 9);
    EXPECT_EQ(world.value(1, 0), 9) << "a source is written only where it is a destination";
}

} // namespace
} // namespace marvo
