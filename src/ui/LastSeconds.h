// What of the counters of a show falls into the last ten seconds: how late the ticks came, what was dropped.
// A counter is known by a key that the caller gives it. Main thread.
#pragma once

#include "headless/RunStatistics.h"

#include <cstdint>
#include <deque>
#include <map>

namespace marvo::ui {

class LastSeconds {
public:
    using Totals = std::map<const void*, std::uint64_t>;

    // To be called more often than once a second.
    void look(MonotonicTime now, const DurationHistogram& lateness, const Totals& dropped);

    // What 99 of 100 ticks did not exceed.
    Duration usualLateness(const DurationHistogram& lateness) const;
    // Of a counter that stands at that total now.
    std::uint64_t dropped(const void* key, std::uint64_t total) const;

private:
    struct Sample {
        MonotonicTime at;
        DurationHistogram::Counts lateness;
        Totals dropped;
    };
    std::deque<Sample> samples_; // the first is as old as what still counts
};

} // namespace marvo::ui
