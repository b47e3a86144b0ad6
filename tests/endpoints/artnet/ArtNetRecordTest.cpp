// The record "artNetManager".
#include "ArtNetWorld.h"

#include <gmock/gmock.h>

namespace marvo {
namespace {

using testing::ElementsAre;

PropertyList dictionaryOf(std::initializer_list<std::pair<const char*, PropertyList>> entries) {
    PropertyList record = PropertyList::dictionary();
    for (const auto& [key, value] : entries) record.set(key, value);
    return record;
}

TEST(ArtNetRecord, BringsEverythingBack) {
    ArtNetWorld world;
    world.preference.title = "Ethernet (en0) - 10.0.0.9";
    world.manager.refreshNetworkInterfaceList();
    world.manager.addArtNetOutput();
    world.manager.controlTextShouldEndEditing(1, 0, "Back");
    world.manager.setOutputSending(0, {true, 40});
    world.manager.setArtSync(true);
    world.manager.softPatch().createSoftPatchItem(0, 1, 2, "3x4", -1);
    world.manager.softPatch().createSoftPatchItem(0, 2, 3, "5", -1);
    world.manager.softPatchWindowFrame = "{{1, 2}, {3, 4}}";
    world.manager.softPatchWindowState = true;
    world.manager.inputSettingsChanged(true, 4, 5);
    const PropertyList record = world.manager.saveData();
    EXPECT_EQ(record.find("selectedInterface")->stringOr(""), "Ethernet (en0) - 10.0.0.9");
    EXPECT_EQ(record.find("inputSubNet")->asInteger(), 4);
    EXPECT_EQ(record.find("inputEnabled")->asBool(), true);

    ArtNetWorld other;
    other.manager.refreshNetworkInterfaceList();
    other.manager.loadData(&record);
    EXPECT_EQ(other.manager.saveData(), record);
    EXPECT_EQ(other.outputNames(), world.outputNames());
    EXPECT_EQ(other.manager.outputs().rows(), world.manager.outputs().rows());
    EXPECT_TRUE(other.manager.artSync());
    EXPECT_EQ(other.selected(), "Ethernet (en0) - 10.0.0.9");
    EXPECT_THAT(other.transport.opened, ElementsAre("10.0.0.9"));
    EXPECT_EQ(other.manager.inputSettings(), (ArtNetInputSettings{4, 5}));
    ASSERT_EQ(other.manager.softPatch().count(), 2u);
    EXPECT_EQ(other.manager.softPatch().softPatchItems()[0].sourceChannel, 2);
    EXPECT_FALSE(other.manager.softPatch().softPatchItems()[0].isSelected);
    EXPECT_EQ(other.manager.softPatchWindowFrame, "{{1, 2}, {3, 4}}");
    EXPECT_TRUE(other.manager.softPatchWindowState);
}

TEST(ArtNetRecord, HasOnlyItsOwnKeysWhileNothingUnusualIsSet) {
    ArtNetWorld world;
    std::vector<std::string> keys;
    const PropertyList record = world.manager.saveData();
    for (const auto& [key, value] : record.entries()) keys.emplace_back(key.view());
    EXPECT_THAT(keys, testing::UnorderedElementsAre("outputNodes", "selectedInterface", "softPatchItems",
                                                    "softPatchWindowFrame", "softPatchWindowState",
                                                    "inputEnabled", "inputSubNet", "inputUniverse"));
}

TEST(ArtNetRecord, OfAnOlderVersionIsTheOutputsThemselves) {
    ArtNetWorld world;
    world.manager.softPatch().addNewSoftPatchItem();
    const PropertyList record = dictionaryOf({{"Front", 18}, {"Back", 3}});
    int changes = 0;
    const Observation observation =
        world.center.observe(world.notifications.artNetOutputsChanged, [&] { ++changes; });
    world.manager.loadData(&record);
    EXPECT_THAT(world.outputNames(), ElementsAre("Back (0-3)", "Front (1-2)"));
    EXPECT_EQ(world.manager.softPatch().count(), 0u);
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(world.manager.saveData().find("Front"), nullptr);
}

TEST(ArtNetRecord, TakesTheOlderSingleChannelOfAPatchRowFirst) {
    ArtNetWorld world;
    PropertyList items = PropertyList::array();
    items.push_back(dictionaryOf({{"itemPosition", 0},
                                  {"sourceUniverse", 1},
                                  {"sourceChannel", 2},
                                  {"destinationUniverse", 3},
                                  {"destinationChannels", "7"},
                                  {"destinationChannel", 44}}));
    items.push_back(PropertyList("damaged"));
    const PropertyList record =
        dictionaryOf({{"outputNodes", PropertyList::dictionary()}, {"softPatchItems", items}});
    world.manager.loadData(&record);
    ASSERT_EQ(world.manager.softPatch().count(), 1u);
    EXPECT_EQ(world.manager.softPatch().softPatchItems()[0].destinationChannels, "44");
}

TEST(ArtNetRecord, IsNotInForceWhileThePatchIsHalfBuilt) {
    ArtNetWorld world;
    world.manager.setSoftPatchEnabled(true);
    PropertyList items = PropertyList::array();
    items.push_back(dictionaryOf({{"sourceChannel", 1}, {"destinationChannels", "9"}}));
    const PropertyList record = dictionaryOf({{"outputNodes", PropertyList::dictionary()},
                                              {"softPatchItems", items},
                                              {"softPatchEnableButton", dictionaryOf({{"state", true}})}});
    std::vector<bool> seen;
    world.manager.controlRecords.loadSoftPatchEnableButton = [&](const PropertyList* button) {
        seen.push_back(world.manager.softPatchEnabled());
        EXPECT_EQ(world.manager.softPatch().count(), 1u);
        world.manager.setSoftPatchEnabled(button->find("state")->boolOr(false));
    };
    world.manager.loadData(&record);
    EXPECT_THAT(seen, ElementsAre(false));
    EXPECT_TRUE(world.manager.softPatchEnabled());
}

TEST(ArtNetRecord, AsksTheControlsForTheirParts) {
    ArtNetWorld world;
    world.manager.controlRecords.saveMasterFader = [] { return PropertyList(5); };
    world.manager.controlRecords.saveSoftPatchEnableButton = [] { return PropertyList(6); };
    const PropertyList record = world.manager.saveData();
    EXPECT_EQ(record.find("masterFader")->asInteger(), 5);
    EXPECT_EQ(record.find("softPatchEnableButton")->asInteger(), 6);
    ArtNetWorld other;
    other.manager.loadData(&record);
    EXPECT_EQ(other.manager.saveData().find("masterFader")->asInteger(), 5) << "kept while nobody asks";
    bool asked = false;
    other.manager.controlRecords.loadMasterFader = [&](const PropertyList* fader) {
        asked = fader && fader->asInteger() == 5;
        other.manager.setMasterFader(0.5f);
    };
    other.manager.loadData(&record);
    EXPECT_TRUE(asked);
    EXPECT_EQ(other.manager.masterFader(), 0.5f);
}

TEST(ArtNetRecord, KeepsKeysThatItDoesNotKnow) {
    ArtNetWorld world;
    const PropertyList record =
        dictionaryOf({{"outputNodes", PropertyList::dictionary()}, {"fromTomorrow", 12}});
    world.manager.loadData(&record);
    const PropertyList saved = world.manager.saveData();
    ASSERT_NE(saved.find("fromTomorrow"), nullptr);
    EXPECT_EQ(saved.find("fromTomorrow")->asInteger(), 12);
}

TEST(ArtNetRecord, SelectsAnInterfaceByATitleOfAnOlderVersion) {
    ArtNetWorld world;
    world.manager.refreshNetworkInterfaceList();
    const PropertyList record = dictionaryOf(
        {{"outputNodes", PropertyList::dictionary()}, {"selectedInterface", "Ethernet - 10.0.0.1"}});
    world.manager.loadData(&record);
    EXPECT_EQ(world.selected(), "Ethernet (en0) - 10.0.0.9");
    EXPECT_TRUE(world.manager.discoverButtonEnabled());
}

TEST(ArtNetRecord, KeepsTheInterfaceOfTheProjectWhenTheNetworkChanges) {
    constexpr auto loopback = "(Loopback Interface) - 127.0.0.1 (lo0)";
    constexpr auto ethernet = "Ethernet (en0) - 10.0.0.9";
    constexpr auto disabled = "Disable Art-Net";
    const std::pair<const char*, const char*> choices[] = {{loopback, loopback},
                                                           {disabled, disabled},
                                                           {"(Loopback - old", loopback},
                                                           {"Nowhere (x) - 1.2.3.4", ethernet}};
    for (const auto& [chosen, kept] : choices) {
        ArtNetWorld world;
        world.preference.title = ethernet;
        world.manager.refreshNetworkInterfaceList();
        const PropertyList record =
            dictionaryOf({{"outputNodes", PropertyList::dictionary()}, {"selectedInterface", chosen}});
        world.manager.loadData(&record);
        EXPECT_EQ(world.selected(), kept) << chosen;
        (*world.network.present)["Wireless (wl0)"] = "10.1.0.2";
        world.manager.refreshNetworkInterfaceList();
        EXPECT_EQ(world.selected(), kept) << chosen;
        world.network.present->erase("Wireless (wl0)");
        world.manager.refreshNetworkInterfaceList();
        EXPECT_EQ(world.selected(), kept) << chosen;
        EXPECT_EQ(world.preference.title, kept) << chosen;
    }
}

TEST(ArtNetRecord, ThatIsMissingOnlyLetsSendingBegin) {
    ArtNetWorld world;
    world.manager.loadData(nullptr);
    const PropertyList damaged("no dictionary");
    world.manager.loadData(&damaged);
    EXPECT_TRUE(world.manager.readyToUpdate());
    EXPECT_EQ(world.manager.outputs().count(), 1u);
}

TEST(ArtNetRecord, SendsNothingForUniversesThatAreNone) {
    ArtNetWorld world;
    const PropertyList record =
        dictionaryOf({{"outputNodes", dictionaryOf({{"A", 256}, {"B", -3}, {"C", 1LL << 40}, {"D", 5}})}});
    world.manager.loadData(&record);
    EXPECT_EQ(world.manager.outputs().count(), 4u);
    world.manager.doBlackout();
    EXPECT_EQ(world.stores.stores.size(), 512u);
    EXPECT_EQ(world.manager.saveData().find("outputNodes")->find("C")->asInteger(), 1LL << 40);
}

TEST(ArtNetRecord, LeavesNoNumberOutOfRangeInTheInput) {
    ArtNetWorld world;
    world.manager.refreshNetworkInterfaceList();
    const PropertyList record = dictionaryOf({{"outputNodes", PropertyList::dictionary()},
                                              {"selectedInterface", "Ethernet (en0) - 10.0.0.9"},
                                              {"inputEnabled", true},
                                              {"inputSubNet", 16},
                                              {"inputUniverse", -1}});
    world.manager.loadData(&record);
    EXPECT_EQ(world.manager.inputSettings(), (ArtNetInputSettings{0, 0}));
}

} // namespace
} // namespace marvo
