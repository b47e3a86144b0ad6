// Plays the notes of a note track, and knows which of them still sound.
//
// Invariant: each note-on is followed by exactly one note-off, at the next processed tick or at whatever
// ends the track's playing before it: a stop, a mute, a change of settings, the end of the track. Nothing
// else may start or end a note of the track.
#pragma once

#include "endpoints/midi/MarvoMIDINode.h"
#include "tracks/KeyframePlan.h"
#include "tracks/TrackOutput.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace marvo {

struct MIDINoteSettings {
    std::string_view compositionName;
    std::string_view trackName;
    std::shared_ptr<MarvoMIDINode> node; // null sends nothing
    std::uint8_t channel = 0;            // 0 to 15
};

class MIDINoteOutput final : public TrackOutput {
public:
    explicit MIDINoteOutput(const MIDINoteSettings& settings);

    // A test note: on with velocity 127 and off with 64, at once. Realtime-safe.
    void playTestNote(float value, Frame frame);
    // A test note that is over at once: on with the velocity and off with 0, in one go. Realtime-safe.
    void shotOnNote(std::uint8_t note, std::uint8_t velocity);
    // Starts the note that the value rounds to; it sounds until endNotes. Realtime-safe.
    void playNote(float value, const NoteVelocities& velocities, Frame frame);
    // Ends what sounds, in the order in which it was started. Realtime-safe.
    void endNotes(Frame frame);
    // The same, told as of the frame on which the notes were started.
    void endNotes() { endNotes(lastFrame_); }

private:
    struct SoundingNote {
        std::uint8_t note;
        std::uint8_t velocityOff;
    };
    // A channel has 128 different notes; what a frame holds beyond is ended as soon as it is started.
    static constexpr std::size_t mostNotes = 128;

    void sendNote(std::uint8_t type, std::uint8_t note, std::uint8_t velocity, Frame frame);

    std::shared_ptr<MarvoMIDINode> node_;
    std::uint8_t channel_;
    Frame lastFrame_;
    std::array<SoundingNote, mostNotes> sounding_{};
    std::size_t soundingCount_ = 0;
};

} // namespace marvo
