// A machine of wood: its devices are listed by hand, what is sent is written down, and every making of a port
// can be made to fail.
#pragma once

#include "endpoints/midi/MIDIBytes.h"
#include "endpoints/midi/MIDITransport.h"

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace marvo {

inline std::string hexOf(std::span<const std::uint8_t> bytes) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        if (!text.empty()) text += ' ';
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

class FakeMIDITransport final : public MIDITransport {
public:
    std::set<std::string> refused; // names of virtual ports that cannot be made
    MIDIEndpoints machine;         // what endpoints() tells
    bool countsOnly = false;       // writes no lines, so that nothing is allocated
    int sendCount = 0;
    std::vector<std::string> lines; // "name: bytes" of what was sent, and what became of ports
    std::map<std::string, std::shared_ptr<MIDIInputReceiver>> receivers; // by name, of open inputs

    std::string_view kind() const override { return "fake"; }

    std::unique_ptr<MIDIOutput> makeVirtualSender(const std::string& name) override {
        if (refused.contains(name)) return nullptr;
        lines.push_back("publish " + name);
        return std::make_unique<Output>(*this, name);
    }
    std::unique_ptr<MIDIInput> makeVirtualReceiver(const std::string& name,
                                                   std::shared_ptr<MIDIInputReceiver> receiver) override {
        if (refused.contains(name)) return nullptr;
        return std::make_unique<Input>(*this, name, std::move(receiver));
    }
    MIDIEndpoints endpoints() const override { return machine; }
    std::unique_ptr<MIDIOutput> openDestination(const MIDIEndpoint& endpoint) override {
        lines.push_back("open " + endpoint.name);
        return std::make_unique<Output>(*this, endpoint.name);
    }
    std::unique_ptr<MIDIInput> openSource(const MIDIEndpoint& endpoint,
                                          std::shared_ptr<MIDIInputReceiver> receiver) override {
        return std::make_unique<Input>(*this, endpoint.name, std::move(receiver));
    }
    void onSetupChanged(std::function<void()> tell) override { setupChanged_ = std::move(tell); }
    void onTrouble(std::function<void(const MIDITrouble&)>) override {}

    void plug(const std::string& name, bool source = true, bool destination = true) {
        if (source) machine.sources.push_back({"id of " + name, name});
        if (destination) machine.destinations.push_back({"id of " + name, name});
        tellSetupChanged();
    }
    void unplug(const std::string& name) {
        const auto isIt = [&](const MIDIEndpoint& endpoint) { return endpoint.name == name; };
        std::erase_if(machine.sources, isIt);
        std::erase_if(machine.destinations, isIt);
        tellSetupChanged();
    }
    void tellSetupChanged() {
        if (setupChanged_) setupChanged_();
    }
    bool isObserved() const { return setupChanged_ != nullptr; }

    std::vector<std::string> takeLines() { return std::exchange(lines, {}); }

private:
    class Output final : public MIDIOutput {
    public:
        Output(FakeMIDITransport& transport, std::string name)
            : transport_(transport), name_(std::move(name)) {}
        ~Output() override { transport_.lines.push_back("close " + name_); }
        void send(std::span<const MIDIMessage> messages, const SendOrigin& origin) override {
            ++transport_.sendCount;
            if (transport_.countsOnly) return;
            for (const MIDIMessage& message : messages) {
                transport_.lines.push_back(name_ + ": " + hexOf(encodeMIDI(message).span()) +
                                           (origin.feedback ? " feedback" : ""));
            }
        }
        void sendSysex(std::span<const std::uint8_t> payload, const SendOrigin&) override {
            transport_.lines.push_back(name_ + ": sysex " + hexOf(payload));
        }
        void silence() override {
            ++transport_.sendCount;
            if (!transport_.countsOnly) transport_.lines.push_back("silence " + name_);
        }
        MIDIPortCounters counters() const override { return {}; }

    private:
        FakeMIDITransport& transport_;
        const std::string name_;
    };

    class Input final : public MIDIInput {
    public:
        Input(FakeMIDITransport& transport, std::string name, std::shared_ptr<MIDIInputReceiver> receiver)
            : transport_(transport), name_(std::move(name)) {
            transport_.receivers[name_] = std::move(receiver);
        }
        ~Input() override { transport_.receivers.erase(name_); }

    private:
        FakeMIDITransport& transport_;
        const std::string name_;
    };

    std::function<void()> setupChanged_;
};

} // namespace marvo
