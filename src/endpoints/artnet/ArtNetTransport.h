// What the Art-Net server is made of: a port that packets leave by and come in by.
//
// The application is given a transport: the real one over UDP, one without a network for rehearsals, or one
// that a test records. Opening and closing belong to one thread at a time; sending and receiving are
// thread-safe.
#pragma once

#include "platform/Clock.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace marvo {

// In host order: 127.0.0.1 is 0x7f000001.
struct IPv4Address {
    std::uint32_t value = 0;

    static std::optional<IPv4Address> fromText(const std::string& text);
    std::string text() const;
    bool isLoopback() const { return value >> 24 == 127; }
    auto operator<=>(const IPv4Address&) const = default;
};

// Of the interface that a port stands on.
struct ArtNetAddresses {
    IPv4Address own;
    IPv4Address mask;
    IPv4Address broadcast;
    std::array<std::uint8_t, 6> hardware{};

    bool isOnNetwork(IPv4Address address) const {
        return address.value != 0 && address != broadcast &&
               (address.value & mask.value) == (own.value & mask.value);
    }
};

struct ArtNetDatagram {
    const std::byte* bytes = nullptr;
    std::size_t size = 0;
    IPv4Address to;
};

struct ArtNetReceived {
    std::span<const std::byte> bytes; // valid until the next receive
    IPv4Address from;
};

struct ArtNetSendResult {
    std::size_t sent = 0;
    std::size_t failed = 0; // given up; what is in neither found no room and may be tried again
    int error = 0;          // errno of the last failure
};

class ArtNetPort {
public:
    static constexpr std::size_t largestBatch = 64; // datagrams of one receive

    virtual ~ArtNetPort() = default;
    virtual const ArtNetAddresses& addresses() const = 0;
    // In the given order, as one burst. Never blocks.
    virtual ArtNetSendResult send(std::span<const ArtNetDatagram> datagrams) = 0;
    // The datagrams that wait, at most largestBatch. Never blocks. One thread at a time.
    virtual std::span<const ArtNetReceived> receive() = 0;
    // Waits until something can be received, until the moment, or until wake(). One thread at a time.
    virtual void waitForInput(MonotonicTime until) = 0;
    virtual void wake() = 0; // any thread
};

class ArtNetTransport {
public:
    static constexpr std::uint16_t artNetPort = 6454;

    virtual ~ArtNetTransport() = default;
    // Null when the port cannot be had on that address; `reason` then says why.
    virtual std::unique_ptr<ArtNetPort> open(IPv4Address address, std::string& reason) = 0;
};

} // namespace marvo
