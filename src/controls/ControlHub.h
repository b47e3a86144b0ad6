#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "controls/ControlRecord.h"

namespace marvo {

class LearnableControl;

// The composition behind a button whose target is a composition or its cue list.
class ControlComposition {
public:
    virtual ~ControlComposition() = default;
    virtual bool isSelectedComposition() const = 0;
    virtual const std::string& oscNamespace() const = 0;
};

// What the controls ask of the application: routing, feedback, the main thread and the global modes. It
// outlives every control. All calls come on the main thread, except the two run... calls and the feedback of
// a state set elsewhere.
class ControlHub {
public:
    virtual ~ControlHub() = default;

    // Preferences that a new control starts with.
    virtual bool midiLearn() const = 0;
    virtual bool needsShowOSC() const = 0;

    // A new control. It follows the global modes until it is forgotten.
    virtual void adopt(LearnableControl& control) = 0;

    virtual void postOSCFeedback(std::string_view address, std::int32_t value) = 0;
    virtual void postMIDIFeedback(std::uint8_t status, std::uint8_t channel, std::uint8_t control,
                                  std::uint8_t value) = 0;

    virtual void addOSCListener(LearnableControl& control, std::string_view address) = 0;
    virtual void removeOSCListener(LearnableControl& control, std::string_view address) = 0;

    // Subscribing twice to one assignment must not deliver twice.
    virtual void subscribeMIDI(LearnableControl& control, MidiAssignment assignment) = 0;
    virtual void unsubscribeMIDI(LearnableControl& control, MidiAssignment assignment) = 0;

    // Runs at once when called on the main thread.
    virtual void runOnMainSync(const std::function<void()>& work) = 0;
    virtual void runOnMainAsync(std::function<void()> work) = 0;

    // Tells the present target, if there is one, by its highlightChanged.
    virtual void postHighlightChanged() = 0;
    // From now on the control hears highlight changes and, as the learn target, learned messages
    // (learnMidiMessage) and the delete key (removeMidi).
    virtual void observeLearnTarget(LearnableControl& control) = 0;
    virtual void observeHighlight(LearnableControl& control) = 0;
    virtual void stopObservingTarget(LearnableControl& control) = 0;
    virtual void showOSCOnInfoDisplay(std::string_view text) = 0;

    virtual void postMarvoViewSelected(LearnableControl& control) = 0;
    virtual void redisplay(LearnableControl& control) = 0;

    // Drops every subscription the control still has. No delivery starts after it returns.
    virtual void forget(LearnableControl& control) = 0;
};

} // namespace marvo
