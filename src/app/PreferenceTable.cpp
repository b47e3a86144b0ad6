#include "app/PreferenceTable.h"

#include "platform/Dates.h"
#include "platform/PreferenceStore.h"
#include "platform/Text.h"
#include "tracks/Curves.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <vector>

namespace marvo {
namespace {

std::string quoted(std::string_view text) {
    return "\"" + escapeForLog(text) + "\"";
}

std::optional<bool> booleanFrom(std::string_view text) {
    const auto isOneOf = [text](std::initializer_list<std::string_view> words) {
        return std::find(words.begin(), words.end(), text) != words.end();
    };
    if (isOneOf({"true", "yes", "on", "1"})) return true;
    if (isOneOf({"false", "no", "off", "0"})) return false;
    return std::nullopt;
}

std::optional<std::int64_t> integerFrom(std::string_view text) {
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

PreferenceReading refused(std::string_view key, const std::string& wanted, std::string_view text) {
    return {{}, "preference " + quoted(key) + " is " + wanted + ", not " + quoted(text)};
}

} // namespace

std::span<const PreferenceKey> preferenceKeys() {
    using enum PreferenceType;
    static const std::vector<PreferenceKey> keys = {
        {"midiLearn", integer, 0},
        {"needsShowOSC", integer, 0},
        {"defaultCompLoopState", boolean, true},
        // These three have a default that depends on more than their absence: see loadDefaults.
        {"defaultCompDurationM", integer, {}},
        {"defaultCompDurationS", integer, {}},
        {"defaultCompFPS", integer, {}},
        {"defaultInterpolation", string, labelOfCurve(Curve::linear)},
        {"processCompositions", boolean, {}},
        {"processKeyframes", boolean, {}},
        {"enableBetaUpdates", boolean, false},
        {"checkForUpdates", boolean, {}},
        {"reprocessOnUnmute", boolean, true},
        {"ignorePlayButtonsOnLoading", boolean, false},
        {"zoomToPlayhead", boolean, true},
        {"recStopsAtEnd", boolean, true},
        {"rewindOnStop", boolean, false},
        {"optimalisedSending", boolean, true},
        {"blackoutOnMute", boolean, true},
        {"blackoutWhenSolo", boolean, true},
        {"displayValueFlow", boolean, false},
        {"processFirstKeyframe", boolean, false},
        {"processLastKeyframeOnUnpause", boolean, false},
        {"processLastKeyframeOnJump", boolean, false},
        {"normalisedRecording", boolean, true},
        {"disableConfirmOnQuit", boolean, false},
        {"queueFromCurrentComposition", boolean, false},
        {"listenToMMC", boolean, false},
        {"followPlayheadDuringPlayback", boolean, true},
        {"showStartupWindow", boolean, {}},
        {"ShowColumnIndexes", boolean, {}},
        {"lastRun", date, {}},
        {"clockVisible", integer, {}},
        {"mtcVisible", integer, {}},
        {"dipSwitchVisible", integer, {}},
        {"dmxMonitorVisible", integer, {}},
        {"rangeSelectPanelVisible", integer, {}},
        {"PresetsVersion", string, {}},
        {"oscFeedbackTarget", string, {}},
        {"lastArtNetNetworkInterface", string, {}},
    };
    return keys;
}

const PreferenceKey* preferenceKeyNamed(std::string_view name) {
    const std::span<const PreferenceKey> keys = preferenceKeys();
    const auto found =
        std::find_if(keys.begin(), keys.end(), [name](const auto& key) { return key.name == name; });
    return found == keys.end() ? nullptr : &*found;
}

PreferenceReading preferenceFromText(std::string_view key, std::string_view text) {
    const PreferenceKey* known = preferenceKeyNamed(key);
    if (!known) return {{}, "there is no preference " + quoted(key)};
    switch (known->type) {
    case PreferenceType::boolean:
        if (const std::optional<bool> value = booleanFrom(text)) return {*value, {}};
        return refused(key, "true or false", text);
    case PreferenceType::integer:
        if (const std::optional<std::int64_t> value = integerFrom(text)) return {*value, {}};
        return refused(key, "a whole number", text);
    case PreferenceType::date:
        if (const std::optional<double> value = parseIsoDate(text)) return {PropertyList::date(*value), {}};
        return refused(key, "a date such as 2026-11-21T04:00:00Z", text);
    case PreferenceType::string:
        break;
    }
    if (!isValidUtf8(text)) return refused(key, "UTF-8 text", text);
    if (key == "defaultInterpolation" && curveWithLabel(text) == Curve::unknown) {
        return refused(key, "the label of a curve such as \"Sine Ease-In\"", text);
    }
    return {text, {}};
}

std::string setPreferenceOverride(PreferenceStore& store, std::string_view key, std::string_view text) {
    PreferenceReading reading = preferenceFromText(key, text);
    if (reading.error.empty()) store.setOverride(key, std::move(reading.value));
    return reading.error;
}

} // namespace marvo
