// What happens to MIDI that came in: time code is announced, machine control obeyed, notes and controllers
// noted, recorded, learned, or routed to the controls that learned them.
//
// Runs on the thread of the port, one delivery at a time.
#pragma once

#include "endpoints/midi/MIDIMessage.h"
#include "platform/MainThread.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace marvo {

class AppDelegate;
class MarvoTimelineController;

class MIDIDispatch {
public:
    explicit MIDIDispatch(AppDelegate& application);

    void receivedMIDI(std::span<const MIDIMessage> messages, const std::string& sourceName);
    // The payload without the bytes 240 and 247.
    void receivedSysex(std::span<const std::uint8_t> payload, const std::string& sourceName);

private:
    void receivedNoteOrController(const MIDIMessage& message, bool& recording);
    void receivedMachineControl(std::span<const std::uint8_t> payload);
    void obeyAsMaster(std::uint8_t command);
    void obey(MarvoTimelineController& composition, std::span<const std::uint8_t> payload);

    AppDelegate& application_;
    MainThread::Signal searchSignal_;
    std::vector<MIDIMessage> sorted_;
};

} // namespace marvo
