#include "composition/PlacesBefore.h"

#include "composition/CompositionSettingsInput.h"
#include "composition/MarvoTimelineController.h"
#include "platform/SerialQueue.h"
#include "tracks/MarvoTimelineTrack.h"

#include <unordered_map>

namespace marvo {
namespace {

constexpr const char* keyframesKey = "keyFrames";

} // namespace

PlacesBefore placesBefore(MarvoTimelineController& composition, SerialQueue& compQueue) {
    PlacesBefore before;
    before.inTime = composition.inTime();
    before.outTime = composition.outTime();
    for (const auto& track : composition.tracks.all()) {
        if (track->keyframeCount() == 0) continue;
        PlacesBefore::OfTrack one{track->trackPosition(), {}, {}};
        if (const auto* plain = dynamic_cast<const MarvoTimelineTrack*>(track.get())) {
            one.places = plain->keyframes().places();
        } else {
            const PropertyList record = track->backupDataForUndo(true);
            if (const PropertyList* keyframes = record.find(keyframesKey)) one.records = *keyframes;
        }
        before.tracks.push_back(std::move(one));
    }
    compQueue.sync([&] {
        composition.cueController.cues().forEach([&](const MarvoCue& cue) {
            before.cues.push_back({cue.id, cue.time});
        });
    });
    return before;
}

void keepWhatIsNotFoundAgain(PlacesBefore& before, MarvoTimelineController& composition,
                             SerialQueue& compQueue, float ratioBack) {
    for (PlacesBefore::OfTrack& one : before.tracks) {
        const MarvoTimelineTrack* track = composition.tracks.plainTrackAtPosition(one.trackPosition);
        if (!track) continue;
        std::unordered_map<std::uint64_t, Frame> now;
        for (const KeyframePlace& place : track->keyframes().places()) now[place.uID] = place.time;
        std::erase_if(one.places, [&](const KeyframePlace& place) {
            return scaledFrame(now[place.uID], ratioBack) == place.time;
        });
        one.places.shrink_to_fit();
    }
    compQueue.sync([&] {
        std::erase_if(before.cues, [&](const CueTime& place) {
            const MarvoCue* cue = composition.cueController.cues().cueWithId(place.id);
            return cue && scaledFrame(cue->time, ratioBack) == place.time;
        });
    });
}

void putBack(const PlacesBefore& before, MarvoTimelineController& composition, SerialQueue& compQueue) {
    for (const PlacesBefore::OfTrack& one : before.tracks) {
        MarvoTimelineTrackProtocol* track = composition.tracks.trackAtPosition(one.trackPosition);
        if (!track) continue;
        if (one.records) {
            PropertyList record = track->backupDataForUndo(true);
            record.set(keyframesKey, *one.records);
            track->restoreWithData(record, false, nullptr);
        } else if (auto* plain = dynamic_cast<MarvoTimelineTrack*>(track)) {
            plain->keyframes().exchangePlaces(one.places);
        }
    }
    compQueue.sync([&] {
        for (const CueTime& place : before.cues) {
            if (MarvoCue* cue = composition.cueController.cues().cueWithId(place.id)) cue->time = place.time;
        }
        composition.cueController.rebuildCuesWithRefresh(true);
    });
}

} // namespace marvo
