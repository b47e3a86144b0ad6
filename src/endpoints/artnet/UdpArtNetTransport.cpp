#include "endpoints/artnet/UdpArtNetTransport.h"

#include "endpoints/artnet/UdpArtNetPort.h"
#include "platform/UdpSocket.h"

#include <cerrno>
#include <cstring>
#include <ifaddrs.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <netinet/in.h>
#include <netpacket/packet.h>
#include <optional>

namespace marvo {
namespace {

IPv4Address addressOf(const sockaddr* raw) {
    return {ntohl(reinterpret_cast<const sockaddr_in*>(raw)->sin_addr.s_addr)};
}

struct Interface {
    ArtNetAddresses addresses;
    int index = 0;
};

std::optional<Interface> interfaceOf(IPv4Address address) {
    ifaddrs* list = nullptr;
    if (::getifaddrs(&list) != 0) return std::nullopt;
    std::optional<Interface> found;
    std::string name;
    for (const ifaddrs* entry = list; entry; entry = entry->ifa_next) {
        if (found || !entry->ifa_addr || !entry->ifa_netmask || entry->ifa_addr->sa_family != AF_INET)
            continue;
        const IPv4Address own = addressOf(entry->ifa_addr);
        const IPv4Address mask = addressOf(entry->ifa_netmask);
        // All of the loopback's network is this machine.
        const bool isLoopback = (entry->ifa_flags & IFF_LOOPBACK) != 0;
        if (own != address && !(isLoopback && (own.value & mask.value) == (address.value & mask.value)))
            continue;
        found.emplace();
        // The address that follows from the mask works also where none was set.
        found->addresses = {address, mask, {address.value | ~mask.value}, {}};
        name = entry->ifa_name;
        found->index = static_cast<int>(::if_nametoindex(entry->ifa_name));
    }
    for (const ifaddrs* entry = list; found && entry; entry = entry->ifa_next) {
        if (!entry->ifa_addr || entry->ifa_addr->sa_family != AF_PACKET || name != entry->ifa_name) continue;
        const auto* const hardware = reinterpret_cast<const sockaddr_ll*>(entry->ifa_addr);
        if (hardware->sll_halen == found->addresses.hardware.size())
            std::memcpy(found->addresses.hardware.data(), hardware->sll_addr, hardware->sll_halen);
    }
    ::freeifaddrs(list);
    return found;
}

int openShared(UdpSocket& socket, const SocketAddress& address) {
    int error = socket.open(AF_INET);
    if (error != 0) return error;
    const int yes = 1;
    ::setsockopt(socket.descriptor(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    ::setsockopt(socket.descriptor(), SOL_SOCKET, SO_REUSEPORT, &yes, sizeof yes);
    ::setsockopt(socket.descriptor(), IPPROTO_IP, IP_PKTINFO, &yes, sizeof yes);
    // Room for a burst of every universe on the way out and in; the system may grant less.
    const int room = 4 << 20;
    ::setsockopt(socket.descriptor(), SOL_SOCKET, SO_SNDBUF, &room, sizeof room);
    ::setsockopt(socket.descriptor(), SOL_SOCKET, SO_RCVBUF, &room, sizeof room);
    return socket.bind(address);
}

std::string reasonOf(int error, const std::string& place) {
    if (error == -EADDRINUSE)
        return "UDP port " + place + " is held by another program, which does not share it";
    return "UDP port " + place + " cannot be had: " + std::strerror(-error);
}

} // namespace

// Two sockets, because broadcasts reach only one that is bound to no address, and because what leaves must
// bear the address of the chosen interface.
std::unique_ptr<ArtNetPort> UdpArtNetTransport::open(IPv4Address address, std::string& reason) {
    const std::optional<Interface> interface = interfaceOf(address);
    if (!interface) {
        reason = "no interface of this machine has the address " + address.text();
        return nullptr;
    }
    UdpSocket all;
    if (const int error = openShared(all, SocketAddress::any(port_)); error != 0) {
        reason = reasonOf(error, std::to_string(port_));
        return nullptr;
    }
    UdpSocket own;
    if (const int error = openShared(own, *SocketAddress::fromNumeric(address.text(), port_)); error != 0) {
        reason = reasonOf(error, std::to_string(port_) + " of " + address.text());
        return nullptr;
    }
    return std::make_unique<UdpArtNetPort>(std::move(own), std::move(all), interface->addresses,
                                           interface->index, port_);
}

} // namespace marvo
