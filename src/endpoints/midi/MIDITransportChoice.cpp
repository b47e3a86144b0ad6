#include "endpoints/midi/MIDITransportChoice.h"

#include "endpoints/midi/AlsaMIDISession.h"
#include "endpoints/midi/JackMIDISession.h"
#include "endpoints/midi/KeptMIDITransport.h"
#include "endpoints/midi/SilentMIDITransport.h"

#include <utility>
#include <vector>

namespace marvo {

std::optional<MIDIChoice> midiChoiceNamed(std::string_view name) {
    if (name == "auto") return MIDIChoice::automatic;
    if (name == "alsa") return MIDIChoice::alsa;
    if (name == "jack") return MIDIChoice::jack;
    if (name == "none") return MIDIChoice::none;
    return std::nullopt;
}

MIDITransportResult makeMIDITransport(MIDIChoice choice, const JackAdmission& jack,
                                      const std::string& clientName) {
    if (choice == MIDIChoice::none) return {std::make_unique<SilentMIDITransport>(), {}};
    std::vector<std::unique_ptr<MIDIBackend>> backends;
    if (choice != MIDIChoice::jack) backends.push_back(std::make_unique<AlsaMIDIBackend>(clientName));
    if (choice != MIDIChoice::alsa) backends.push_back(std::make_unique<JackMIDIBackend>(clientName, jack));
    auto transport = std::make_unique<KeptMIDITransport>(std::move(backends));
    std::string reason = transport->whyAway();
    return {std::move(transport), std::move(reason)};
}

} // namespace marvo
