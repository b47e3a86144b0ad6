#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <utility>
#include <vector>

#include "controls/ControlRecord.h"
#include "controls/MidiReceiver.h"
#include "platform/Relaxed.h"

namespace marvo {

// Who hears which MIDI channel and control, and which of them count as taken by a control.
//
// Thread-safe: every call. A delivery holds no lock while a receiver runs, so receivers may subscribe and
// remove themselves or others; one removed during a delivery hears no more of it. A receiver is removed
// before it is destroyed, and destroyed only when the delivering thread has let go of it.
class MidiSubscriptions {
public:
    struct Subscriber {
        MidiReceiver* receiver;
        bool actsOnSender;
        Relaxed<bool> wanted = true; // false once it is removed
    };
    using Subscribers = std::vector<std::shared_ptr<const Subscriber>>;

    // Subscribing the same receiver twice delivers once.
    void addObserver(MidiReceiver& receiver, MidiAssignment assignment);
    // Frees the assignment for recording even if another receiver still listens to it, on purpose: operators
    // share controls, and what they let go they want to record.
    void removeObserver(MidiReceiver& receiver, MidiAssignment assignment);
    // Removes the receiver everywhere. What nobody listens to any more no longer counts as taken.
    void removeObserver(MidiReceiver& receiver);

    // Whether recording must leave this channel and control alone.
    bool isAssignedMIDI(MidiAssignment assignment) const;

    // In the order of their subscription. Whoever calls a receiver looks at `wanted` first, under the
    // exclusion that keeps the receiver alive.
    Subscribers subscribersOf(MidiAssignment assignment) const;
    // Calls every receiver on the calling thread.
    void deliver(MidiAssignment assignment, int status, int data2);

private:
    using Key = std::pair<std::int64_t, std::int64_t>;
    using Entries = std::vector<std::shared_ptr<Subscriber>>;
    static Key key(MidiAssignment assignment) { return {assignment.midiChannel, assignment.midiControl}; }
    static bool erase(Entries& entries, const MidiReceiver& receiver);

    mutable std::mutex lock_;
    std::map<Key, Entries> receivers_;
    std::set<Key> observers_;
};

} // namespace marvo
