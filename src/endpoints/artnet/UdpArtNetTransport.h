// Art-Net over UDP. The port is shared with other programs of this machine that are willing to share it.
#pragma once

#include "endpoints/artnet/ArtNetTransport.h"

namespace marvo {

class UdpArtNetTransport final : public ArtNetTransport {
public:
    // Another port than the standard one is for tests.
    explicit UdpArtNetTransport(std::uint16_t port = artNetPort) : port_(port) {}

    // The address of an interface of this machine, or any of the loopback.
    std::unique_ptr<ArtNetPort> open(IPv4Address address, std::string& reason) override;

private:
    const std::uint16_t port_;
};

} // namespace marvo
