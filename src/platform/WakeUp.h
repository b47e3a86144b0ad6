// A thread sleeps here until a moment or until another thread wakes it.
#pragma once

#include "platform/Clock.h"

namespace marvo {

class WakeUp {
public:
    WakeUp();
    ~WakeUp();
    WakeUp(const WakeUp&) = delete;
    WakeUp& operator=(const WakeUp&) = delete;

    // Thread-safe, realtime-safe: one write to a non-blocking descriptor.
    void wake();
    // Until the moment on the machine's monotonic clock, or until a wake(), also one that came before. One
    // thread.
    void sleepUntil(MonotonicTime moment);

    // Readable while a wake() waits; take() ends that.
    int descriptor() const { return descriptor_; }
    void take();

private:
    int descriptor_ = -1;
};

// Waits until one of the descriptors can be read or the moment has come.
void waitReadable(const int* descriptors, int count, MonotonicTime moment);

} // namespace marvo
