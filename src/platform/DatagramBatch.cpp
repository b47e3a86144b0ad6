#include "platform/DatagramBatch.h"

#include <cerrno>
#include <cstring>
#include <netinet/udp.h>

namespace marvo {
namespace {

constexpr int withoutWaiting = MSG_DONTWAIT | MSG_NOSIGNAL;
// The kernel's own limit is 64 in older versions.
constexpr std::size_t longestRow = 64;
constexpr std::size_t largestRow = 65507;
// A packet that might not fit the route in one piece goes alone, to be cut by the network layer instead.
constexpr std::size_t largestSegment = 1200;

// The system's side of the network is full, or away: another form of the same packets fares no better.
bool isTroubleOfTheNetwork(int error) {
    switch (error) {
    case EAGAIN:
    case ENOBUFS:
    case ENOMEM:
    case ENETUNREACH:
    case EHOSTUNREACH:
    case ENETDOWN:
    case EPERM:
    case EACCES:
    case EBADF:
    case EDESTADDRREQ:
        return true;
    default:
        return false;
    }
}

} // namespace

DatagramBatch::DatagramBatch(std::size_t bytes, std::size_t packets)
    : bytes_(bytes), sizes_(packets), rows_(packets), headers_(packets), texts_(packets), controls_(packets) {
}

void DatagramBatch::add(std::size_t size) {
    sizes_[count_++] = static_cast<std::uint16_t>(size);
    used_ += size;
}

void DatagramBatch::clear() {
    used_ = 0;
    count_ = 0;
}

std::size_t DatagramBatch::drop() {
    const std::size_t count = count_;
    clear();
    return count;
}

bool DatagramBatch::canSegment(int descriptor) {
    int size = 0;
    socklen_t length = sizeof size;
    return ::getsockopt(descriptor, SOL_UDP, UDP_SEGMENT, &size, &length) == 0;
}

DatagramTally DatagramBatch::sendOne(int descriptor, std::span<const std::byte> packet) {
    ssize_t result = ::send(descriptor, packet.data(), packet.size(), withoutWaiting);
    // This one was not sent; nobody listening is no trouble.
    if (result < 0 && errno == ECONNREFUSED) {
        result = ::send(descriptor, packet.data(), packet.size(), withoutWaiting);
        if (result < 0 && errno == ECONNREFUSED) result = 0;
    }
    if (result < 0) return {0, 0, 1, errno};
    return {1, packet.size(), 0, 0};
}

DatagramTally DatagramBatch::send(int descriptor, bool& segments) {
    DatagramTally tally;
    if (count_ <= fewPackets) {
        std::size_t offset = 0;
        for (std::size_t i = 0; i < count_; ++i) {
            const DatagramTally one = sendOne(descriptor, std::span(bytes_).subspan(offset, sizes_[i]));
            tally = {tally.sent + one.sent, tally.bytes + one.bytes, tally.dropped + one.dropped,
                     one.lastError};
            offset += sizes_[i];
        }
    } else {
        sendRows(descriptor, segments, tally);
    }
    clear();
    return tally;
}

std::size_t DatagramBatch::makeRows(std::size_t first, std::size_t offset, bool segments) {
    std::size_t rows = 0;
    for (std::size_t at = first; at < count_; ++rows) {
        Row& row = rows_[rows];
        const std::size_t size = sizes_[at];
        row = {at, 1, size};
        ++at;
        const bool goesAlone = !segments || size == 0 || size > largestSegment;
        while (!goesAlone && at < count_ && row.count < longestRow && sizes_[at] > 0 && sizes_[at] <= size &&
               row.bytes + sizes_[at] <= largestRow) {
            row.bytes += sizes_[at];
            ++row.count;
            // The last one of a row may be shorter.
            if (sizes_[at++] < size) break;
        }
        texts_[rows] = {bytes_.data() + offset, row.bytes};
        offset += row.bytes;
        msghdr& header = headers_[rows].msg_hdr;
        header = {};
        header.msg_iov = &texts_[rows];
        header.msg_iovlen = 1;
        if (row.count == 1) continue;
        header.msg_control = controls_[rows].bytes;
        header.msg_controllen = sizeof controls_[rows].bytes;
        cmsghdr* const control = CMSG_FIRSTHDR(&header);
        control->cmsg_level = SOL_UDP;
        control->cmsg_type = UDP_SEGMENT;
        control->cmsg_len = CMSG_LEN(sizeof(std::uint16_t));
        const auto cut = static_cast<std::uint16_t>(size);
        std::memcpy(CMSG_DATA(control), &cut, sizeof cut);
    }
    return rows;
}

void DatagramBatch::sendRows(int descriptor, bool& segments, DatagramTally& tally) {
    std::size_t rows = makeRows(0, 0, segments);
    std::size_t offset = 0;
    bool refused = false;
    for (std::size_t at = 0; at < rows;) {
        const int taken =
            ::sendmmsg(descriptor, headers_.data() + at, static_cast<unsigned>(rows - at), withoutWaiting);
        if (taken > 0) {
            for (const std::size_t end = at + static_cast<std::size_t>(taken); at < end; ++at) {
                tally.sent += rows_[at].count;
                tally.bytes += rows_[at].bytes;
                offset += rows_[at].bytes;
            }
            tally.lastError = 0;
            refused = false;
            continue;
        }
        const int error = errno;
        const Row row = rows_[at];
        if (error == EINTR) continue;
        if (error == ECONNREFUSED && !refused) {
            // The answer to an earlier packet; this row has not been sent.
            refused = true;
            continue;
        }
        if (row.count > 1 && error != ECONNREFUSED && !isTroubleOfTheNetwork(error)) {
            // The route does not take rows: a device that cannot sum them up, or one with a small unit.
            segments = false;
            rows = makeRows(row.first, offset, segments);
            at = 0;
            continue;
        }
        if (error == ECONNREFUSED) {
            tally.sent += row.count;
            tally.bytes += row.bytes;
        } else {
            tally.dropped += row.count;
        }
        tally.lastError = error == ECONNREFUSED ? 0 : error;
        offset += row.bytes;
        refused = false;
        ++at;
    }
}

} // namespace marvo
