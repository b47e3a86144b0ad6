#pragma once

namespace marvo {

// Hears the MIDI messages of one channel and control.
class MidiReceiver {
public:
    virtual ~MidiReceiver() = default;

    // `status` is the status type without channel, 144 or 176 for instance; `data2` is 0..127.
    virtual void midiMessageReceived(int status, int data2) = 0;

    // True for what acts on the thread that brings the message; it is then called with the composition queue
    // held. Everything else is called on the main thread. Never changes.
    virtual bool midiActsOnSender() const { return false; }
};

} // namespace marvo
