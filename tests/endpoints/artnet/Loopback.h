// Ends of the loopback on a port that nobody uses, each with an address of its own.
#pragma once

#include "ArtNetWire.h"

#include "endpoints/artnet/ArtNetPacket.h"
#include "endpoints/artnet/UdpArtNetTransport.h"
#include "platform/UdpSocket.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace marvo {

inline std::uint16_t freePort() {
    UdpSocket socket;
    socket.open(AF_INET);
    socket.bind(SocketAddress::any(0));
    return socket.localPort();
}

inline std::unique_ptr<ArtNetPort> opened(UdpArtNetTransport& transport, const char* where) {
    std::string reason;
    auto port = transport.open(address(where), reason);
    EXPECT_NE(port, nullptr) << reason;
    return port;
}

inline ArtNetSendResult sendPoll(ArtNetPort& port, const char* to) {
    std::byte space[ArtPoll::encodedSize];
    const std::size_t size = encodeArtNet(ArtPoll{}, space);
    const ArtNetDatagram datagram{space, size, address(to)};
    return port.send({&datagram, 1});
}

} // namespace marvo
