// Where MIDI can be sent to, by name, as tracks ask for it.
#pragma once

#include "endpoints/midi/MarvoMIDINode.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace marvo {

class MIDIDestinations {
public:
    virtual ~MIDIDestinations() = default;

    // Our own ports first, then the machine's devices; null when there is none of that name. Thread-safe.
    virtual std::shared_ptr<MarvoMIDINode> findDestNodeNamed(std::string_view name) const = 0;

    // Main thread, all three. Names of our own ports in their order, then those of the devices, sorted.
    virtual std::vector<std::string> midiOutNodeNames() const = 0;
    virtual std::vector<std::string> detectedMidiOutNodeNames() const = 0;
    // A track has chosen this output: the source of the same name is switched off, lest a two-way device feed
    // its own messages back.
    virtual void needsCheckOutputSelected(const MarvoMIDINode& node) = 0;
};

} // namespace marvo
