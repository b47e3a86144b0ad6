// What MIDI ports are made of: ways out and ways in, published under names of our own or leading to devices.
//
// The application is given a transport: a real one, one that records for rehearsals and traces, or one that
// leads nowhere. Making and closing belong to the main thread and never wait for a device; a port whose sound
// system is away is made all the same and works as soon as it is there. Sending is thread-safe and
// realtime-safe.
#pragma once

#include "endpoints/midi/MIDIMessage.h"
#include "platform/Clock.h"
#include "platform/SendOrigin.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace marvo {

struct MIDIPortCounters {
    std::uint64_t sent = 0;    // messages handed to the sound system, a system-exclusive one counting once
    std::uint64_t dropped = 0; // messages that did not fit, or had nowhere to go
};

// Something is wrong with a port, or with the sound system (an empty port), or has become right again. Each
// change is told once.
struct MIDITrouble {
    std::string port;
    std::string reason;
    bool began = true;
};

// A source or destination of the machine, ours excluded.
struct MIDIEndpoint {
    std::string id;   // the same when a device returns, where the system can tell
    std::string name; // unique among the sources, and among the destinations; the same for both of one device

    friend bool operator==(const MIDIEndpoint&, const MIDIEndpoint&) = default;
};

struct MIDIEndpoints {
    std::vector<MIDIEndpoint> sources;
    std::vector<MIDIEndpoint> destinations;

    friend bool operator==(const MIDIEndpoints&, const MIDIEndpoints&) = default;
};

// A way out. When it goes, the notes that sound through it are ended before the port closes.
class MIDIOutput {
public:
    virtual ~MIDIOutput() = default; // main thread

    // Thread-safe and realtime-safe, all of these. What does not fit is dropped and counted, never a
    // note-off. The messages stay together and in order.
    virtual void send(std::span<const MIDIMessage> messages, const SendOrigin& origin) = 0;
    // The payload without the bytes 240 and 247 around it.
    virtual void sendSysex(std::span<const std::uint8_t> payload, const SendOrigin& origin) = 0;
    // Ends every note that sounds, behind what was sent before.
    virtual void silence() = 0;
    // Somebody is about to send: a way to a device is opened only then.
    virtual void prepare() {}
    virtual MIDIPortCounters counters() const = 0;
};

// What comes in through one port, on a thread of the transport, in order.
class MIDIInputReceiver {
public:
    virtual ~MIDIInputReceiver() = default;
    // All arrived at the same moment, which is one of CLOCK_MONOTONIC.
    virtual void receivedMIDI(std::span<const MIDIMessage> messages, MonotonicTime arrival) = 0;
    virtual void receivedSysex(std::span<const std::uint8_t> payload, MonotonicTime arrival) = 0;
};

// A way in. It delivers nothing more once it has gone, save a delivery that is under way at that moment.
class MIDIInput {
public:
    virtual ~MIDIInput() = default; // main thread
};

class MIDITransport {
public:
    // Ends all notes and closes all ports, within a bounded time; ports that are still held lead nowhere
    // then.
    virtual ~MIDITransport() = default;

    // "alsa", "jack", ...: for the operator.
    virtual std::string_view kind() const = 0;

    // Ports that others see under that name. Null when there can be none.
    virtual std::unique_ptr<MIDIOutput> makeVirtualSender(const std::string& name) = 0;
    virtual std::unique_ptr<MIDIInput> makeVirtualReceiver(const std::string& name,
                                                           std::shared_ptr<MIDIInputReceiver> receiver) = 0;

    // What the machine had when it was last looked at; waits for nothing.
    virtual MIDIEndpoints endpoints() const = 0;
    // Null when there is no such endpoint. What comes and goes keeps its way: after a return messages pass
    // again, and notes that sounded when a destination was lost are ended there.
    virtual std::unique_ptr<MIDIOutput> openDestination(const MIDIEndpoint& endpoint) = 0;
    virtual std::unique_ptr<MIDIInput> openSource(const MIDIEndpoint& endpoint,
                                                  std::shared_ptr<MIDIInputReceiver> receiver) = 0;
    // Whether openDestination takes any name, listed or not.
    virtual bool hasEveryDestination() const { return false; }

    // Both are called from a thread of the transport; when the call returns, the function that was set before
    // is not running and is never called again. endpoints() tells the new state.
    virtual void onSetupChanged(std::function<void()> tell) = 0;
    virtual void onTrouble(std::function<void(const MIDITrouble&)> tell) = 0;

    // For a handler of deadly signals: has all sounding notes ended by the transport's own threads and waits
    // for that at most 50 ms. Async-signal-safe.
    virtual void flushNotesOnCrash() noexcept {}
};

} // namespace marvo
