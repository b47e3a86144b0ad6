#include "app/MarvoPreferencesController.h"

#include "tracks/Curves.h"

#include <algorithm>

namespace marvo {
namespace {

bool fits(PreferenceType type, const PropertyList& value) {
    switch (type) {
    case PreferenceType::boolean:
    case PreferenceType::integer:
        return value.isNumber();
    case PreferenceType::string:
        return value.isString();
    case PreferenceType::date:
        return value.isDate();
    }
    return false;
}

} // namespace

std::string MarvoPreferencesController::loadDefaults() {
    for (const PreferenceKey& key : preferenceKeys()) loadDefault(key);
    takeOverOlderKeys();
    displayValueFlow_ = flag("displayValueFlow");
    refreshPlayback();
    return store_.synchronise();
}

void MarvoPreferencesController::loadDefault(const PreferenceKey& key) {
    const CompositionDefaults builtIn;
    const auto stored = [this](std::string_view name) {
        const PropertyList* value = store_.all().find(name);
        return value ? value->integerOr(0) : 0;
    };
    if (key.name == "midiLearn" || key.name == "needsShowOSC") {
        store_.set(key.name, key.byDefault);
    } else if (key.name == "defaultCompDurationM") {
        // Unsigned, because a file may hold numbers whose sum leaves 64 bits.
        const auto sum = static_cast<std::uint64_t>(stored("defaultCompDurationM")) +
                         static_cast<std::uint64_t>(stored("defaultCompDurationS"));
        if (sum != 0) return;
        store_.set("defaultCompDurationM", builtIn.durationMinutes);
        store_.set("defaultCompDurationS", builtIn.durationSeconds);
    } else if (key.name == "defaultCompFPS") {
        if (stored("defaultCompFPS") == 0) store_.set(key.name, builtIn.compFPS);
    } else if (!key.byDefault.isNone() && !isStored(key.name)) {
        store_.set(key.name, key.byDefault);
    }
}

void MarvoPreferencesController::takeOverOlderKeys() {
    // Once one key, which stood for both.
    constexpr std::string_view older = "processLastKeyframe";
    if (!isStored(older)) return;
    const PropertyList value = *store_.all().find(older);
    store_.set("processLastKeyframeOnUnpause", value);
    store_.set("processLastKeyframeOnJump", value);
    // The copies reach the disk before the original leaves it. Where that fails, the next start begins anew.
    if (store_.synchronise().empty()) store_.remove(older);
}

std::string MarvoPreferencesController::forgetModesOfTheLastRun() {
    store_.set("midiLearn", 0);
    store_.set("needsShowOSC", 0);
    return store_.synchronise();
}

bool MarvoPreferencesController::flag(std::string_view key) const {
    const PropertyList* value = store_.find(key);
    return value && value->boolOr(false);
}

std::int64_t MarvoPreferencesController::number(std::string_view key) const {
    const PropertyList* value = store_.find(key);
    return value ? value->integerOr(0) : 0;
}

std::string MarvoPreferencesController::text(std::string_view key) const {
    const PropertyList* value = store_.find(key);
    return std::string(value ? value->stringOr("") : "");
}

bool MarvoPreferencesController::change(std::string_view key, const PropertyList& value) {
    const PreferenceKey* known = preferenceKeyNamed(key);
    if (!known || !fits(known->type, value)) return false;
    store_.set(key, value);
    refreshPlayback();
    const bool isFlow = key == "displayValueFlow";
    const bool isFirstKeyframe = key == "processFirstKeyframe";
    if (isFlow) displayValueFlow_ = flag(key);
    if (observer_ && (isFlow || isFirstKeyframe)) observer_->redrawViews();
    if (observer_ && isFirstKeyframe) observer_->settingsChanged();
    return true;
}

std::string MarvoPreferencesController::setFromText(std::string_view key, std::string_view text) {
    const PreferenceReading reading = preferenceFromText(key, text);
    if (reading.error.empty()) change(key, reading.value);
    return reading.error;
}

void MarvoPreferencesController::changeFollowPlayhead() {
    change("followPlayheadDuringPlayback", !flag("followPlayheadDuringPlayback"));
}

void MarvoPreferencesController::changeDisplayValueFlowCurrentProject() {
    displayValueFlow_ = !displayValueFlow_;
    if (observer_) observer_->redrawViews();
}

void MarvoPreferencesController::compDefaultsChanged(std::int64_t minutes, std::int64_t seconds,
                                                     std::int64_t fps, bool loop) {
    const bool nothing = minutes == 0 && seconds == 0;
    change("defaultCompDurationM", minutes);
    change("defaultCompDurationS", nothing ? CompositionDefaults().durationSeconds : seconds);
    change("defaultCompFPS", fps);
    change("defaultCompLoopState", loop);
}

CompositionDefaults MarvoPreferencesController::compositionDefaults() const {
    // Bounds for a file that was edited by hand; a timeline of a thousand hours still counts in 64 bits.
    constexpr std::int64_t longestSeconds = 1000 * 3600;
    constexpr std::int64_t longestMinutes = longestSeconds / 60;
    constexpr std::int64_t fastest = 1000;
    CompositionDefaults defaults;
    const std::int64_t minutes = std::clamp(number("defaultCompDurationM"), -longestMinutes, longestMinutes);
    const std::int64_t seconds = std::clamp(number("defaultCompDurationS"), -longestSeconds, longestSeconds);
    if (minutes * 60 + seconds > 0) {
        defaults.durationMinutes = minutes;
        defaults.durationSeconds = seconds;
    }
    const std::int64_t fps = number("defaultCompFPS");
    if (fps > 0) defaults.compFPS = std::min(fps, fastest);
    if (store_.has("defaultCompLoopState")) defaults.loop = flag("defaultCompLoopState");
    return defaults;
}

std::string MarvoPreferencesController::defaultInterpolation() const {
    std::string stored = text("defaultInterpolation");
    return stored.empty() ? std::string(labelOfCurve(Curve::linear)) : stored;
}

std::string MarvoPreferencesController::selectedInterpolation() const {
    const std::string stored = text("defaultInterpolation");
    return std::string(curveWithLabel(stored) == Curve::unknown ? labelOfCurve(Curve::linear) : stored);
}

void MarvoPreferencesController::refreshPlayback() {
    playback_.optimalisedSending = flag("optimalisedSending");
    playback_.processFirstKeyframe = flag("processFirstKeyframe");
    playback_.processLastKeyframeOnUnpause = flag("processLastKeyframeOnUnpause");
    playback_.processLastKeyframeOnJump = flag("processLastKeyframeOnJump");
    playback_.rewindOnStop = flag("rewindOnStop");
    playback_.processCompositions = flag("processCompositions");
    playback_.followPlayheadDuringPlayback = flag("followPlayheadDuringPlayback");
    playback_.reprocessOnUnmute = flag("reprocessOnUnmute");
    playback_.blackoutOnMute = flag("blackoutOnMute");
    playback_.blackoutWhenSolo = flag("blackoutWhenSolo");
    playback_.recStopsAtEnd = flag("recStopsAtEnd");
    playback_.listenToMMC = flag("listenToMMC");
}

std::string MarvoPreferencesController::oscFeedbackTarget() const {
    return text("oscFeedbackTarget");
}

void MarvoPreferencesController::setOSCFeedbackTarget(const std::string& title) {
    change("oscFeedbackTarget", title);
}

} // namespace marvo
