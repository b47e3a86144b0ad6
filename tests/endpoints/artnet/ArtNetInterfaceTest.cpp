// The choice of the network interface.
#include "ArtNetWorld.h"

#include <gmock/gmock.h>

namespace marvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto ethernet = "Ethernet (en0) - 10.0.0.9";
constexpr auto disabled = "Disable Art-Net";

TEST(ArtNetInterfaces, AreListedWithTheirState) {
    ArtNetWorld world;
    world.network.present = NetworkConfiguration{{"(Loopback Interface)", "127.0.0.1 (lo0)"},
                                                 {"A (en0)", "0"},
                                                 {"B (en1)", "1"},
                                                 {"C (en2)", "192.168.0.3"}};
    world.manager.refreshNetworkInterfaceList();
    EXPECT_THAT(world.titles(),
                ElementsAre(disabled, "(Loopback Interface) - 127.0.0.1 (lo0)", "A (en0) - DISCONNECTED",
                            "B (en1) - CONNECTED", "C (en2) - 192.168.0.3"));
    EXPECT_TRUE(world.manager.interfaceMenu().items()[1].isSeparator);
}

TEST(ArtNetInterfaces, AreOffUntilOneIsChosen) {
    ArtNetWorld world;
    world.manager.refreshNetworkInterfaceList();
    EXPECT_EQ(world.selected(), disabled);
    EXPECT_FALSE(world.manager.discoverButtonEnabled());
    EXPECT_FALSE(world.manager.inputControlEnabled());
    EXPECT_THAT(world.transport.opened, IsEmpty());
    EXPECT_EQ(world.preference.title, disabled);
}

TEST(ArtNetInterfaces, StartOnTheOneOfTheLastTime) {
    ArtNetWorld world;
    world.preference.title = ethernet;
    world.manager.refreshNetworkInterfaceList();
    EXPECT_EQ(world.selected(), ethernet);
    EXPECT_TRUE(world.manager.discoverButtonEnabled());
    EXPECT_THAT(world.transport.opened, ElementsAre("10.0.0.9"));
}

TEST(ArtNetInterfaces, UnderstandATitleOfAnOlderVersionAndRewriteThePreference) {
    ArtNetWorld world;
    world.preference.title = "Ethernet - 10.0.0.1";
    world.manager.refreshNetworkInterfaceList();
    EXPECT_EQ(world.selected(), ethernet);
    ASSERT_FALSE(world.preference.written.empty());
    EXPECT_EQ(world.preference.written.front(), ethernet);
}

TEST(ArtNetInterfaces, TakeATitleOfTodayLiterally) {
    ArtNetWorld world;
    world.preference.title = "Ethernet (en0) - 10.0.0.1";
    world.manager.refreshNetworkInterfaceList();
    EXPECT_EQ(world.selected(), disabled);
}

TEST(ArtNetInterfaces, StartOnTheChosenOneAndRememberIt) {
    ArtNetWorld world;
    world.manager.refreshNetworkInterfaceList();
    world.manager.selectNetworkInterface("(Loopback Interface) - 127.0.0.1 (lo0)");
    EXPECT_THAT(world.transport.opened, ElementsAre("127.0.0.1"));
    EXPECT_EQ(world.preference.title, "(Loopback Interface) - 127.0.0.1 (lo0)");
    EXPECT_EQ(world.manager.lastUsedDevice(), "(Loopback Interface) - 127.0.0.1 (lo0)");
    EXPECT_TRUE(world.manager.inputControlEnabled());
    world.manager.selectNetworkInterface(disabled);
    EXPECT_FALSE(world.manager.lastUsedDevice());
    EXPECT_FALSE(world.manager.inputControlEnabled());
    world.manager.selectNetworkInterface("no such item");
    EXPECT_EQ(world.selected(), disabled);
}

TEST(ArtNetInterfaces, DoNothingWhenNothingOfTheNetworkChanged) {
    ArtNetWorld world;
    world.preference.title = ethernet;
    world.manager.refreshNetworkInterfaceList();
    world.center.post(world.notifications.NetworkConfigurationDidChangeNotification);
    EXPECT_THAT(world.transport.opened, ElementsAre("10.0.0.9"));
    EXPECT_TRUE(world.lines.has("no important changes in the network configuration, skip"));
}

