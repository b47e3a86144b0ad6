// Art-Net without a network: every address can be had, what is sent goes nowhere, nothing comes in.
#pragma once

#include "endpoints/artnet/ArtNetTransport.h"

namespace marvo {

class SilentArtNetTransport final : public ArtNetTransport {
public:
    std::unique_ptr<ArtNetPort> open(IPv4Address address, std::string&) override {
        return std::make_unique<Port>(address);
    }

private:
    class Port final : public ArtNetPort {
    public:
        explicit Port(IPv4Address address) : addresses_{address, {0xffffffff}, address, {}} {}
        const ArtNetAddresses& addresses() const override { return addresses_; }
        ArtNetSendResult send(std::span<const ArtNetDatagram> datagrams) override {
            return {datagrams.size(), 0, 0};
        }
        std::span<const ArtNetReceived> receive() override { return {}; }
        void waitForInput(MonotonicTime) override {}
        void wake() override {}

    private:
        const ArtNetAddresses addresses_;
    };
};

} // namespace marvo
