#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "controls/LearnableControl.h"

namespace marvo {

// The tempo field of a composition, 0 to 720 by mouse. Its title is the text that is saved; its float value
// is the number at the front of that text.
//
// OSC sets it on the port's thread, MIDI on the main thread, so the action must stand both.
class MarvoControlTextField : public LearnableControl {
public:
    static constexpr double highestValue = 720.0;

    explicit MarvoControlTextField(ControlHub& hub) : LearnableControl(hub) {}

    // Thread-safe and realtime-safe.
    float floatValue() const { return value_.load(std::memory_order_relaxed); }
    // Thread-safe. A title may be any text; the number set shows in its shortest form. Not clamped.
    std::string title() const;
    void setTitle(std::string_view title);
    void setFloatValue(float value);

    // Refuses OSC, MIDI and the mouse while the tempo comes from outside. Thread-safe.
    bool ignored() const { return ignored_.load(std::memory_order_relaxed); }
    void setIgnored(bool ignored) { ignored_.store(ignored, std::memory_order_relaxed); }
    // Shows "Waiting" and holds tempo updates back. Thread-safe.
    bool isWaitingForClock() const { return waitingForClock_.load(std::memory_order_relaxed); }
    void setIsWaitingForClock(bool waiting) { waitingForClock_.store(waiting, std::memory_order_relaxed); }
    // The offset still to run before time starts; empty when there is none. Thread-safe.
    std::string mtcOffsetString() const;
    void setMtcOffsetString(std::string_view text);

    // Disabled at first: a double click enables typing. Main thread.
    bool isEditable() const { return editable_; }
    void setEditable(bool editable) { editable_ = editable; }
    bool isEnabled() const { return enabled_; }
    void setEnabled(bool enabled) { enabled_ = enabled; }

    // Set before the control can be reached from outside.
    void setAction(std::function<void(MarvoControlTextField&)> action) { action_ = std::move(action); }
    void sendAction();

    // The mouse at x within a screen of that width, in points. A double click returns whether typing starts.
    bool doubleClick();
    void mouseDownAt(float x);
    // Spreads what is left of the range over what is left of the screen, in whole steps, and sends the
    // action.
    void mouseDraggedTo(float x, float screenWidth);
    float lastDragXPosition() const { return lastDragXPosition_; }

    void loadWithData(const ControlRecord* record) override;
    void handleOSCMessage(const OSCArgument& value) override;
    bool oscActsOnSender() const override { return true; }
    // Notes and controllers alike: 0..127 becomes 1..720.
    void midiMessageReceived(int status, int data2) override;

private:
    mutable std::mutex textLock_; // guards the two texts
    std::string title_;
    std::string mtcOffsetString_;
    std::atomic<float> value_{0.0F};
    std::atomic<bool> ignored_{false};
    std::atomic<bool> waitingForClock_{false};
    bool editable_ = true;
    bool enabled_ = false;
    float lastDragXPosition_ = 0.0F;
    std::function<void(MarvoControlTextField&)> action_;
};

} // namespace marvo
