// The undoable edits of what a track is called and where it sends to, and of several tracks at once.
//
// Tracks are named by position. Settings that scale keyframes keep their values as well, so that the way back
// is exact. Main thread, without the composition queue.
#pragma once

#include "platform/PropertyList.h"
#include "tracks/TrackKeyframes.h"

#include <cstdint>
#include <string>
#include <vector>

namespace marvo {

class MarvoTimelineController;
class MarvoTimelineTrack;
struct CompositionServices;

class TrackEdits {
public:
    TrackEdits(MarvoTimelineController& composition, CompositionServices& services)
        : composition_(composition), services_(services) {}

    // The name has to be free: ask isAvailableTrackName first.
    void undoRenameOnTrack(std::int64_t trackPosition, const std::string& name);
    // Also what the next new OSC track starts with.
    void undoChangeOSCAddressOnTrack(std::int64_t trackPosition, const std::string& address);
    // Keys as in the record of a track: "trackOSCType", "trackMinValue", "trackMaxValue",
    // "isUsing5FractionDigits", "sendsNormalisedValue"; a missing one leaves what is there. Keyframes keep
    // their height. Nothing on other kinds.
    void undoChangeOSCPreferencesOnTrack(std::int64_t trackPosition, const PropertyList& data);
    // "trackOSCType", "trackMinValue", "trackMaxValue", "shouldSendAlpha", "addressR" to "addressA".
    void undoChangeOSCColorPreferencesOnTrack(std::int64_t trackPosition, const PropertyList& data);
    // Any text; it is brought into the form of a channel list.
    void undoChangeArtNetChannelOnTrack(std::int64_t trackPosition, const std::string& channelString);

    // The track at sourceTrack and then the selected ones to where `destination` is, in one step.
    void moveTracksBeforeTrack(std::int64_t destination, std::int64_t sourceTrack);
    // A copy of each selected track right behind it, named "... (copy)", in one step. Nothing while the
    // project is locked.
    void duplicateTracks();

private:
    void changeOSCAddress(std::int64_t trackPosition, const std::string& address,
                          const std::string& lastAddress);
    void changeOSCPreferences(std::int64_t trackPosition, const PropertyList& data,
                              const std::vector<KeyframePlace>& places);

    MarvoTimelineController& composition_;
    CompositionServices& services_;
};

} // namespace marvo
