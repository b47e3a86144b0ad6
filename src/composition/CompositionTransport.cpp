#include "composition/CompositionTransport.h"

#include "composition/CompositionApplication.h"
#include "composition/CompositionServices.h"
#include "composition/CompositionTimeMath.h"
#include "composition/MarvoTimelineController.h"
#include "tracks/MarvoTimelineTrack.h"

#include <cmath>
#include <optional>

namespace marvo {

CompositionTransport::CompositionTransport(MarvoTimelineController& composition,
                                           CompositionServices& services)
    : composition_(composition), services_(services),
      endSignal_(services.mainThread, [this] { services_.application.compositionEnds(composition_); }),
      markerSignal_(services.mainThread, [this] { composition_.playheadJumped(); }),
      playbackSignal_(services.mainThread, [this] { composition_.playheadMovedDuringPlayback(); }) {}

void CompositionTransport::processCompositionAtTime(float delta) {
    CompositionState& state = composition_.state;
    MarvoTimelineMarkerController& marker = composition_.markerController;
    const std::int64_t fps = state.compFPS;

    double processtime = state.processtime;
    if (!state.useSPP && !state.useMTC) {
        processtime = advanceProcesstime(processtime, state.compBPM, delta);
    } else if (state.jumpWhenSPP) {
        processtime = static_cast<double>(delta);
    } else {
        processtime += static_cast<double>(delta);
    }
    state.processtime = processtime;

    if (isWaitingForWorkingArea(processtime, marker.inTime(), fps, state.isRunning)) return;
    const Frame frame = frameOfProcesstime(processtime, fps);
    state.currentTime = frame;

    if (state.jumpWhenSPP) {
        services_.notifications.post(services_.names.handleTimelineJumpWithSPPandMTC, NoPayload{});
        composition_.tracks.compositionJumped();
        if (jumpReachesEnd(processtime, marker.outTime(), fps)) {
            handleCompositionEnd();
            state.lastProcessedTime = noFrame;
        }
        state.jumpWhenSPP = false;
    }

    if (state.currentTime.get() == state.lastProcessedTime.get()) return;

    if (composition_.cueController.stepAt(state.currentTime) == CueStepResult::endTick) return;

    const Frame now = state.currentTime;
    postProcessTracks(now);
    state.lastProcessedTime = now;
    if (now >= marker.outTime()) handleCompositionEnd();
    services_.bundles.processGroupedOSCMessages(composition_.origin(now));
    composition_.feedback.processOSCFeedbacks();
    updateMarkerDuringPlaybackIfNeeded();
}

void CompositionTransport::postProcessTracks(Frame frame) {
    composition_.tracks.processAtTime(frame);
    services_.notifications.post(composition_.processTracksNotification(), frame);
}

void CompositionTransport::processComposition() {
    services_.compQueue.sync([this] {
        CompositionState& state = composition_.state;
        state.processtime = static_cast<double>(secondsOfFrame(state.currentTime, state.compFPS));
        processCompositionAtTime(0.0f);
        state.shouldUpdateProgress = true;
    });
}

void CompositionTransport::handleCompositionEnd() {
    CompositionState& state = composition_.state;
    MarvoTimelineMarkerController& marker = composition_.markerController;
    const bool loops = composition_.loops();
    const bool records = composition_.records();

    if (services_.application.isSoloMode()) {
        // The product is in seconds although the field counts frames. Kept: shows were built on it.
        state.currentTime = soloEndFrame(marker.inTime(), state.compFPS);
    }
    if (loops && !records) {
        wrapToWorkingAreaBeginning();
    } else {
        if (records) {
            services_.application.stopRecord();
            state.processtime = wholeSecondsOfFrame(marker.inTime(), state.compFPS);
        }
        if (!loops) stopAtWorkingAreaEnd();
    }
    endSignal_.post();
}

void CompositionTransport::wrapToWorkingAreaBeginning() {
    CompositionState& state = composition_.state;
    MarvoTimelineMarkerController& marker = composition_.markerController;
    if (state.jumpWhenSPP) {
        state.processtime = jumpedLoopWrap(state.processtime, marker.outTime());
    } else {
        state.processtime = loopWrap(state.processtime, marker.outTime(), marker.inTime(), state.compFPS);
    }
    composition_.tracks.compositionLooped();
    composition_.cueController.markCuesAsNonProcessed();
}

void CompositionTransport::stopAtWorkingAreaEnd() {
    CompositionState& state = composition_.state;
    MarvoTimelineMarkerController& marker = composition_.markerController;
    CompositionApplication& application = services_.application;
    state.isRunning = false;
    composition_.showPlaystate();
    Frame target = marker.outTime();
    if (services_.preferences.rewindOnStop) {
        state.lastProcessedTime = noFrame;
        target = marker.inTime();
    }
    state.currentTime = target;
    state.processtime = wholeSecondsOfFrame(target, state.compFPS);
    composition_.tracks.compositionStopped();
    composition_.cueController.markCuesAsNonProcessed();
    if (application.isQueuedMode() && application.currentQueuedComposition() == &composition_ &&
        !application.isQueuedLoop() && application.isPlayAllOn()) {
        application.switchPlayAllOff();
    }
    marker.setMarkerTime(target);
    markerSignal_.post();
}

void CompositionTransport::togglePlayFromAnyThread() {
    composition_.state.lastProcessedTime = noFrame;
    if (services_.mainThread.isCurrent()) {
        togglePlay();
    } else {
        services_.mainThread.async(composition_.whileAlive([this] { togglePlay(); }));
    }
}

void CompositionTransport::togglePlay() {
    services_.compQueue.sync([this] {
        CompositionState& state = composition_.state;
        state.lastProcessedTime = noFrame;
        const bool wasRunning = state.isRunning;
        services_.application.handleSoloMode();
        composition_.cueController.markCueAsProccesedAtCurrentTime();
        if (!wasRunning) {
            state.processtime = static_cast<double>(
                secondsOfFrame(composition_.markerController.markerTime(), state.compFPS));
        }
        state.isRunning = !wasRunning;
        if (wasRunning) {
            composition_.tracks.compositionStopped();
            if (services_.preferences.rewindOnStop) toggleRewind();
        } else {
            handlePositionOnStart();
            composition_.tracks.compositionStarted();
            becomeQueuedComposition();
        }
        composition_.showPlaystate();
    });
}

void CompositionTransport::playByPlayAll() {
    services_.compQueue.sync([this] {
        CompositionState& state = composition_.state;
        state.lastProcessedTime = noFrame;
        if (composition_.records()) services_.application.startRecord(composition_);
        handlePositionOnStart();
        state.processtime =
            static_cast<double>(secondsOfFrame(composition_.markerController.markerTime(), state.compFPS));
        services_.application.handleSoloMode();
        composition_.tracks.compositionStarted();
        state.isRunning = true;
        becomeQueuedComposition();
        composition_.showPlaystate();
    });
}

void CompositionTransport::stopByPlayAll() {
    services_.compQueue.sync([this] {
        CompositionState& state = composition_.state;
        state.lastProcessedTime = noFrame;
        const bool wasRunning = state.isRunning.exchange(false);
        services_.application.stopRecord();
        if (wasRunning) {
            composition_.tracks.compositionStopped();
            composition_.cueController.markCuesAsNonProcessed();
        }
        composition_.showPlaystate();
        if (wasRunning && services_.preferences.rewindOnStop) toggleRewind();
    });
}

void CompositionTransport::stopByCue() {
    // Cue state survives, so playing on goes past the pause.
    CompositionState& state = composition_.state;
    state.lastProcessedTime = noFrame;
    state.isRunning = false;
    services_.application.stopRecord();
    composition_.tracks.compositionStopped();
    composition_.showPlaystate();
}

void CompositionTransport::toggleRewind() {
    services_.compQueue.sync([this] {
        composition_.state.lastProcessedTime = noFrame;
        markerDraggedToTime(composition_.markerController.inTime());
    });
}

void CompositionTransport::handlePositionOnStart() {
    services_.compQueue.sync([this] {
        const MarvoTimelineMarkerController& marker = composition_.markerController;
        const Frame now = composition_.state.currentTime;
        if (marker.inTime() <= now && now < marker.outTime()) return;
        markerDraggedToTime(marker.inTime(), true);
    });
}

void CompositionTransport::markerDraggedToTime(Frame target) {
    services_.compQueue.sync([this, target] {
        const Frame in = composition_.markerController.inTime();
        markerDraggedToTime(composition_.state.isRunning && target < in ? in : target, false);
    });
}

void CompositionTransport::markerDraggedToTime(Frame target, bool shouldSkipJump) {
    markerDraggedToTime(target, shouldSkipJump, false);
}

void CompositionTransport::markerDraggedToTimeByCue(Frame target) {
    services_.compQueue.sync([this, target] {
        composition_.cueController.setJumpedToCue(true);
        markerDraggedToTime(target, false, true);
    });
}

void CompositionTransport::markerDraggedToTime(Frame target, bool shouldSkipJump, bool byCue) {
    services_.compQueue.sync([this, target, shouldSkipJump, byCue] {
        CompositionState& state = composition_.state;
        if (target == state.currentTime.get()) return;
        if (!isInsideComposition(target, state.compTime, state.compFPS)) return;
        state.currentTime = target;
        composition_.markerController.setMarkerTime(target);
        state.processtime = static_cast<double>(secondsOfFrame(target, state.compFPS));
        state.shouldRestartMTCClock = state.isRunning.get();
        if (!shouldSkipJump) composition_.feedback.processOSCFeedbacks();
        if (!byCue) composition_.cueController.markCuesAsNonProcessed();
        if (!state.isRunning) {
            if (!shouldSkipJump && services_.preferences.processCompositions) {
                composition_.tracks.compositionJumped();
                processComposition();
            } else if (!shouldSkipJump) {
                services_.notifications.post(services_.names.ChangeAudioTracksCurrentTime, NoPayload{});
            }
        } else if (byCue) {
            composition_.tracks.compositionLoopedByCue();
        } else if (!shouldSkipJump) {
            composition_.tracks.compositionJumped();
        }
        composition_.cueController.setJumpedToCue(false);
        markerSignal_.post();
    });
}

void CompositionTransport::markerDraggedToSMPTETime(std::uint64_t packed) {
    const CompositionState& state = composition_.state;
    if (const auto target = smpteFrame(packed, state.compTime, state.compFPS)) markerDraggedToTime(*target);
}

void CompositionTransport::actualTimeEdited(const TimeFields& fields) {
    const CompositionState& state = composition_.state;
    markerDraggedToTime(editedPlayhead(fields, state.compTime, state.compFPS));
}

void CompositionTransport::jumpToWorkingAreaBeginning() {
    markerDraggedToTime(composition_.markerController.inTime());
}

void CompositionTransport::jumpToWorkingAreaEnd() {
    markerDraggedToTime(composition_.markerController.outTime());
}

bool CompositionTransport::jumpToKeyframe(bool forward) {
    const auto* track = dynamic_cast<const MarvoTimelineTrack*>(composition_.tracks.selectedTrack());
    if (!track) return false;
    const Frame now = composition_.markerController.markerTime();
    std::optional<Frame> target;
    for (const MarvoTimelineKeyframe& keyframe : track->keyframes().store().all()) {
        const Frame time = keyframe.time;
        if (forward ? time <= now : time >= now) continue;
        if (!target || (forward ? time < *target : time > *target)) target = time;
    }
    if (target) markerDraggedToTime(*target);
    return !track->keyframes().store().all().empty();
}

void CompositionTransport::jumpToNextKeyframe() {
    if (!jumpToKeyframe(true)) services_.application.beep();
}

void CompositionTransport::jumpToPrevKeyframe() {
    if (!jumpToKeyframe(false)) services_.application.beep();
}

void CompositionTransport::setPlayheadToActiveKeyframeOrCue() {
    const std::optional<Frame> cue = services_.compQueue.sync([this]() -> std::optional<Frame> {
        const MarvoCue* active = composition_.cueController.activeCue();
        return active ? std::optional(active->time) : std::nullopt;
    });
    if (cue) return markerDraggedToTime(*cue);
    const auto* track = dynamic_cast<const MarvoTimelineTrack*>(composition_.tracks.selectedTrack());
    if (track) {
        for (const MarvoTimelineKeyframe& keyframe : track->keyframes().store().all()) {
            if (keyframe.isActiveKeyframe) return markerDraggedToTime(keyframe.time);
        }
    }
    services_.application.beep();
}

void CompositionTransport::updateMarkerDuringPlaybackIfNeeded() {
    const Frame now = composition_.state.currentTime;
    if (now == composition_.markerController.markerTime()) return;
    // The position is a plain word and is set at once; only drawing waits for the main thread.
    composition_.markerController.setMarkerTime(now);
    composition_.state.shouldUpdateProgress = true;
    playbackSignal_.post();
}

float CompositionTransport::progress() const {
    const MarvoTimelineMarkerController& marker = composition_.markerController;
    return marvo::progress(composition_.state.currentTime, marker.inTime(), marker.outTime());
}

void CompositionTransport::becomeQueuedComposition() {
    if (services_.application.isQueuedMode())
        services_.application.setCurrentQueuedComposition(&composition_);
}

} // namespace marvo
