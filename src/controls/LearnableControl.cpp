#include "controls/LearnableControl.h"

namespace marvo {

LearnableControl::LearnableControl(ControlHub& hub)
    : hub_(hub), needsShowOSC_(hub.needsShowOSC()), learnsMidi_(hub.midiLearn()) {
    hub_.adopt(*this);
}

LearnableControl::~LearnableControl() {
    hub_.forget(*this);
}

void LearnableControl::setIgnoresMIDI(bool ignores) {
    ignoresMIDI_ = ignores;
    if (ignores) learnsMidi_ = false;
}

void LearnableControl::setOSCAddress(std::string_view address, std::string_view extraInfo) {
    oscAddress_ = address;
    oscExtraInfo_ = extraInfo;
}

void LearnableControl::addOSCListener() {
    if (!oscAddress_.empty()) hub_.addOSCListener(*this, oscAddress_);
}

void LearnableControl::removeOSCListener() {
    if (!oscAddress_.empty()) hub_.removeOSCListener(*this, oscAddress_);
}

void LearnableControl::startShowOSC() {
    needsShowOSC_ = true;
    hub_.redisplay(*this);
}

void LearnableControl::stopShowOSC() {
    needsShowOSC_ = false;
    highlightChanged();
}

void LearnableControl::startMidiLearn() {
    if (ignoresMIDI_) return;
    if (assignment_.isAssigned()) hub_.unsubscribeMIDI(*this, assignment_);
    learnsMidi_ = true;
    hub_.redisplay(*this);
}

void LearnableControl::stopMidiLearn() {
    if (ignoresMIDI_) return;
    subscribe();
    learnsMidi_ = false;
    highlightChanged();
}

void LearnableControl::learnMidiMessage(std::int64_t channel, std::int64_t control) {
    assignment_ = {channel, control};
    hub_.redisplay(*this);
}

void LearnableControl::highlightChanged() {
    hub_.stopObservingTarget(*this);
    needsHighlight_ = false;
    hub_.redisplay(*this);
}

void LearnableControl::removeMidi() {
    if (assignment_.isAssigned()) hub_.unsubscribeMIDI(*this, assignment_);
    assignment_ = {};
    hub_.redisplay(*this);
}

bool LearnableControl::mouseDown() {
    if (learnsMidi_) {
        hub_.postHighlightChanged();
        needsHighlight_ = true;
        hub_.observeLearnTarget(*this);
        hub_.redisplay(*this);
        return false;
    }
    if (needsShowOSC_ && !oscAddress_.empty()) {
        hub_.postHighlightChanged();
        needsHighlight_ = true;
        hub_.observeHighlight(*this);
        hub_.showOSCOnInfoDisplay(oscAddress_ + " (" + oscExtraInfo_ + ")");
        hub_.redisplay(*this);
        return false;
    }
    return true;
}

ControlRecord LearnableControl::saveData() const {
    ControlRecord record;
    record.midiChannel = assignment_.midiChannel;
    record.midiControl = assignment_.midiControl;
    return record;
}

MidiAssignment LearnableControl::removeMIDIAndGetMIDIData() {
    const MidiAssignment kept = assignment_;
    removeMidi();
    return kept;
}

void LearnableControl::setMidiAssignWithData(MidiAssignment assignment) {
    removeMidi();
    assignment_ = assignment;
    subscribe();
}

void LearnableControl::removeResources() {
    needsHighlight_ = false;
    hub_.forget(*this);
}

void LearnableControl::readAssignment(const ControlRecord& record) {
    if (!record.midiChannel) return;
    assignment_ = {*record.midiChannel, record.midiControl.value_or(-1)};
}

void LearnableControl::subscribe() {
    if (assignment_.isAssigned()) hub_.subscribeMIDI(*this, assignment_);
}

void LearnableControl::clearOSCStrings() {
    oscAddress_.clear();
    oscExtraInfo_.clear();
}

} // namespace marvo
