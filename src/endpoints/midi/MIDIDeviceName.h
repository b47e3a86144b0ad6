// What a person would call the device behind a port.
//
// Sound systems know ports only, each with a direction in its name: "system:midi_capture_2", "a2j:Pad [20]
// (capture): Pad MIDI 1", "synth:midi_in". What tells the direction is left out, so that both ports of a
// two-way device bear one name, and so is what changes when a device is plugged in again.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace marvo {

// Of the port of a client. Never empty for a client that has a name.
std::string midiDeviceName(std::string_view client, std::string_view port);

// Of "client:port". `aliases` may name the device behind a port of the server itself.
std::string jackDeviceName(std::string_view portName, std::span<const std::string> aliases);

} // namespace marvo
