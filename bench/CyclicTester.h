// The system's own cyclic latency tester (cyclictest of rt-tests) as the baseline of the tick: a thread of
// the same priority that does nothing but sleep until absolute moments a millisecond apart.
#pragma once

#include <optional>

namespace marvo::bench {

// Of the wake-ups of one slice; times in microseconds.
struct Lateness {
    double p50 = 0.0;
    double p99 = 0.0;
    double p999 = 0.0;
    double maximum = 0.0;
    double wakeUps = 0.0;
    double late = 0.0; // wake-ups more than a millisecond late
};

// Runs it for whole seconds and waits for it. None when it is not there, or has no right to the priority.
std::optional<Lateness> runCyclicTester(int seconds, int priority);

} // namespace marvo::bench
