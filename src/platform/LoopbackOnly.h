// A machine without a network, the same everywhere: for rehearsals and tests.
#pragma once

#include "platform/NetworkConfiguration.h"

namespace marvo {

class LoopbackOnly final : public NetworkConfigurationSource {
public:
    std::optional<NetworkConfiguration> networkConfiguration() override {
        return NetworkConfiguration{{"(Loopback Interface)", "127.0.0.1 (lo0)"}};
    }
};

} // namespace marvo
