#include "tracks/TrackSettings.h"

namespace marvo {

TrackKind trackKindOf(std::string_view trackType) {
    if (trackType == "MidiCCValue") return TrackKind::midiCC;
    if (trackType == "MidiNotes") return TrackKind::midiNotes;
    if (trackType == "OSCValue") return TrackKind::oscValue;
    if (trackType == "ArtNetValue") return TrackKind::artNetValue;
    if (trackType == "OSCColor") return TrackKind::oscColor;
    if (trackType == "ArtNetColor") return TrackKind::artNetColor;
    if (trackType == "OSCFlag") return TrackKind::oscFlag;
    if (trackType == "AudioFile") return TrackKind::audioFile;
    if (trackType == "Composition") return TrackKind::composition;
    return TrackKind::other;
}

} // namespace marvo
