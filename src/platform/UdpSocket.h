// A UDP socket that never blocks. Errors are negative errno values.
//
// Sending and receiving are thread-safe and realtime-safe; opening and closing belong to the owner.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <sys/socket.h>
#include <utility>

namespace marvo {

struct SocketAddress {
    sockaddr_storage storage{};
    socklen_t size = 0;

    // A numeric IPv4 or IPv6 address; none for a name.
    static std::optional<SocketAddress> fromNumeric(const std::string& address, std::uint16_t port);
    static SocketAddress any(std::uint16_t port);
    int family() const { return storage.ss_family; }
    std::uint16_t port() const;
    std::string text() const;
};

class UdpSocket {
public:
    UdpSocket() = default;
    UdpSocket(UdpSocket&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    UdpSocket& operator=(UdpSocket&& other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    ~UdpSocket() { close(); }

    int open(int family);
    void close();
    bool isOpen() const { return descriptor_ >= 0; }
    int descriptor() const { return descriptor_; }
    // A port that another socket holds is refused, never shared.
    int bind(const SocketAddress& address);
    int connect(const SocketAddress& address);
    std::uint16_t localPort() const;
    // Bytes sent or received, or a negative errno; -EAGAIN instead of waiting.
    long send(std::span<const std::byte> bytes) const;
    long receive(std::span<std::byte> space) const;
    // Puts another socket behind this one's descriptor, so that a thread which sends meanwhile never meets a
    // closed one.
    int replaceBy(UdpSocket&& other);

private:
    int descriptor_ = -1;
};

} // namespace marvo
