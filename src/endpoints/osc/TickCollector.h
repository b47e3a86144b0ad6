// Lets the messages that one tick sends through an output leave together at its end.
//
// Between begin and flush, wires that are asked to send on that thread keep the message and note themselves
// here; every other thread sends at once. Order per wire is kept, because a tick holds the composition queue
// from before begin until after flush. One tick at a time. Realtime-safe, but for waitUntilFlushed.
#pragma once

#include <atomic>
#include <cstdint>

namespace marvo {

class UdpOSCWire;

class TickCollector {
public:
    TickCollector() = default;
    TickCollector(const TickCollector&) = delete;
    TickCollector& operator=(const TickCollector&) = delete;

    void begin();
    // Sends what was kept, wire by wire in the order of their first message.
    void flush();
    // True on the thread of the tick, between the two.
    bool collectsHere() const { return ofThisThread() == this; }
    // A wire that keeps its first message of this tick.
    void note(UdpOSCWire& wire);
    // Before a wire is freed: nobody asks it to send any more, but a tick may still hold it.
    void waitUntilFlushed();

private:
    static const TickCollector*& ofThisThread() {
        static thread_local const TickCollector* current = nullptr;
        return current;
    }

    UdpOSCWire* first_ = nullptr;
    UdpOSCWire* last_ = nullptr;
    std::atomic<std::uint64_t> epoch_{0}; // odd during a tick
};

} // namespace marvo
