#include "controls/MidiSubscriptions.h"

#include <algorithm>

namespace marvo {

bool MidiSubscriptions::erase(Entries& entries, const MidiReceiver& receiver) {
    return std::erase_if(entries, [&](const std::shared_ptr<Subscriber>& entry) {
               if (entry->receiver != &receiver) return false;
               entry->wanted = false;
               return true;
           }) != 0;
}

void MidiSubscriptions::addObserver(MidiReceiver& receiver, MidiAssignment assignment) {
    const std::lock_guard lock(lock_);
    Entries& listening = receivers_[key(assignment)];
    const bool known = std::any_of(listening.begin(), listening.end(),
                                   [&](const auto& entry) { return entry->receiver == &receiver; });
    if (!known) {
        auto entry = std::make_shared<Subscriber>();
        entry->receiver = &receiver;
        entry->actsOnSender = receiver.midiActsOnSender();
        listening.push_back(std::move(entry));
    }
    observers_.insert(key(assignment));
}

void MidiSubscriptions::removeObserver(MidiReceiver& receiver, MidiAssignment assignment) {
    const std::lock_guard lock(lock_);
    observers_.erase(key(assignment));
    const auto found = receivers_.find(key(assignment));
    if (found == receivers_.end()) return;
    erase(found->second, receiver);
    if (found->second.empty()) receivers_.erase(found);
}

void MidiSubscriptions::removeObserver(MidiReceiver& receiver) {
    const std::lock_guard lock(lock_);
    for (auto entry = receivers_.begin(); entry != receivers_.end();) {
        if (!erase(entry->second, receiver) || !entry->second.empty()) {
            ++entry;
            continue;
        }
        observers_.erase(entry->first);
        entry = receivers_.erase(entry);
    }
}

bool MidiSubscriptions::isAssignedMIDI(MidiAssignment assignment) const {
    const std::lock_guard lock(lock_);
    return observers_.contains(key(assignment));
}

MidiSubscriptions::Subscribers MidiSubscriptions::subscribersOf(MidiAssignment assignment) const {
    const std::lock_guard lock(lock_);
    const auto found = receivers_.find(key(assignment));
    if (found == receivers_.end()) return {};
    return Subscribers(found->second.begin(), found->second.end());
}

void MidiSubscriptions::deliver(MidiAssignment assignment, int status, int data2) {
    for (const auto& subscriber : subscribersOf(assignment)) {
        if (subscriber->wanted) subscriber->receiver->midiMessageReceived(status, data2);
    }
}

} // namespace marvo
