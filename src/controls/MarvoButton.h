#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <utility>

#include "controls/LearnableControl.h"

namespace marvo {

// What a button does by itself: a toggle keeps its state, a momentary one only sends its action.
inline constexpr unsigned momentaryButtonType = 0;
inline constexpr unsigned toggleButtonType = 6;

// A button whose target decides for itself how a click from outside acts.
inline constexpr std::int64_t clickOnlyTag = 100;

// The track type that a number sent to an "add track" address stands for; nothing for other numbers. Both 5
// and 6 give the same text, as remotes in use expect.
std::optional<std::string_view> trackTypeForAddTrackValue(std::int64_t value);

// A push or toggle button. All effects happen on the main thread; every setState, from any source, sends
// feedback.
//
// state, isEnabled and progress may be read on any thread, the tick included.
class MarvoButton : public LearnableControl {
public:
    explicit MarvoButton(ControlHub& hub, unsigned buttonType = toggleButtonType);

    // Thread-safe and realtime-safe.
    bool state() const { return state_.load(std::memory_order_relaxed); }
    bool isEnabled() const { return enabled_.load(std::memory_order_relaxed); }
    float progress() const { return progress_.load(std::memory_order_relaxed); }
    void setProgress(float progress) { progress_.store(progress, std::memory_order_relaxed); }

    // Stores the state and sends OSC, then MIDI feedback, also when the state is the same as before. Main
    // thread.
    void setState(bool on);
    // Stores the state and nothing else: for threads other than main. setState on the main thread follows, so
    // that feedback is sent. Thread-safe and realtime-safe.
    void setStateSilently(bool on) { state_.store(on, std::memory_order_relaxed); }
    void setEnabled(bool enabled);
    unsigned cachedButtonType() const { return buttonType_.load(std::memory_order_relaxed); }
    void setButtonType(unsigned type) { buttonType_.store(type, std::memory_order_relaxed); }
    // Set before the control can be reached from outside.
    void setAction(std::function<void(MarvoButton&)> action) { action_ = std::move(action); }
    // Makes this the "add track" button: over OSC it creates a track of a type instead of sending its action.
    void setAddTrackAction(std::function<void(std::string_view trackType)> create);
    // Of the composition that the target is or belongs to; null for other targets.
    void setComposition(const ControlComposition* composition) { composition_ = composition; }

    std::int64_t tag = 0;
    bool allowsFeedbackSending = true;

    void sendAction();
    // A click by program: flips a toggle and sends the action. Nothing when disabled.
    void performClick();
    // A click by mouse, in whatever mode the control is.
    void click();

    void processOSCFeedback();
    void processMIDIFeedback();

    ControlRecord saveData() const override;
    void loadWithData(const ControlRecord* record) override;
    void handleOSCMessage(const OSCArgument& value) override;
    // A note at any velocity or a controller value of 0 toggles; other controller values do nothing, so that
    // a controller button acts on release.
    void midiMessageReceived(int status, int data2) override;
    void removeResources() override;

private:
    void toggleFromMIDI();

    std::atomic<bool> state_{false};
    std::atomic<bool> enabled_{true};
    std::atomic<float> progress_{0.0F};
    std::atomic<unsigned> buttonType_;
    std::function<void(MarvoButton&)> action_;
    std::atomic<bool> addsTracks_{false};
    std::function<void(std::string_view)> addTrack_;
    const ControlComposition* composition_ = nullptr;
};

} // namespace marvo
