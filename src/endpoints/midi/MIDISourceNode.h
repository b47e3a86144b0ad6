// A node that messages come in by: a source of the machine, or the virtual input of ours. Sending to it does
// nothing.
#pragma once

#include "endpoints/midi/MIDIDelivery.h"
#include "endpoints/midi/MIDITransport.h"
#include "endpoints/midi/MarvoMIDINode.h"

#include <atomic>
#include <memory>
#include <string>

namespace marvo {

class MIDISourceNode final : public MarvoMIDINode {
public:
    MIDISourceNode(std::string name, std::string id, std::shared_ptr<MIDIDelivery> delivery)
        : id_(std::move(id)), gate_(std::make_shared<Gate>(std::move(name), std::move(delivery))) {}
    ~MIDISourceNode() override { gate_->enabled.store(false, std::memory_order_relaxed); }
    MIDISourceNode(const MIDISourceNode&) = delete;
    MIDISourceNode& operator=(const MIDISourceNode&) = delete;

    // The port that feeds this node, and what to give to it. Without a port nothing comes in.
    std::shared_ptr<MIDIInputReceiver> receiver() const { return gate_; }
    void setInput(std::unique_ptr<MIDIInput> input) { input_ = std::move(input); }

    const std::string& name() const override { return gate_->name; }
    const std::string& id() const { return id_; }
    bool enabled() const override { return gate_->enabled.load(std::memory_order_relaxed); }
    void setEnabled(bool enabled) override { gate_->enabled.store(enabled, std::memory_order_relaxed); }

    void sendMsg(const MIDIMessage&, const SendOrigin&) override {}
    void sendMsgs(std::span<const MIDIMessage>, const SendOrigin&) override {}
    void sendSysex(std::span<const std::uint8_t>, const SendOrigin&) override {}

private:
    // Held by the transport too, which may be delivering while the node goes.
    struct Gate final : MIDIInputReceiver {
        Gate(std::string itsName, std::shared_ptr<MIDIDelivery> to)
            : name(std::move(itsName)), delivery(std::move(to)) {}

        void receivedMIDI(std::span<const MIDIMessage> messages, MonotonicTime arrival) override {
            if (enabled.load(std::memory_order_relaxed)) delivery->deliver(messages, name, arrival);
        }
        void receivedSysex(std::span<const std::uint8_t> payload, MonotonicTime arrival) override {
            if (enabled.load(std::memory_order_relaxed)) delivery->deliverSysex(payload, name, arrival);
        }

        const std::string name;
        const std::shared_ptr<MIDIDelivery> delivery;
        std::atomic<bool> enabled{true};
    };

    const std::string id_;
    const std::shared_ptr<Gate> gate_;
    std::unique_ptr<MIDIInput> input_;
};

} // namespace marvo