TEST(ArtNetInterfaces, AreOffAfterTheAddressChangedAndOnAgainWhenItReturns) {
    ArtNetWorld world;
    world.manager.refreshNetworkInterfaceList();
    world.manager.selectNetworkInterface(ethernet);
    (*world.network.present)["Ethernet (en0)"] = "10.0.0.10";
    world.center.post(world.notifications.NetworkConfigurationDidChangeNotification);
    EXPECT_EQ(world.selected(), disabled);
    EXPECT_FALSE(world.manager.discoverButtonEnabled());
    EXPECT_TRUE(world.lines.has("new network config: "));
    world.transport.opened.clear();
    (*world.network.present)["Ethernet (en0)"] = "10.0.0.9";
    world.center.post(world.notifications.NetworkConfigurationDidChangeNotification);
    EXPECT_EQ(world.selected(), ethernet);
    EXPECT_TRUE(world.manager.discoverButtonEnabled());
    EXPECT_FALSE(world.transport.opened.empty());
}

TEST(ArtNetInterfaces, WaitForTheAddressOfTheOneOfTheLastTime) {
    ArtNetWorld world;
    world.preference.title = ethernet;
    (*world.network.present)["Ethernet (en0)"] = "1";
    world.manager.refreshNetworkInterfaceList();
    EXPECT_EQ(world.selected(), disabled);
    (*world.network.present)["Ethernet (en0)"] = "10.0.0.9";
    world.manager.refreshNetworkInterfaceList();
    EXPECT_EQ(world.selected(), ethernet);
}

TEST(ArtNetInterfaces, StayOffWhenTheUserSwitchedThemOff) {
    ArtNetWorld world;
    world.preference.title = ethernet;
    world.manager.refreshNetworkInterfaceList();
    world.manager.selectNetworkInterface(disabled);
    world.network.present->erase("Ethernet (en0)");
    world.manager.refreshNetworkInterfaceList();
    (*world.network.present)["Ethernet (en0)"] = "10.0.0.9";
    world.manager.refreshNetworkInterfaceList();
    EXPECT_EQ(world.selected(), disabled);
}

TEST(ArtNetInterfaces, LeaveEverythingAsItIsWhenTheSystemDoesNotTell) {
    ArtNetWorld world;
    world.preference.title = ethernet;
    world.manager.refreshNetworkInterfaceList();
    world.network.present.reset();
    world.manager.refreshNetworkInterfaceList();
    EXPECT_EQ(world.selected(), ethernet);
    EXPECT_TRUE(world.lines.has("No IPv4 interfaces found...."));
}

TEST(ArtNetInterfaces, SayInTheirOwnWordsWhichStartFailed) {
    ArtNetWorld world;
    world.transport.busy = {"10.0.0.9"};
    world.preference.title = ethernet;
    world.manager.refreshNetworkInterfaceList();
    EXPECT_THAT(world.alerts,
                ElementsAre("Failed to start ArtNet Server: The network interface " + std::string(ethernet) +
                            " may be in use by another ArtNet application."));
    EXPECT_EQ(world.preference.title, ethernet);
    EXPECT_TRUE(world.lines.has("port 6454 is in use"));
    world.alerts.clear();
    world.manager.selectNetworkInterface(ethernet);
    EXPECT_THAT(world.alerts,
                ElementsAre("Failed to start Art-Net Server: The network interface " + std::string(ethernet) +
                            " may be in use by another Art-Net application."));
}

TEST(ArtNetInterfaces, AreTroubleFromAFailedStartUntilOneSucceeds) {
    const std::string failed = "+Failed to start ArtNet Server: The network interface " +
                               std::string(ethernet) + " may be in use by another ArtNet application.";
    ArtNetWorld world;
    world.transport.busy = {"10.0.0.9"};
    world.preference.title = ethernet;
    world.manager.refreshNetworkInterfaceList();
    EXPECT_THAT(world.troubles, ElementsAre(failed));
    world.transport.busy.clear();
    world.manager.startArtNetServer();
    EXPECT_THAT(world.troubles, ElementsAre(failed, "-Art-Net has started"));
    world.manager.startArtNetServer();
    EXPECT_EQ(world.troubles.size(), 2u) << "what goes well is not told";
    world.transport.busy = {"10.0.0.9"};
    world.manager.startArtNetServer();
    world.manager.selectNetworkInterface(disabled);
    EXPECT_THAT(world.troubles, ElementsAre(failed, "-Art-Net has started", failed, "-Art-Net has started"));
}

