// The stretch of all that is selected about one end: keyframes of every track, and cues along with them.
//
// One gesture is a run of stretch... calls between two emptyCache calls; what stood where when it began is
// kept in between, by track and by keyframe. Each call is undoable, the gesture as one step when the caller
// holds an undo group open over it. Main thread; the composition queue is taken for the cues alone.
#pragma once

#include "composition/CueEdits.h"
#include "composition/StretchMath.h"
#include "platform/TimelineTime.h"

#include <cstdint>
#include <map>

namespace marvo {

class MarvoTimelineController;
class MarvoTimelineTrack;
struct CompositionServices;

class KeyframeStretch {
public:
    KeyframeStretch(MarvoTimelineController& composition, CompositionServices& services)
        : composition_(composition), services_(services) {}

    // Narrow the delta over every track, and the cues, with at least two selected; kept until the next call.
    void calculateMaxPossibleStretchTimeWithDeltaForRightStretch(FrameCount delta);
    void calculateMaxPossibleStretchTimeWithDeltaForLeftStretch(FrameCount delta);
    FrameCount cachedMaxStretchTimeDelta() const { return cachedMaxStretchTimeDelta_; }

    // Moves the dragged end by the kept delta, and everything between in proportion. The first call of a
    // gesture keeps the times; those of the calls after it are reckoned from them.
    void stretchMultiKeyframesWithBaseKeyframe(StretchEnd dragged) { stretch(dragged, "Move Keyframe"); }
    // Likewise when a cue was dragged. One that is neither the first nor the last selected moves nothing.
    void stretchCuesWithBaseCue(CueId base);

    // At the press that begins a gesture.
    void emptyCacheForKeyframeStrech() {
        keyframes_.clear();
        cues_ = {};
    }

private:
    // As the selection of one row stood when the gesture began. The ends are remembered, too: pushed together
    // they would not be told apart any more.
    struct Start {
        std::uint64_t base = 0;
        std::uint64_t anchor = 0;
        std::map<std::uint64_t, Frame> times;
    };

    template <class Things>
    static void begin(Start& start, const Things& things, StretchEnd dragged);
    template <class Things>
    static void narrow(FrameCount& delta, Start& start, const Things& things, StretchEnd dragged, Frame end);
    template <class Things>
    static void stretchTimes(Things& things, Start& start, StretchEnd dragged, FrameCount delta);

    void limit(FrameCount delta, StretchEnd dragged);
    void stretch(StretchEnd dragged, const char* actionName);
    void stretchTrack(MarvoTimelineTrack& track, StretchEnd dragged);
    void stretchCues(StretchEnd dragged);

    MarvoTimelineController& composition_;
    CompositionServices& services_;
    FrameCount cachedMaxStretchTimeDelta_;
    std::map<std::int64_t, Start> keyframes_; // by track position
    Start cues_;
};

} // namespace marvo
