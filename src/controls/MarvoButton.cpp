#include "controls/MarvoButton.h"

#include <array>
#include <string>
#include <utility>

namespace marvo {

namespace {

constexpr int noteOff = 128;
constexpr int noteOn = 144;
constexpr int controlChange = 176;

std::string withReplaced(std::string_view text, std::string_view what, std::string_view by) {
    if (what.empty()) return std::string(text);
    std::string result;
    std::size_t from = 0;
    for (std::size_t at; (at = text.find(what, from)) != std::string_view::npos; from = at + what.size()) {
        result.append(text, from, at - from);
        result.append(by);
    }
    return result.append(text, from);
}

} // namespace

std::optional<std::string_view> trackTypeForAddTrackValue(std::int64_t value) {
    static constexpr std::array<std::string_view, 7> types = {
        "MidiCCValue", "MidiNotes", "OSCValue", "OSCColor", "AudioFile", "Art-Net Value", "Art-Net Value"};
    if (value < 0 || value >= static_cast<std::int64_t>(types.size())) return std::nullopt;
    return types[static_cast<std::size_t>(value)];
}

MarvoButton::MarvoButton(ControlHub& hub, unsigned buttonType)
    : LearnableControl(hub), buttonType_(buttonType) {}

void MarvoButton::setState(bool on) {
    state_.store(on, std::memory_order_relaxed);
    processOSCFeedback();
    processMIDIFeedback();
    hub().redisplay(*this);
}

void MarvoButton::setEnabled(bool enabled) {
    enabled_.store(enabled, std::memory_order_relaxed);
    hub().redisplay(*this);
}

void MarvoButton::setAddTrackAction(std::function<void(std::string_view)> create) {
    addTrack_ = std::move(create);
    addsTracks_.store(static_cast<bool>(addTrack_), std::memory_order_relaxed);
}

void MarvoButton::sendAction() {
    if (action_) action_(*this);
}

void MarvoButton::performClick() {
    if (!isEnabled()) return;
    if (cachedButtonType() == toggleButtonType) setState(!state());
    sendAction();
}

void MarvoButton::click() {
    if (!isEnabled() && !learnsMidi() && !needsShowOSC()) return;
    if (!mouseDown()) return;
    // The action may take this button's view down with it.
    const std::weak_ptr<const bool> alive = life();
    ControlHub& centre = hub();
    performClick();
    if (!alive.expired()) centre.postMarvoViewSelected(*this);
}

void MarvoButton::processOSCFeedback() {
    if (oscAddress().empty() || !allowsFeedbackSending) return;
    const std::int32_t value = state() ? 1 : 0;
    hub().postOSCFeedback(oscAddress(), value);
    if (composition_ != nullptr && composition_->isSelectedComposition()) {
        hub().postOSCFeedback(withReplaced(oscAddress(), composition_->oscNamespace(), "/marvo/current"),
                              value);
    }
}

void MarvoButton::processMIDIFeedback() {
    if (!midiAssignment().isAssigned() || ignoresMIDI()) return;
    const bool on = state();
    int status = controlChange;
    if (midiType() != controlChange) status = on ? noteOn : noteOff;
    hub().postMIDIFeedback(static_cast<std::uint8_t>(status), static_cast<std::uint8_t>(midiChannel() & 255),
                           static_cast<std::uint8_t>(midiControl() & 255), on ? 127 : 0);
}

ControlRecord MarvoButton::saveData() const {
    ControlRecord record = LearnableControl::saveData();
    record.state = state();
    return record;
}

void MarvoButton::loadWithData(const ControlRecord* record) {
    removeMidi();
    if (record != nullptr) {
        readAssignment(*record);
        setState(record->state.value_or(false));
        // A saved "on" has to take effect, not only to show.
        if (state() && tag != clickOnlyTag) sendAction();
    }
    subscribe();
}

void MarvoButton::handleOSCMessage(const OSCArgument& value) {
    if (!isEnabled() || (value.type > 2 && value.type != 11)) return;
    const std::int64_t number = value.intValue;
    ControlHub& centre = hub();
    if (cachedButtonType() == toggleButtonType) {
        const bool on = number != 0;
        if (on == state()) return;
        centre.runOnMainSync([this, alive = life(), on] {
            if (alive.expired() || on == state()) return;
            setState(on);
            sendAction();
        });
    } else if (cachedButtonType() == momentaryButtonType) {
        const bool addsTrack = addsTracks_.load(std::memory_order_relaxed);
        const std::optional<std::string_view> trackType = trackTypeForAddTrackValue(number);
        if (addsTrack && !trackType) return;
        centre.runOnMainSync([this, alive = life(), addsTrack, trackType] {
            if (alive.expired()) return;
            if (!addsTrack)
                sendAction();
            else if (addTrack_)
                addTrack_(*trackType);
        });
    }
}

void MarvoButton::midiMessageReceived(int status, int data2) {
    setMidiType(status);
    const bool acts = status == noteOn || (status == controlChange && data2 == 0);
    if (!acts || !isEnabled()) return;
    hub().runOnMainSync([this, alive = life()] {
        if (!alive.expired()) toggleFromMIDI();
    });
}

void MarvoButton::toggleFromMIDI() {
    setState(!state());
    if (tag == clickOnlyTag)
        performClick();
    else
        sendAction();
}

void MarvoButton::removeResources() {
    LearnableControl::removeResources();
    clearOSCStrings();
}

} // namespace marvo
