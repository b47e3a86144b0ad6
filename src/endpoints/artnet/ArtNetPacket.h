// Art-Net 4 packets to bytes and back. Never touches a socket, never reads past the end, allocates nothing.
#pragma once

#include "endpoints/artnet/ArtNetTransport.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace marvo {

enum class ArtNetOpcode : std::uint16_t {
    unknown = 0, // no Art-Net packet, or one that is not read here
    poll = 0x2000,
    pollReply = 0x2100,
    dmx = 0x5000,
    sync = 0x5200,
};

// What the packet says it is; only its first bytes are looked at.
ArtNetOpcode artNetOpcodeOf(std::span<const std::byte> packet);

// Asks all devices who they are.
struct ArtPoll {
    static constexpr std::size_t encodedSize = 22;
    static constexpr std::uint8_t replyOnChange = 0x02;
    static constexpr std::uint8_t targeted = 0x20;

    std::uint8_t flags = 0;
    std::uint8_t diagnosticsPriority = 0;
    // Only devices within answer when the flag `targeted` is set.
    std::uint16_t targetTop = 0;
    std::uint16_t targetBottom = 0;

    bool asksFor(std::uint16_t portAddress) const {
        return (flags & targeted) == 0 || (portAddress >= targetBottom && portAddress <= targetTop);
    }
    bool operator==(const ArtPoll&) const = default;
};

// Who a device is, and which universes its up to four ports have.
struct ArtPollReply {
    static constexpr std::size_t encodedSize = 239;
    static constexpr std::size_t smallestSize = 207; // of early devices, which know no binding
    static constexpr std::size_t portCount = 4;
    static constexpr std::uint8_t portIsOutput = 0x80; // takes DMX from the network
    static constexpr std::uint8_t portIsInput = 0x40;  // brings DMX to the network
    static constexpr std::uint8_t styleController = 0x01;
    static constexpr std::uint8_t indicatorsNormal = 0xc0;
    static constexpr std::uint8_t addressesByPanel = 0x10;
    static constexpr std::uint8_t fifteenBitAddresses = 0x08; // of status2

    IPv4Address address;
    std::uint16_t port = ArtNetTransport::artNetPort;
    std::uint16_t version = 0;
    std::uint8_t netSwitch = 0;
    std::uint8_t subSwitch = 0;
    std::uint16_t oem = 0x00ff;
    std::uint8_t ubea = 0;
    std::uint8_t status1 = 0;
    std::uint16_t estaManufacturer = 0;
    std::array<char, 18> shortName{};
    std::array<char, 64> longName{};
    std::array<char, 64> nodeReport{};
    std::uint16_t numPorts = 0;
    std::array<std::uint8_t, portCount> portTypes{};
    std::array<std::uint8_t, portCount> goodInput{};
    std::array<std::uint8_t, portCount> goodOutput{};
    std::array<std::uint8_t, portCount> swIn{};
    std::array<std::uint8_t, portCount> swOut{};
    std::uint8_t style = 0;
    std::array<std::uint8_t, 6> hardwareAddress{};
    IPv4Address bindAddress;
    std::uint8_t bindIndex = 0;
    std::uint8_t status2 = 0;

    // Up to the first zero byte.
    std::string_view shortNameText() const;
    void setShortName(std::string_view text);
    void setLongName(std::string_view text);
    void setNodeReport(std::string_view text);
    // Net, subnet and universe of a port in one number of 15 bits.
    std::uint16_t portAddressOf(std::uint8_t universeSwitch) const {
        return static_cast<std::uint16_t>((netSwitch & 0x7f) << 8 | (subSwitch & 0x0f) << 4 |
                                          (universeSwitch & 0x0f));
    }
    bool operator==(const ArtPollReply&) const = default;
};

// The values of a universe.
struct ArtDmx {
    static constexpr std::size_t headerSize = 18;
    static constexpr std::size_t largestData = 512;
    static constexpr std::size_t encodedSize = headerSize + largestData;
    static constexpr std::size_t sequencePlace = 12;

    std::uint8_t sequence = 0; // 1 to 255, or 0 from those who do not count
    std::uint8_t physical = 0;
    std::uint16_t portAddress = 0;   // 15 bits
    std::span<const std::byte> data; // 1 to 512 bytes; part of the packet when decoded
};

// Lets devices show what they received since the last one.
struct ArtSync {
    static constexpr std::size_t encodedSize = 14;
};

// Each returns the size, or 0 when the space does not hold the packet.
std::size_t encodeArtNet(const ArtPoll& poll, std::span<std::byte> space);
std::size_t encodeArtNet(const ArtPollReply& reply, std::span<std::byte> space);
std::size_t encodeArtNet(const ArtDmx& dmx, std::span<std::byte> space); // 0 also for a wrong data size
std::size_t encodeArtNet(const ArtSync& sync, std::span<std::byte> space);

// Each tells whether the packet is one of its kind and whole, of protocol version 14 or later where the
// packet has one; the target is untouched otherwise.
bool decodeArtNet(std::span<const std::byte> packet, ArtPoll& poll);
bool decodeArtNet(std::span<const std::byte> packet, ArtPollReply& reply);
bool decodeArtNet(std::span<const std::byte> packet, ArtDmx& dmx);
bool decodeArtNet(std::span<const std::byte> packet, ArtSync& sync);

} // namespace marvo
