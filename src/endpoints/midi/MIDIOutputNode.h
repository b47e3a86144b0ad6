// A node that messages leave by: a virtual output of ours, or a destination of the machine.
#pragma once

#include "endpoints/midi/MIDITransport.h"
#include "endpoints/midi/MarvoMIDINode.h"

#include <atomic>
#include <memory>
#include <string>

namespace marvo {

class MIDIOutputNode final : public MarvoMIDINode {
public:
    // `id` is empty for a virtual output.
    MIDIOutputNode(std::string name, std::string id, std::unique_ptr<MIDIOutput> output)
        : name_(std::move(name)), id_(std::move(id)), output_(std::move(output)) {}

    const std::string& name() const override { return name_; }
    const std::string& id() const { return id_; }
    // Sending does not depend on it.
    bool enabled() const override { return enabled_.load(std::memory_order_relaxed); }
    void setEnabled(bool enabled) override { enabled_.store(enabled, std::memory_order_relaxed); }

    void sendMsg(const MIDIMessage& message, const SendOrigin& origin) override {
        output_->send({&message, 1}, origin);
    }
    void sendMsgs(std::span<const MIDIMessage> messages, const SendOrigin& origin) override {
        output_->send(messages, origin);
    }
    void sendSysex(std::span<const std::uint8_t> payload, const SendOrigin& origin) override {
        output_->sendSysex(payload, origin);
    }

    MIDIOutput& output() const { return *output_; }

private:
    const std::string name_;
    const std::string id_;
    const std::unique_ptr<MIDIOutput> output_;
    std::atomic<bool> enabled_{true};
};

} // namespace marvo
