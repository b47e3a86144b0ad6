#include "controls/MarvoSlider.h"

#include <algorithm>
#include <cmath>

namespace marvo {

void MarvoSlider::setValue(float value) {
    if (std::isnan(value)) return;
    value_.store(std::clamp(value, 0.0F, 1.0F), std::memory_order_relaxed);
}

void MarvoSlider::sendAction() {
    if (action_) action_(*this);
}

ControlRecord MarvoSlider::saveData() const {
    ControlRecord record = LearnableControl::saveData();
    record.volume = value();
    return record;
}

void MarvoSlider::loadWithData(const ControlRecord* record) {
    removeMidi();
    if (record != nullptr) {
        readAssignment(*record);
        // An older file without the key must not mute the channel.
        if (record->volume) setValue(*record->volume);
        hub().redisplay(*this);
    }
    subscribe();
}

void MarvoSlider::handleOSCMessage(const OSCArgument& value) {
    if (value.type >= 3) return;
    hub().runOnMainSync([this, alive = life(), level = value.floatValue] {
        if (alive.expired()) return;
        setValue(level);
        sendAction();
        if (!alive.expired()) hub().redisplay(*this);
    });
}

void MarvoSlider::midiMessageReceived(int status, int data2) {
    setMidiType(status);
    if (status == 176) {
        setValue(static_cast<float>(data2 / 127.0));
    } else if (status == 144) {
        // A reversed gate: a soft note opens, a hard one closes. 127 ends at the top of the range.
        setValue(data2 < 64 ? 127.0F : 0.0F);
    }
    hub().runOnMainAsync([this, alive = life()] {
        if (!alive.expired()) hub().redisplay(*this);
    });
    sendAction();
}

} // namespace marvo
