#include "platform/Notifications.h"

namespace marvo {

Notifications::Notifications(NotificationCenter& center)
    : ProjectChanged(center.name<NoPayload>("ProjectChanged")),
      RedrawViews(center.name<NoPayload>("RedrawViews")),
      SettingsChanged(center.name<NoPayload>("SettingsChanged")),
      redrawTracksNeeded(center.name<NoPayload>("redrawTracksNeeded")),
      compositionsChanged(center.name<NoPayload>("compositionsChanged")),
      handleTimelineJumpWithSPPandMTC(center.name<NoPayload>("handleTimelineJumpWithSPPandMTC")),
      ChangeAudioTracksCurrentTime(center.name<NoPayload>("ChangeAudioTracksCurrentTime")),
      OSCOutputsChangedManually(center.name<NoPayload>("OSCOutputsChangedManually")),
      RecalculateKeyframes(center.name<NoPayload>("RecalculateKeyframes")),
      startShowOSC(center.name<NoPayload>("startShowOSC")),
      stopShowOSC(center.name<NoPayload>("stopShowOSC")),
      MidiLearnStarted(center.name<NoPayload>("MidiLearnStarted")),
      MidiLearnStopped(center.name<NoPayload>("MidiLearnStopped")),
      midiOutputsChanged(center.name<NoPayload>("midiOutputsChanged")),
      artNetOutputsChanged(center.name<NoPayload>("artNetOutputsChanged")),
      ReprocessArtNetColorTracks(center.name<NoPayload>("ReprocessArtNetColorTracks")),
      collectDMXAddresses(center.name<NoPayload>("collectDMXAddresses")),
      collectDMXAddressesReply(center.name<DMXAddresses>("collectDMXAddressesReply")),
      midiSetupChanged(center.name<std::vector<std::string>>("midiSetupChanged")),
      MTCQuarterFrameReceivedNotification(center.name<std::string>("MTCQuarterFrameReceivedNotification")),
      MTCFullFrameReceivedNotification(center.name<TimecodeMessage>("MTCFullFrameReceivedNotification")),
      ShiftPressed(center.name<bool>("ShiftPressed")), AltPressed(center.name<bool>("AltPressed")),
      CMDPressed(center.name<bool>("CMDPressed")),
      ShouldRefreshAssignHelper(center.name<CompositionTrackNames>("ShouldRefreshAssignHelper")),
      ShouldShowOSCOnInfoDisplay(center.name<std::string>("ShouldShowOSCOnInfoDisplay")),
      NetworkConfigurationDidChangeNotification(
          center.name<NoPayload>("NetworkConfigurationDidChangeNotification")) {}

} // namespace marvo
