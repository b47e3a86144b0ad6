#include "endpoints/artnet/ArtNetPacket.h"

#include <algorithm>
#include <cstring>

namespace marvo {
namespace {

constexpr char mark[8] = {'A', 'r', 't', '-', 'N', 'e', 't', '\0'};
constexpr std::size_t opcodePlace = 8;
constexpr std::size_t headSize = 10;
constexpr std::size_t versionPlace = 10;
constexpr std::uint16_t protocolVersion = 14;

// The writers and readers stay within the space because each packet's size is checked first.
void put8(std::span<std::byte> space, std::size_t at, std::uint8_t value) {
    space[at] = static_cast<std::byte>(value);
}

void putHighFirst(std::span<std::byte> space, std::size_t at, std::uint16_t value) {
    put8(space, at, static_cast<std::uint8_t>(value >> 8));
    put8(space, at + 1, static_cast<std::uint8_t>(value & 0xff));
}

void putLowFirst(std::span<std::byte> space, std::size_t at, std::uint16_t value) {
    put8(space, at, static_cast<std::uint8_t>(value & 0xff));
    put8(space, at + 1, static_cast<std::uint8_t>(value >> 8));
}

template <class Array>
void putBytes(std::span<std::byte> space, std::size_t at, const Array& values) {
    std::memcpy(space.subspan(at, values.size()).data(), values.data(), values.size());
}

void putAddress(std::span<std::byte> space, std::size_t at, IPv4Address address) {
    putHighFirst(space, at, static_cast<std::uint16_t>(address.value >> 16));
    putHighFirst(space, at + 2, static_cast<std::uint16_t>(address.value & 0xffff));
}

std::uint8_t get8(std::span<const std::byte> packet, std::size_t at) {
    return static_cast<std::uint8_t>(packet[at]);
}

std::uint16_t getHighFirst(std::span<const std::byte> packet, std::size_t at) {
    return static_cast<std::uint16_t>(get8(packet, at) << 8 | get8(packet, at + 1));
}

std::uint16_t getLowFirst(std::span<const std::byte> packet, std::size_t at) {
    return static_cast<std::uint16_t>(get8(packet, at) | get8(packet, at + 1) << 8);
}

template <class Array>
void getBytes(std::span<const std::byte> packet, std::size_t at, Array& values) {
    std::memcpy(values.data(), packet.subspan(at, values.size()).data(), values.size());
}

IPv4Address getAddress(std::span<const std::byte> packet, std::size_t at) {
    return IPv4Address{static_cast<std::uint32_t>(getHighFirst(packet, at)) << 16 |
                       getHighFirst(packet, at + 2)};
}

void putHead(std::span<std::byte> space, ArtNetOpcode opcode) {
    std::memcpy(space.data(), mark, sizeof mark);
    putLowFirst(space, opcodePlace, static_cast<std::uint16_t>(opcode));
}

bool isWhole(std::span<const std::byte> packet, ArtNetOpcode opcode, std::size_t smallest) {
    return packet.size() >= smallest && artNetOpcodeOf(packet) == opcode;
}

bool hasVersion(std::span<const std::byte> packet) {
    return getHighFirst(packet, versionPlace) >= protocolVersion;
}

// The last byte stays zero.
template <std::size_t size>
void setText(std::array<char, size>& field, std::string_view text) {
    field.fill('\0');
    text.copy(field.data(), size - 1);
}

} // namespace

ArtNetOpcode artNetOpcodeOf(std::span<const std::byte> packet) {
    if (packet.size() < headSize || std::memcmp(packet.data(), mark, sizeof mark) != 0)
        return ArtNetOpcode::unknown;
    const auto opcode = static_cast<ArtNetOpcode>(getLowFirst(packet, opcodePlace));
    switch (opcode) {
    case ArtNetOpcode::poll:
    case ArtNetOpcode::pollReply:
    case ArtNetOpcode::dmx:
    case ArtNetOpcode::sync:
        return opcode;
    default:
        return ArtNetOpcode::unknown;
    }
}

std::string_view ArtPollReply::shortNameText() const {
    return {shortName.data(), ::strnlen(shortName.data(), shortName.size())};
}

void ArtPollReply::setShortName(std::string_view text) {
    setText(shortName, text);
}

void ArtPollReply::setLongName(std::string_view text) {
    setText(longName, text);
}

void ArtPollReply::setNodeReport(std::string_view text) {
    setText(nodeReport, text);
}

std::size_t encodeArtNet(const ArtPoll& poll, std::span<std::byte> space) {
    if (space.size() < ArtPoll::encodedSize) return 0;
    space = space.first(ArtPoll::encodedSize);
    std::fill(space.begin(), space.end(), std::byte{0});
    putHead(space, ArtNetOpcode::poll);
    putHighFirst(space, versionPlace, protocolVersion);
    put8(space, 12, poll.flags);
    put8(space, 13, poll.diagnosticsPriority);
    putHighFirst(space, 14, poll.targetTop);
    putHighFirst(space, 16, poll.targetBottom);
    return space.size();
}

bool decodeArtNet(std::span<const std::byte> packet, ArtPoll& poll) {
    constexpr std::size_t withoutFlags = 12;
    if (!isWhole(packet, ArtNetOpcode::poll, withoutFlags) || !hasVersion(packet)) return false;
    // Early controllers send fewer fields.
    poll = {};
    if (packet.size() > 12) poll.flags = get8(packet, 12);
    if (packet.size() > 13) poll.diagnosticsPriority = get8(packet, 13);
    if (packet.size() >= 18) {
        poll.targetTop = getHighFirst(packet, 14);
        poll.targetBottom = getHighFirst(packet, 16);
    } else {
        poll.flags &= static_cast<std::uint8_t>(~ArtPoll::targeted);
    }
    return true;
}

std::size_t encodeArtNet(const ArtPollReply& reply, std::span<std::byte> space) {
    if (space.size() < ArtPollReply::encodedSize) return 0;
    space = space.first(ArtPollReply::encodedSize);
    std::fill(space.begin(), space.end(), std::byte{0});
    putHead(space, ArtNetOpcode::pollReply);
    putAddress(space, 10, reply.address);
    putLowFirst(space, 14, reply.port);
    putHighFirst(space, 16, reply.version);
    put8(space, 18, reply.netSwitch);
    put8(space, 19, reply.subSwitch);
    putHighFirst(space, 20, reply.oem);
    put8(space, 22, reply.ubea);
    put8(space, 23, reply.status1);
    putLowFirst(space, 24, reply.estaManufacturer);
    putBytes(space, 26, reply.shortName);
    putBytes(space, 44, reply.longName);
    putBytes(space, 108, reply.nodeReport);
    putHighFirst(space, 172, reply.numPorts);
    putBytes(space, 174, reply.portTypes);
    putBytes(space, 178, reply.goodInput);
    putBytes(space, 182, reply.goodOutput);
    putBytes(space, 186, reply.swIn);
    putBytes(space, 190, reply.swOut);
    put8(space, 200, reply.style);
    putBytes(space, 201, reply.hardwareAddress);
    putAddress(space, 207, reply.bindAddress);
    put8(space, 211, reply.bindIndex);
    put8(space, 212, reply.status2);
    return space.size();
}

bool decodeArtNet(std::span<const std::byte> packet, ArtPollReply& reply) {
    if (!isWhole(packet, ArtNetOpcode::pollReply, ArtPollReply::smallestSize)) return false;
    reply = {};
    reply.address = getAddress(packet, 10);
    reply.port = getLowFirst(packet, 14);
    reply.version = getHighFirst(packet, 16);
    reply.netSwitch = get8(packet, 18);
    reply.subSwitch = get8(packet, 19);
    reply.oem = getHighFirst(packet, 20);
    reply.ubea = get8(packet, 22);
    reply.status1 = get8(packet, 23);
    reply.estaManufacturer = getLowFirst(packet, 24);
    getBytes(packet, 26, reply.shortName);
    getBytes(packet, 44, reply.longName);
    getBytes(packet, 108, reply.nodeReport);
    reply.numPorts = getHighFirst(packet, 172);
    getBytes(packet, 174, reply.portTypes);
    getBytes(packet, 178, reply.goodInput);
    getBytes(packet, 182, reply.goodOutput);
    getBytes(packet, 186, reply.swIn);
    getBytes(packet, 190, reply.swOut);
    reply.style = get8(packet, 200);
    getBytes(packet, 201, reply.hardwareAddress);
    if (packet.size() >= 212) {
        reply.bindAddress = getAddress(packet, 207);
        reply.bindIndex = get8(packet, 211);
    }
    if (packet.size() >= 213) reply.status2 = get8(packet, 212);
    return true;
}

std::size_t encodeArtNet(const ArtDmx& dmx, std::span<std::byte> space) {
    const std::size_t size = ArtDmx::headerSize + dmx.data.size();
    if (dmx.data.empty() || dmx.data.size() > ArtDmx::largestData || space.size() < size) return 0;
    putHead(space, ArtNetOpcode::dmx);
    putHighFirst(space, versionPlace, protocolVersion);
    put8(space, ArtDmx::sequencePlace, dmx.sequence);
    put8(space, 13, dmx.physical);
    putLowFirst(space, 14, dmx.portAddress & 0x7fff);
    putHighFirst(space, 16, static_cast<std::uint16_t>(dmx.data.size()));
    putBytes(space, ArtDmx::headerSize, dmx.data);
    return size;
}

bool decodeArtNet(std::span<const std::byte> packet, ArtDmx& dmx) {
    if (!isWhole(packet, ArtNetOpcode::dmx, ArtDmx::headerSize) || !hasVersion(packet)) return false;
    const std::size_t length = getHighFirst(packet, 16);
    if (length == 0 || length > ArtDmx::largestData || packet.size() < ArtDmx::headerSize + length)
        return false;
    dmx.sequence = get8(packet, ArtDmx::sequencePlace);
    dmx.physical = get8(packet, 13);
    dmx.portAddress = getLowFirst(packet, 14) & 0x7fff;
    dmx.data = packet.subspan(ArtDmx::headerSize, length);
    return true;
}

std::size_t encodeArtNet(const ArtSync&, std::span<std::byte> space) {
    if (space.size() < ArtSync::encodedSize) return 0;
    space = space.first(ArtSync::encodedSize);
    std::fill(space.begin(), space.end(), std::byte{0});
    putHead(space, ArtNetOpcode::sync);
    putHighFirst(space, versionPlace, protocolVersion);
    return space.size();
}

bool decodeArtNet(std::span<const std::byte> packet, ArtSync&) {
    return isWhole(packet, ArtNetOpcode::sync, ArtSync::encodedSize) && hasVersion(packet);
}

} // namespace marvo
