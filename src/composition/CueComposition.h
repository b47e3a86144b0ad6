// What a composition's cues ask of their composition.
//
// Every call comes with the composition queue held, on the thread that called the cue controller: the tick
// for stepAt, otherwise whoever edits or jumps.
#pragma once

#include "platform/TimelineTime.h"

#include <cstdint>
#include <functional>
#include <string>

namespace marvo {

struct MarvoCue;

class CueComposition {
public:
    virtual ~CueComposition() = default;

    virtual std::int64_t compFPS() const = 0;
    virtual float compTime() const = 0; // seconds
    virtual Frame currentTime() const = 0;
    virtual bool isRunning() const = 0;

    // Sets jumpedToCue on the cue controller, moves the playhead without resetting the cues, and clears it
    // again when the playhead moved. Must not change the cue list.
    virtual void markerDraggedToTimeByCue(Frame target) = 0;
    virtual void togglePlay() = 0;

    // Called by the cue step of the tick, as is redrawCues; may neither wait nor allocate, nor change the cue
    // list.
    virtual void stopByCue() = 0;
    virtual void processOSCFeedbackByCue(const MarvoCue& cue) = 0;
    virtual void updateMarkerDuringPlaybackIfNeeded() = 0;

    virtual void beep() = 0;
    virtual void projectChanged() = 0;
    // The cue row looks different now; drawing happens later, elsewhere.
    virtual void redrawCues() = 0;
    // Keeps `inverse` under the action name and later runs it on the main thread with the composition queue
    // held. The composition drops its entries before its cue controller goes away.
    virtual void registerUndo(const std::string& actionName, std::function<void()> inverse) = 0;
};

} // namespace marvo
