#include "platform/UdpSocket.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <netinet/in.h>
#include <unistd.h>

namespace marvo {

std::optional<SocketAddress> SocketAddress::fromNumeric(const std::string& address, std::uint16_t port) {
    SocketAddress result;
    auto* v4 = reinterpret_cast<sockaddr_in*>(&result.storage);
    if (::inet_pton(AF_INET, address.c_str(), &v4->sin_addr) == 1) {
        v4->sin_family = AF_INET;
        v4->sin_port = htons(port);
        result.size = sizeof(sockaddr_in);
        return result;
    }
    auto* v6 = reinterpret_cast<sockaddr_in6*>(&result.storage);
    if (::inet_pton(AF_INET6, address.c_str(), &v6->sin6_addr) == 1) {
        v6->sin6_family = AF_INET6;
        v6->sin6_port = htons(port);
        result.size = sizeof(sockaddr_in6);
        return result;
    }
    return std::nullopt;
}

SocketAddress SocketAddress::any(std::uint16_t port) {
    return *fromNumeric("0.0.0.0", port);
}

std::uint16_t SocketAddress::port() const {
    if (family() == AF_INET6) return ntohs(reinterpret_cast<const sockaddr_in6*>(&storage)->sin6_port);
    return ntohs(reinterpret_cast<const sockaddr_in*>(&storage)->sin_port);
}

std::string SocketAddress::text() const {
    char text[INET6_ADDRSTRLEN] = "";
    if (family() == AF_INET6) {
        ::inet_ntop(AF_INET6, &reinterpret_cast<const sockaddr_in6*>(&storage)->sin6_addr, text, sizeof text);
    } else {
        ::inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in*>(&storage)->sin_addr, text, sizeof text);
    }
    return text;
}

int UdpSocket::open(int family) {
    close();
    descriptor_ = ::socket(family, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (descriptor_ < 0) return -errno;
    const int yes = 1;
    ::setsockopt(descriptor_, SOL_SOCKET, SO_BROADCAST, &yes, sizeof yes);
    return 0;
}

void UdpSocket::close() {
    if (descriptor_ >= 0) ::close(descriptor_);
    descriptor_ = -1;
}

int UdpSocket::bind(const SocketAddress& address) {
    const auto* raw = reinterpret_cast<const sockaddr*>(&address.storage);
    return ::bind(descriptor_, raw, address.size) == 0 ? 0 : -errno;
}

int UdpSocket::connect(const SocketAddress& address) {
    const auto* raw = reinterpret_cast<const sockaddr*>(&address.storage);
    return ::connect(descriptor_, raw, address.size) == 0 ? 0 : -errno;
}

std::uint16_t UdpSocket::localPort() const {
    SocketAddress address;
    address.size = sizeof address.storage;
    if (::getsockname(descriptor_, reinterpret_cast<sockaddr*>(&address.storage), &address.size) != 0)
        return 0;
    return address.port();
}

long UdpSocket::send(std::span<const std::byte> bytes) const {
    const ssize_t sent = ::send(descriptor_, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    return sent < 0 ? -errno : sent;
}

long UdpSocket::receive(std::span<std::byte> space) const {
    const ssize_t got = ::recv(descriptor_, space.data(), space.size(), MSG_DONTWAIT);
    return got < 0 ? -errno : got;
}

int UdpSocket::replaceBy(UdpSocket&& other) {
    if (descriptor_ < 0) {
        *this = std::move(other);
        return 0;
    }
    const int result = ::dup3(other.descriptor_, descriptor_, O_CLOEXEC) < 0 ? -errno : 0;
    other.close();
    return result;
}

} // namespace marvo
