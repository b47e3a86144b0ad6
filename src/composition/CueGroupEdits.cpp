#include "composition/CueGroupEdits.h"

#include "composition/MarvoTimelineController.h"
#include "composition/UndoGroup.h"
#include "platform/SerialQueue.h"
#include "tracks/MarvoTimelineTrack.h"

#include <optional>

namespace marvo {

void CueGroupEdits::moveMultiCuesWithTimeDelta(FrameCount wanted) {
    const UndoGroup group(services_.undo, "Move Cue");
    const FrameCount delta = services_.compQueue.sync([&] {
        const FrameCount possible = composition_.cueEdits.maxDeltaForMoveMultiCuesWithTimeDelta(wanted);
        composition_.cueEdits.moveMultiCuesWithTimeDelta(possible);
        return possible;
    });
    composition_.keyframeMoves.moveMultiKeyframesOnTracks(composition_.tracks.plainTracks(), delta, 0.0f);
}

void CueGroupEdits::setTimeOfMultiCues(std::string_view text, Frame time) {
    const std::optional<FrameCount> delta =
        services_.compQueue.sync([&] { return composition_.cueEdits.deltaOfTimeText(text, time); });
    if (delta) moveMultiCuesWithTimeDelta(*delta);
}

void CueGroupEdits::createCuesBySelectedKeyframesOnTrack(std::int64_t trackPosition) {
    const MarvoTimelineTrack* track = composition_.tracks.plainTrackAtPosition(trackPosition);
    if (!track) return;
    const UndoGroup group(services_.undo, "Add Cue");
    for (const KeyframePlace& place : track->keyframes().selectedKeyframes())
        services_.compQueue.sync([&] { composition_.cueController.addNewCueAtTime(place.time); });
}

void CueGroupEdits::removeSelectedCues() {
    const UndoGroup group(services_.undo, "Remove Cue");
    services_.compQueue.sync([&] { composition_.cueController.removeSelectedCues(); });
}

} // namespace marvo
