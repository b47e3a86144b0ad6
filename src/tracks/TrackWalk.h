// One pass over the tracks of a composition, in list order.
//
// On most frames a track stands still or moves along one segment: its lane knows everything that is needed,
// and the track itself is not touched. Wherever anything else may have happened, the track does its whole
// work and leaves behind what it has found. The result is the same to the bit.
//
// With the composition queue held. Realtime-safe.
#pragma once

#include "endpoints/osc/OSCMessage.h"
#include "platform/TimelineTime.h"
#include "tracks/ColorLane.h"
#include "tracks/MarvoTimelineTrackProtocol.h"
#include "tracks/ValueLane.h"

#include <algorithm>
#include <atomic>
#include <vector>

namespace marvo {

class TrackWalk {
public:
    TrackWalk() { message_.addFloat(0.0f); }

    struct Step {
        ValueLane* lane;
        MarvoTimelineTrackProtocol* track;
        ColorLane* colors; // of a track of colours, else null
    };
    using Steps = std::vector<Step>;
    // What all tracks of a composition share on one frame.
    struct Rules {
        Frame inTime;
        bool optimalisedSending = false;
        bool processFirstKeyframe = false;
        bool processLastKeyframeOnUnpause = false;
        bool compState = false;
        float hueRotateForColors = 1.0f;
        bool operator==(const Rules&) const = default;
    };

    Step stepOf(MarvoTimelineTrackProtocol& track) {
        ValueLane* const lane = track.lane(&news_);
        return {lane ? lane : &none_, &track, track.colorLane()};
    }
    // New steps are made ready outside the queue, where the old ones are freed, too.
    void swapSteps(Steps& steps) {
        steps_.swap(steps);
        hasColors_ = std::any_of(steps_.begin(), steps_.end(), [](const Step& step) { return step.colors; });
    }

    void processAtTime(Frame frame, const Rules& rules);

private:
    template <bool withNews>
    void pass(Frame frame);
    void doWholeWork(const Step& step, Frame frame);
    void fade(const Step& step, SendOrigin& origin);

    std::atomic<bool> news_{true}; // some lane has news
    Steps steps_;
    bool hasColors_ = false;
    ValueLane none_;     // of tracks that always do their whole work; it never holds
    OSCMessage message_; // reused; holds one number
    Rules rules_;        // of the last pass
    TrackPass pass_;     // the last one that is over
};

} // namespace marvo
