#include "endpoints/osc/UdpOSCWire.h"

#include "endpoints/osc/OSCCodec.h"
#include "endpoints/osc/OutputKeeper.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace marvo {
namespace {

constexpr int longestWait = 8; // rounds of the keeper: two seconds

// What one output sends in a tick of a large show; beyond it a batch leaves early.
constexpr std::size_t batchBytes = std::size_t{64} << 10;
constexpr std::size_t batchMessages = 512;

// Space to encode into, a page fault once and never an allocation.
std::span<std::byte> encodeSpace() {
    static thread_local std::array<std::byte, UdpOSCWire::largestDatagram + 1> space;
    return space;
}

} // namespace

UdpOSCWire::UdpOSCWire(std::string label, std::string address, int port, TickCollector& collector)
    : collector_(collector),
      batch_(batchBytes, batchMessages), target_{std::move(label), std::move(address), port} {}

void UdpOSCWire::send(const OSCMessage& message, const SendOrigin&) {
    if (descriptor_.load(std::memory_order_acquire) < 0) {
        dropped_.fetch_add(1, std::memory_order_relaxed);
        return;
    }
    if (collector_.collectsHere()) {
        keep(message);
    } else {
        sendAtOnce(message);
    }
}

void UdpOSCWire::keep(const OSCMessage& message) {
    std::size_t size = batch_.isFull() ? 0 : encodeOSC(message, batch_.room());
    if (size == 0 && batch_.count() > 0) {
        sendKept();
        size = encodeOSC(message, batch_.room());
    }
    // Larger than the whole batch: nothing is waiting, so the order is kept.
    if (size == 0) return sendAtOnce(message);
    batch_.add(size);
    if (std::exchange(isNoted_, true)) return;
    collector_.note(*this);
}

void UdpOSCWire::flush() {
    isNoted_ = false;
    sendKept();
}

void UdpOSCWire::sendKept() {
    if (batch_.count() == 0) return;
    const int descriptor = descriptor_.load(std::memory_order_acquire);
    if (descriptor < 0) {
        dropped_.fetch_add(batch_.drop(), std::memory_order_relaxed);
        return;
    }
    const bool could = segments_.load(std::memory_order_relaxed);
    bool can = could;
    count(batch_.send(descriptor, can));
    if (can != could) segments_.store(can, std::memory_order_relaxed);
}

void UdpOSCWire::sendAtOnce(const OSCMessage& message) {
    const std::span<std::byte> space = encodeSpace();
    const std::size_t size = encodeOSC(message, space.first(largestDatagram));
    if (size == 0) {
        tooLarge_.store(encodedSize(message), std::memory_order_relaxed);
        dropped_.fetch_add(1, std::memory_order_relaxed);
        return;
    }
    count(DatagramBatch::sendOne(descriptor_.load(std::memory_order_acquire), space.first(size)));
}

void UdpOSCWire::count(const DatagramTally& tally) {
    if (sendError_.load(std::memory_order_relaxed) != tally.lastError)
        sendError_.store(tally.lastError, std::memory_order_relaxed);
    sent_.fetch_add(tally.sent, std::memory_order_relaxed);
    bytes_.fetch_add(tally.bytes, std::memory_order_relaxed);
    if (tally.dropped > 0) dropped_.fetch_add(tally.dropped, std::memory_order_relaxed);
}

OutputCounters UdpOSCWire::counters() const {
    return {sent_.load(std::memory_order_relaxed), dropped_.load(std::memory_order_relaxed),
            bytes_.load(std::memory_order_relaxed)};
}

void UdpOSCWire::setTarget(const std::string& address, int port) {
    {
        const std::lock_guard hold(lock_);
        target_.address = address;
        target_.port = port;
        targetChanged_ = true;
        connected_ = false;
        sendError_.store(0, std::memory_order_relaxed);
    }
    connectIfNumeric();
    // What waits for a look-up or a network must not go on to the old target.
    const std::lock_guard hold(lock_);
    if (!connected_) descriptor_.store(-1, std::memory_order_release);
}

void UdpOSCWire::setLabel(const std::string& label) {
    const std::lock_guard hold(lock_);
    target_.label = label;
}

void UdpOSCWire::connectIfNumeric() {
    const std::lock_guard hold(lock_);
    const auto address =
        SocketAddress::fromNumeric(target_.address, static_cast<std::uint16_t>(target_.port));
    if (address) connectTo(*address);
}

void UdpOSCWire::connectTo(const SocketAddress& address) {
    UdpSocket fresh;
    int error = fresh.open(address.family());
    if (error == 0) error = fresh.connect(address);
    if (error == 0) error = socket_.replaceBy(std::move(fresh));
    connected_ = error == 0;
    if (connected_)
        segments_.store(DatagramBatch::canSegment(socket_.descriptor()), std::memory_order_relaxed);
    connectError_ = -error;
    if (connected_) descriptor_.store(socket_.descriptor(), std::memory_order_release);
}

void UdpOSCWire::setTrouble(OutputKeeper& keeper, const std::string& label, const std::string& reason) {
    if (reason.empty() == trouble_.empty()) {
        if (!reason.empty()) trouble_ = reason;
        return;
    }
    trouble_ = reason;
    keeper.tell({label, reason, !reason.empty()});
}

void UdpOSCWire::look(OutputKeeper& keeper) {
    Target target;
    bool changed = false;
    bool connected = false;
    {
        const std::lock_guard hold(lock_);
        target = target_;
        changed = std::exchange(targetChanged_, false);
        connected = connected_;
    }
    if (changed) {
        waitRounds_ = 1;
        roundsToWait_ = 0;
    }
    const std::uint64_t tooLarge = tooLarge_.load(std::memory_order_relaxed);
    if (tooLarge != 0 && !toldTooLarge_) {
        toldTooLarge_ = true;
        keeper.tell({target.label, "a message of " + std::to_string(tooLarge) + " bytes is too large for UDP",
                     true, OutputTrouble::Kind::tooLarge});
    }
    if (connected && sendError_.load(std::memory_order_relaxed) == 0) {
        setTrouble(keeper, target.label, {});
        waitRounds_ = 1;
        roundsToWait_ = 0;
        return;
    }
    if (roundsToWait_ > 0) {
        --roundsToWait_;
        return;
    }
    if (!care(keeper, target)) return;
    roundsToWait_ = waitRounds_ - 1;
    waitRounds_ = std::min(waitRounds_ * 2, longestWait);
}

bool UdpOSCWire::care(OutputKeeper& keeper, const Target& target) {
    const auto port = static_cast<std::uint16_t>(target.port);
    auto address = SocketAddress::fromNumeric(target.address, port);
    if (!address) {
        const std::optional<LookupResult> found = keeper.resolve(target.address);
        if (!found) return false;
        keeper.forgetName(target.address);
        if (!found->address) {
            setTrouble(keeper, target.label,
                       "the host \"" + target.address + "\" is not found: " + found->reason);
            return true;
        }
        address = SocketAddress::fromNumeric(*found->address, port);
        if (!address) return true;
    }
    const std::lock_guard hold(lock_);
    if (target_.address != target.address || target_.port != target.port) return true;
    connectTo(*address);
    // A fresh connection ends the trouble of sending only once something has been sent through it.
    const int shown = connected_ ? sendError_.load(std::memory_order_relaxed) : connectError_;
    if (shown != 0) setTrouble(keeper, target.label, "cannot send: " + std::string(std::strerror(shown)));
    return true;
}

} // namespace marvo
