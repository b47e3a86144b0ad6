// A port as the application wants it, whether the sound system has it at the moment or not.
//
// Shared by the handle that the application holds, the keeper that brings it to the sound system, and the
// threads that feed it.
#pragma once

#include "endpoints/midi/MIDISendQueue.h"
#include "endpoints/midi/MIDIStreamParser.h"
#include "endpoints/midi/MIDITransport.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

namespace marvo {

struct MIDIOutPort {
    MIDIOutPort(std::string itsName, std::string endpointId)
        : name(std::move(itsName)), id(std::move(endpointId)) {}

    const std::string name;
    const std::string id; // of the destination it leads to; empty for a port that others connect to
    MIDISendQueue queue;
    std::atomic<bool> held{true};    // by the application
    std::atomic<bool> wanted{false}; // somebody sends, or is about to
};

struct MIDIInPort {
    MIDIInPort(std::string itsName, std::string endpointId, std::uint32_t itsNumber,
               std::shared_ptr<MIDIInputReceiver> to)
        : name(std::move(itsName)), id(std::move(endpointId)), number(itsNumber), receiver(std::move(to)) {}

    const std::string name;
    const std::string id; // of the source it listens to; empty for a port that others connect to
    const std::uint32_t number;
    const std::shared_ptr<MIDIInputReceiver> receiver;
    std::atomic<bool> held{true};
    MIDIStreamParser parser; // delivery thread
};

} // namespace marvo
