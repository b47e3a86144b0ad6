// A port of UdpArtNetTransport.
//
// What goes to one address in a row of equal length is handed to the kernel as one text with the place of the
// cuts, which goes down its layers once; on the wire each is a datagram of its own as before.
#pragma once

#include "endpoints/artnet/ArtNetTransport.h"
#include "platform/UdpSocket.h"
#include "platform/WakeUp.h"

#include <array>
#include <atomic>
#include <memory>

namespace marvo {

class UdpArtNetPort final : public ArtNetPort {
public:
    // `own` is bound to the interface's address, `all` to none.
    UdpArtNetPort(UdpSocket own, UdpSocket all, const ArtNetAddresses& addresses, int interfaceIndex,
                  std::uint16_t port);

    const ArtNetAddresses& addresses() const override { return addresses_; }
    ArtNetSendResult send(std::span<const ArtNetDatagram> datagrams) override;
    std::span<const ArtNetReceived> receive() override;
    void waitForInput(MonotonicTime until) override;
    void wake() override { wakeUp_.wake(); }

private:
    // Longer ones are no Art-Net.
    static constexpr std::size_t largestDatagram = 1500;
    struct Input {
        std::array<std::array<std::byte, largestDatagram>, largestBatch> bytes;
        std::array<ArtNetReceived, largestBatch> received;
    };

    // The system's description of a few datagrams, made of rows.
    struct Output;

    std::size_t describe(Output& output, std::span<const ArtNetDatagram> datagrams, bool inRows) const;
    std::size_t receiveFrom(const UdpSocket& socket, std::size_t count, std::size_t most);

    UdpSocket own_;
    UdpSocket all_;
    const ArtNetAddresses addresses_;
    const int interfaceIndex_;
    const int loopbackIndex_;
    const std::uint16_t port_;
    std::atomic<bool> takesRows_; // cleared when the route turns out not to
    std::unique_ptr<Input> input_;
    WakeUp wakeUp_;
};

} // namespace marvo
