// Who is told what comes in, and that the machine's devices have changed.
#pragma once

#include "endpoints/midi/MIDIMessage.h"
#include "platform/Clock.h"

#include <cstdint>
#include <span>
#include <string>

namespace marvo {

class MIDIMessageReceiver {
public:
    virtual ~MIDIMessageReceiver() = default;

    // On a thread of the transport, in order of arrival, one call at a time over all sources. The moment is
    // one of CLOCK_MONOTONIC, as exact as the sound system tells it.
    virtual void receivedMIDI(std::span<const MIDIMessage> messages, const std::string& sourceName,
                              MonotonicTime arrival) = 0;
    // The payload without the bytes 240 and 247 around it.
    virtual void receivedSysex(std::span<const std::uint8_t> /*payload*/, const std::string& /*sourceName*/,
                               MonotonicTime /*arrival*/) {}
    // Main thread. The lists of sources and destinations are the new ones; enabled states are still those
    // from before.
    virtual void setupChanged() {}
};

} // namespace marvo
