// The network interfaces of this machine, as the kernel tells them over netlink.
#pragma once

#include "platform/MainThread.h"
#include "platform/NetworkConfiguration.h"
#include "platform/WakeUp.h"

#include <atomic>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <vector>

namespace marvo {

struct NetworkLink {
    int index = 0;
    std::string device;
    std::string alias;       // as the user named it; empty when he did not
    bool isEthernet = false; // wireless ones too
    bool isWireless = false;
    bool isActive = false; // up and with a carrier
    std::string address;   // the first IPv4 address; empty without one
};

// None when the kernel does not answer. Any thread; asks the system and waits for its answer.
std::optional<std::vector<NetworkLink>> readNetworkLinks();

// Ethernet and wireless interfaces, named by the user or by their kind, and the loopback.
NetworkConfiguration networkConfigurationOf(std::span<const NetworkLink> links);

class SystemNetworkConfiguration final : public NetworkConfigurationSource {
public:
    std::optional<NetworkConfiguration> networkConfiguration() override;
};

// Calls a function on the main thread when a link or an IPv4 address has come, gone or changed. A burst of
// such changes gives one call, a twentieth of a second later. Listens on a thread of its own, so it works
// with every kind of main loop. Main thread.
class NetworkConfigurationWatch {
public:
    NetworkConfigurationWatch(MainThread& main, std::function<void()> changed);
    ~NetworkConfigurationWatch();
    NetworkConfigurationWatch(const NetworkConfigurationWatch&) = delete;
    NetworkConfigurationWatch& operator=(const NetworkConfigurationWatch&) = delete;

    // Why nothing is watched; empty when all is well.
    const std::string& error() const { return error_; }

private:
    void listen();

    MainThread::Signal signal_;
    std::string error_;
    int netlink_ = -1;
    WakeUp wakeUp_;
    std::atomic<bool> stopping_{false};
    std::thread thread_;
};

} // namespace marvo
