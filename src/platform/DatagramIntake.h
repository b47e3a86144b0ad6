// Takes the datagrams that wait in a socket, many with one call of the system.
//
// For one thread.
#pragma once

#include "platform/UdpSocket.h"

#include <array>
#include <cstddef>
#include <memory>
#include <span>

namespace marvo {

class DatagramIntake {
public:
    static constexpr std::size_t most = 16;

    DatagramIntake();
    // What waits, at most so many, and nothing while the socket has an error to tell; never waits itself.
    // They stay until the next call.
    std::span<const std::span<const std::byte>> take(const UdpSocket& socket);

private:
    // The largest that UDP carries. Not one after the other at full pages, where all beginnings would fight
    // for the same place of the cache.
    static constexpr std::size_t largest = 65536;
    static constexpr std::size_t stride = largest + 192;

    std::unique_ptr<std::byte[]> space_; // untouched, and so without memory, beyond what comes in
    std::array<iovec, most> parts_{};
    std::array<mmsghdr, most> headers_{};
    std::array<std::span<const std::byte>, most> taken_;
};

} // namespace marvo
