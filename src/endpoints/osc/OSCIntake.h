// From a socket to whoever receives messages: takes what waits, decodes it and hands it over.
//
// Belongs to the thread of its input; the counter may be read by any.
#pragma once

#include "endpoints/osc/OSCMessage.h"
#include "endpoints/osc/OSCTransport.h"
#include "platform/DatagramIntake.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace marvo {

class OSCIntake {
public:
    explicit OSCIntake(OSCMessageReceiver& receiver) : receiver_(receiver) {}

    // Some of what waits, and none of it once `stopping` is set. False when nothing waits.
    bool takeFrom(const UdpSocket& socket, const std::atomic<bool>& stopping);
    // Packets that were dropped, in whole or from the fault on.
    std::uint64_t malformed() const { return malformed_.load(std::memory_order_relaxed); }

private:
    void announce(std::span<const std::span<const std::byte>> packets);

    OSCMessageReceiver& receiver_;
    DatagramIntake datagrams_;
    OSCMessage scratch_;
    std::array<std::string_view, DatagramIntake::most> addresses_;
    std::atomic<std::uint64_t> malformed_{0};
};

} // namespace marvo
