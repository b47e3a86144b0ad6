// Brings what arrives on a real-time thread to the receivers.
//
// One thread writes, without waiting and without allocating; what does not fit is dropped and counted. A
// thread of the lane reads, parses and delivers.
#pragma once

#include "endpoints/midi/MIDIPorts.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <thread>
#include <vector>

namespace marvo {

class MIDIInputLane {
public:
    static constexpr std::size_t capacity = 1 << 19; // bytes, records' heads included

    MIDIInputLane();
    ~MIDIInputLane(); // waits for the delivery that is under way
    MIDIInputLane(const MIDIInputLane&) = delete;
    MIDIInputLane& operator=(const MIDIInputLane&) = delete;

    // Thread-safe, both.
    void add(std::shared_ptr<MIDIInPort> port);
    void remove(const MIDIInPort& port);

    // The writer. Pieces of messages may come in several calls; `arrival` in nanoseconds of CLOCK_MONOTONIC.
    // What was written is read after the next wake().
    void write(std::uint32_t portNumber, std::uint64_t arrival, std::span<const std::uint8_t> bytes);
    void wake();
    std::uint64_t dropped() const { return dropped_.load(std::memory_order_relaxed); }

private:
    struct Head {
        std::uint64_t arrival;
        std::uint32_t port;
        std::uint32_t size;
    };

    void run();
    void deliver(const Head& head, std::span<const std::uint8_t> bytes);
    void copyIn(std::size_t at, const void* from, std::size_t size);
    void copyOut(std::size_t at, void* to, std::size_t size) const;

    std::vector<std::uint8_t> ring_;
    std::atomic<std::size_t> written_{0}; // running counts of bytes
    std::atomic<std::size_t> read_{0};
    std::atomic<std::uint64_t> dropped_{0};
    bool dirty_ = false; // writer
    int wake_ = -1;
    std::atomic<bool> stopping_{false};
    std::mutex lock_;
    std::map<std::uint32_t, std::shared_ptr<MIDIInPort>> ports_;
    std::thread thread_;
};

} // namespace marvo
