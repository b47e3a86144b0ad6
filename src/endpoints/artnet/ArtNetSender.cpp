#include "endpoints/artnet/ArtNetSender.h"

#include <algorithm>
#include <cerrno>
#include <functional>

namespace marvo {

ArtNetSender::ArtNetSender(DMXHandOver& handOver, const Published<ArtNetRoutes>& routes)
    : handOver_(handOver), routes_(routes) {
    encodeArtNet(ArtSync{}, sync_);
    batch_.reserve(universeCount + 1);
}

void ArtNetSender::sendAgain(const UniverseSet& universes) {
    for (std::size_t word = 0; word < UniverseSet::wordCount; ++word)
        again_[word].fetch_or(universes.words[word], std::memory_order_release);
}

bool ArtNetSender::takeHandedOver() {
    bool busy = false;
    const UniverseSet taken = handOver_.take(busy);
    known_ |= taken;
    pending_ |= taken;
    return !busy;
}

MonotonicTime ArtNetSender::earliest(int universe) const {
    const MonotonicTime last = slots_[static_cast<std::size_t>(universe)].lastSent;
    return last.nanoseconds == 0 ? MonotonicTime() : last + spacing;
}

MonotonicTime ArtNetSender::run(MonotonicTime now) {
    const auto routes = routes_.read();
    if (!isSent() && routes->port && routes->port.get() == batchPort_) {
        sendRest(*routes->port);
        if (!isSent() && now - batchBegun_ < longestBurst) return now + retryAfter;
        giveUpRest();
    }
    MonotonicTime next = now + longest;
    if (!takeHandedOver()) next = now + handOverRetry;
    // What comes back later is handed over anew: its values here would be old.
    known_ &= routes->leaving;
    UniverseSet again;
    for (std::size_t word = 0; word < UniverseSet::wordCount; ++word)
        again.words[word] = again_[word].exchange(0, std::memory_order_acquire);
    pending_ |= again;
    pending_ &= known_;
    if (!routes->port) {
        // What is there leaves as a repetition when there is a network again.
        pending_.clear();
        batch_.clear();
        resume_ = 0;
        return next;
    }

    UniverseSet due;
    if (!pending_.isEmpty()) {
        MonotonicTime together = now;
        pending_.forEach([&](int universe) { together = std::max(together, earliest(universe)); });
        if (together <= now) {
            due = pending_;
        } else {
            next = std::min(next, together);
        }
    }
    known_.forEach([&](int universe) {
        const Duration repeat = routes->universes[static_cast<std::size_t>(universe)].repeat;
        if (!pending_.contains(universe)) {
            const MonotonicTime last = slots_[static_cast<std::size_t>(universe)].lastSent;
            if (last.nanoseconds == 0 || last + repeat <= now) {
                due.insert(universe);
            } else {
                next = std::min(next, last + repeat);
            }
        }
        if (due.contains(universe)) next = std::min(next, now + repeat);
    });
    if (due.isEmpty()) return next;
    compose(due, *routes, now);
    sendRest(*routes->port);
    return isSent() ? next : now + retryAfter;
}

void ArtNetSender::compose(const UniverseSet& universes, const ArtNetRoutes& routes, MonotonicTime now) {
    batch_.clear();
    resume_ = 0;
    batchPort_ = routes.port.get();
    batchBegun_ = now;
    universes.forEach([&](int universe) {
        Slot& slot = slots_[static_cast<std::size_t>(universe)];
        slot.lastSent = now;
        pending_.remove(universe);
        const auto destinations = routes.destinationsOf(universe);
        if (destinations.empty()) return;
        slot.sequence = static_cast<std::uint8_t>(slot.sequence % 255 + 1);
        const std::span<std::byte> packet = handOver_.packetOf(universe);
        packet[ArtDmx::sequencePlace] = static_cast<std::byte>(slot.sequence);
        for (const IPv4Address to : destinations) batch_.push_back({packet.data(), packet.size(), to});
    });
    // Device by device: what goes to one place in a row costs a fraction. The packets lie in the order of
    // their universes.
    std::sort(batch_.begin(), batch_.end(), [](const ArtNetDatagram& a, const ArtNetDatagram& b) {
        return a.to != b.to ? a.to < b.to : std::less<>()(a.bytes, b.bytes);
    });
    if (routes.sync && !batch_.empty())
        batch_.push_back({sync_.data(), sync_.size(), routes.port->addresses().broadcast});
}

void ArtNetSender::sendRest(ArtNetPort& port) {
    if (isSent()) return;
    const ArtNetSendResult result = port.send(std::span(batch_).subspan(resume_));
    packetsSent_.fetch_add(result.sent, std::memory_order_relaxed);
    packetsFailed_.fetch_add(result.failed, std::memory_order_relaxed);
    sendError_.store(result.failed != 0 ? result.error : 0, std::memory_order_relaxed);
    resume_ += result.sent + result.failed;
}

void ArtNetSender::giveUpRest() {
    if (isSent()) return;
    packetsFailed_.fetch_add(batch_.size() - resume_, std::memory_order_relaxed);
    sendError_.store(ENOBUFS, std::memory_order_relaxed);
    resume_ = batch_.size();
}

} // namespace marvo
