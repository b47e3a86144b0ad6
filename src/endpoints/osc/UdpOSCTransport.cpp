#include "endpoints/osc/UdpOSCTransport.h"

#include "endpoints/osc/UdpOSCListener.h"
#include "endpoints/osc/UdpOSCWire.h"

namespace marvo {
namespace {

// The keeper looks at a wire for as long as the port that owns it lives.
class OwnedWire final : public OSCWire {
public:
    OwnedWire(std::shared_ptr<UdpOSCWire> wire, std::shared_ptr<OutputKeeper> keeper,
              std::shared_ptr<TickCollector> collector)
        : collector_(std::move(collector)), wire_(std::move(wire)), keeper_(std::move(keeper)) {}
    ~OwnedWire() override { collector_->waitUntilFlushed(); }
    void send(const OSCMessage& message, const SendOrigin& origin) override { wire_->send(message, origin); }
    OutputCounters counters() const override { return wire_->counters(); }
    void waitUntilSent() override { collector_->waitUntilFlushed(); }
    void setTarget(const std::string& address, int port) override {
        wire_->setTarget(address, port);
        keeper_->hurry();
    }
    void setLabel(const std::string& label) override { wire_->setLabel(label); }

private:
    std::shared_ptr<TickCollector> collector_; // outlives the wire
    std::shared_ptr<UdpOSCWire> wire_;
    std::shared_ptr<OutputKeeper> keeper_;
};

} // namespace

UdpOSCTransport::UdpOSCTransport(std::string bindAddress, NameLookup lookUp)
    : bindAddress_(std::move(bindAddress)), collector_(std::make_shared<TickCollector>()),
      keeper_(std::make_shared<OutputKeeper>(std::move(lookUp))) {}

UdpOSCTransport::~UdpOSCTransport() = default;

std::unique_ptr<OSCWire> UdpOSCTransport::makeWire(const std::string& label, const std::string& address,
                                                   int port) {
    auto wire = std::make_shared<UdpOSCWire>(label, address, port, *collector_);
    wire->connectIfNumeric();
    keeper_->add(wire);
    return std::make_unique<OwnedWire>(std::move(wire), keeper_, collector_);
}

std::unique_ptr<OSCListener> UdpOSCTransport::makeListener(int port, OSCMessageReceiver& receiver) {
    return UdpOSCListener::open(bindAddress_, port, receiver);
}

void UdpOSCTransport::onTrouble(std::function<void(const OutputTrouble&)> tell) {
    keeper_->onTrouble(std::move(tell));
}

} // namespace marvo
