// A hub for tests: routes MIDI through MidiSubscriptions and OSC by address, runs main-thread work on the
// spot or when told, and keeps what the controls sent.
#pragma once

#include <algorithm>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "controls/ControlHub.h"
#include "controls/LearnableControl.h"
#include "controls/MidiSubscriptions.h"

namespace marvo::testing {

class RecordingControlHub : public ControlHub {
public:
    bool learnPreference = false;
    bool showPreference = false;
    std::vector<std::string> feedback; // "osc /a 1" and "midi 176 0 7 127", in order
    std::vector<std::string> shown;    // on the info display
    int hops = 0;                      // synchronous ones
    int selections = 0;
    int redisplays = 0;
    bool holdsAsync = false;
    bool holdsSync = false; // keeps the work instead of running it, as a main thread that is late would
    std::vector<std::function<void()>> held;
    std::function<void()> atEachHop; // runs on the "main thread" ahead of the work
    MidiSubscriptions midi;

    bool midiLearn() const override { return learnPreference; }
    bool needsShowOSC() const override { return showPreference; }
    void adopt(LearnableControl&) override {}
    void postOSCFeedback(std::string_view address, std::int32_t value) override {
        feedback.push_back("osc " + std::string(address) + " " + std::to_string(value));
    }
    void postMIDIFeedback(std::uint8_t status, std::uint8_t channel, std::uint8_t control,
                          std::uint8_t value) override {
        feedback.push_back("midi " + std::to_string(status) + " " + std::to_string(channel) + " " +
                           std::to_string(control) + " " + std::to_string(value));
    }
    void addOSCListener(LearnableControl& control, std::string_view address) override {
        listeners_.emplace_back(std::string(address), &control);
    }
    void removeOSCListener(LearnableControl& control, std::string_view address) override {
        std::erase(listeners_, Listener(std::string(address), &control));
    }
    void subscribeMIDI(LearnableControl& control, MidiAssignment assignment) override {
        midi.addObserver(control, assignment);
    }
    void unsubscribeMIDI(LearnableControl& control, MidiAssignment assignment) override {
        midi.removeObserver(control, assignment);
    }
    void runOnMainSync(const std::function<void()>& work) override {
        ++hops;
        if (atEachHop) atEachHop();
        if (holdsSync)
            held.push_back(work);
        else
            work();
    }
    void runOnMainAsync(std::function<void()> work) override {
        if (holdsAsync)
            held.push_back(std::move(work));
        else
            work();
    }
    void postHighlightChanged() override {
        const std::vector<LearnableControl*> present = targets_;
        for (LearnableControl* control : present) control->highlightChanged();
    }
    void observeLearnTarget(LearnableControl& control) override {
        targets_.push_back(&control);
        learners_.push_back(&control);
    }
    void observeHighlight(LearnableControl& control) override { targets_.push_back(&control); }
    void stopObservingTarget(LearnableControl& control) override {
        std::erase(targets_, &control);
        std::erase(learners_, &control);
    }
    void showOSCOnInfoDisplay(std::string_view text) override { shown.emplace_back(text); }
    void postMarvoViewSelected(LearnableControl&) override { ++selections; }
    void redisplay(LearnableControl&) override { ++redisplays; }
    void forget(LearnableControl& control) override {
        midi.removeObserver(control);
        stopObservingTarget(control);
        std::erase_if(listeners_, [&](const Listener& listener) { return listener.second == &control; });
    }

    // What the ports would do.
    void receiveOSC(std::string_view address, const OSCArgument& value) {
        const std::vector<Listener> present = listeners_;
        for (const auto& [listened, control] : present) {
            if (listened == address) control->handleOSCMessage(value);
        }
    }
    void receiveOSC(std::string_view address, int value) {
        receiveOSC(address, {1, value, static_cast<float>(value)});
    }
    void receiveMIDI(std::int64_t channel, std::int64_t control, int status, int data2) {
        midi.deliver({channel, control}, status, data2);
    }
    void learn(std::int64_t channel, std::int64_t control) {
        const std::vector<LearnableControl*> present = learners_;
        for (LearnableControl* learner : present) learner->learnMidiMessage(channel, control);
    }
    void pressDelete() {
        const std::vector<LearnableControl*> present = learners_;
        for (LearnableControl* learner : present) learner->removeMidi();
    }
    void runHeld() {
        for (const auto& work : std::exchange(held, {})) work();
    }
    std::size_t listenerCount() const { return listeners_.size(); }
    std::vector<std::string> takeFeedback() { return std::exchange(feedback, {}); }

private:
    using Listener = std::pair<std::string, LearnableControl*>;
    std::vector<Listener> listeners_;
    std::vector<LearnableControl*> targets_;
    std::vector<LearnableControl*> learners_;
};

} // namespace marvo::testing
