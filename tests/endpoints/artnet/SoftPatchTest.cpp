#include "ArtNetWorld.h"

#include "RealtimeScope.h"
#include "endpoints/artnet/DMXChannelExpression.h"

#include <atomic>
#include <gmock/gmock.h>
#include <thread>

namespace marvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> shownRows(const SoftPatch& patch) {
    std::vector<std::string> rows;
    for (const SoftPatchItem& item : patch.softPatchItems()) {
        rows.push_back(std::to_string(item.sourceUniverse) + "." + std::to_string(item.sourceChannel) + ">" +
                       std::to_string(item.destinationUniverse) + "." + item.destinationChannels +
                       (item.isSelected ? "*" : ""));
    }
    return rows;
}

TEST(DMXChannelExpression, ReadsNumbersAndRuns) {
    EXPECT_THAT(dmxChannelsOf("1,5x3,20"), ElementsAre(1, 5, 6, 7, 20));
    EXPECT_THAT(dmxChannelsOf("  7 "), ElementsAre(7));
    EXPECT_THAT(dmxChannelsOf("5x0"), IsEmpty());
    EXPECT_THAT(dmxChannelsOf("5x-2"), IsEmpty());
    EXPECT_THAT(dmxChannelsOf("1x2x3"), ElementsAre(1));
    EXPECT_THAT(dmxChannelsOf("abc"), ElementsAre(0));
    EXPECT_THAT(dmxChannelsOf("600"), ElementsAre(600)) << "the range is checked where it is edited";
}

