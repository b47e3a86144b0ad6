#include "endpoints/midi/MarvoMIDIManager.h"

#include "platform/Text.h"

#include <algorithm>

namespace marvo {

namespace {

template <class Nodes>
auto nodeNamed(const Nodes& nodes, std::string_view name) {
    const auto found =
        std::find_if(nodes.begin(), nodes.end(), [name](const auto& node) { return node->name() == name; });
    return found == nodes.end() ? nullptr : *found;
}

template <class Nodes>
std::vector<std::string> namesOf(const Nodes& nodes) {
    std::vector<std::string> names;
    names.reserve(nodes.size());
    for (const auto& node : nodes) names.push_back(node->name());
    return names;
}

void sortNaturally(std::vector<std::string>& names) {
    std::stable_sort(names.begin(), names.end(), [](const std::string& a, const std::string& b) {
        return localizedStandardCompare(a, b) < 0;
    });
}

std::string numberedName(std::string_view name, int number) {
    return std::string(name) + " " + std::to_string(number);
}

} // namespace

MarvoMIDIManager::MarvoMIDIManager(MIDITransport& transport, MainThread& mainThread,
                                   NotificationCenter& center, const Notifications& notifications, Log* log)
    : transport_(transport), mainThread_(mainThread), center_(center), notifications_(notifications),
      log_(log), sendMIDIFeedbackName_(center.name<MIDIMessage>("sendMIDIFeedback")),
      setupSignal_(mainThread, [this] { setupChanged(); }),
      inputsTableSignal_(mainThread, [this] { inputsTableChanged(); }) {}

MarvoMIDIManager::~MarvoMIDIManager() {
    transport_.onSetupChanged(nullptr);
    feedbackObservation_.reset();
    delivery_->setReceiver(nullptr);
}

void MarvoMIDIManager::start() {
    createVirtualNodes();
    transport_.onSetupChanged([this] { setupSignal_.post(); });
    const MIDIEndpoints endpoints = transport_.endpoints();
    loadMIDIInputSources(endpoints);
    loadMIDIOutputDestinations(endpoints);
    publish();
}

void MarvoMIDIManager::setDelegate(MIDIMessageReceiver* delegate) {
    delegate_ = delegate;
    delivery_->setReceiver(delegate);
}

void MarvoMIDIManager::createVirtualNodes() {
    letGo(std::move(midiOutNodes_));
    midiOutNodes_.clear();
    cachedMIDIStates_.clear();
    for (const int number : {1, 2}) {
        if (auto node = makeSender(numberedName(sendingNodeName, number))) {
            midiOutNodes_.push_back(std::move(node));
        } else {
            log(log_, "cannot create MIDI output");
        }
    }
    virtualSource_ = std::make_shared<MIDISourceNode>(std::string(receivingNodeName), "", delivery_);
    auto input = transport_.makeVirtualReceiver(virtualSource_->name(), virtualSource_->receiver());
    if (!input) log(log_, "cannot create MIDI input");
    virtualSource_->setInput(std::move(input));
    feedbackNodes_.clear();
    publish();
    feedbackObservation_ = center_.observe(sendMIDIFeedbackName_,
                                           [this](const MIDIMessage& message) { sendMIDIFeedback(message); });
}

std::shared_ptr<MIDIOutputNode> MarvoMIDIManager::makeSender(const std::string& name) const {
    auto output = transport_.makeVirtualSender(name);
    return output ? std::make_shared<MIDIOutputNode>(name, "", std::move(output)) : nullptr;
}

void MarvoMIDIManager::createOutputs(const std::vector<std::string>& names) {
    Outputs before = std::move(midiOutNodes_);
    midiOutNodes_.clear();
    std::erase_if(destArray_, [&](const auto& node) {
        return std::find(before.begin(), before.end(), node) != before.end();
    });
    for (const std::string& name : names) {
        // A port that stays published keeps what others have connected to it; only its notes end.
        const auto kept = std::find_if(before.begin(), before.end(),
                                       [&](const auto& node) { return node->name() == name; });
        std::shared_ptr<MIDIOutputNode> node;
        if (kept != before.end()) {
            node = *kept;
            before.erase(kept);
            node->output().silence();
        } else {
            node = makeSender(name);
        }
        if (!node) {
            log(log_, "cannot create MIDI output");
            continue;
        }
        midiOutNodes_.push_back(node);
        destArray_.push_back(std::move(node));
    }
    letGo(std::move(before));
    publish();
    applyCachedMIDIStates();
    outputsChanged();
    outputsTableChanged();
}

void MarvoMIDIManager::setupChanged() {
    log(log_, "MIDI setupChanged");
    destArray_.insert(destArray_.end(), midiOutNodes_.begin(), midiOutNodes_.end());
    midiSnapshot_ = createSnapshot();
    const MIDIEndpoints endpoints = transport_.endpoints();
    loadMIDIInputSources(endpoints);
    loadMIDIOutputDestinations(endpoints);
    publish();
    loadSnapshot(midiSnapshot_);
    if (delegate_) {
        delegate_->setupChanged();
        center_.post(notifications_.midiSetupChanged, sourceNodeNameArray());
    }
    applyCachedMIDIStates();
    inputsTableSignal_.post();
    outputsChanged();
}

void MarvoMIDIManager::createNewOutput() {
    int number = 1;
    while (!nodeNameAvailable(numberedName(sendingNodeName, number))) ++number;
    auto node = makeSender(numberedName(sendingNodeName, number));
    if (!node) {
        log(log_, "cannot create MIDI output");
        return;
    }
    midiOutNodes_.push_back(node);
    destArray_.push_back(std::move(node));
    publish();
    outputsChanged();
    outputsTableChanged();
}

void MarvoMIDIManager::removeOutput(std::optional<std::size_t> selectedRow) {
    if (!selectedRow || *selectedRow >= midiOutNodes_.size() || midiOutNodes_.size() < 2) {
        if (onBeep) onBeep();
        return;
    }
    const auto row = midiOutNodes_.begin() + static_cast<std::ptrdiff_t>(*selectedRow);
    letGo({*row});
    midiOutNodes_.erase(row);
    publish();
    outputsChanged();
    outputsTableChanged();
}

bool MarvoMIDIManager::nodeNameAvailable(std::string_view name) const {
    return nodeNamed(midiOutNodes_, name) == nullptr;
}

std::vector<std::string> MarvoMIDIManager::midiOutNodeNames() const {
    return namesOf(midiOutNodes_);
}

std::vector<std::string> MarvoMIDIManager::detectedMidiOutNodeNames() const {
    std::vector<std::string> names = namesOf(destArray_);
    sortNaturally(names);
    return names;
}

std::shared_ptr<MarvoMIDINode> MarvoMIDIManager::findDestNodeNamed(std::string_view name) const {
    {
        const auto shown = shown_.read();
        if (auto node = nodeNamed(shown->outputs, name)) {
            node->output().prepare();
            return node;
        }
    }
    return findRealDestNodeNamed(name);
}

std::shared_ptr<MarvoMIDINode> MarvoMIDIManager::findRealDestNodeNamed(std::string_view name) const {
    {
        const auto shown = shown_.read();
        if (auto node = nodeNamed(shown->destinations, name)) {
            node->output().prepare();
            return node;
        }
    }
    return transport_.hasEveryDestination() ? unlistedNode(name) : nullptr;
}

std::shared_ptr<MarvoMIDINode> MarvoMIDIManager::unlistedNode(std::string_view name) const {
    const std::lock_guard hold(unlistedLock_);
    const auto known = unlisted_.find(name);
    if (known != unlisted_.end()) return known->second;
    auto output = transport_.openDestination({std::string(name), std::string(name)});
    if (!output) return nullptr;
    auto node = std::make_shared<MIDIOutputNode>(std::string(name), std::string(name), std::move(output));
    unlisted_.emplace(name, node);
    return node;
}

std::vector<std::string> MarvoMIDIManager::sourceNodeNameArray() const {
    return namesOf(sourceArray_);
}

std::shared_ptr<MIDISourceNode> MarvoMIDIManager::findSourceNodeNamed(std::string_view name) const {
    return nodeNamed(sourceArray_, name);
}

std::vector<std::string> MarvoMIDIManager::sortedSourceNames() const {
    std::vector<std::string> names = sourceNodeNameArray();
    sortNaturally(names);
    return names;
}

std::vector<MarvoMIDIManager::InputRow> MarvoMIDIManager::inputRows() const {
    std::vector<InputRow> rows;
    for (std::string& name : sortedSourceNames()) {
        const bool enabled = findSourceNodeNamed(name)->enabled();
        const bool feedback = feedbackNodes_.contains(name);
        rows.push_back({std::move(name), enabled, feedback});
    }
    return rows;
}

void MarvoMIDIManager::toggleMidiPort(std::size_t row) {
    const std::vector<std::string> names = sortedSourceNames();
    if (row >= names.size()) return;
    const auto source = findSourceNodeNamed(names[row]);
    source->setEnabled(!source->enabled());
    cachedMIDIStates_[names[row]] = source->enabled();
    inputsTableChanged();
}

void MarvoMIDIManager::toggleMidiFeedback(std::size_t row) {
    const std::vector<std::string> names = sortedSourceNames();
    if (row >= names.size()) return;
    if (feedbackNodes_.erase(names[row]) == 0) feedbackNodes_.insert(names[row]);
    publish();
    inputsTableChanged();
}

void MarvoMIDIManager::needsCheckOutputSelected(const MarvoMIDINode& node) {
    const auto source = findSourceNodeNamed(node.name());
    if (!source) return;
    source->setEnabled(false);
    inputsTableChanged();
}

void MarvoMIDIManager::applyCachedMIDIStates() {
    for (const auto& source : sourceArray_) {
        const auto cached = cachedMIDIStates_.find(source->name());
        if (cached != cachedMIDIStates_.end()) source->setEnabled(cached->second);
    }
}

void MarvoMIDIManager::sendMIDIFeedback(const MIDIMessage& message) const {
    SendOrigin origin;
    origin.feedback = true;
    if (transport_.hasEveryDestination()) {
        std::set<std::string> names;
        {
            const auto shown = shown_.read();
            names = shown->feedback;
        }
        for (const std::string& name : names) {
            if (const auto node = findRealDestNodeNamed(name)) node->sendMsg(message, origin);
        }
        return;
    }
    const auto shown = shown_.read();
    for (const std::string& name : shown->feedback) {
        for (const auto& node : shown->destinations) {
            if (node->name() != name) continue;
            node->output().prepare();
            node->sendMsg(message, origin);
            break;
        }
    }
}

void MarvoMIDIManager::silence() const {
    {
        const auto shown = shown_.read();
        for (const auto& node : shown->outputs) node->output().silence();
        for (const auto& node : shown->destinations) node->output().silence();
    }
    if (!transport_.hasEveryDestination()) return;
    const std::lock_guard hold(unlistedLock_);
    for (const auto& entry : unlisted_) entry.second->output().silence();
}

} // namespace marvo
