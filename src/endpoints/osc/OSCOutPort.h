// A labelled output. The label is its identity in tracks and files.
//
// Held by shared pointers: a track that still holds a removed output goes on sending through it. Sending is
// thread-safe and realtime-safe; names and targets belong to the main thread.
#pragma once

#include "endpoints/osc/OSCTransport.h"

#include <memory>
#include <string>

namespace marvo {

class OSCOutPort {
public:
    OSCOutPort(OSCTransport& transport, std::string address, int port, std::string label);

    void sendThisMessage(const OSCMessage& message, const SendOrigin& origin) const {
        wire_->send(message, origin);
    }
    OutputCounters counters() const { return wire_->counters(); }
    // What will ever have left through it; nobody sends any more. Main thread.
    OutputCounters finalCounters() {
        wire_->waitUntilSent();
        return wire_->counters();
    }

    const std::string& addressString() const { return address_; }
    void setAddressString(const std::string& address);
    int port() const { return port_; }
    void setPort(int port);
    const std::string& portLabel() const { return label_; }
    void setPortLabel(const std::string& label);

private:
    std::unique_ptr<OSCWire> wire_;
    std::string address_;
    int port_;
    std::string label_;
};

} // namespace marvo
