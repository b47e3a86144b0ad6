// The OSC ports of the system: inputs, labelled outputs, and the one output that gets feedback.
//
// Main thread, except where marked. The tick looks outputs up in a published list that is replaced whole.
#pragma once

#include "endpoints/osc/OSCInPort.h"
#include "endpoints/osc/OSCOutPort.h"
#include "endpoints/osc/OSCTransport.h"
#include "platform/Published.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace marvo {

struct OSCPortsSnapshot {
    struct Input {
        int port = 0;
    };
    struct Output {
        std::string address;
        int port = 0;
        std::string label;
    };
    std::vector<Input> inputs;
    std::vector<Output> outputs;
    std::optional<std::string> feedback;
};

// Told of changes of the outputs, on the main thread.
class OSCOutputsObserver {
public:
    virtual ~OSCOutputsObserver() = default;
    // Both labels for a rename, null otherwise.
    virtual void outputsChanged(const std::string* oldLabel, const std::string* newLabel) = 0;
    virtual void outputsChangedManually() = 0;
};

// The preference "oscFeedbackTarget".
class OSCFeedbackPreference {
public:
    virtual ~OSCFeedbackPreference() = default;
    virtual std::string oscFeedbackTarget() const = 0;
    virtual void setOSCFeedbackTarget(const std::string& title) = 0;
};

class Log;

class MarvoOSCManager final : public OSCMessageReceiver {
public:
    static constexpr int firstInputPort = 1234;
    static constexpr int firstOutputPort = 8000;
    static constexpr std::string_view disabledTitle = "Disabled";

    // log: may be null. All three outlive it.
    MarvoOSCManager(OSCTransport& transport, OSCFeedbackPreference& preference, Log* log = nullptr);
    ~MarvoOSCManager() override;

    // One input, one output, feedback off.
    void initWithDefaults();
    void setDelegate(OSCMessageReceiver* delegate) { delegate_.store(delegate); }
    void setOutputsObserver(OSCOutputsObserver* observer) { observer_ = observer; }
    std::function<void()> onBeep;

    bool createNewInputForPort(int port);
    // The first free port from 1234 upward; false when there is none.
    bool addNewOSCInput();
    void removeOSCInput(std::size_t index);
    void deleteAllInputs();
    std::vector<int> inputPorts() const;
    bool hasInputOnPort(int port) const;

    std::shared_ptr<OSCOutPort> createNewOutputToAddress(const std::string& address, int port);
    std::shared_ptr<OSCOutPort> createNewOutputToAddress(const std::string& address, int port,
                                                         const std::string& label);
    // To 127.0.0.1, the first port from 8000 upward that no input uses.
    void addNewOSCOutput();
    // The last output stays.
    void removeOSCOutput(std::size_t index);
    void deleteAllOutputs();
    std::string getUniqueOutputLabel() const;
    std::shared_ptr<OSCOutPort> findOutputWithLabel(std::string_view label) const;
    std::shared_ptr<OSCOutPort> firstOutput() const { return outputs_.empty() ? nullptr : outputs_.front(); }
    const std::vector<std::shared_ptr<OSCOutPort>>& outPortArray() const { return outputs_; }
    std::vector<std::string> outPortLabelArray() const;

    // In-place edits of the port tables; whether the edit stands.
    bool editInputPort(std::size_t index, std::string_view text);
    bool editOutputAddress(std::size_t index, const std::string& text);
    bool editOutputPort(std::size_t index, std::string_view text);
    bool editOutputLabel(std::size_t index, const std::string& text);

    // What stands in the feedback pop-up besides "Disabled" are the labels, in order.
    const std::string& selectedFeedbackTitle() const { return feedbackTitle_; }
    void rebuildOSCFeedbackMenu();
    void selectOSCFeedbackTarget(const std::string& title);
    // Thread-safe and realtime-safe, both.
    bool oscFeedbackEnabled() const { return feedbackEnabled_.load(std::memory_order_relaxed); }
    void sendOSCFeedback(const OSCMessage& message) const;

    // Sends to the output of that label, if there is one. Thread-safe, realtime-safe.
    bool sendToOutput(std::string_view label, const OSCMessage& message, const SendOrigin& origin) const;
    // Whether an output bears the label. Thread-safe, realtime-safe.
    bool hasOutput(std::string_view label) const;

    // The label of the output to a discovered host; none when one was made just now.
    std::optional<std::string> oscPortNameForHostInfo(const std::optional<std::string>& address, int port,
                                                      const std::string& fallbackName);

    OSCPortsSnapshot createSnapshot() const;
    // Null does nothing.
    void loadSnapshot(const OSCPortsSnapshot* snapshot);

    // Through all outputs, removed ones included, also those that a track still holds and sends through.
    std::uint64_t messagesSent() const;

    void receivedOSCMessage(const OSCMessage& message) override;
    void expectOSCMessages(std::span<const std::string_view> addresses) override;

private:
    struct PublishedOutputs {
        struct Entry {
            std::string label;
            std::shared_ptr<OSCOutPort> port;
        };
        std::vector<Entry> entries;
        std::shared_ptr<OSCOutPort> feedback;
    };

    std::shared_ptr<OSCOutPort> makeOutput(const std::string& address, int port, const std::string& label);
    void noteRemoved(const std::shared_ptr<OSCOutPort>& port);
    void publish();
    void outputsChanged(const std::string* oldLabel = nullptr, const std::string* newLabel = nullptr);
    void beep() const;

    OSCTransport& transport_;
    OSCFeedbackPreference& preference_;
    Log* log_;
    std::atomic<OSCMessageReceiver*> delegate_{nullptr};
    OSCOutputsObserver* observer_ = nullptr;
    std::vector<std::unique_ptr<OSCInPort>> inputs_;
    std::vector<std::shared_ptr<OSCOutPort>> outputs_;
    std::shared_ptr<OSCOutPort> feedbackPort_;
    std::string feedbackTitle_{disabledTitle};
    std::atomic<bool> feedbackEnabled_{false};
    Published<PublishedOutputs> published_;
    std::vector<std::weak_ptr<OSCOutPort>> removed_;
    // By outputs that have gone. Shared with those that live on: one may outlive the manager.
    std::shared_ptr<std::atomic<std::uint64_t>> sentByGone_;
    bool loading_ = false;
};

} // namespace marvo
