// What the tick touches of a track on most frames: what is known of the segment that it plays, and where its
// values go. The lanes of tracks that were made one after the other lie one after the other, so a frame of a
// large show reads memory in order.
//
// A lane belongs to the composition queue, but for its news (see TrackNews.h).
#pragma once

#include "platform/Relaxed.h"
#include "tracks/TrackOutput.h"
#include "tracks/ValueEvaluation.h"

#include <atomic>
#include <cstddef>
#include <limits>
#include <memory>
#include <vector>

namespace marvo {

struct alignas(64) ValueLane {
    std::atomic<bool> news{true};
    Relaxed<float> shownValue = std::numeric_limits<float>::infinity(); // sent last, for displays
    ValueOutput* output = nullptr;                                      // of the track; null sends nothing
    ValueRun run;
    DirectSend direct;
};
static_assert(sizeof(ValueLane) == 128);

// Memory for lanes; they never move. Main thread.
class ValueLanePool {
public:
    class GiveBack {
    public:
        explicit GiveBack(ValueLanePool* pool = nullptr) : pool_(pool) {}
        void operator()(ValueLane* lane) const { pool_->free_.push_back(lane); }

    private:
        ValueLanePool* pool_;
    };
    // Goes back before the pool does.
    using Lease = std::unique_ptr<ValueLane, GiveBack>;

    Lease take() {
        if (free_.empty()) grow();
        ValueLane* const lane = free_.back();
        free_.pop_back();
        lane->~ValueLane();
        return Lease(new (lane) ValueLane, GiveBack(this));
    }

private:
    static constexpr std::size_t lanesOfABlock = 256;

    void grow() {
        blocks_.push_back(std::make_unique<ValueLane[]>(lanesOfABlock));
        // Taken from the back: the lowest address first.
        for (std::size_t i = lanesOfABlock; i-- > 0;) free_.push_back(&blocks_.back()[i]);
    }

    std::vector<std::unique_ptr<ValueLane[]>> blocks_;
    std::vector<ValueLane*> free_;
};

} // namespace marvo
