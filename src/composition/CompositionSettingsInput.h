// The composition's settings dialog as logic: what it shows, what confirming it decides, and the arithmetic
// of a new length or frame rate.
//
// Thread-safe: pure functions. Realtime-safe: no.
#pragma once

#include "composition/CompositionTimeMath.h"
#include "platform/TimelineTime.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace marvo {

// One line of the timecode rate list.
struct MtcRate {
    std::string_view code;  // two bits as text, as saved in mtcOutFPS
    int framesMaximum;      // largest number in the frames field
    double framesPerSecond; // for the start time
};

// By list index.
inline constexpr std::array<MtcRate, 4> mtcRates{MtcRate{"00", 23, 24.0}, MtcRate{"01", 24, 25.0},
                                                 MtcRate{"11", 29, 30.0}, MtcRate{"10", 29, 30.0}};

// The list index of a rate code; nothing for an unknown code.
std::optional<std::size_t> mtcRateIndex(std::string_view code);

inline constexpr std::string_view midiLoopbackTitle = "MIDI Loopback detected";
inline constexpr std::string_view midiLoopbackText =
    "The destination MIDI port for MMC Transmission is also listening for MMC input, so unexpected things "
    "may happen. "
    "Please choose a different MIDI port, or disable that port as a MIDI source in Marvo's MIDI Preferences.";
inline constexpr std::string_view midiLoopbackDisableSource = "Disable Source MIDI Port";
inline constexpr std::string_view midiLoopbackChooseOther = "Choose different MIDI Port";

// What a composition keeps of the dialog.
struct CompositionSettings {
    float compTime = 0.0f; // seconds
    std::int64_t compFPS = 30;
    double mtcOutStartTime = 0.0; // seconds
    std::optional<std::string> mtcOutDestination;
    std::string mtcOutFPS = "11";
    bool transmitsMMC = false;
    bool transmitsMTC = false;
    bool useCompIDWithMMC = false;
    bool operator==(const CompositionSettings&) const = default;
};

// What stands in the dialog's fields when it is confirmed.
struct CompositionSettingsFields {
    TimeFields length;
    std::int64_t compFPS = 0;
    TimeFields startTime;
    std::size_t mtcRateIndex = 2;
    std::optional<std::string> mtcOutDestination;
    bool transmitsMMC = false;
    bool transmitsMTC = false;
    bool useCompIDWithMMC = false;
    bool operator==(const CompositionSettingsFields&) const = default;
};

// What the dialog shows for settings; the start time comes converted by a clock of the outgoing format. An
// unknown rate code shows the first line of the list.
CompositionSettingsFields shownFields(const CompositionSettings& settings, const TimeFields& startTime);

// The circumstances of the chosen destination.
struct MidiLoopbackState {
    bool listenToMMC = false;             // the preference
    bool sourceOfSameNameEnabled = false; // the MIDI source named as the destination
};

struct CompositionSettingsResult {
    enum class Outcome {
        loopback,  // show the alert; after disabling the source ask again
        refused,   // beep, the dialog stays
        unchanged, // close, nothing else
        changed
    };
    Outcome outcome = Outcome::refused;
    CompositionSettings settings;    // to be stored; as before unless the outcome is changed
    bool lengthOrFpsChanged = false; // setNewCompTime is wanted
};

// Confirms the dialog. `shown` is what it showed when it opened: fields left alone keep the exact value
// behind them, which whole frames cannot always give back.
CompositionSettingsResult confirmCompositionSettings(const CompositionSettings& present,
                                                     const CompositionSettingsFields& shown,
                                                     const CompositionSettingsFields& entered,
                                                     const MidiLoopbackState& loopback);

// F / fps + S + M * 60 + H * 3600 in single precision.
float lengthOfFields(const TimeFields& length, std::int64_t fps);

// --- A new length or frame rate. Single precision throughout.

// By which every frame number grows, so that things stay at their place in seconds.
float fpsRatio(std::int64_t newFps, std::int64_t oldFps);
// Truncated.
Frame scaledFrame(Frame frame, float ratio);

struct RescaledWorkingArea {
    Frame markerTime;
    Frame inTime; // not held back by the new end
    Frame outTime;
};

RescaledWorkingArea rescaledWorkingArea(Frame markerTime, Frame inTime, Frame outTime, float ratio,
                                        float newCompTime, std::int64_t newFps);

// The playhead at its old relative position, rounded; 0 when the old composition had no length.
Frame rescaledPlayhead(Frame oldMarkerTime, float oldCompTime, std::int64_t oldFps, float newCompTime,
                       std::int64_t newFps);

} // namespace marvo
