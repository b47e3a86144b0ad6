// Draws the status screen ten times a second on a terminal, and one line a second elsewhere. Main thread.
#pragma once

#include "headless/RunningShow.h"
#include "headless/StatusScreen.h"
#include "platform/RealtimeThread.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace marvo {

class StatusFeed {
public:
    StatusFeed(RunningShow& show, const RealtimeResult& granted);
    ~StatusFeed();
    StatusFeed(const StatusFeed&) = delete;
    StatusFeed& operator=(const StatusFeed&) = delete;

    // What the next drawing shows.
    StatusSnapshot snapshot();

private:
    struct Rate {
        std::uint64_t sent = 0;
        MonotonicTime at;
        std::uint64_t perSecond = 0;
    };

    void scheduleNext();
    void draw();
    std::vector<StatusOutput> outputs();
    // Messages a second of one that has sent so many by now.
    std::uint64_t rateOf(const void* sender, std::uint64_t sent);

    RunningShow& show_;
    const std::string scheduling_;
    const bool terminal_;
    std::map<const void*, Rate> rates_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

} // namespace marvo
