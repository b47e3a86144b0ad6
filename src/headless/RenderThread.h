// The real-time thread that wakes each millisecond and advances the application, in the rhythm of RenderLoop.
//
// Main thread, except for what the loop itself does.
#pragma once

#include "app/AppDelegate.h"
#include "headless/RunStatistics.h"
#include "platform/RealtimeThread.h"

#include <string>

namespace marvo {

struct RenderOptions {
    bool bestEffort = false; // go on without real-time scheduling
    bool precise = false;    // watch the clock through the last part of each millisecond instead of sleeping
};

class RenderThread {
public:
    explicit RenderThread(AppDelegate& application) : application_(application) {}
    ~RenderThread() { stop(); }

    RealtimeResult start(const RenderOptions& options);
    void stop();
    const RunStatistics& statistics() const { return statistics_; }
    // What --stats prints.
    std::string statisticsText(AppDelegate& application) const;

private:
    void loop(RealtimeThread& thread, bool precise);

    AppDelegate& application_;
    RunStatistics statistics_;
    RealtimeThread thread_;
};

} // namespace marvo
