// A transport without sockets: what is sent goes to a sink, nothing comes in by itself. The sink is called on
// the thread that sends; where that is more than one, the sink keeps its own order.
#pragma once

#include "endpoints/osc/OSCTransport.h"

#include <atomic>
#include <string>

namespace marvo {

class OSCMessageSink {
public:
    virtual ~OSCMessageSink() = default;
    virtual void messageSent(const std::string& portLabel, const OSCMessage& message,
                             const SendOrigin& origin) = 0;
};

class RecordingOSCTransport final : public OSCTransport {
public:
    explicit RecordingOSCTransport(OSCMessageSink& sink) : sink_(sink) {}

    std::unique_ptr<OSCWire> makeWire(const std::string& label, const std::string& address,
                                      int port) override;
    // Every port can be bound.
    std::unique_ptr<OSCListener> makeListener(int port, OSCMessageReceiver& receiver) override;
    void onTrouble(std::function<void(const OutputTrouble&)>) override {}
    // Nothing is recorded from here on.
    void close() { open_ = false; }

private:
    class Wire;
    OSCMessageSink& sink_;
    std::atomic<bool> open_{true};
};

} // namespace marvo
