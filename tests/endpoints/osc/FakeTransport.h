// A transport whose ports are busy or free as the test says, and whose wires keep what was sent.
#pragma once

#include "endpoints/osc/MarvoOSCManager.h"
#include "endpoints/osc/OSCTransport.h"

#include <algorithm>
#include <set>
#include <string>
#include <vector>

namespace marvo {

// "/address 1 2.5 text", the shape in which tests compare messages.
inline std::string shown(const OSCMessage& message) {
    std::string text(message.address());
    for (const OSCValue& value : message.values()) {
        text += ' ';
        if (value.type() == OSCValue::typeString) {
            text += value.stringValue();
        } else if (value.type() == OSCValue::typeFloat) {
            std::string number = std::to_string(value.floatValue());
            number.erase(number.find_last_not_of('0') + 1);
            text += number;
        } else {
            text += std::to_string(value.intValue());
        }
    }
    return text;
}

// Outlives its wires and listeners. One thread.
class FakeTransport final : public OSCTransport {
public:
    struct Sent {
        std::string label;
        std::string target;
        std::string message;
        bool feedback = false;
        bool operator==(const Sent&) const = default;
    };

    std::set<int> busyPorts; // held by other programs
    std::set<int> ownPorts;
    std::vector<Sent> sent;
    bool keeps = true; // off: count only
    std::size_t count = 0;

    std::unique_ptr<OSCWire> makeWire(const std::string& label, const std::string& address,
                                      int port) override {
        return std::make_unique<Wire>(*this, label, address, port);
    }
    std::unique_ptr<OSCListener> makeListener(int port, OSCMessageReceiver& receiver) override {
        if (port < 1 || port > 65535 || busyPorts.contains(port) || ownPorts.contains(port)) return nullptr;
        receiver_ = &receiver;
        return std::make_unique<Listener>(*this, port);
    }
    void onTrouble(std::function<void(const OutputTrouble&)>) override {}

    // As if a packet had come in on the input that was bound last.
    void deliver(const OSCMessage& message) { receiver_->receivedOSCMessage(message); }

    std::vector<std::string> messages() const {
        std::vector<std::string> all;
        for (const Sent& one : sent) all.push_back(one.message);
        return all;
    }

private:
    class Wire final : public OSCWire {
    public:
        Wire(FakeTransport& transport, std::string label, const std::string& address, int port)
            : transport_(transport), label_(std::move(label)) {
            Wire::setTarget(address, port);
        }
        void send(const OSCMessage& message, const SendOrigin& origin) override {
            ++transport_.count;
            ++counters_.sent;
            if (transport_.keeps)
                transport_.sent.push_back({label_, target_, shown(message), origin.feedback});
        }
        OutputCounters counters() const override { return counters_; }
        void setTarget(const std::string& address, int port) override {
            target_ = address + ":" + std::to_string(port);
        }
        void setLabel(const std::string& label) override { label_ = label; }

    private:
        FakeTransport& transport_;
        std::string label_;
        std::string target_;
        OutputCounters counters_;
    };

    class Listener final : public OSCListener {
    public:
        Listener(FakeTransport& transport, int port) : transport_(transport), port_(port) {
            transport_.ownPorts.insert(port_);
        }
        ~Listener() override { transport_.ownPorts.erase(port_); }
        int port() const override { return port_; }

    private:
        FakeTransport& transport_;
        const int port_;
    };

    OSCMessageReceiver* receiver_ = nullptr;
};

class FakeFeedbackPreference final : public OSCFeedbackPreference {
public:
    std::string title;
    std::string oscFeedbackTarget() const override { return title; }
    void setOSCFeedbackTarget(const std::string& text) override { title = text; }
};

} // namespace marvo
