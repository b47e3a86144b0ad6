// Datagrams that leave together: one system call for all of them, where the kernel allows it.
//
// The packets lie behind one another in memory that is there from the beginning. A row of packets of one size
// is handed to the kernel as one long text with the place of the cuts (UDP_SEGMENT), which goes down its
// layers once; on the wire each is a datagram of its own as before. One user at a time; realtime-safe but for
// the construction. The order is kept.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <netinet/in.h>
#include <span>
#include <sys/socket.h>
#include <vector>

namespace marvo {

struct DatagramTally {
    std::uint64_t sent = 0;
    std::uint64_t bytes = 0; // of those that were sent
    std::uint64_t dropped = 0;
    int lastError = 0; // errno of the last packet; 0 when it was sent
};

class DatagramBatch {
public:
    // Up to that many are sent one by one: the usual handful does not gain from more.
    static constexpr std::size_t fewPackets = 8;

    DatagramBatch(std::size_t bytes, std::size_t packets);

    // The next packet is written to the beginning of this, and then added.
    std::span<std::byte> room() { return std::span(bytes_).subspan(used_); }
    void add(std::size_t size);
    bool isFull() const { return count_ == sizes_.size(); }
    std::size_t count() const { return count_; }

    // Sends all through a connected socket without waiting, and is empty again. segments: whether the socket
    // takes rows; cleared when its route turns out not to.
    DatagramTally send(int descriptor, bool& segments);
    // Forgets them; how many there were.
    std::size_t drop();

    // One packet. The answer to an earlier one, that nobody listens, is no failure of this one.
    static DatagramTally sendOne(int descriptor, std::span<const std::byte> packet);
    // Whether the kernel cuts rows for this socket.
    static bool canSegment(int descriptor);

private:
    struct Row {
        std::size_t first = 0;
        std::size_t count = 0;
        std::size_t bytes = 0;
    };
    struct alignas(cmsghdr) Control {
        std::byte bytes[CMSG_SPACE(sizeof(std::uint16_t))];
    };

    void sendRows(int descriptor, bool& segments, DatagramTally& tally);
    // Describes the packets from one on as rows; how many rows.
    std::size_t makeRows(std::size_t first, std::size_t offset, bool segments);
    void clear();

    std::vector<std::byte> bytes_;
    std::vector<std::uint16_t> sizes_;
    std::size_t used_ = 0;
    std::size_t count_ = 0;
    std::vector<Row> rows_;
    std::vector<mmsghdr> headers_;
    std::vector<iovec> texts_;
    std::vector<Control> controls_;
};

} // namespace marvo
