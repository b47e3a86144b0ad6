#include "endpoints/osc/RecordingOSCTransport.h"

#include <atomic>

namespace marvo {

class RecordingOSCTransport::Wire final : public OSCWire {
public:
    Wire(RecordingOSCTransport& transport, std::string label)
        : transport_(transport), label_(std::move(label)) {}
    void send(const OSCMessage& message, const SendOrigin& origin) override {
        if (!transport_.open_) return;
        sent_.fetch_add(1, std::memory_order_relaxed);
        transport_.sink_.messageSent(label_, message, origin);
    }
    OutputCounters counters() const override { return {.sent = sent_.load(std::memory_order_relaxed)}; }
    void setTarget(const std::string&, int) override {}
    void setLabel(const std::string& label) override { label_ = label; }

private:
    RecordingOSCTransport& transport_;
    std::string label_;
    std::atomic<std::uint64_t> sent_{0};
};

namespace {

class SilentListener final : public OSCListener {
public:
    explicit SilentListener(int port) : port_(port) {}
    int port() const override { return port_; }

private:
    int port_;
};

} // namespace

std::unique_ptr<OSCWire> RecordingOSCTransport::makeWire(const std::string& label, const std::string&, int) {
    return std::make_unique<Wire>(*this, label);
}

std::unique_ptr<OSCListener> RecordingOSCTransport::makeListener(int port, OSCMessageReceiver&) {
    return std::make_unique<SilentListener>(port);
}

} // namespace marvo
