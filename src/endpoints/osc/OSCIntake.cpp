#include "endpoints/osc/OSCIntake.h"

#include "endpoints/osc/OSCCodec.h"

#include <cstring>

namespace marvo {

bool OSCIntake::takeFrom(const UdpSocket& socket, const std::atomic<bool>& stopping) {
    const auto packets = datagrams_.take(socket);
    if (packets.empty()) return false;
    if (packets.size() > 1) announce(packets);
    for (const auto& packet : packets) {
        if (stopping.load(std::memory_order_acquire)) return false;
        const OSCDecodeError error = decodeOSC(
            packet, scratch_, [this](const OSCMessage& message) { receiver_.receivedOSCMessage(message); });
        if (error != OSCDecodeError::none) malformed_.fetch_add(1, std::memory_order_relaxed);
    }
    return true;
}

// Only plain messages: what a bundle holds is known when it is decoded.
void OSCIntake::announce(std::span<const std::span<const std::byte>> packets) {
    std::size_t count = 0;
    for (const auto& packet : packets) {
        if (packet.empty() || packet[0] != std::byte{'/'}) continue;
        const char* const text = reinterpret_cast<const char*>(packet.data());
        addresses_[count++] = {text, ::strnlen(text, packet.size())};
    }
    receiver_.expectOSCMessages(std::span(addresses_).first(count));
}

} // namespace marvo
