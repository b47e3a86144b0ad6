// One end of a MIDI connection by its name: a port of our own, or a device of the machine.
#pragma once

#include "endpoints/midi/MIDIMessage.h"
#include "platform/SendOrigin.h"

#include <cstdint>
#include <span>
#include <string>

namespace marvo {

class MarvoMIDINode {
public:
    virtual ~MarvoMIDINode() = default;

    // Never changes during the life of a node.
    virtual const std::string& name() const = 0;
    // A disabled source delivers nothing. Thread-safe.
    virtual bool enabled() const = 0;
    virtual void setEnabled(bool enabled) = 0;

    // Thread-safe and realtime-safe, all three; a port that is busy or gone never holds up the caller. What
    // does not fit is dropped and counted, but a note-off is never dropped.
    virtual void sendMsg(const MIDIMessage& message, const SendOrigin& origin) = 0;
    // In one go and in order: nothing of another sender comes between.
    virtual void sendMsgs(std::span<const MIDIMessage> messages, const SendOrigin& origin) = 0;
    // The payload without the bytes 240 and 247 around it.
    virtual void sendSysex(std::span<const std::uint8_t> payload, const SendOrigin& origin) = 0;
};

} // namespace marvo
