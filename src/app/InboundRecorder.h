// What is recorded of what comes in: asks the filters, joins the halves of high-resolution values, and hands
// the result to the composition that records.
//
// Called by the input threads; arming belongs to the main thread. The state of a pair that is being joined
// lives from one delivery to the next.
#pragma once

#include "composition/RecordingTarget.h"
#include "controls/ControlRecord.h"
#include "endpoints/artnet/ArtNetTypes.h"
#include "endpoints/filters/MarvoArtNetFilterManager.h"
#include "endpoints/filters/MarvoMIDIFilterManager.h"
#include "endpoints/filters/MarvoOSCFilterManager.h"
#include "endpoints/midi/MIDIMessage.h"
#include "endpoints/osc/OSCMessage.h"
#include "platform/Relaxed.h"
#include "platform/SerialQueue.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <utility>

namespace marvo {

class MarvoTimelineController;

class InboundRecorder {
public:
    // isAssigned: whether a learned control has that channel and number; those are left alone.
    InboundRecorder(SerialQueue& compQueue, std::function<bool(MidiAssignment)> isAssigned)
        : compQueue_(compQueue), isAssigned_(std::move(isAssigned)) {}

    MarvoOSCFilterManager oscFilters;
    MarvoMIDIFilterManager midiFilters;
    MarvoArtNetFilterManager artNetFilters;

    void setRecordDelegate(MarvoTimelineController& composition);
    void startRecord();
    void stopRecord() { needsRecord_ = false; }
    // Of the delegate, before it goes.
    void forget(const MarvoTimelineController& composition);
    bool isArmed() const { return needsRecord_ && hasDelegate_; }

    // True when the message is recorded or swallowed, and so routed no further.
    bool takesOSC(const OSCMessage& message);

    // One delivery: first with the messages in order of their first data byte, then each of them.
    void beginDelivery();
    // False when the rest of the delivery is lost.
    bool takeMIDI(const MIDIMessage& message);

    void takeDMX(std::int64_t universe, std::span<const DMXPair> changes);

private:
    // What the tables and the controls say of a message.
    struct Known {
        std::string key;
        std::optional<FilterEntry> entry;
        bool isAssigned = false;
        std::string coarseKey; // of the coarse half, where the message may be a fine one
        std::optional<FilterEntry> coarse;
    };
    Known lookUp(const MIDIMessage& message) const;
    bool join(const MIDIMessage& message, const Known& known);
    void add(const RecordedMIDI& data);

    SerialQueue& compQueue_;
    std::function<bool(MidiAssignment)> isAssigned_;
    Relaxed<bool> needsRecord_ = false;
    Relaxed<bool> hasDelegate_ = false;

    // Guarded by the composition queue.
    MarvoTimelineController* delegate_ = nullptr;
    Frame recordTime_;
    RecordedMIDI lastRecordedKeyframe_;
    std::map<std::string, int> msbCache_;
};

} // namespace marvo
