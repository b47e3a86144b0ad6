#include "platform/NetworkAddresses.h"

#include <algorithm>
#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

namespace marvo {

std::vector<std::string> hostIPv4Addresses() {
    std::vector<std::string> reachable;
    std::vector<std::string> loopback;
    ifaddrs* list = nullptr;
    if (::getifaddrs(&list) != 0) return {};
    for (const ifaddrs* entry = list; entry; entry = entry->ifa_next) {
        if (!entry->ifa_addr || entry->ifa_addr->sa_family != AF_INET || !(entry->ifa_flags & IFF_UP))
            continue;
        char text[INET_ADDRSTRLEN] = "";
        ::inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in*>(entry->ifa_addr)->sin_addr, text,
                    sizeof text);
        (entry->ifa_flags & IFF_LOOPBACK ? loopback : reachable).emplace_back(text);
    }
    ::freeifaddrs(list);
    reachable.insert(reachable.end(), loopback.begin(), loopback.end());
    return reachable;
}

} // namespace marvo
