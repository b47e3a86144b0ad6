#include "platform/NetworkInterfaces.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <linux/if.h>
#include <linux/if_arp.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <map>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>
#include <utility>

namespace marvo {
namespace {

// Closes itself.
class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() {
        if (number_ >= 0) ::close(number_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return number_; }
    int release() { return std::exchange(number_, -1); }

private:
    int number_;
};

std::string textOf(const rtattr* attribute) {
    const auto* const text = static_cast<const char*>(RTA_DATA(attribute));
    return {text, ::strnlen(text, RTA_PAYLOAD(attribute))};
}

template <class Function>
void forEachAttribute(const rtattr* first, std::size_t size, Function&& function) {
    auto left = static_cast<int>(size);
    for (const rtattr* attribute = first; RTA_OK(attribute, left); attribute = RTA_NEXT(attribute, left))
        function(attribute);
}

bool isWirelessDevice(const Descriptor& any, const std::string& device) {
    constexpr unsigned long getWirelessName = 0x8b01; // SIOCGIWNAME, whose header does not go with <net/if.h>
    struct {
        char name[IFNAMSIZ];
        char space[32];
    } request{};
    device.copy(request.name, IFNAMSIZ - 1);
    return ::ioctl(any.get(), getWirelessName, &request) == 0;
}

// Asks for all objects of a kind; false when the kernel does not answer or its answer is not consistent.
template <class Function>
bool dump(const Descriptor& netlink, int kind, Function&& function) {
    struct {
        nlmsghdr header;
        rtgenmsg body;
    } request{};
    request.header.nlmsg_len = NLMSG_LENGTH(sizeof request.body);
    request.header.nlmsg_type = static_cast<std::uint16_t>(kind);
    request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    request.body.rtgen_family = kind == RTM_GETADDR ? AF_INET : AF_UNSPEC;
    if (::send(netlink.get(), &request, request.header.nlmsg_len, 0) < 0) return false;
    alignas(nlmsghdr) char space[32768];
    bool interrupted = false;
    while (true) {
        const ssize_t got = ::recv(netlink.get(), space, sizeof space, 0);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        auto left = static_cast<unsigned>(got);
        for (const auto* header = reinterpret_cast<const nlmsghdr*>(space); NLMSG_OK(header, left);
             header = NLMSG_NEXT(header, left)) {
            interrupted = interrupted || (header->nlmsg_flags & NLM_F_DUMP_INTR) != 0;
            if (header->nlmsg_type == NLMSG_DONE) return !interrupted;
            if (header->nlmsg_type == NLMSG_ERROR) return false;
            function(header);
        }
    }
}

bool readAll(std::map<int, NetworkLink>& links) {
    const Descriptor netlink(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
    const Descriptor any(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (netlink.get() < 0) return false;
    const timeval bound{1, 0};
    ::setsockopt(netlink.get(), SOL_SOCKET, SO_RCVTIMEO, &bound, sizeof bound);
    const bool gotLinks = dump(netlink, RTM_GETLINK, [&](const nlmsghdr* header) {
        if (header->nlmsg_type != RTM_NEWLINK) return;
        const auto* const info = static_cast<const ifinfomsg*>(NLMSG_DATA(header));
        NetworkLink& link = links[info->ifi_index];
        link.index = info->ifi_index;
        link.isEthernet = info->ifi_type == ARPHRD_ETHER;
        link.isActive = (info->ifi_flags & IFF_UP) != 0 && (info->ifi_flags & IFF_RUNNING) != 0;
        forEachAttribute(IFLA_RTA(info), IFLA_PAYLOAD(header), [&](const rtattr* attribute) {
            if (attribute->rta_type == IFLA_IFNAME) link.device = textOf(attribute);
            if (attribute->rta_type == IFLA_IFALIAS) link.alias = textOf(attribute);
        });
        link.isWireless = link.isEthernet && isWirelessDevice(any, link.device);
    });
    if (!gotLinks) return false;
    return dump(netlink, RTM_GETADDR, [&](const nlmsghdr* header) {
        if (header->nlmsg_type != RTM_NEWADDR) return;
        const auto* const info = static_cast<const ifaddrmsg*>(NLMSG_DATA(header));
        if (info->ifa_family != AF_INET) return;
        NetworkLink& link = links[static_cast<int>(info->ifa_index)];
        if (!link.address.empty()) return;
        char text[INET_ADDRSTRLEN] = "";
        forEachAttribute(IFA_RTA(info), IFA_PAYLOAD(header), [&](const rtattr* attribute) {
            // Of a point-to-point link the plain address is the other end's.
            const bool isOwn =
                attribute->rta_type == IFA_LOCAL || (attribute->rta_type == IFA_ADDRESS && text[0] == '\0');
            if (isOwn && RTA_PAYLOAD(attribute) == sizeof(in_addr))
                ::inet_ntop(AF_INET, RTA_DATA(attribute), text, sizeof text);
        });
        link.address = text;
    });
}

} // namespace

std::optional<std::vector<NetworkLink>> readNetworkLinks() {
    // A change in the middle of the answer makes it inconsistent; a few attempts meet a quiet moment.
    for (int attempt = 0; attempt < 5; ++attempt) {
        std::map<int, NetworkLink> links;
        if (!readAll(links)) continue;
        std::vector<NetworkLink> list;
        for (auto& [index, link] : links) {
            if (!link.device.empty()) list.push_back(std::move(link));
        }
        return list;
    }
    return std::nullopt;
}

NetworkConfiguration networkConfigurationOf(std::span<const NetworkLink> links) {
    NetworkConfiguration configuration;
    for (const NetworkLink& link : links) {
        if (!link.isEthernet) continue;
        const std::string name = !link.alias.empty() ? link.alias : link.isWireless ? "Wi-Fi" : "Ethernet";
        std::string& value = configuration[name + " (" + link.device + ")"];
        value = !link.address.empty() ? link.address : link.isActive ? "1" : "0";
    }
    configuration["(Loopback Interface)"] = "127.0.0.1 (lo0)";
    return configuration;
}

std::optional<NetworkConfiguration> SystemNetworkConfiguration::networkConfiguration() {
    const auto links = readNetworkLinks();
    if (!links) return std::nullopt;
    return networkConfigurationOf(*links);
}

NetworkConfigurationWatch::NetworkConfigurationWatch(MainThread& main, std::function<void()> changed)
    : signal_(main, std::move(changed)) {
    Descriptor netlink(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE));
    sockaddr_nl groups{};
    groups.nl_family = AF_NETLINK;
    groups.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_IFADDR;
    if (netlink.get() < 0 ||
        ::bind(netlink.get(), reinterpret_cast<const sockaddr*>(&groups), sizeof groups) != 0) {
        error_ = std::string("changes of the network are not watched: ") + std::strerror(errno);
        return;
    }
    netlink_ = netlink.release();
    thread_ = std::thread([this] { listen(); });
}

NetworkConfigurationWatch::~NetworkConfigurationWatch() {
    stopping_.store(true, std::memory_order_release);
    wakeUp_.wake();
    if (thread_.joinable()) thread_.join();
    if (netlink_ >= 0) ::close(netlink_);
}

void NetworkConfigurationWatch::listen() {
    const int descriptors[] = {netlink_, wakeUp_.descriptor()};
    const MonotonicClock clock;
    char space[16384];
    while (!stopping_.load(std::memory_order_acquire)) {
        waitReadable(descriptors, 2, clock.now() + Duration::ofSeconds(3600));
        bool heard = false;
        while (true) {
            const ssize_t got = ::recv(netlink_, space, sizeof space, 0);
            if (got < 0 && errno == EINTR) continue;
            // More changes than there was room for: what they were does not matter.
            if (got < 0 && errno != ENOBUFS) break;
            heard = true;
        }
        if (heard) signal_.postAfter(Duration::ofMilliseconds(50));
    }
}

} // namespace marvo
