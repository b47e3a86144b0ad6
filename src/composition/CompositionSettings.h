// Changes of a composition's length, frame rate and working area, each with its undo. Main thread.
#pragma once

#include "composition/CompositionSettingsInput.h"
#include "composition/CompositionTracks.h"
#include "composition/MarvoCue.h"
#include "platform/PropertyList.h"

#include <cstdint>
#include <vector>

namespace marvo {

class MarvoTimelineController;
struct PlacesBefore;
struct CompositionServices;

class CompositionSettingsChanges {
public:
    CompositionSettingsChanges(MarvoTimelineController& composition, CompositionServices& services)
        : composition_(composition), services_(services) {}

    CompositionSettings present() const;
    // The confirmed dialog. False leaves it open: something in it cannot be.
    bool setNewCompSettings(const CompositionSettingsFields& shown, const CompositionSettingsFields& entered,
                            const MidiLoopbackState& loopback);
    // Everything keeps its place in seconds; what lies behind a new end is taken out and comes back with the
    // undo, as does the working area. The two lists are what comes back.
    void setNewCompTime(float compTime, std::int64_t compFPS,
                        const std::vector<TrimmedKeyframe>& removedKeyframes,
                        const std::vector<CueRecord>& andCues);
    // Cuts the composition to its working area. Cues stay where they are. A beep when the area has no length.
    void trimToWorkArea();

private:
    void putBackRemoved(const std::vector<TrimmedKeyframe>& keyframes, const std::vector<CueRecord>& cues);
    // wayBack: where everything goes at last; null for a change that is no undo.
    void changeLength(float compTime, std::int64_t compFPS,
                      const std::vector<TrimmedKeyframe>& removedKeyframes,
                      const std::vector<CueRecord>& andCues, const PlacesBefore* wayBack);

    MarvoTimelineController& composition_;
    CompositionServices& services_;
};

} // namespace marvo
