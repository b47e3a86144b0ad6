// Which keyframes and cues of a composition are selected, by range. Selecting is no edit: it registers no
// undo, and the tick does not see it. Main thread, without the composition queue.
#pragma once

#include "platform/TimelineTime.h"

namespace marvo {

class MarvoTimelineController;
struct CompositionServices;

class KeyframeSelection {
public:
    KeyframeSelection(MarvoTimelineController& composition, CompositionServices& services)
        : composition_(composition), services_(services) {}

    // Between rangeSelectStart and rangeSelectEnd, both included; nothing unless the one is before the other.
    // With the cue row selected that means cues alone; else the keyframes of the selected tracks, or cues
    // when no track is selected. What is locked is left out.
    void selectKeyframesInRange();
    // The working area becomes the range first; the first of the two selects all tracks.
    void selectKeyframesInWorkArea();
    void selectKeyframesInWorkAreaOnSelectedTracks();
    void deselectAllKeyframes();

    // While cues are moved together with what lies behind them: the keyframes from each selected cue to the
    // next one that is not, on all tracks that are not locked. False takes the selection of keyframes back.
    void selectKeyframesBySelectedCues(bool selects);

private:
    void selectCues(Frame start, FrameCount length);

    MarvoTimelineController& composition_;
    CompositionServices& services_;
};

} // namespace marvo
