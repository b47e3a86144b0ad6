#include "controls/MarvoControlTextField.h"

#include "controls/NumberText.h"

#include <charconv>
#include <cmath>

namespace marvo {

std::string MarvoControlTextField::title() const {
    const std::lock_guard lock(textLock_);
    return title_;
}

void MarvoControlTextField::setTitle(std::string_view title) {
    const std::lock_guard lock(textLock_);
    title_ = title;
    value_.store(numbertext::leadingFloat(title), std::memory_order_relaxed);
}

void MarvoControlTextField::setFloatValue(float value) {
    constexpr std::size_t room = 64;
    char text[room];
    const auto end = std::to_chars(text, text + room, value, std::chars_format::fixed);
    const std::lock_guard lock(textLock_);
    title_.assign(text, end.ptr);
    value_.store(value, std::memory_order_relaxed);
}

std::string MarvoControlTextField::mtcOffsetString() const {
    const std::lock_guard lock(textLock_);
    return mtcOffsetString_;
}

void MarvoControlTextField::setMtcOffsetString(std::string_view text) {
    const std::lock_guard lock(textLock_);
    mtcOffsetString_ = text;
}

void MarvoControlTextField::sendAction() {
    if (action_) action_(*this);
}

bool MarvoControlTextField::doubleClick() {
    if (ignored() || !editable_ || learnsMidi() || needsShowOSC()) return false;
    enabled_ = true;
    hub().redisplay(*this);
    return true;
}

void MarvoControlTextField::mouseDownAt(float x) {
    lastDragXPosition_ = x;
}

void MarvoControlTextField::mouseDraggedTo(float x, float screenWidth) {
    if (!editable_ || needsHighlight() || ignored()) return;
    const auto now = static_cast<double>(floatValue());
    const auto position = static_cast<double>(x);
    if (x > lastDragXPosition_) {
        // At the very edge of the screen the quotient is infinite or no number: the end of the range either
        // way.
        const double next =
            std::trunc(now + (highestValue - now) / (static_cast<double>(screenWidth) - position));
        setFloatValue(static_cast<float>(next <= highestValue ? next : highestValue));
    } else if (x < lastDragXPosition_) {
        const double next = std::trunc(now - now / position);
        setFloatValue(static_cast<float>(next >= 0.0 ? next : 0.0));
    }
    lastDragXPosition_ = x;
    hub().redisplay(*this);
    sendAction();
}

void MarvoControlTextField::loadWithData(const ControlRecord* record) {
    removeMidi();
    if (record != nullptr) readAssignment(*record);
    subscribe();
}

void MarvoControlTextField::handleOSCMessage(const OSCArgument& value) {
    if (ignored() || value.type >= 3) return;
    setFloatValue(value.floatValue);
    hub().runOnMainAsync([this, alive = life()] {
        if (!alive.expired()) hub().redisplay(*this);
    });
    sendAction();
}

void MarvoControlTextField::midiMessageReceived(int status, int data2) {
    if (ignored() || (status != 144 && status != 176)) return;
    const auto next = static_cast<float>(std::trunc(data2 / 127.0 * 719.0 + 1.0));
    hub().runOnMainAsync([this, alive = life(), next] {
        if (alive.expired()) return;
        setFloatValue(next);
        hub().redisplay(*this);
        sendAction();
    });
}

} // namespace marvo
