#include "endpoints/artnet/ArtNetTransport.h"

#include <arpa/inet.h>
#include <netinet/in.h>

namespace marvo {

std::optional<IPv4Address> IPv4Address::fromText(const std::string& text) {
    in_addr raw{};
    if (::inet_pton(AF_INET, text.c_str(), &raw) != 1) return std::nullopt;
    return IPv4Address{ntohl(raw.s_addr)};
}

std::string IPv4Address::text() const {
    const in_addr raw{htonl(value)};
    char space[INET_ADDRSTRLEN] = "";
    ::inet_ntop(AF_INET, &raw, space, sizeof space);
    return space;
}

} // namespace marvo
