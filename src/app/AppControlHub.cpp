#include "app/AppControlHub.h"

namespace marvo {

AppControlHub::AppControlHub(OSCListenerTable& listeners, InboundRendezvous& rendezvous,
                             MainThread& mainThread, SerialQueue& compQueue, MarvoOSCManager& oscManager,
                             MarvoMIDIManager& midiManager)
    : listeners_(listeners), rendezvous_(rendezvous), mainThread_(mainThread), oscManager_(oscManager),
      compQueue_(compQueue), midiManager_(midiManager) {}

void AppControlHub::setMidiLearn(bool on) {
    midiLearn_ = on;
    for (LearnableControl* control : std::vector(controls_.begin(), controls_.end())) {
        if (on) {
            control->startMidiLearn();
        } else {
            control->stopMidiLearn();
        }
    }
}

void AppControlHub::setNeedsShowOSC(bool on) {
    needsShowOSC_ = on;
    for (LearnableControl* control : std::vector(controls_.begin(), controls_.end())) {
        if (on) {
            control->startShowOSC();
        } else {
            control->stopShowOSC();
        }
    }
}

void AppControlHub::deliverMIDI(MidiAssignment assignment, int status, int data2) {
    for (const auto& subscriber : midi_.subscribersOf(assignment)) {
        // Whether it is still wanted is asked under the exclusion in which it would be removed.
        const auto act = [subscriber, status, data2] {
            if (subscriber->wanted) subscriber->receiver->midiMessageReceived(status, data2);
        };
        if (subscriber->actsOnSender) {
            compQueue_.sync(act);
        } else {
            rendezvous_.runOnMain(act);
        }
    }
}

void AppControlHub::learnFromMIDI(MidiAssignment assignment) {
    mainThread_.async([this, assignment] {
        if (!midiLearn_ || !target_ || !learns_) return;
        target_->learnMidiMessage(assignment.midiChannel, assignment.midiControl);
        if (onAssigned) onAssigned();
    });
}

void AppControlHub::removeCurrentMidi() {
    if (!target_ || !learns_) return;
    target_->removeMidi();
    if (onAssigned) onAssigned();
}

void AppControlHub::postOSCFeedback(std::string_view address, std::int32_t value) {
    if (!oscManager_.oscFeedbackEnabled()) return;
    feedback_.resetWithAddress(address);
    feedback_.addInt(value);
    oscManager_.sendOSCFeedback(feedback_);
}

void AppControlHub::postMIDIFeedback(std::uint8_t status, std::uint8_t channel, std::uint8_t control,
                                     std::uint8_t value) {
    midiManager_.sendMIDIFeedback({status, channel, control, value});
}

void AppControlHub::addOSCListener(LearnableControl& control, std::string_view address) {
    const auto place = control.oscActsOnSender() ? OSCListenerTable::Place::compositionQueue
                                                 : OSCListenerTable::Place::mainThread;
    listeners_.listen(&control, std::string(address), control.oscExtraInfo(), place,
                      [&control](const OSCArgument& value) { control.handleOSCMessage(value); });
}

void AppControlHub::removeOSCListener(LearnableControl& control, std::string_view) {
    listeners_.drop(&control);
}

void AppControlHub::subscribeMIDI(LearnableControl& control, MidiAssignment assignment) {
    midi_.addObserver(control, assignment);
}

void AppControlHub::unsubscribeMIDI(LearnableControl& control, MidiAssignment assignment) {
    midi_.removeObserver(control, assignment);
    waitForDeliveries();
}

void AppControlHub::waitForDeliveries() {
    // What acts on the sender's thread does so inside the queue; once through it, no delivery is under way.
    compQueue_.sync([] {});
}

void AppControlHub::runOnMainSync(const std::function<void()>& work) {
    rendezvous_.runOnMain(work);
}

void AppControlHub::runOnMainAsync(std::function<void()> work) {
    mainThread_.async(std::move(work));
}

void AppControlHub::postHighlightChanged() {
    if (target_) target_->highlightChanged();
}

void AppControlHub::stopObservingTarget(LearnableControl& control) {
    if (target_ != &control) return;
    target_ = nullptr;
    learns_ = false;
}

void AppControlHub::forget(LearnableControl& control) {
    listeners_.drop(&control);
    midi_.removeObserver(control);
    waitForDeliveries();
    controls_.erase(&control);
    stopObservingTarget(control);
}

} // namespace marvo
