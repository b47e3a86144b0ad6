// One stay with a sound system: from the moment it let us in until it goes or we leave.
//
// Everything is called by the keeper's thread, save what is marked. A session never outlives its ports'
// queues: it holds them while it feeds them.
#pragma once

#include "endpoints/midi/MIDIPorts.h"
#include "endpoints/midi/MIDIWakeup.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace marvo {

// What a session sees of the machine.
struct MIDIFoundEndpoint {
    std::string address;   // what the session connects to; changes when a device is plugged in again
    std::string key;       // what tells devices apart
    std::string baseName;  // the same for both directions of one device
    bool keyLasts = false; // the key is the same when the device returns

    friend bool operator==(const MIDIFoundEndpoint&, const MIDIFoundEndpoint&) = default;
};

struct MIDIFoundEndpoints {
    std::vector<MIDIFoundEndpoint> sources;
    std::vector<MIDIFoundEndpoint> destinations;
};

class MIDISession {
public:
    virtual ~MIDISession() = default; // closes all that is open; nothing is fed or delivered afterwards

    // Why the stay has ended; empty while it lasts.
    virtual std::string ended() = 0;
    // Whether endpoints may have come or gone since the last call.
    virtual bool takeSetupChanged() = 0;
    virtual MIDIFoundEndpoints look() = 0;

    // `address` is that of the endpoint, or empty for a virtual port. Returns why it could not be done, or
    // nothing.
    virtual std::string open(const std::shared_ptr<MIDIOutPort>& port, const std::string& address) = 0;
    virtual std::string open(const std::shared_ptr<MIDIInPort>& port, const std::string& address) = 0;
    // Returns when the port is fed no more.
    virtual void close(const MIDIOutPort& port) = 0;
    virtual void close(const MIDIInPort& port) = 0;

    // From now on only note-offs of what sounds leave. Async-signal-safe.
    virtual void beginCrash() noexcept = 0;
    // Whether they have left. Async-signal-safe.
    virtual bool crashIsOver() const noexcept = 0;
};

// What the keeper offers to a session. Valid as long as the session.
struct MIDISessionHost {
    std::function<void()> kick; // makes the keeper look at the session at once; thread-safe
    MIDIWakeup& outputs;        // is woken by whoever has put something into a queue
};

// A sound system that may let us in.
class MIDIBackend {
public:
    virtual ~MIDIBackend() = default;
    virtual std::string_view kind() const = 0;
    // Null with the reason when it cannot be now.
    virtual std::unique_ptr<MIDISession> open(const MIDISessionHost& host, std::string& reason) = 0;
};

} // namespace marvo
