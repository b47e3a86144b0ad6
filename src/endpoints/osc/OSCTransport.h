// What OSC ports are made of: wires that messages leave by, and listeners that they come in by.
//
// The application is given a transport: the real one over UDP, one that records for rehearsals and tests, or
// one that fails. Making and closing belong to the main thread; a wire's send is thread-safe and
// realtime-safe.
#pragma once

#include "endpoints/osc/OSCMessage.h"
#include "platform/SendOrigin.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace marvo {

struct OutputCounters {
    std::uint64_t sent = 0;
    std::uint64_t dropped = 0; // not sent: no address yet, network down, or too large
    std::uint64_t bytes = 0;
};

// Something is wrong with an output, or has become right again. Each change is told once for each kind.
struct OutputTrouble {
    enum class Kind : std::uint8_t {
        network,  // the way to the target; ends
        tooLarge, // a message that no datagram holds; nothing ends it
    };
    std::string label;
    std::string reason;
    bool began = true;
    Kind kind = Kind::network;
};

class OSCWire {
public:
    virtual ~OSCWire() = default;
    // Any thread, several at once: the tick sends tracks while the main thread sends feedback. Never waits.
    virtual void send(const OSCMessage& message, const SendOrigin& origin) = 0;
    virtual OutputCounters counters() const = 0;
    // Returns when what a tick has collected for this wire is sent and counted. Main thread.
    virtual void waitUntilSent() {}
    // Main thread.
    virtual void setTarget(const std::string& address, int port) = 0;
    virtual void setLabel(const std::string& label) = 0;
};

class OSCMessageReceiver {
public:
    virtual ~OSCMessageReceiver() = default;
    // On a thread of the port, one call per message.
    virtual void receivedOSCMessage(const OSCMessage& message) = 0;
    // On the same thread: messages with these addresses lie ready to be delivered, at most sixteen. A hint,
    // for whoever wants to fetch what they need together; nothing may depend on it.
    virtual void expectOSCMessages(std::span<const std::string_view>) {}
};

class OSCListener {
public:
    virtual ~OSCListener() = default; // no message is delivered after it
    virtual int port() const = 0;
};

class OSCTransport {
public:
    virtual ~OSCTransport() = default;
    virtual std::unique_ptr<OSCWire> makeWire(const std::string& label, const std::string& address,
                                              int port) = 0;
    // Null when the port cannot be bound.
    virtual std::unique_ptr<OSCListener> makeListener(int port, OSCMessageReceiver& receiver) = 0;
    // What the calling thread sends between the two may wait for the second, and then leaves in order: a tick
    // sends much to few outputs. What other threads send leaves at once. One thread at a time; realtime-safe.
    virtual void beginTick() {}
    virtual void flush() {}
    // Called from a thread of the transport.
    virtual void onTrouble(std::function<void(const OutputTrouble&)> tell) = 0;
};

} // namespace marvo
