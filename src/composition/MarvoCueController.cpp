// Playback side of the cues: the tick's cue step, passes and jumps. The list side is in
// MarvoCueControllerList.cpp.
#include "composition/MarvoCueController.h"

namespace marvo {

CueStepResult MarvoCueController::stepAt(Frame currentTime) {
    if (!isEnabled()) return CueStepResult::processTracks;
    MarvoCue* const cue = list_.cueAtTime(currentTime);
    if (cue == nullptr || cue->isProcessed) return CueStepResult::processTracks;

    bool dropped = false;
    MarvoCue* const previous = list_.previousCueOf(*cue);
    if (previous != nullptr &&
        !(previous->isProcessed && previous->numberOfLoopsDone >= previous->numberOfLoopsNeeded)) {
        if (previous->repeat == CueRepeat::counted) {
            if (previous->numberOfLoopsDone < previous->numberOfLoopsNeeded) {
                jumpBackToCue(*previous);
                dropped = true;
            } else {
                previous->isProcessed = true;
            }
        } else if (previous->repeat == CueRepeat::forEver) {
            jumpBackToCue(*previous);
            previous->numberOfLoopsDone = 0;
            previous->isProcessed = true;
            dropped = true;
        }
        composition_.processOSCFeedbackByCue(*previous);
    }
    if (dropped) return CueStepResult::processTracks;

    composition_.processOSCFeedbackByCue(*cue);
    if (cue->type == CueType::pauses) {
        composition_.stopByCue();
        cue->isProcessed = true;
        composition_.updateMarkerDuringPlaybackIfNeeded();
        if (!jumpedToCue()) return CueStepResult::endTick;
    } else if (cue->repeat == CueRepeat::none) {
        cue->isProcessed = true;
    }
    return CueStepResult::processTracks;
}

void MarvoCueController::markCuesAsNonProcessed() {
    bool looped = false;
    list_.forEach([&looped](MarvoCue& cue) {
        looped = looped || cue.numberOfLoopsDone != 0;
        cue.markAsNonProcessed();
    });
    if (looped) composition_.redrawCues(); // the counts are shown
}

void MarvoCueController::markCueAsProccesedAtCurrentTime() {
    if (MarvoCue* cue = list_.cueAtTime(composition_.currentTime())) cue->isProcessed = true;
}

void MarvoCueController::jumpBackToCue(MarvoCue& cue) {
    cue.increaseNumberOfLoopsDone();
    // The move may start a new pass, which would forget the count and loop the section for ever.
    const std::uint64_t done = cue.numberOfLoopsDone;
    composition_.markerDraggedToTimeByCue(cue.time);
    cue.isProcessed = true;
    cue.numberOfLoopsDone = done;
    composition_.redrawCues();
}

void MarvoCueController::jumpToCue(MarvoCue& target) {
    markCuesAsNonProcessed();
    // Otherwise the section before the target would pull the playhead back.
    if (MarvoCue* previous = list_.previousCueOf(target)) {
        previous->markSectionAsDone();
        composition_.redrawCues();
    }
    composition_.markerDraggedToTimeByCue(target.time);
}

void MarvoCueController::jumpToNextCue() {
    const Frame now = composition_.currentTime();
    MarvoCue* target = list_.firstCueAfter(now);
    if (target == nullptr && !list_.empty()) target = list_.cueAtIndex(list_.size() - 1);
    if (target != nullptr)
        jumpToCue(*target);
    else
        composition_.markerDraggedToTimeByCue(now);
}

void MarvoCueController::jumpToPrevCue() {
    const Frame now = composition_.currentTime();
    MarvoCue* target = list_.lastCueBefore(now);
    if (target == nullptr) target = list_.cueAtIndex(0);
    if (target != nullptr)
        jumpToCue(*target);
    else
        composition_.markerDraggedToTimeByCue(now);
}

bool MarvoCueController::jumpToCueAtIndex(std::int64_t number) {
    if (number < 1 || static_cast<std::uint64_t>(number) > list_.size()) return false;
    jumpToCue(*list_.cueAtIndex(static_cast<std::size_t>(number - 1)));
    return true;
}

bool MarvoCueController::jumpToCueWithName(std::string_view displayName) {
    MarvoCue* target = list_.cueWithDisplayName(displayName);
    if (target == nullptr) return false;
    jumpToCue(*target);
    return true;
}

bool MarvoCueController::playCueAtIndex(std::int64_t number) {
    return playAfterJump(jumpToCueAtIndex(number));
}

bool MarvoCueController::playCueWithName(std::string_view displayName) {
    return playAfterJump(jumpToCueWithName(displayName));
}

bool MarvoCueController::playAfterJump(bool jumped) {
    if (!jumped) return false;
    MarvoCue* cue = list_.cueAtTime(composition_.currentTime());
    if (cue != nullptr && cue->type == CueType::pauses) cue->isProcessed = true;
    if (!composition_.isRunning()) composition_.togglePlay();
    composition_.redrawCues();
    return true;
}

void MarvoCueController::resetCueStates() {
    markCuesAsNonProcessed();
    composition_.redrawCues();
}

} // namespace marvo
