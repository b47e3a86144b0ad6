// Where received messages go, shared by all sources of one manager.
//
// Sources come and go while messages are on their way; this stays until the last of them has gone.
#pragma once

#include "endpoints/midi/MIDIMessageReceiver.h"

#include <mutex>

namespace marvo {

class MIDIDelivery {
public:
    // Waits for a delivery that is under way. Null takes nothing.
    void setReceiver(MIDIMessageReceiver* receiver) {
        const std::lock_guard hold(lock_);
        receiver_ = receiver;
    }

    void deliver(std::span<const MIDIMessage> messages, const std::string& source, MonotonicTime arrival) {
        const std::lock_guard hold(lock_);
        if (receiver_) receiver_->receivedMIDI(messages, source, arrival);
    }

    void deliverSysex(std::span<const std::uint8_t> payload, const std::string& source,
                      MonotonicTime arrival) {
        const std::lock_guard hold(lock_);
        if (receiver_) receiver_->receivedSysex(payload, source, arrival);
    }

private:
    std::mutex lock_;
    MIDIMessageReceiver* receiver_ = nullptr;
};

} // namespace marvo
