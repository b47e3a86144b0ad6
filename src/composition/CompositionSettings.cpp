#include "composition/CompositionSettings.h"

#include "composition/CompositionServices.h"
#include "composition/MarvoTimelineController.h"
#include "composition/PlacesBefore.h"
#include "composition/PlaybackHold.h"
#include "composition/UndoGroup.h"
#include "platform/Saturate.h"
#include "tracks/MarvoTimelineTrack.h"

#include <map>

namespace marvo {

CompositionSettings CompositionSettingsChanges::present() const {
    const CompositionSync& sync = composition_.sync;
    CompositionSettings settings;
    settings.compTime = composition_.state.compTime;
    settings.compFPS = composition_.state.compFPS;
    settings.mtcOutStartTime = sync.mtcOutStartTime;
    settings.mtcOutDestination = sync.mtcOutDestination;
    settings.mtcOutFPS = sync.mtcOutFPS;
    settings.transmitsMMC = sync.transmitsMMC;
    settings.transmitsMTC = sync.transmitsMTC;
    settings.useCompIDWithMMC = sync.useCompIDWithMMC;
    return settings;
}

bool CompositionSettingsChanges::setNewCompSettings(const CompositionSettingsFields& shown,
                                                    const CompositionSettingsFields& entered,
                                                    const MidiLoopbackState& loopback) {
    using Outcome = CompositionSettingsResult::Outcome;
    const CompositionSettingsResult result = confirmCompositionSettings(present(), shown, entered, loopback);
    if (result.outcome == Outcome::loopback) return false;
    if (result.outcome == Outcome::refused) {
        composition_.beep();
        return false;
    }
    if (result.outcome == Outcome::unchanged) return true;
    CompositionSync& sync = composition_.sync;
    sync.mtcOutStartTime = result.settings.mtcOutStartTime;
    sync.mtcOutDestination = result.settings.mtcOutDestination;
    sync.mtcOutFPS = result.settings.mtcOutFPS;
    sync.transmitsMMC = result.settings.transmitsMMC;
    sync.transmitsMTC = result.settings.transmitsMTC;
    sync.useCompIDWithMMC = result.settings.useCompIDWithMMC;
    log(services_.log, "mtc fps will be: " + sync.mtcOutFPS);
    if (result.lengthOrFpsChanged) setNewCompTime(result.settings.compTime, result.settings.compFPS, {}, {});
    composition_.projectChanged();
    services_.application.updateInfoDisplay();
    return true;
}

void CompositionSettingsChanges::putBackRemoved(const std::vector<TrimmedKeyframe>& keyframes,
                                                const std::vector<CueRecord>& cues) {
    std::map<std::int64_t, std::vector<PropertyList>> byTrack;
    for (const TrimmedKeyframe& keyframe : keyframes)
        byTrack[keyframe.trackPosition].push_back(keyframe.record);
    for (const auto& [position, records] : byTrack) {
        MarvoTimelineTrackProtocol* track = composition_.tracks.trackAtPosition(position);
        if (auto* plain = dynamic_cast<MarvoTimelineTrack*>(track)) {
            plain->addNewKeyFramesWithData(records);
        } else if (track) {
            for (const PropertyList& record : records) track->addNewKeyFrameWithData(record);
        }
    }
    if (cues.empty()) return;
    services_.compQueue.sync([&] {
        for (const CueRecord& cue : cues) composition_.cueController.addNewCueWithData(cue);
    });
}

void CompositionSettingsChanges::setNewCompTime(float compTime, std::int64_t compFPS,
                                                const std::vector<TrimmedKeyframe>& removedKeyframes,
                                                const std::vector<CueRecord>& andCues) {
    changeLength(compTime, compFPS, removedKeyframes, andCues, nullptr);
}

void CompositionSettingsChanges::changeLength(float compTime, std::int64_t compFPS,
                                              const std::vector<TrimmedKeyframe>& removedKeyframes,
                                              const std::vector<CueRecord>& andCues,
                                              const PlacesBefore* wayBack) {
    CompositionState& state = composition_.state;
    MarvoTimelineMarkerController& marker = composition_.markerController;
    SerialQueue& compQueue = services_.compQueue;
    const float oldTime = state.compTime;
    const std::int64_t oldFPS = state.compFPS;
    const Frame oldMarker = marker.markerTime();
    const PlaybackHold hold(state, compQueue);
    compQueue.sync([&] {
        state.compTime = compTime;
        state.compFPS = compFPS;
    });
    putBackRemoved(removedKeyframes, andCues);
    PlacesBefore before = placesBefore(composition_, compQueue);
    const float ratio = fpsRatio(compFPS, oldFPS);
    if (ratio != 1.0f) {
        composition_.tracks.refreshKeyFramesWithRatio(ratio);
        compQueue.sync([&] { composition_.cueController.refreshKeyFramesWithRatio(ratio); });
    }
    if (wayBack) putBack(*wayBack, composition_, compQueue);
    keepWhatIsNotFoundAgain(before, composition_, compQueue, fpsRatio(oldFPS, compFPS));
    composition_.updateCompositionWidth();
    composition_.tracks.compositionSettingsChanged();
    std::vector<TrimmedKeyframe> keyframes =
        composition_.tracks.trimmedKeyframes(lengthInFrames(compTime, compFPS));
    std::vector<CueRecord> cues = compQueue.sync([&] { return composition_.cueController.trimmedCues(); });
    RescaledWorkingArea area =
        rescaledWorkingArea(oldMarker, before.inTime, before.outTime, ratio, compTime, compFPS);
    if (wayBack) {
        area.inTime = wayBack->inTime;
        area.outTime = wayBack->outTime;
    }
    compQueue.sync([&] {
        marker.setMarkerTime(area.markerTime);
        marker.setInTime(area.inTime);
        marker.setOutTime(area.outTime);
        composition_.transport.markerDraggedToTime(
            rescaledPlayhead(oldMarker, oldTime, oldFPS, compTime, compFPS));
    });
    composition_.registerUndo(
        "Change Composition Preferences",
        [this, oldTime, oldFPS, keyframes = std::move(keyframes), cues = std::move(cues),
         before = std::move(before)] { changeLength(oldTime, oldFPS, keyframes, cues, &before); });
    composition_.projectChanged();
}

void CompositionSettingsChanges::trimToWorkArea() {
    MarvoTimelineMarkerController& marker = composition_.markerController;
    const auto in = static_cast<float>(marker.inTime().value);
    const auto out = static_cast<float>(marker.outTime().value);
    const std::int64_t fps = composition_.state.compFPS;
    const float length = (out - in) / static_cast<float>(usableFps(fps));
    // A shorter composition may have cut the area off before its start, and nothing would be left; the area
    // of a damaged file may be longer than any composition.
    if (!(in < out) || length > longestComposition) {
        composition_.beep();
        return;
    }
    const PlaybackHold hold(composition_.state, services_.compQueue);
    const UndoGroup group(services_.undo, "Change Working Area");
    for (const MarvoTimelineTrack* track : composition_.tracks.plainTracks()) {
        std::vector<std::uint64_t> outside;
        for (const KeyframePlace& place : track->keyframes().places()) {
            const auto time = static_cast<float>(place.time.value);
            if (time < in || time > out) outside.push_back(place.uID);
        }
        composition_.keyframeEdits.undoRemoveKeyFramesWithUIDs(outside, track->trackPosition());
        if (track->keyframeCount() > 0) {
            const FrameCount delta(-truncatedToInt64(in));
            composition_.keyframeMoves.moveAllKeyFramesOnTrack(track->trackPosition(), delta, 0.0f);
        }
    }
    setNewCompTime(length, fps, {}, {});
    marker.undoSetMarkerInTimeOutTime(Frame(0), endFrame(composition_.state.compTime, fps));
}

} // namespace marvo
