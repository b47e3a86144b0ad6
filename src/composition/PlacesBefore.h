// Where everything on a timeline stood before its length or rate changed, for the way back.
//
// Reckoning back with the inverse ratio misses what was cut to whole frames, and a working area that a
// shorter composition has cut off. Keyframes are named by track position and uID, cues by id. Main thread,
// without the composition queue.
#pragma once

#include "composition/CueEdits.h"
#include "platform/PropertyList.h"
#include "tracks/TrackKeyframes.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace marvo {

class MarvoTimelineController;
class SerialQueue;

struct PlacesBefore {
    struct OfTrack {
        std::int64_t trackPosition = 0;
        std::vector<KeyframePlace> places;
        // Of a track whose keyframes are kept as they were read.
        std::optional<PropertyList> records;
    };
    std::vector<OfTrack> tracks;
    std::vector<CueTime> cues;
    Frame inTime;
    Frame outTime;
};

PlacesBefore placesBefore(MarvoTimelineController& composition, SerialQueue& compQueue);
// Leaves only those that multiplying the present times by `ratioBack` would miss.
void keepWhatIsNotFoundAgain(PlacesBefore& before, MarvoTimelineController& composition,
                             SerialQueue& compQueue, float ratioBack);
// All but the working area.
void putBack(const PlacesBefore& before, MarvoTimelineController& composition, SerialQueue& compQueue);

} // namespace marvo
