// OSC over UDP.
//
// Every output is a connected socket that the tick sends on without waiting; what one tick sends through an
// output leaves at its end, with one system call when there is much of it. What takes time happens on two
// threads of the transport: the keeper connects again after trouble and tells of trouble once when it begins
// and once when it ends; the resolver asks for the addresses of names.
#pragma once

#include "endpoints/osc/OSCTransport.h"
#include "endpoints/osc/OutputKeeper.h"
#include "endpoints/osc/TickCollector.h"

#include <memory>
#include <string>

namespace marvo {

class UdpOSCTransport final : public OSCTransport {
public:
    // bindAddress: numeric address on which inputs listen; empty for all.
    explicit UdpOSCTransport(std::string bindAddress, NameLookup lookUp = systemNameLookup());
    ~UdpOSCTransport() override;

    std::unique_ptr<OSCWire> makeWire(const std::string& label, const std::string& address,
                                      int port) override;
    std::unique_ptr<OSCListener> makeListener(int port, OSCMessageReceiver& receiver) override;
    void onTrouble(std::function<void(const OutputTrouble&)> tell) override;
    void beginTick() override { collector_->begin(); }
    void flush() override { collector_->flush(); }

private:
    std::string bindAddress_;
    std::shared_ptr<TickCollector> collector_;
    std::shared_ptr<OutputKeeper> keeper_;
};

} // namespace marvo
