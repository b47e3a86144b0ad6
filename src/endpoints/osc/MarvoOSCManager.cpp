#include "endpoints/osc/MarvoOSCManager.h"

#include "platform/Log.h"
#include "platform/NetworkAddresses.h"
#include "platform/Numbers.h"

#include <algorithm>

namespace marvo {
namespace {

constexpr int highestPort = 65535;
constexpr const char* ownAddress = "127.0.0.1";

} // namespace

MarvoOSCManager::MarvoOSCManager(OSCTransport& transport, OSCFeedbackPreference& preference, Log* log)
    : transport_(transport), preference_(preference), log_(log),
      sentByGone_(std::make_shared<std::atomic<std::uint64_t>>(0)) {}

MarvoOSCManager::~MarvoOSCManager() {
    delegate_.store(nullptr);
    inputs_.clear();
}

void MarvoOSCManager::initWithDefaults() {
    addNewOSCInput();
    addNewOSCOutput();
    feedbackPort_ = nullptr;
    feedbackTitle_ = disabledTitle;
    feedbackEnabled_.store(false, std::memory_order_relaxed);
    publish();
    log(log_, "OSC ports inited by the OSC Manager!");
}

void MarvoOSCManager::receivedOSCMessage(const OSCMessage& message) {
    if (OSCMessageReceiver* delegate = delegate_.load()) delegate->receivedOSCMessage(message);
}

void MarvoOSCManager::expectOSCMessages(std::span<const std::string_view> addresses) {
    if (OSCMessageReceiver* delegate = delegate_.load()) delegate->expectOSCMessages(addresses);
}

void MarvoOSCManager::beep() const {
    if (onBeep) onBeep();
}

// The tick sees the list before or after a change, never in between.
void MarvoOSCManager::publish() {
    auto next = std::make_unique<PublishedOutputs>();
    for (const auto& port : outputs_) next->entries.push_back({port->portLabel(), port});
    next->feedback = feedbackPort_;
    published_.publish(std::move(next));
}

void MarvoOSCManager::outputsChanged(const std::string* oldLabel, const std::string* newLabel) {
    publish();
    if (loading_) return;
    // The system always holds at least one output.
    if (outputs_.empty()) {
        addNewOSCOutput();
        return;
    }
    rebuildOSCFeedbackMenu();
    if (observer_) observer_->outputsChanged(oldLabel, newLabel);
}

bool MarvoOSCManager::createNewInputForPort(int port) {
    auto input = std::make_unique<OSCInPort>(transport_, *this);
    if (!input->setPort(port)) return false;
    inputs_.push_back(std::move(input));
    return true;
}

bool MarvoOSCManager::addNewOSCInput() {
    for (int port = firstInputPort; port <= highestPort; ++port) {
        if (!hasInputOnPort(port) && createNewInputForPort(port)) return true;
    }
    return false;
}

void MarvoOSCManager::removeOSCInput(std::size_t index) {
    if (index < inputs_.size()) inputs_.erase(inputs_.begin() + static_cast<std::ptrdiff_t>(index));
}

void MarvoOSCManager::deleteAllInputs() {
    inputs_.clear();
}

std::vector<int> MarvoOSCManager::inputPorts() const {
    std::vector<int> ports;
    for (const auto& input : inputs_) ports.push_back(input->port());
    return ports;
}

bool MarvoOSCManager::hasInputOnPort(int port) const {
    return std::any_of(inputs_.begin(), inputs_.end(),
                       [port](const auto& input) { return input->port() == port; });
}

std::shared_ptr<OSCOutPort> MarvoOSCManager::createNewOutputToAddress(const std::string& address, int port) {
    return createNewOutputToAddress(address, port, getUniqueOutputLabel());
}

std::shared_ptr<OSCOutPort> MarvoOSCManager::createNewOutputToAddress(const std::string& address, int port,
                                                                      const std::string& label) {
    const auto created = makeOutput(address, port, label);
    outputs_.push_back(created);
    outputsChanged();
    return created;
}

// What it has sent counts on when the last who holds it lets it go.
std::shared_ptr<OSCOutPort> MarvoOSCManager::makeOutput(const std::string& address, int port,
                                                        const std::string& label) {
    auto output = std::make_unique<OSCOutPort>(transport_, address, port, label);
    return {output.release(), [gone = sentByGone_](OSCOutPort* last) {
                const std::unique_ptr<OSCOutPort> owned(last);
                gone->fetch_add(owned->finalCounters().sent, std::memory_order_relaxed);
            }};
}

void MarvoOSCManager::noteRemoved(const std::shared_ptr<OSCOutPort>& port) {
    std::erase_if(removed_, [](const auto& known) { return known.expired(); });
    removed_.push_back(port);
}

void MarvoOSCManager::addNewOSCOutput() {
    int port = firstOutputPort;
    while (port < highestPort && hasInputOnPort(port)) ++port;
    createNewOutputToAddress(ownAddress, port);
}

void MarvoOSCManager::removeOSCOutput(std::size_t index) {
    if (outputs_.size() < 2 || index >= outputs_.size()) return;
    noteRemoved(outputs_[index]);
    outputs_.erase(outputs_.begin() + static_cast<std::ptrdiff_t>(index));
    outputsChanged();
}

void MarvoOSCManager::deleteAllOutputs() {
    for (const auto& port : outputs_) noteRemoved(port);
    outputs_.clear();
    outputsChanged();
}

std::string MarvoOSCManager::getUniqueOutputLabel() const {
    for (int number = 1;; ++number) {
        std::string label = "Marvo OSC Out " + std::to_string(number);
        if (!findOutputWithLabel(label)) return label;
    }
}

std::shared_ptr<OSCOutPort> MarvoOSCManager::findOutputWithLabel(std::string_view label) const {
    for (const auto& port : outputs_) {
        if (port->portLabel() == label) return port;
    }
    return nullptr;
}

std::vector<std::string> MarvoOSCManager::outPortLabelArray() const {
    std::vector<std::string> labels;
    for (const auto& port : outputs_) labels.push_back(port->portLabel());
    return labels;
}

bool MarvoOSCManager::editInputPort(std::size_t index, std::string_view text) {
    const std::int32_t asked = parseLeadingInt(text);
    OSCInPort& input = *inputs_.at(index);
    if (asked != input.port()) input.setPort(asked & 0xffff);
    if (input.port() == asked) return true;
    beep();
    return false;
}

bool MarvoOSCManager::editOutputAddress(std::size_t index, const std::string& text) {
    outputs_.at(index)->setAddressString(text);
    if (observer_) observer_->outputsChangedManually();
    return true;
}

bool MarvoOSCManager::editOutputPort(std::size_t index, std::string_view text) {
    const std::int32_t asked = parseLeadingInt(text);
    if (hasInputOnPort(asked)) {
        beep();
        return false;
    }
    OSCOutPort& output = *outputs_.at(index);
    if (asked != output.port()) {
        output.setPort(asked);
        if (observer_) observer_->outputsChangedManually();
    }
    return true;
}

bool MarvoOSCManager::editOutputLabel(std::size_t index, const std::string& text) {
    OSCOutPort& output = *outputs_.at(index);
    const std::string old = output.portLabel();
    if (text == old) return true;
    if (findOutputWithLabel(text)) {
        beep();
        return false;
    }
    output.setPortLabel(text);
    outputsChanged(&old, &text);
    if (observer_) observer_->outputsChangedManually();
    rebuildOSCFeedbackMenu();
    return true;
}

void MarvoOSCManager::rebuildOSCFeedbackMenu() {
    const std::string saved = preference_.oscFeedbackTarget();
    const bool present = saved == disabledTitle || findOutputWithLabel(saved);
    // A title that is not there selects the first item, but is not forgotten: its output may return.
    feedbackPort_ = present ? findOutputWithLabel(saved) : nullptr;
    feedbackTitle_ = present ? saved : std::string(disabledTitle);
    feedbackEnabled_.store(feedbackPort_ != nullptr, std::memory_order_relaxed);
    publish();
}

void MarvoOSCManager::selectOSCFeedbackTarget(const std::string& title) {
    feedbackPort_ = findOutputWithLabel(title);
    feedbackTitle_ = title;
    feedbackEnabled_.store(feedbackPort_ != nullptr, std::memory_order_relaxed);
    preference_.setOSCFeedbackTarget(title);
    publish();
}

void MarvoOSCManager::sendOSCFeedback(const OSCMessage& message) const {
    const auto outputs = published_.read();
    if (outputs->feedback) outputs->feedback->sendThisMessage(message, SendOrigin{nullptr, nullptr, 0, true});
}

bool MarvoOSCManager::sendToOutput(std::string_view label, const OSCMessage& message,
                                   const SendOrigin& origin) const {
    const auto outputs = published_.read();
    for (const auto& entry : outputs->entries) {
        if (entry.label != label) continue;
        entry.port->sendThisMessage(message, origin);
        return true;
    }
    return false;
}

bool MarvoOSCManager::hasOutput(std::string_view label) const {
    const auto outputs = published_.read();
    return std::any_of(outputs->entries.begin(), outputs->entries.end(),
                       [label](const auto& entry) { return entry.label == label; });
}

std::optional<std::string> MarvoOSCManager::oscPortNameForHostInfo(const std::optional<std::string>& address,
                                                                   int port,
                                                                   const std::string& fallbackName) {
    std::string host = address.value_or("");
    if (!address) {
        const std::vector<std::string> own = hostIPv4Addresses();
        if (!own.empty()) host = own.front();
    }
    for (const auto& output : outputs_) {
        if (output->port() == port && output->addressString() == host) return output->portLabel();
    }
    if (findOutputWithLabel(fallbackName)) return fallbackName;
    createNewOutputToAddress(host, port, fallbackName);
    return std::nullopt;
}

OSCPortsSnapshot MarvoOSCManager::createSnapshot() const {
    OSCPortsSnapshot snapshot;
    for (const auto& input : inputs_) snapshot.inputs.push_back({input->port()});
    for (const auto& output : outputs_) {
        snapshot.outputs.push_back({output->addressString(), output->port(), output->portLabel()});
    }
    snapshot.feedback = feedbackTitle_;
    return snapshot;
}

void MarvoOSCManager::loadSnapshot(const OSCPortsSnapshot* snapshot) {
    if (!snapshot) return;
    loading_ = true;
    deleteAllInputs();
    deleteAllOutputs();
    for (const auto& input : snapshot->inputs) createNewInputForPort(input.port);
    for (const auto& output : snapshot->outputs)
        createNewOutputToAddress(output.address, output.port, output.label);
    loading_ = false;
    rebuildOSCFeedbackMenu();
    if (snapshot->feedback &&
        (*snapshot->feedback == disabledTitle || findOutputWithLabel(*snapshot->feedback))) {
        selectOSCFeedbackTarget(*snapshot->feedback);
    }
    if (outputs_.empty()) addNewOSCOutput();
    if (observer_) observer_->outputsChanged(nullptr, nullptr);
}

std::uint64_t MarvoOSCManager::messagesSent() const {
    std::uint64_t sent = sentByGone_->load(std::memory_order_relaxed);
    for (const auto& port : outputs_) sent += port->counters().sent;
    for (const auto& known : removed_) {
        if (const auto port = known.lock()) sent += port->counters().sent;
    }
    return sent;
}

} // namespace marvo
