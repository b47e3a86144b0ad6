// An input: a port number that is listened on. Main thread.
#pragma once

#include "endpoints/osc/OSCTransport.h"

#include <memory>

namespace marvo {

class OSCInPort {
public:
    OSCInPort(OSCTransport& transport, OSCMessageReceiver& receiver)
        : transport_(transport), receiver_(receiver) {}

    // Binds the port. False leaves what was bound before, so port() then differs from the number that was
    // asked for.
    bool setPort(int port);
    // 0 before a port was bound.
    int port() const { return listener_ ? listener_->port() : 0; }

private:
    OSCTransport& transport_;
    OSCMessageReceiver& receiver_;
    std::unique_ptr<OSCListener> listener_;
};

} // namespace marvo
