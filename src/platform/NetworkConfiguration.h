// The network interfaces of this machine, as the user chooses among them.
#pragma once

#include <map>
#include <optional>
#include <string>

namespace marvo {

// Display name "name (device)" to "0" for a link that is down, "1" for one without an IPv4 address, or its
// first IPv4 address. "(Loopback Interface)" with "127.0.0.1 (lo0)" is always among them.
using NetworkConfiguration = std::map<std::string, std::string>;

class NetworkConfigurationSource {
public:
    virtual ~NetworkConfigurationSource() = default;
    // None when the system does not tell.
    virtual std::optional<NetworkConfiguration> networkConfiguration() = 0;
};

} // namespace marvo
