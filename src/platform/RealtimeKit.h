// The service that gives real-time scheduling to those who may not take it.
#pragma once

#include "platform/Clock.h"

#include <string>

namespace marvo {

struct RealtimeKitAnswer {
    int priority = 0; // as granted; 0 when refused
    std::string error;
};

// Asks for the calling thread, which gets reset-on-fork with whatever policy the service hands out. `timeout`
// bounds the whole conversation.
//
// The service serves only processes whose hard limit RLIMIT_RTTIME is at most what it allows (usually 200
// ms), and the kernel kills a process whose real-time thread computes that long without once sleeping. So the
// soft limit is put at three quarters of it, and its signal (SIGXCPU, unless the program handles that itself)
// takes the real-time policy away from the thread that is stuck: a late show is better than none. Both limits
// hold for the whole process.
RealtimeKitAnswer askRealtimeKit(int wantedPriority, Duration timeout);

// How many threads have lost their policy in that way. Thread-safe, realtime-safe.
unsigned realtimeDemotionCount();

} // namespace marvo
