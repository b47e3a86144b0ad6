#pragma once

#include <atomic>
#include <functional>
#include <utility>

#include "controls/LearnableControl.h"

namespace marvo {

// A level from 0 to 1, for volumes. Invariant: the value stays within 0..1 and is never NaN.
//
// OSC moves it on the main thread, MIDI on the MIDI queue, so the action must stand both.
class MarvoSlider : public LearnableControl {
public:
    explicit MarvoSlider(ControlHub& hub) : LearnableControl(hub) {}

    // Thread-safe and realtime-safe.
    float value() const { return value_.load(std::memory_order_relaxed); }
    // Held to 0..1; NaN leaves the value. Thread-safe.
    void setValue(float value);
    // Set before the control can be reached from outside.
    void setAction(std::function<void(MarvoSlider&)> action) { action_ = std::move(action); }
    void sendAction();

    // A slider is always learnable.
    void setIgnoresMIDI(bool) override {}

    ControlRecord saveData() const override;
    void loadWithData(const ControlRecord* record) override;
    void handleOSCMessage(const OSCArgument& value) override;
    void midiMessageReceived(int status, int data2) override;
    bool midiActsOnSender() const override { return true; }

private:
    std::atomic<float> value_{0.0F};
    std::function<void(MarvoSlider&)> action_;
};

} // namespace marvo
