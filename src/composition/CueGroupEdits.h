// The edits of cues that take more along than cues: keyframes that are selected with them.
//
// Each is one step. Main thread, without the composition queue: it is taken for the cues alone, since what
// keyframes cost grows with their number.
#pragma once

#include "platform/TimelineTime.h"

#include <cstdint>
#include <string_view>

namespace marvo {

class MarvoTimelineController;
struct CompositionServices;

class CueGroupEdits {
public:
    CueGroupEdits(MarvoTimelineController& composition, CompositionServices& services)
        : composition_(composition), services_(services) {}

    // As far as all selected cues can go; selected keyframes of all tracks follow as far as they can.
    void moveMultiCuesWithTimeDelta(FrameCount delta);
    // The cue time field, which shows a cue at `time`.
    void setTimeOfMultiCues(std::string_view text, Frame time);
    // A cue at each selected keyframe.
    void createCuesBySelectedKeyframesOnTrack(std::int64_t trackPosition);
    void removeSelectedCues();

private:
    MarvoTimelineController& composition_;
    CompositionServices& services_;
};

} // namespace marvo
