#include "endpoints/midi/SilentMIDITransport.h"

#include <atomic>

namespace marvo {

namespace {

class SilentOutput final : public MIDIOutput {
public:
    void send(std::span<const MIDIMessage> messages, const SendOrigin&) override {
        dropped_.fetch_add(messages.size(), std::memory_order_relaxed);
    }
    void sendSysex(std::span<const std::uint8_t>, const SendOrigin&) override {
        dropped_.fetch_add(1, std::memory_order_relaxed);
    }
    void silence() override {}
    MIDIPortCounters counters() const override { return {0, dropped_.load(std::memory_order_relaxed)}; }

private:
    std::atomic<std::uint64_t> dropped_{0};
};

class SilentInput final : public MIDIInput {};

} // namespace

std::unique_ptr<MIDIOutput> SilentMIDITransport::makeVirtualSender(const std::string&) {
    return std::make_unique<SilentOutput>();
}

std::unique_ptr<MIDIInput> SilentMIDITransport::makeVirtualReceiver(const std::string&,
                                                                    std::shared_ptr<MIDIInputReceiver>) {
    return std::make_unique<SilentInput>();
}

} // namespace marvo
