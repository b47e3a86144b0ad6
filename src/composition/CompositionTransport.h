// Advances one composition in time: the tick, start and stop, jumps, and the end of the working area.
//
// Every operation here holds the composition queue while it works, whichever thread calls it: the tick enters
// with the queue already held, the others take it for a few microseconds. The order of the numbered steps of
// the tick is fixed: cues before tracks, tracks before the end, gathered messages and feedback last.
//
// Realtime-safe: processCompositionAtTime and all that it reaches allocate nothing and wait for nobody in a
// steady state. Drawing is signalled to the main thread, never waited for.
#pragma once

#include "composition/CompositionTimeMath.h"
#include "platform/MainThread.h"
#include "platform/TimelineTime.h"

#include <cstdint>

namespace marvo {

class MarvoTimelineController;
struct CompositionServices;

class CompositionTransport {
public:
    CompositionTransport(MarvoTimelineController& composition, CompositionServices& services);

    // The tick. delta: seconds since the last one; an absolute position in seconds while a followed clock
    // jumps.
    void processCompositionAtTime(float delta);
    // Evaluates the present frame once, running or not.
    void processComposition();

    void togglePlayFromAnyThread();
    void togglePlay();
    void playByPlayAll();
    void stopByPlayAll();
    void stopByCue();
    void toggleRewind();
    void handlePositionOnStart();

    void markerDraggedToTime(Frame target);
    void markerDraggedToTime(Frame target, bool shouldSkipJump);
    void markerDraggedToTime(Frame target, bool shouldSkipJump, bool byCue);
    void markerDraggedToTimeByCue(Frame target);
    // Ignored past the end of the composition.
    void markerDraggedToSMPTETime(std::uint64_t packed);
    // The four playhead fields; capped at the end of the composition.
    void actualTimeEdited(const TimeFields& fields);

    void jumpToWorkingAreaBeginning();
    void jumpToWorkingAreaEnd();
    // Of the selected track, as seen from the playhead as it is drawn. They beep where there is no track
    // with keyframes; behind the last one nothing moves. Main thread.
    void jumpToNextKeyframe();
    void jumpToPrevKeyframe();
    // The cue goes before the keyframe of the selected track. Beeps where neither is active. Main thread.
    void setPlayheadToActiveKeyframeOrCue();
    void updateMarkerDuringPlaybackIfNeeded();

    // (currentTime - inTime) / (outTime - inTime) in single precision.
    float progress() const;

private:
    void handleCompositionEnd();
    void wrapToWorkingAreaBeginning();
    void stopAtWorkingAreaEnd();
    void becomeQueuedComposition();
    // False where there is nothing to jump to on either side.
    bool jumpToKeyframe(bool forward);
    void postProcessTracks(Frame frame);

    MarvoTimelineController& composition_;
    CompositionServices& services_;
    MainThread::Signal endSignal_;
    MainThread::Signal markerSignal_;
    MainThread::Signal playbackSignal_; // as above, and the view follows
};

} // namespace marvo