TEST(DMXChannelExpression, IsNotReadBeyondBoundsWhateverAFileSays) {
    EXPECT_EQ(dmxChannelsOf("1x2000000000", 1000).size(), 1000u);
    EXPECT_EQ(dmxChannelsOf("2147483647x5").size(), 1u);
    EXPECT_LE(dmxChannelsOf("-2147483648x2147483647").size(), 131'072u);
}

TEST(DMXChannelExpression, IsCleanedOfWhatIsNoChannel) {
    EXPECT_EQ(cleanedDMXChannels("abc,600,3x2"), "3x2");
    EXPECT_EQ(cleanedDMXChannels("abc"), "1");
    EXPECT_EQ(cleanedDMXChannels(""), "1");
    EXPECT_EQ(cleanedDMXChannels(" 4 , 0, 512,513, 5 x 6"), "4,512,5x6");
    EXPECT_EQ(cleanedDMXChannels("500x20"), "500x20") << "a run as a whole is not checked";
    EXPECT_EQ(cleanedDMXChannels("5x0,5x513,1x2x3,0x4"), "1");
}

TEST(SoftPatch, LeavesEveryWriteAloneWhileItIsOff) {
    ArtNetWorld world;
    world.manager.softPatch().createSoftPatchItem(0, 1, 3, "9", -1);
    world.write(5, 1);
    EXPECT_EQ(world.value(1), 5);
    EXPECT_EQ(world.value(9, 3), 0);
    EXPECT_FALSE(world.manager.softPatch().softPatchForChannel(1, 0));
}

TEST(SoftPatch, MakesOneWriteSetAllItsDestinations) {
    ArtNetWorld world;
    world.manager.softPatch().createSoftPatchItem(0, 1, 0, "1,5x3", -1);
    world.manager.setSoftPatchEnabled(true);
    world.write(5, 1);
    for (const int channel : {1, 5, 6, 7}) EXPECT_EQ(world.value(channel), 5) << channel;
    for (const int channel : {2, 3, 4, 8}) EXPECT_EQ(world.value(channel), 0) << channel;
    EXPECT_EQ(world.manager.softPatch().softPatchForChannel(1, 0), (SoftPatch::Destination{0, {1, 5, 6, 7}}));
}

TEST(SoftPatch, DoesNotWriteTheSourceAndLetsOtherChannelsPass) {
    ArtNetWorld world;
    world.manager.softPatch().createSoftPatchItem(0, 1, 0, "2", -1);
    world.manager.setSoftPatchEnabled(true);
    world.write(5, 1);
    world.write(6, 3);
    world.write(7, 1, 1);
    EXPECT_EQ(world.value(1), 0);
    EXPECT_EQ(world.value(2), 5);
    EXPECT_EQ(world.value(3), 6);
    EXPECT_EQ(world.value(1, 1), 7);
}

TEST(SoftPatch, LetsTheUpperOfTwoRowsWithOneSourceApply) {
    ArtNetWorld world;
    world.manager.softPatch().createSoftPatchItem(0, 1, 0, "20", 0);
    world.manager.softPatch().createSoftPatchItem(0, 1, 0, "21", -1); // a new row stands on top
    world.manager.setSoftPatchEnabled(true);
    world.write(5, 1);
    EXPECT_EQ(world.value(21), 5);
    EXPECT_EQ(world.value(20), 0);
}

TEST(SoftPatch, StoresNoChannelAbove512OfAList) {
    ArtNetWorld world;
    world.manager.softPatch().createSoftPatchItem(0, 1, 0, "511x4", -1);
    world.manager.setSoftPatchEnabled(true);
    world.write(5, 1);
    EXPECT_EQ(world.stores.stores.size(), 2u);
    EXPECT_EQ(world.value(512), 5);
    EXPECT_EQ(world.value(1, 1), 0);
}

TEST(SoftPatch, WritesNothingForARowWhoseDestinationIsNoUniverse) {
    ArtNetWorld world;
    world.manager.softPatch().createSoftPatchItem(0, 1, 900, "1", -1);
    world.manager.softPatch().createSoftPatchItem(-4, 9999999999, 0, "1", -1);
    world.manager.setSoftPatchEnabled(true);
    world.write(5, 1);
    EXPECT_THAT(world.stores.stores, IsEmpty());
}

TEST(SoftPatch, AppliesAtOnceWhatWasEdited) {
    ArtNetWorld world;
    SoftPatch& patch = world.manager.softPatch();
    const auto identity = patch.createSoftPatchItem(0, 1, 0, "2", -1);
    world.manager.setSoftPatchEnabled(true);
    SoftPatchItem item = patch.softPatchItems().front();
    EXPECT_EQ(item.identity, identity);
    item.destinationChannels = "abc,600,3x2";
    patch.settingsChanged(item);
    EXPECT_EQ(patch.softPatchItems().front().destinationChannels, "3x2");
    item.sourceChannel = 513;
    item.sourceUniverse = 256;
    item.destinationUniverse = -1;
    item.destinationChannels = "abc";
    patch.settingsChanged(item);
    EXPECT_THAT(shownRows(patch), ElementsAre("0.1>0.1*"));
    world.write(5, 1);
    EXPECT_EQ(world.value(1), 5);
}

TEST(SoftPatch, PutsANewRowOnTopAndSelectsIt) {
    SoftPatch patch;
    patch.addNewSoftPatchItem();
    patch.addNewSoftPatchItem();
    EXPECT_THAT(shownRows(patch), ElementsAre("0.2>0.2*", "0.1>0.1"));
    EXPECT_EQ(patch.firstSoftPatchItem()->sourceChannel, 2);
    EXPECT_EQ(patch.softPatchItems()[1].itemPosition, 1);
}

TEST(SoftPatch, SortsByUniverseAndChannelAndSelectsTheFirst) {
    SoftPatch patch;
    patch.createSoftPatchItem(1, 2, 0, "1", -1);
    patch.createSoftPatchItem(0, 512, 0, "2", -1);
    patch.createSoftPatchItem(1, 1, 0, "3", -1);
    patch.sortSoftPatchItems();
    EXPECT_THAT(shownRows(patch), ElementsAre("0.512>0.2*", "1.1>0.3", "1.2>0.1"));
}

TEST(SoftPatch, SelectsAsAListDoes) {
    SoftPatch patch;
    const auto a = patch.createSoftPatchItem(0, 1, 0, "1", 0);
    const auto b = patch.createSoftPatchItem(0, 2, 0, "2", 1);
    const auto c = patch.createSoftPatchItem(0, 3, 0, "3", 2);
    patch.clickSoftPatchItem(a, false);
    patch.clickSoftPatchItem(c, true);
    EXPECT_THAT(shownRows(patch), ElementsAre("0.1>0.1*", "0.2>0.2", "0.3>0.3*"));
    patch.clickSoftPatchItem(b, false);
    EXPECT_THAT(shownRows(patch), ElementsAre("0.1>0.1", "0.2>0.2*", "0.3>0.3"));
    patch.removeSelectedSoftPatchItems();
    EXPECT_THAT(shownRows(patch), ElementsAre("0.1>0.1", "0.3>0.3"));
    patch.selectAllSoftPatchItems();
    patch.removeSelectedSoftPatchItems();
    EXPECT_EQ(patch.count(), 0u);
}

TEST(SoftPatch, RemovesTheGivenRows) {
    SoftPatch patch;
    patch.createSoftPatchItem(0, 1, 0, "1", 0);
    const std::uint64_t gone[] = {patch.createSoftPatchItem(0, 2, 0, "2", 1)};
    patch.removeSoftPatchItems(gone);
    EXPECT_EQ(patch.count(), 1u);
    patch.setEnabled(true);
    EXPECT_FALSE(patch.softPatchForChannel(2, 0));
    EXPECT_TRUE(patch.softPatchForChannel(1, 0));
}

TEST(SoftPatch, FillsItselfWithTheAddressesThatTracksUse) {
    ArtNetWorld world;
    const Observation track = world.center.observe(world.notifications.collectDMXAddresses, [&] {
        // Three letters four times over: channels 10 to 21.
        world.center.post(world.notifications.collectDMXAddressesReply, DMXAddresses{2, 10, 12});
        world.center.post(world.notifications.collectDMXAddressesReply, DMXAddresses{0, 512, 0});
        world.center.post(world.notifications.collectDMXAddressesReply, DMXAddresses{0, 513, 0});
        world.center.post(world.notifications.collectDMXAddressesReply, DMXAddresses{1, 511, 4});
    });
    world.manager.softPatch().addNewSoftPatchItem();
    world.manager.autoFillSoftPatch();
    std::vector<std::string> wanted{"0.512>0.512*", "1.511>1.511", "1.512>1.512"};
    for (int channel = 10; channel <= 21; ++channel) {
        const std::string text = std::to_string(channel);
        wanted.push_back("2." + text + ">2." + text);
    }
    EXPECT_EQ(shownRows(world.manager.softPatch()), wanted);
}

TEST(SoftPatch, AvoidsTheSameRowTwiceOnlyWhileItIsOn) {
    ArtNetWorld world;
    const Observation track = world.center.observe(world.notifications.collectDMXAddresses, [&] {
        for (int time = 0; time < 2; ++time)
            world.center.post(world.notifications.collectDMXAddressesReply, DMXAddresses{0, 5, 0});
    });
    world.manager.autoFillSoftPatch();
    EXPECT_EQ(world.manager.softPatch().count(), 2u);
    world.manager.setSoftPatchEnabled(true);
    world.manager.autoFillSoftPatch();
    EXPECT_EQ(world.manager.softPatch().count(), 1u);
}

TEST(SoftPatch, IsEmptyAfterTheProjectWasCleared) {
    ArtNetWorld world;
    world.manager.softPatch().addNewSoftPatchItem();
    world.manager.clearProject();
    EXPECT_EQ(world.manager.softPatch().count(), 0u);
}

TEST(SoftPatch, IsLookedUpWithoutAllocatingOrWaiting) {
    ArtNetWorld world;
    world.server.setRecordingDMX(nullptr);
    world.manager.softPatch().createSoftPatchItem(0, 1, 1, "1x512", -1);
    world.manager.setSoftPatchEnabled(true);
    RealtimeScope scope;
    for (int value = 0; value < 256; ++value) world.manager.setValue(value, 1, 0, {});
    EXPECT_EQ(scope.violations(), 0u) << scope.report();
}

TEST(SoftPatch, CanBeEditedWhileAShowWritesThroughIt) {
    ArtNetWorld world;
    world.server.setRecordingDMX(nullptr);
    SoftPatch& patch = world.manager.softPatch();
    patch.createSoftPatchItem(0, 1, 1, "1", 0);
    world.manager.setSoftPatchEnabled(true);
    std::atomic<bool> stop{false};
    std::thread show([&] {
        for (int value = 0; !stop; value = (value + 1) % 256) world.manager.setValue(value, 1, 0, {});
    });
    for (int round = 0; round < 50; ++round) {
        const std::uint64_t added[] = {patch.createSoftPatchItem(0, 2, 0, "2", 5)};
        patch.sortSoftPatchItems();
        patch.removeSoftPatchItems(added);
    }
    stop = true;
    show.join();
    world.manager.setValue(77, 1, 0, {});
    EXPECT_EQ(world.value(1, 1), 77);
    EXPECT_EQ(world.value(1, 0), 0) << "no write went past the row that stood all the time";
}

} // namespace
} // namespace marvo
