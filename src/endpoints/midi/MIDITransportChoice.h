// Which sound system carries MIDI.
#pragma once

#include "endpoints/midi/MIDITransport.h"
#include "platform/JackAdmission.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace marvo {

enum class MIDIChoice : std::uint8_t {
    automatic, // ALSA where the kernel has it, else JACK where a server answers
    alsa,
    jack,
    none, // ports exist and lead nowhere
};

// "auto", "alsa", "jack" and "none".
std::optional<MIDIChoice> midiChoiceNamed(std::string_view name);

struct MIDITransportResult {
    std::unique_ptr<MIDITransport> transport; // never null; goes on looking for what it was to use
    std::string reason;                       // why that is not there yet; empty when it is
};

// `jack` is shared with all others of the process who speak to JACK. `clientName` is what others see us as.
// Waits for a first look at the machine, at most a second.
MIDITransportResult makeMIDITransport(MIDIChoice choice, const JackAdmission& jack,
                                      const std::string& clientName = "Marvo");

} // namespace marvo
