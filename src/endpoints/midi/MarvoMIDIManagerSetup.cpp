// What the manager keeps of the machine's set-up, and what of it is saved.
#include "endpoints/midi/MarvoMIDIManager.h"

#include <algorithm>

namespace marvo {
namespace {

void add(MIDIPortCounters& sum, const MIDIPortCounters& one) {
    sum.sent += one.sent;
    sum.dropped += one.dropped;
}

} // namespace

void MarvoMIDIManager::loadMIDIInputSources(const MIDIEndpoints& endpoints) {
    std::vector<std::shared_ptr<MIDISourceNode>> sources;
    for (const MIDIEndpoint& endpoint : endpoints.sources) {
        const auto known = std::find_if(sourceArray_.begin(), sourceArray_.end(), [&](const auto& node) {
            return node->id() == endpoint.id && node->name() == endpoint.name;
        });
        if (known != sourceArray_.end()) {
            sources.push_back(*known);
            continue;
        }
        auto node = std::make_shared<MIDISourceNode>(endpoint.name, endpoint.id, delivery_);
        auto input = transport_.openSource(endpoint, node->receiver());
        if (!input) continue; // gone again meanwhile
        node->setInput(std::move(input));
        sources.push_back(std::move(node));
    }
    sourceArray_ = std::move(sources);
}

void MarvoMIDIManager::loadMIDIOutputDestinations(const MIDIEndpoints& endpoints) {
    Outputs destinations;
    for (const MIDIEndpoint& endpoint : endpoints.destinations) {
        const auto known = std::find_if(destArray_.begin(), destArray_.end(), [&](const auto& node) {
            return !node->id().empty() && node->id() == endpoint.id && node->name() == endpoint.name;
        });
        if (known != destArray_.end()) {
            destinations.push_back(*known);
        } else if (auto output = transport_.openDestination(endpoint)) {
            destinations.push_back(
                std::make_shared<MIDIOutputNode>(endpoint.name, endpoint.id, std::move(output)));
        }
    }
    letGo(std::move(destArray_));
    destArray_ = std::move(destinations);
}

void MarvoMIDIManager::letGo(Outputs nodes) {
    leaving_.insert(leaving_.end(), nodes.begin(), nodes.end());
}

void MarvoMIDIManager::publish() {
    auto shown = std::make_unique<Shown>();
    shown->outputs = midiOutNodes_;
    shown->destinations = destArray_;
    shown->feedback = feedbackNodes_;
    shown_.publish(std::move(shown));
}

void MarvoMIDIManager::outputsChanged() {
    center_.post(notifications_.midiOutputsChanged);
    // Tracks have chosen anew: what nobody holds any more closes now. Nodes that are still in use stand here
    // too and merely lose their place in this list.
    Outputs held;
    for (auto& node : leaving_) {
        const bool inUse =
            std::find(midiOutNodes_.begin(), midiOutNodes_.end(), node) != midiOutNodes_.end() ||
            std::find(destArray_.begin(), destArray_.end(), node) != destArray_.end();
        if (inUse) continue;
        if (node.use_count() > 1) {
            held.push_back(std::move(node));
        } else {
            add(ofGone_, node->output().counters());
        }
    }
    leaving_ = std::move(held);
}

MIDIPortCounters MarvoMIDIManager::messages() const {
    std::set<const MIDIOutputNode*> nodes;
    for (const Outputs* list : {&midiOutNodes_, &destArray_, &leaving_}) {
        for (const auto& node : *list) nodes.insert(node.get());
    }
    MIDIPortCounters sum = ofGone_;
    for (const MIDIOutputNode* node : nodes) add(sum, node->output().counters());
    const std::lock_guard hold(unlistedLock_);
    for (const auto& entry : unlisted_) add(sum, entry.second->output().counters());
    return sum;
}

void MarvoMIDIManager::inputsTableChanged() const {
    if (onInputsTableChanged) onInputsTableChanged();
}

void MarvoMIDIManager::outputsTableChanged() const {
    if (onOutputsTableChanged) onOutputsTableChanged();
}

PropertyList MarvoMIDIManager::createSnapshot() const {
    PropertyList snapshot = PropertyList::dictionary();
    for (const auto& source : sourceArray_) snapshot.set(source->name(), source->enabled());
    return snapshot;
}

void MarvoMIDIManager::loadSnapshot(const PropertyList& snapshot) {
    for (const auto& source : sourceArray_) {
        const PropertyList* state = snapshot.find(source->name());
        if (state && state->isNumber()) source->setEnabled(state->boolOr(true));
    }
}

void MarvoMIDIManager::saveInto(PropertyList& preferences) const {
    preferences.set("midiInputs", createSnapshot());
    PropertyList outputs = PropertyList::array();
    for (const auto& node : midiOutNodes_) outputs.push_back(node->name());
    preferences.set("midiOutputs", std::move(outputs));
    PropertyList states = PropertyList::dictionary();
    for (const auto& [name, enabled] : cachedMIDIStates_) states.set(name, enabled);
    preferences.set("cachedMIDIStates", std::move(states));
    PropertyList feedback = PropertyList::dictionary();
    for (const std::string& name : feedbackNodes_) feedback.set(name, name);
    preferences.set("feedbackNodes", std::move(feedback));
}

void MarvoMIDIManager::load(const PropertyList& preferences) {
    if (const PropertyList* inputs = preferences.find("midiInputs")) loadSnapshot(*inputs);
    if (const PropertyList* states = preferences.find("cachedMIDIStates")) {
        cachedMIDIStates_.clear();
        for (const PropertyList::Entry& entry : states->entries()) {
            if (entry.value.isNumber()) {
                cachedMIDIStates_[std::string(entry.key.view())] = entry.value.boolOr(true);
            }
        }
    }
    feedbackNodes_.clear();
    if (const PropertyList* feedback = preferences.find("feedbackNodes")) {
        for (const PropertyList::Entry& entry : feedback->entries()) {
            feedbackNodes_.insert(std::string(entry.key.view()));
        }
    }
    std::vector<std::string> names;
    if (const PropertyList* outputs = preferences.find("midiOutputs")) {
        for (const PropertyList& name : outputs->elements()) {
            if (!name.stringOr("").empty()) names.emplace_back(name.stringOr(""));
        }
    }
    createOutputs(names);
}

} // namespace marvo
