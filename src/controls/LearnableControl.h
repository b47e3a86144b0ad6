#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "controls/ControlHub.h"
#include "controls/ControlRecord.h"
#include "controls/MidiReceiver.h"
#include "controls/OSCArgument.h"

namespace marvo {

// A control that an OSC address and a learned MIDI channel and control can drive from outside, without the
// widget that shows it.
//
// Owner thread: main. Only handleOSCMessage and midiMessageReceived may come on other threads, where the
// control says that it acts on the sender's; the hub then calls them with the composition queue held, so that
// a busy window does not delay a tempo or a level. Whatever they move to the main thread does nothing once
// the control is gone. Invariants: it is subscribed for MIDI only while both assignment fields are at or
// above 0; the hub outlives it.
class LearnableControl : public MidiReceiver {
public:
    explicit LearnableControl(ControlHub& hub);
    ~LearnableControl() override;
    LearnableControl(const LearnableControl&) = delete;
    LearnableControl& operator=(const LearnableControl&) = delete;

    MidiAssignment midiAssignment() const { return assignment_; }
    std::int64_t midiChannel() const { return assignment_.midiChannel; }
    std::int64_t midiControl() const { return assignment_.midiControl; }
    // Status type last received, 176 at first. Thread-safe.
    std::int64_t midiType() const { return midiType_.load(std::memory_order_relaxed); }
    bool needsHighlight() const { return needsHighlight_; }
    bool needsShowOSC() const { return needsShowOSC_; }
    bool learnsMidi() const { return learnsMidi_; }
    bool ignoresMIDI() const { return ignoresMIDI_; }
    // Leaves learn mode with it: a control that cannot learn must act on clicks.
    virtual void setIgnoresMIDI(bool ignores);

    const std::string& oscAddress() const { return oscAddress_; }
    const std::string& oscExtraInfo() const { return oscExtraInfo_; }
    // Remove the listener before, add it after.
    void setOSCAddress(std::string_view address, std::string_view extraInfo);
    void addOSCListener();
    void removeOSCListener();

    void startShowOSC();
    void stopShowOSC();
    void startMidiLearn();
    void stopMidiLearn();
    // Stores the assignment of the learn target; the subscription follows when learn mode ends. The last one
    // wins.
    void learnMidiMessage(std::int64_t channel, std::int64_t control);
    void highlightChanged();
    void removeMidi();

    // A mouse click. True when the control shall act on it; false when it became the learn target or showed
    // its address instead.
    bool mouseDown();

    virtual ControlRecord saveData() const;
    // A null record only removes the assignment.
    virtual void loadWithData(const ControlRecord* record) = 0;
    // Together they keep an assignment while a view is built anew.
    MidiAssignment removeMIDIAndGetMIDIData();
    void setMidiAssignWithData(MidiAssignment assignment);

    // On the main thread, or with the composition queue held where oscActsOnSender says so.
    virtual void handleOSCMessage(const OSCArgument& value) = 0;
    virtual bool oscActsOnSender() const { return false; }

    // Leaves every centre. The control stays valid but hears nothing more.
    virtual void removeResources();

protected:
    ControlHub& hub() const { return hub_; }
    std::weak_ptr<const bool> life() const { return life_; }
    void setMidiType(int status) { midiType_.store(status, std::memory_order_relaxed); }
    void readAssignment(const ControlRecord& record);
    void subscribe();
    void clearOSCStrings();

private:
    ControlHub& hub_;
    MidiAssignment assignment_;
    std::atomic<std::int64_t> midiType_{176};
    bool needsHighlight_ = false;
    bool needsShowOSC_ = false;
    bool learnsMidi_ = false;
    bool ignoresMIDI_ = false;
    std::string oscAddress_;
    std::string oscExtraInfo_;
    std::shared_ptr<const bool> life_ = std::make_shared<const bool>(true);
};

} // namespace marvo
