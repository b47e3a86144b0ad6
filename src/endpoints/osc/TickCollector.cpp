#include "endpoints/osc/TickCollector.h"

#include "endpoints/osc/UdpOSCWire.h"

#include <thread>
#include <utility>

namespace marvo {

void TickCollector::begin() {
    epoch_.fetch_add(1);
    ofThisThread() = this;
}

void TickCollector::note(UdpOSCWire& wire) {
    if (last_) {
        last_->nextToFlush_ = &wire;
    } else {
        first_ = &wire;
    }
    last_ = &wire;
}

void TickCollector::flush() {
    if (!collectsHere()) return;
    ofThisThread() = nullptr;
    UdpOSCWire* wire = std::exchange(first_, nullptr);
    last_ = nullptr;
    while (wire) {
        UdpOSCWire* const next = std::exchange(wire->nextToFlush_, nullptr);
        wire->flush();
        wire = next;
    }
    epoch_.fetch_add(1);
}

void TickCollector::waitUntilFlushed() {
    if (collectsHere()) {
        flush();
        return;
    }
    const std::uint64_t epoch = epoch_.load();
    if (epoch % 2 == 0) return;
    while (epoch_.load() == epoch) std::this_thread::yield();
}

} // namespace marvo
