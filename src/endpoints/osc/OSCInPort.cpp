#include "endpoints/osc/OSCInPort.h"

namespace marvo {

bool OSCInPort::setPort(int port) {
    if (listener_ && listener_->port() == port) return true;
    std::unique_ptr<OSCListener> fresh = transport_.makeListener(port, receiver_);
    if (!fresh) return false;
    listener_ = std::move(fresh);
    return true;
}

} // namespace marvo
