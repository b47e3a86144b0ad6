// Connects the learnable controls to the application: OSC and MIDI routing, feedback, the learn target, and
// the two global modes (learn MIDI, show addresses).
//
// Main thread, except the run... calls, deliverMIDI, isAssignedMIDI and learnFromMIDI.
#pragma once

#include "app/InboundRendezvous.h"
#include "app/OSCListenerTable.h"
#include "controls/ControlHub.h"
#include "controls/LearnableControl.h"
#include "controls/MidiSubscriptions.h"
#include "endpoints/midi/MarvoMIDIManager.h"
#include "endpoints/osc/MarvoOSCManager.h"
#include "platform/Relaxed.h"

#include <functional>
#include <set>
#include <string>
#include <vector>

namespace marvo {

class AppControlHub final : public ControlHub {
public:
    AppControlHub(OSCListenerTable& listeners, InboundRendezvous& rendezvous, MainThread& mainThread,
                  SerialQueue& compQueue, MarvoOSCManager& oscManager, MarvoMIDIManager& midiManager);

    // Switch the modes for every control there is. In learn mode no control hears MIDI.
    void setMidiLearn(bool on);
    void setNeedsShowOSC(bool on);

    // Input threads that hold no queue; the main thread too. Every listener has acted when it returns, except
    // for what it moves to the main thread without waiting.
    void deliverMIDI(MidiAssignment assignment, int status, int data2);
    // Whether recording must leave this channel and control alone. Thread-safe.
    bool isAssignedMIDI(MidiAssignment assignment) const { return midi_.isAssignedMIDI(assignment); }
    // The user has learned an assignment or removed one.
    std::function<void()> onAssigned;
    // A message that came in learn mode: the target takes it. Does not wait for the main thread.
    void learnFromMIDI(MidiAssignment assignment);
    // The delete key: the target forgets its assignment.
    void removeCurrentMidi();
    const LearnableControl* learnTarget() const { return learns_ ? target_ : nullptr; }
    const std::set<LearnableControl*>& controls() const { return controls_; }

    bool midiLearn() const override { return midiLearn_; }
    bool needsShowOSC() const override { return needsShowOSC_; }

    void adopt(LearnableControl& control) override { controls_.insert(&control); }
    void postOSCFeedback(std::string_view address, std::int32_t value) override;
    void postMIDIFeedback(std::uint8_t status, std::uint8_t channel, std::uint8_t control,
                          std::uint8_t value) override;
    void addOSCListener(LearnableControl& control, std::string_view address) override;
    void removeOSCListener(LearnableControl& control, std::string_view address) override;
    void subscribeMIDI(LearnableControl& control, MidiAssignment assignment) override;
    void unsubscribeMIDI(LearnableControl& control, MidiAssignment assignment) override;
    void runOnMainSync(const std::function<void()>& work) override;
    void runOnMainAsync(std::function<void()> work) override;
    void postHighlightChanged() override;
    void observeLearnTarget(LearnableControl& control) override { observe(control, true); }
    void observeHighlight(LearnableControl& control) override { observe(control, false); }
    void stopObservingTarget(LearnableControl& control) override;
    void showOSCOnInfoDisplay(std::string_view text) override {
        if (onShowOSC) onShowOSC(text);
    }
    void postMarvoViewSelected(LearnableControl&) override {}
    void redisplay(LearnableControl&) override {}
    void forget(LearnableControl& control) override;

    // The address of a control that was clicked while addresses are shown.
    std::function<void(std::string_view)> onShowOSC;

private:
    void observe(LearnableControl& control, bool learns) {
        target_ = &control;
        learns_ = learns;
    }
    void waitForDeliveries();

    OSCListenerTable& listeners_;
    InboundRendezvous& rendezvous_;
    MainThread& mainThread_;
    MarvoOSCManager& oscManager_;
    OSCMessage feedback_;
    SerialQueue& compQueue_;
    MarvoMIDIManager& midiManager_;
    MidiSubscriptions midi_;
    std::set<LearnableControl*> controls_;
    LearnableControl* target_ = nullptr;
    bool learns_ = false; // the target waits for a message, rather than showing its address
    Relaxed<bool> midiLearn_ = false;
    bool needsShowOSC_ = false;
};

} // namespace marvo
