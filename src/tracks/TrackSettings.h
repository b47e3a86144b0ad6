// What the header of a track shows and sets, as plain fields. Texts are pop-up titles, as they are saved.
//
// Main thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace marvo {

// The types that have rules of their own. A track keeps its type as text, because a file may name any other.
enum class TrackKind {
    midiCC,
    midiNotes,
    oscValue,
    artNetValue,
    oscColor,
    artNetColor,
    oscFlag,
    audioFile,
    composition,
    other
};

TrackKind trackKindOf(std::string_view trackType);

constexpr bool isOSC(TrackKind kind) {
    return kind == TrackKind::oscValue || kind == TrackKind::oscColor || kind == TrackKind::oscFlag;
}
constexpr bool isMIDI(TrackKind kind) {
    return kind == TrackKind::midiCC || kind == TrackKind::midiNotes;
}
constexpr bool isArtNet(TrackKind kind) {
    return kind == TrackKind::artNetValue || kind == TrackKind::artNetColor;
}

// What the sheet of an OSC track sets in one go. The range is in stored scale.
struct OSCPreferences {
    std::int64_t trackOSCType = 0;
    float trackMinValue = 0.0f;
    float trackMaxValue = 100.0f;
    bool isUsing5FractionDigits = false;
    bool sendsNormalisedValue = false;
};

struct TrackSettings {
    std::string midiOut;
    std::string midiChannel = "1";
    std::string midiCC = "0";
    std::string midiNotesFrom = "0";
    std::string midiNotesTo = "127";
    std::string oscOut;
    std::string artNetChannel = "1";
    std::string artNetOutput;

    // The output that went away while it was selected; it is selected again when one of that name returns.
    std::string lastSelectedOSCOutput;
    std::string lastSelectedMIDIOutput;
    std::string lastSelectedArtNetOutput;
};

} // namespace marvo
