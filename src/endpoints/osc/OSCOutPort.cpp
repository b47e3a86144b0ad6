#include "endpoints/osc/OSCOutPort.h"

namespace marvo {

OSCOutPort::OSCOutPort(OSCTransport& transport, std::string address, int port, std::string label)
    : wire_(transport.makeWire(label, address, port)), address_(std::move(address)), port_(port),
      label_(std::move(label)) {}

void OSCOutPort::setAddressString(const std::string& address) {
    address_ = address;
    wire_->setTarget(address_, port_);
}

void OSCOutPort::setPort(int port) {
    port_ = port;
    wire_->setTarget(address_, port_);
}

void OSCOutPort::setPortLabel(const std::string& label) {
    label_ = label;
    wire_->setLabel(label_);
}

} // namespace marvo