TEST(ArtNetInterfaces, StayTroubleWhileAnotherTroubleOfTheServerEnds) {
    ArtNetWorld world;
    world.begin({});
    world.run(7000);
    ASSERT_EQ(world.troubles.size(), 1u) << "nobody listens";
    world.transport.busy = {"10.0.0.9"};
    world.manager.startArtNetServer();
    world.run(2000);
    ASSERT_EQ(world.troubles.size(), 4u);
    EXPECT_EQ(world.troubles[2].front(), '-') << "nobody is missed any more";
    EXPECT_EQ(world.troubles[3].substr(0, 16), "+Failed to start");
}

TEST(ArtNetInterfaces, WithoutAnAddressFailWithoutAnAlert) {
    ArtNetWorld world;
    world.network.present = NetworkConfiguration{{"A (en0)", "0"}, {"B (en1)", "1"}};
    world.manager.refreshNetworkInterfaceList();
    world.manager.selectNetworkInterface("A (en0) - DISCONNECTED");
    world.manager.selectNetworkInterface("B (en1) - CONNECTED");
    EXPECT_THAT(world.alerts, IsEmpty());
    EXPECT_FALSE(world.server.startManagerWithIPAddress("0", std::nullopt));
    EXPECT_FALSE(world.server.startManagerWithIPAddress("1", std::nullopt));
    EXPECT_TRUE(world.server.startManagerWithIPAddress("none", std::nullopt));
}

TEST(ArtNetInput, IsGoneWithTheInterfaceAndReturnsWithIt) {
    ArtNetWorld world;
    world.preference.title = ethernet;
    world.manager.refreshNetworkInterfaceList();
    EXPECT_FALSE(world.manager.inputSettings());
    world.manager.inputSettingsChanged(true, 2, 3);
    EXPECT_EQ(world.manager.inputSettings(), (ArtNetInputSettings{2, 3}));
    world.network.present->erase("Ethernet (en0)");
    world.manager.refreshNetworkInterfaceList();
    EXPECT_FALSE(world.manager.inputEnabled());
    EXPECT_FALSE(world.manager.inputSettings());
    (*world.network.present)["Ethernet (en0)"] = "10.0.0.9";
    world.manager.refreshNetworkInterfaceList();
    EXPECT_EQ(world.manager.inputSettings(), (ArtNetInputSettings{2, 3}));
    world.manager.selectNetworkInterface(disabled);
    world.manager.selectNetworkInterface(ethernet);
    EXPECT_FALSE(world.manager.inputEnabled()) << "switched off by the user";
}

TEST(ArtNetInput, CannotBeSwitchedOnWithoutAnInterface) {
    ArtNetWorld world;
    world.manager.refreshNetworkInterfaceList();
    world.manager.inputSettingsChanged(true, 0, 0);
    EXPECT_FALSE(world.manager.inputSettings());
}

struct Heard final : MarvoIncomingDMXHandler {
    std::vector<std::vector<DMXPair>> calls;
    void receivedDMX(std::span<const DMXPair> pairs) override {
        calls.emplace_back(pairs.begin(), pairs.end());
    }
};

TEST(ArtNetInput, HandsOverWhatCameInButNothingEmpty) {
    ArtNetWorld world;
    Heard heard;
    const DMXPair pairs[] = {{0, 255}, {511, 1}};
    world.manager.artDMXReceived(pairs);
    world.manager.setIncomingDMXHandler(&heard);
    world.manager.artDMXReceived({});
    EXPECT_THAT(heard.calls, IsEmpty());
    world.manager.artDMXReceived(pairs);
    ASSERT_EQ(heard.calls.size(), 1u);
    EXPECT_THAT(heard.calls[0], ElementsAre(DMXPair{0, 255}, DMXPair{511, 1}));
    world.manager.setIncomingDMXHandler(nullptr);
    world.manager.artDMXReceived(pairs);
    EXPECT_EQ(heard.calls.size(), 1u);
}

} // namespace
} // namespace marvo
