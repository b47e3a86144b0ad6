// The named notifications of the system, each with the type of what it carries.
//
// One instance is made with the centre and handed down: the names are interned once, so posting costs no
// string work. Names that hold a composition or an address are made where that composition or address lives.
#pragma once

#include "platform/NotificationCenter.h"

#include <cstdint>
#include <string>
#include <vector>

namespace marvo {

struct CompositionTrackNames {
    std::string composition;
    std::string track;
};

// A full frame of MIDI time code: the source, and the payload of the system-exclusive message.
struct TimecodeMessage {
    std::string source;
    std::vector<std::uint8_t> payload;
};

// DMX channels that a track writes to: `count` of them from `channel` on, or that one alone when it is 0.
struct DMXAddresses {
    std::int32_t universe = 0;
    std::int32_t channel = 1;
    std::int32_t count = 0;
};

struct Notifications {
    explicit Notifications(NotificationCenter& center);

    Notification<NoPayload> ProjectChanged;
    Notification<NoPayload> RedrawViews;
    Notification<NoPayload> SettingsChanged;
    Notification<NoPayload> redrawTracksNeeded;
    Notification<NoPayload> compositionsChanged;
    Notification<NoPayload> handleTimelineJumpWithSPPandMTC;
    Notification<NoPayload> ChangeAudioTracksCurrentTime;
    Notification<NoPayload> OSCOutputsChangedManually;
    Notification<NoPayload> RecalculateKeyframes;
    Notification<NoPayload> startShowOSC;
    Notification<NoPayload> stopShowOSC;
    Notification<NoPayload> MidiLearnStarted;
    Notification<NoPayload> MidiLearnStopped;
    Notification<NoPayload> midiOutputsChanged;
    Notification<NoPayload> artNetOutputsChanged;
    Notification<NoPayload> ReprocessArtNetColorTracks;
    Notification<NoPayload> collectDMXAddresses; // every Art-Net track answers with the next one
    Notification<DMXAddresses> collectDMXAddressesReply;
    Notification<std::vector<std::string>> midiSetupChanged;       // names of the machine's sources
    Notification<std::string> MTCQuarterFrameReceivedNotification; // name of the source
    Notification<TimecodeMessage> MTCFullFrameReceivedNotification;
    Notification<bool> ShiftPressed;
    Notification<bool> AltPressed;
    Notification<bool> CMDPressed;
    Notification<CompositionTrackNames> ShouldRefreshAssignHelper;
    Notification<std::string> ShouldShowOSCOnInfoDisplay;

    Notification<NoPayload> NetworkConfigurationDidChangeNotification;
};

} // namespace marvo
