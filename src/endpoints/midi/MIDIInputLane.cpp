#include "endpoints/midi/MIDIInputLane.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utility>

namespace marvo {

namespace {

// Hands on messages in groups, and keeps them in order with the system-exclusive ones.
class Groups final : public MIDIStreamParser::Sink {
public:
    Groups(MIDIInputReceiver& receiver, MonotonicTime arrival) : receiver_(receiver), arrival_(arrival) {}

    void message(const MIDIMessage& message) override {
        if (count_ == messages_.size()) flush();
        messages_[count_++] = message;
    }
    void sysex(std::span<const std::uint8_t> payload) override {
        flush();
        receiver_.receivedSysex(payload, arrival_);
    }
    void flush() {
        if (count_ != 0) receiver_.receivedMIDI({messages_.data(), std::exchange(count_, 0)}, arrival_);
    }

private:
    MIDIInputReceiver& receiver_;
    const MonotonicTime arrival_;
    std::array<MIDIMessage, 64> messages_;
    std::size_t count_ = 0;
};

} // namespace

MIDIInputLane::MIDIInputLane()
    : ring_(capacity), wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), thread_([this] { run(); }) {}

MIDIInputLane::~MIDIInputLane() {
    stopping_.store(true);
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t result = ::write(wake_, &one, sizeof one);
    thread_.join();
    ::close(wake_);
}

void MIDIInputLane::add(std::shared_ptr<MIDIInPort> port) {
    const std::lock_guard hold(lock_);
    const std::uint32_t number = port->number;
    ports_[number] = std::move(port);
}

void MIDIInputLane::remove(const MIDIInPort& port) {
    const std::lock_guard hold(lock_);
    ports_.erase(port.number);
}

void MIDIInputLane::copyIn(std::size_t at, const void* from, std::size_t size) {
    const std::size_t place = at % capacity;
    const std::size_t first = std::min(size, capacity - place);
    std::memcpy(ring_.data() + place, from, first);
    std::memcpy(ring_.data(), static_cast<const std::uint8_t*>(from) + first, size - first);
}

void MIDIInputLane::copyOut(std::size_t at, void* to, std::size_t size) const {
    const std::size_t place = at % capacity;
    const std::size_t first = std::min(size, capacity - place);
    std::memcpy(to, ring_.data() + place, first);
    std::memcpy(static_cast<std::uint8_t*>(to) + first, ring_.data(), size - first);
}

void MIDIInputLane::write(std::uint32_t portNumber, std::uint64_t arrival,
                          std::span<const std::uint8_t> bytes) {
    const std::size_t at = written_.load(std::memory_order_relaxed);
    const std::size_t used = at - read_.load(std::memory_order_acquire);
    if (bytes.size() > capacity - sizeof(Head) || used + sizeof(Head) + bytes.size() > capacity) {
        dropped_.fetch_add(1, std::memory_order_relaxed);
        return;
    }
    const Head head{arrival, portNumber, static_cast<std::uint32_t>(bytes.size())};
    copyIn(at, &head, sizeof head);
    copyIn(at + sizeof head, bytes.data(), bytes.size());
    written_.store(at + sizeof head + bytes.size(), std::memory_order_release);
    dirty_ = true;
}

void MIDIInputLane::wake() {
    if (!std::exchange(dirty_, false)) return;
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t result = ::write(wake_, &one, sizeof one);
}

void MIDIInputLane::run() {
    pthread_setname_np(pthread_self(), "marvo-midi-in");
    std::vector<std::uint8_t> bytes;
    while (!stopping_.load()) {
        pollfd waited{wake_, POLLIN, 0};
        poll(&waited, 1, -1);
        std::uint64_t count = 0;
        [[maybe_unused]] const ssize_t result = ::read(wake_, &count, sizeof count);
        std::size_t at = read_.load(std::memory_order_relaxed);
        while (at != written_.load(std::memory_order_acquire) && !stopping_.load()) {
            Head head{};
            copyOut(at, &head, sizeof head);
            bytes.resize(head.size);
            copyOut(at + sizeof head, bytes.data(), head.size);
            at += sizeof head + head.size;
            read_.store(at, std::memory_order_release);
            deliver(head, bytes);
        }
    }
}

void MIDIInputLane::deliver(const Head& head, std::span<const std::uint8_t> bytes) {
    std::shared_ptr<MIDIInPort> port;
    {
        const std::lock_guard hold(lock_);
        const auto found = ports_.find(head.port);
        if (found == ports_.end()) return;
        port = found->second;
    }
    if (!port->held.load(std::memory_order_acquire)) return;
    Groups groups(*port->receiver, MonotonicTime(head.arrival));
    port->parser.feed(bytes, groups);
    groups.flush();
}

} // namespace marvo
