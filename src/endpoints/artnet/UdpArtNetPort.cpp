#include "endpoints/artnet/UdpArtNetPort.h"

#include "platform/DatagramBatch.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <net/if.h>
#include <netinet/in.h>
#include <netinet/udp.h>
#include <sys/socket.h>

namespace marvo {
namespace {

// Where the datagram came in; 0 when the system does not tell.
int interfaceOf(msghdr& header) {
    for (cmsghdr* part = CMSG_FIRSTHDR(&header); part; part = CMSG_NXTHDR(&header, part)) {
        if (part->cmsg_level != IPPROTO_IP || part->cmsg_type != IP_PKTINFO) continue;
        in_pktinfo info{};
        std::memcpy(&info, CMSG_DATA(part), sizeof info);
        return info.ipi_ifindex;
    }
    return 0;
}

} // namespace

struct UdpArtNetPort::Output {
    static constexpr std::size_t room = 128; // datagrams
    struct alignas(cmsghdr) Control {
        std::byte bytes[CMSG_SPACE(sizeof(std::uint16_t))];
    };

    mmsghdr headers[room];
    iovec parts[room];
    sockaddr_in targets[room];
    Control controls[room];
    std::size_t counts[room]; // datagrams of each row
};

UdpArtNetPort::UdpArtNetPort(UdpSocket own, UdpSocket all, const ArtNetAddresses& addresses,
                             int interfaceIndex, std::uint16_t port)
    : own_(std::move(own)), all_(std::move(all)), addresses_(addresses), interfaceIndex_(interfaceIndex),
      loopbackIndex_(static_cast<int>(::if_nametoindex("lo"))), port_(port),
      takesRows_(DatagramBatch::canSegment(own_.descriptor())), input_(new Input()) {}

// How many rows.
std::size_t UdpArtNetPort::describe(Output& output, std::span<const ArtNetDatagram> datagrams,
                                    bool inRows) const {
    constexpr std::size_t longestRow = 64; // the kernel's own limit in older versions
    std::size_t rows = 0;
    for (std::size_t at = 0; at < datagrams.size(); ++rows) {
        const ArtNetDatagram& first = datagrams[at];
        const std::size_t begin = at;
        do {
            output.parts[at] = {const_cast<std::byte*>(datagrams[at].bytes), datagrams[at].size};
            ++at;
        } while (inRows && at < datagrams.size() && at - begin < longestRow && datagrams[at].to == first.to &&
                 datagrams[at].size == first.size);
        output.counts[rows] = at - begin;
        sockaddr_in& target = output.targets[rows];
        target = {};
        target.sin_family = AF_INET;
        target.sin_port = htons(port_);
        target.sin_addr.s_addr = htonl(first.to.value);
        msghdr& header = output.headers[rows].msg_hdr;
        header = {};
        header.msg_name = &target;
        header.msg_namelen = sizeof target;
        header.msg_iov = &output.parts[begin];
        header.msg_iovlen = at - begin;
        if (at - begin == 1) continue;
        header.msg_control = output.controls[rows].bytes;
        header.msg_controllen = sizeof output.controls[rows].bytes;
        cmsghdr* const control = CMSG_FIRSTHDR(&header);
        control->cmsg_level = SOL_UDP;
        control->cmsg_type = UDP_SEGMENT;
        control->cmsg_len = CMSG_LEN(sizeof(std::uint16_t));
        const auto cut = static_cast<std::uint16_t>(first.size);
        std::memcpy(CMSG_DATA(control), &cut, sizeof cut);
    }
    return rows;
}

ArtNetSendResult UdpArtNetPort::send(std::span<const ArtNetDatagram> datagrams) {
    const bool isMany = datagrams.size() > DatagramBatch::fewPackets;
    Output output;
    ArtNetSendResult result;
    std::size_t done = 0;
    while (done < datagrams.size()) {
        const auto part = datagrams.subspan(done, std::min(Output::room, datagrams.size() - done));
        const std::size_t rows = describe(output, part, isMany && takesRows_.load(std::memory_order_relaxed));
        for (std::size_t at = 0; at < rows;) {
            const int taken = ::sendmmsg(own_.descriptor(), output.headers + at,
                                         static_cast<unsigned>(rows - at), MSG_DONTWAIT | MSG_NOSIGNAL);
            const int error = taken > 0 ? 0 : errno;
            for (int row = 0; row < taken; ++row, ++at) {
                result.sent += output.counts[at];
                done += output.counts[at];
            }
            if (taken > 0 || error == EINTR) continue;
            if (error == EAGAIN || error == EWOULDBLOCK || error == ENOBUFS) return result;
            if (output.counts[at] > 1 && (error == EIO || error == EINVAL || error == EMSGSIZE)) {
                // A device that cannot sum them up, or one with a small unit: the same again one by one.
                takesRows_.store(false, std::memory_order_relaxed);
                break;
            }
            // A device that cannot be reached is no reason to leave out the others.
            result.error = error;
            result.failed += output.counts[at];
            done += output.counts[at];
            ++at;
        }
    }
    return result;
}

std::size_t UdpArtNetPort::receiveFrom(const UdpSocket& socket, std::size_t count, std::size_t most) {
    constexpr std::size_t chunk = largestBatch;
    alignas(cmsghdr) char controls[chunk][CMSG_SPACE(sizeof(in_pktinfo))];
    mmsghdr headers[chunk];
    iovec parts[chunk];
    sockaddr_in sources[chunk];
    const std::size_t room = std::min({chunk, most, largestBatch - count});
    for (std::size_t index = 0; index < room; ++index) {
        parts[index] = {input_->bytes[count + index].data(), largestDatagram};
        headers[index] = {};
        headers[index].msg_hdr.msg_name = &sources[index];
        headers[index].msg_hdr.msg_namelen = sizeof sources[index];
        headers[index].msg_hdr.msg_iov = &parts[index];
        headers[index].msg_hdr.msg_iovlen = 1;
        headers[index].msg_hdr.msg_control = controls[index];
        headers[index].msg_hdr.msg_controllen = sizeof controls[index];
    }
    const int got =
        ::recvmmsg(socket.descriptor(), headers, static_cast<unsigned>(room), MSG_DONTWAIT, nullptr);
    // What is not meant for here, or was cut, counts as empty.
    for (int index = 0; index < got; ++index) {
        const auto place = static_cast<std::size_t>(index);
        const int interface = interfaceOf(headers[index].msg_hdr);
        const bool isHere = interface == interfaceIndex_ || interface == loopbackIndex_;
        const bool isWhole = (headers[index].msg_hdr.msg_flags & MSG_TRUNC) == 0;
        const auto bytes = std::span<const std::byte>(input_->bytes[count + place])
                               .first(isHere && isWhole ? headers[index].msg_len : 0);
        input_->received[count + place] = {bytes, {ntohl(sources[index].sin_addr.s_addr)}};
    }
    return count + static_cast<std::size_t>(std::max(got, 0));
}

std::span<const ArtNetReceived> UdpArtNetPort::receive() {
    // Half the room each, so that a flood of broadcasts does not keep the other from being read.
    std::size_t count = receiveFrom(own_, 0, largestBatch / 2);
    count = receiveFrom(all_, count, largestBatch - count);
    return std::span<const ArtNetReceived>(input_->received).first(count);
}

void UdpArtNetPort::waitForInput(MonotonicTime until) {
    const int descriptors[] = {own_.descriptor(), all_.descriptor(), wakeUp_.descriptor()};
    waitReadable(descriptors, 3, until);
    wakeUp_.take();
}

} // namespace marvo
