#include "platform/NetworkInterfaces.h"

#include "platform/NetworkAddresses.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace marvo {
namespace {

NetworkLink ethernet(const char* device, bool isActive, const char* address) {
    NetworkLink link;
    link.device = device;
    link.isEthernet = true;
    link.isActive = isActive;
    link.address = address;
    return link;
}

TEST(NetworkInterfaces, AreShownWithTheirAddressOrTheStateOfTheirLink) {
    const NetworkLink links[] = {ethernet("eth0", false, ""), ethernet("eth1", true, ""),
                                 ethernet("eth2", true, "10.0.0.9"), ethernet("eth3", false, "10.0.0.8")};
    EXPECT_EQ(networkConfigurationOf(links),
              (NetworkConfiguration{{"(Loopback Interface)", "127.0.0.1 (lo0)"},
                                    {"Ethernet (eth0)", "0"},
                                    {"Ethernet (eth1)", "1"},
                                    {"Ethernet (eth2)", "10.0.0.9"},
                                    {"Ethernet (eth3)", "10.0.0.8"}}));
}

TEST(NetworkInterfaces, BearTheUsersNameOrTheirKind) {
    NetworkLink links[] = {ethernet("eth0", true, ""), ethernet("wlan0", true, "")};
    links[0].alias = "Light";
    links[1].isWireless = true;
    EXPECT_EQ(networkConfigurationOf(links),
              (NetworkConfiguration{{"(Loopback Interface)", "127.0.0.1 (lo0)"},
                                    {"Light (eth0)", "1"},
                                    {"Wi-Fi (wlan0)", "1"}}));
}

TEST(NetworkInterfaces, AreThoseThatCarryEthernet) {
    NetworkLink links[] = {ethernet("lo", true, "127.0.0.1"), ethernet("tun0", true, "10.8.0.1")};
    for (NetworkLink& link : links) link.isEthernet = false;
    EXPECT_EQ(networkConfigurationOf(links),
              (NetworkConfiguration{{"(Loopback Interface)", "127.0.0.1 (lo0)"}}));
}

TEST(NetworkInterfaces, OfThisMachineAreThoseThatItsAddressesStandOn) {
    const auto links = readNetworkLinks();
    ASSERT_TRUE(links);
    EXPECT_TRUE(std::any_of(links->begin(), links->end(),
                            [](const NetworkLink& link) { return link.device == "lo" && !link.isEthernet; }));
    const auto known = hostIPv4Addresses();
    for (const NetworkLink& link : *links) {
        if (link.address.empty() || !link.isActive) continue;
        EXPECT_NE(std::find(known.begin(), known.end(), link.address), known.end()) << link.address;
    }
    SystemNetworkConfiguration source;
    EXPECT_TRUE(source.networkConfiguration()->contains("(Loopback Interface)"));
}

TEST(NetworkInterfaces, AreWatchedWithoutACallWhileNothingChanges) {
    const MonotonicClock clock;
    MainThread main(clock);
    int calls = 0;
    {
        const NetworkConfigurationWatch watch(main, [&] { ++calls; });
        EXPECT_EQ(watch.error(), "");
    }
    main.pump();
    EXPECT_EQ(calls, 0);
}

} // namespace
} // namespace marvo
