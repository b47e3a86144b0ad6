// Messages as the bytes of the wire.
#pragma once

#include "endpoints/midi/MIDIMessage.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace marvo {

struct MIDIBytes {
    std::array<std::uint8_t, 3> bytes{};
    std::uint8_t size = 0; // 0 for what is no message: data bytes alone, or pieces of a system-exclusive one

    std::span<const std::uint8_t> span() const { return {bytes.data(), size}; }
};

// Bytes of a message that begins with this status, the status included; 0 when it is no status, or begins or
// ends a system-exclusive message.
constexpr std::size_t midiLength(std::uint8_t status) {
    if (status < 0x80) return 0;
    if (status < 0xf0) return status >= 0xc0 && status < 0xe0 ? 2 : 3;
    if (status == 0xf0 || status == 0xf7) return 0;
    if (status == 0xf2) return 3;
    return status == 0xf1 || status == 0xf3 ? 2 : 1;
}

// dataMask 0x7f takes the eighth bit of the data bytes, which a receiver would read as the beginning of
// another message.
constexpr MIDIBytes encodeMIDI(const MIDIMessage& message, std::uint8_t dataMask = 0x7f) {
    const auto status = static_cast<std::uint8_t>(
        message.type < 0xf0 ? (message.type & 0xf0) | (message.channel & 0x0f) : message.type);
    MIDIBytes out;
    out.size = static_cast<std::uint8_t>(midiLength(status));
    if (out.size > 0) out.bytes[0] = status;
    if (out.size > 1) out.bytes[1] = message.data1 & dataMask;
    if (out.size > 2) out.bytes[2] = message.data2 & dataMask;
    return out;
}

// Of a whole message; bytes that are none give type 0.
constexpr MIDIMessage decodeMIDI(std::span<const std::uint8_t> bytes) {
    MIDIMessage message;
    if (bytes.empty()) return message;
    const std::size_t length = midiLength(bytes[0]);
    if (length == 0 || bytes.size() < length) return message;
    const bool hasChannel = bytes[0] < 0xf0;
    message.type = hasChannel ? bytes[0] & 0xf0 : bytes[0];
    message.channel = hasChannel ? bytes[0] & 0x0f : 0;
    if (length > 1) message.data1 = bytes[1] & 0x7f;
    if (length > 2) message.data2 = bytes[2] & 0x7f;
    return message;
}

constexpr bool beginsNote(const MIDIMessage& message) {
    return message.type == MIDIMessage::noteOn && (message.data2 & 0x7f) != 0;
}
constexpr bool endsNote(const MIDIMessage& message) {
    return message.type == MIDIMessage::noteOff ||
           (message.type == MIDIMessage::noteOn && (message.data2 & 0x7f) == 0);
}

} // namespace marvo
