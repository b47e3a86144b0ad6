// Decides when a universe leaves, and puts it on the wire.
//
// A universe leaves when it has changed, at most 44 times a second, and again while nothing changes. All that
// has changed leaves together: a universe that was sent a moment ago holds the others back until its turn,
// 23 ms at most, and takes their newest values along. The sequence number of each universe goes from 1 to 255
// and round. One thread; time is an argument.
#pragma once

#include "endpoints/artnet/ArtNetPacket.h"
#include "endpoints/artnet/ArtNetRoutes.h"
#include "endpoints/artnet/DMXHandOver.h"
#include "platform/Clock.h"
#include "platform/Published.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

namespace marvo {

class ArtNetSender {
public:
    // 44 packets a second: no DMX line carries more.
    static constexpr Duration spacing = Duration(1'000'000'000 / 44 + 1);
    // Devices that hear nothing for some seconds take the line for dead.
    static constexpr Duration keepAlive = Duration::ofMilliseconds(900);

    ArtNetSender(DMXHandOver& handOver, const Published<ArtNetRoutes>& routes);

    // Sends what is due. Returns when to call again, unless something is handed over before and isIdle is
    // true: what is handed over while it is false waits for that moment anyway.
    MonotonicTime run(MonotonicTime now);
    // Whether nothing waits for its turn.
    bool isIdle() const { return pending_.isEmpty() && isSent(); }

    // Lets the universes leave again with the values they have, for a device that has just come. Any thread.
    void sendAgain(const UniverseSet& universes);

    std::uint64_t packetsSent() const { return packetsSent_.load(std::memory_order_relaxed); }
    std::uint64_t packetsFailed() const { return packetsFailed_.load(std::memory_order_relaxed); }
    // The errno of the latest burst that lost packets; 0 after one that lost none. Any thread.
    int sendError() const { return sendError_.load(std::memory_order_relaxed); }

private:
    static constexpr Duration retryAfter = Duration::ofMilliseconds(1);
    // A burst that finds no room for so long is given up: what is newer matters more.
    static constexpr Duration longestBurst = Duration::ofMilliseconds(100);
    static constexpr Duration handOverRetry = Duration::ofMicroseconds(50);
    static constexpr Duration longest = Duration::ofSeconds(1);

    struct Slot {
        std::uint8_t sequence = 0;
        MonotonicTime lastSent; // 0 is never
    };

    bool takeHandedOver();
    MonotonicTime earliest(int universe) const;
    void compose(const UniverseSet& universes, const ArtNetRoutes& routes, MonotonicTime now);
    void sendRest(ArtNetPort& port);
    void giveUpRest();
    bool isSent() const { return resume_ == batch_.size(); }

    DMXHandOver& handOver_;
    const Published<ArtNetRoutes>& routes_;
    std::array<Slot, universeCount> slots_;
    UniverseSet known_;   // the packets hold values of the show
    UniverseSet pending_; // those that have not left
    std::array<std::atomic<std::uint64_t>, UniverseSet::wordCount> again_{};
    // The present burst. What found no room goes on from resume_ a little later, before anything newer.
    std::vector<ArtNetDatagram> batch_;
    std::size_t resume_ = 0;
    const ArtNetPort* batchPort_ = nullptr; // compared only
    MonotonicTime batchBegun_;
    std::array<std::byte, ArtSync::encodedSize> sync_{};
    std::atomic<std::uint64_t> packetsSent_{0};
    std::atomic<std::uint64_t> packetsFailed_{0};
    std::atomic<int> sendError_{0};
};

} // namespace marvo
