// The saved record of a track: what MarvoTimelineTrack writes, and how it is read.
#include "endpoints/osc/MarvoOSCManager.h"
#include "platform/SerialQueue.h"
#include "platform/Text.h"
#include "tracks/ControlRecords.h"
#include "tracks/KeptKeys.h"
#include "tracks/KeyframeRecords.h"
#include "tracks/MarvoTimelineTrack.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace marvo {
namespace {

// Read or written by this class. "compFPS" and "artNetRepeat" are older forms that are converted once.
constexpr std::string_view knownKeys[] = {
    "trackPos",
    "trackType",
    "enabledButton",
    "trackName",
    "midiNotesTo",
    "midiNotesFrom",
    "midiChannel",
    "midiCC",
    "midiCC14bitButton",
    "trackOSCType",
    "trackMinValue",
    "trackMaxValue",
    "isUsing5FractionDigits",
    "trackOSCAddress",
    "oscPortName",
    "artNetChannel",
    "artNetOutput",
    "artNet16bitButton",
    "midiNodeName",
    "markedForRecord",
    "keyFrames",
    "isLocked",
    "isCollapsed",
    "cachedMuteState",
    "recordedSession",
    "sendsNormalisedValue",
    "specialSettings",
    "compFPS",
    "lastSelectedOSCOutput",
    "lastSelectedMIDIOutput",
    "lastSelectedArtNetOutput",
};

std::string textOf(const PropertyList& record, std::string_view key, std::string fallback = {}) {
    const PropertyList* value = record.find(key);
    return value ? std::string(value->stringOr(fallback)) : fallback;
}

// Nothing but a whole number from 0 to 127.
std::optional<int> noteFrom(std::string_view text) {
    int note = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), note);
    if (error != std::errc() || end != text.data() + text.size() || note < 0 || note > 127)
        return std::nullopt;
    return note;
}

void loadButton(MarvoButton& button, const PropertyList& record, std::string_view key) {
    const std::optional<ControlRecord> saved = controlRecordFrom(record.find(key));
    if (saved) button.loadWithData(&*saved);
}

} // namespace

std::string MarvoTimelineTrack::where() const {
    return "composition \"" + composition_.compName() + "\", track \"" + name_ + "\"";
}

KeyframeTrackKind MarvoTimelineTrack::keyframeKind() const {
    switch (kind_) {
    case TrackKind::oscValue:
        return trackOSCType_ == 0 ? KeyframeTrackKind::oscFloat : KeyframeTrackKind::oscOther;
    case TrackKind::midiNotes:
        return KeyframeTrackKind::midiNotes;
    default:
        return KeyframeTrackKind::other;
    }
}

void MarvoTimelineTrack::addSettings(PropertyList& record) const {
    if (kind_ == TrackKind::midiNotes) {
        record.set("midiNotesTo", settings_.midiNotesTo);
        record.set("midiNotesFrom", settings_.midiNotesFrom);
    }
    if (isMIDI(kind_)) record.set("midiChannel", settings_.midiChannel);
    if (kind_ == TrackKind::midiCC) {
        record.set("midiCC", settings_.midiCC);
        record.set("midiCC14bitButton", propertyListOf(midiCC14bitButton.saveData()));
    }
    if (kind_ == TrackKind::oscFlag) {
        record.set("oscPortName", settings_.oscOut);
    } else if (isOSC(kind_)) {
        record.set("trackOSCType", trackOSCType_);
        record.set("trackMinValue", trackMinValue_);
        record.set("trackMaxValue", trackMaxValue_);
        record.set("isUsing5FractionDigits", isUsing5FractionDigits_);
        record.set("trackOSCAddress", oscAddress_);
        record.set("oscPortName", settings_.oscOut);
    } else if (isArtNet(kind_)) {
        record.set("artNetChannel", settings_.artNetChannel);
        if (!settings_.artNetOutput.empty()) record.set("artNetOutput", settings_.artNetOutput);
        record.set("artNet16bitButton", propertyListOf(artNet16bitButton.saveData()));
    } else {
        record.set("midiNodeName", settings_.midiOut);
    }
}

// An output that is waited for is not saved, but a track that comes back goes on waiting for it.
void MarvoTimelineTrack::addMissingOutputs(PropertyList& record) const {
    const auto add = [&](std::string_view key, const std::string& label) {
        if (!label.empty()) record.set(key, label);
    };
    add("lastSelectedOSCOutput", settings_.lastSelectedOSCOutput);
    add("lastSelectedMIDIOutput", settings_.lastSelectedMIDIOutput);
    add("lastSelectedArtNetOutput", settings_.lastSelectedArtNetOutput);
}

PropertyList MarvoTimelineTrack::backupDataForUndo(bool forUndo) const {
    PropertyList record = PropertyList::dictionary();
    record.set("trackPos", trackPosition_);
    record.set("trackType", trackType_);
    record.set("enabledButton", propertyListOf(enabledButton.saveData()));
    record.set("trackName", name_);
    addSettings(record);
    if (markedForRecord_.isArray()) record.set("markedForRecord", markedForRecord_);
    record.set("keyFrames", keyframes_.records(forUndo));
    if (forUndo) addMissingOutputs(record);
    record.set("isLocked", isLocked_);
    record.set("isCollapsed", laneHeight.isCollapsed());
    record.set("cachedMuteState", cachedMuteState_);
    record.set("recordedSession", recordedSession_.get());
    record.set("sendsNormalisedValue", sendsNormalisedValue_);
    PropertyList special = specialSettings();
    appendKeptKeys(special, keptSpecial_);
    if (special.size() > 0) record.set("specialSettings", std::move(special));
    appendKeptKeys(record, keptRecord_);
    return record;
}

void MarvoTimelineTrack::restoreName(const PropertyList& record) {
    std::string name = textOf(record, "trackName", name_);
    while (!name.empty() && !composition_.isAvailableTrackName(name, false, this)) name += " (copy)";
    if (!name.empty()) setName(std::move(name));
}

void MarvoTimelineTrack::restoreNotes(const PropertyList& record, LoadReport* report) {
    std::string from = textOf(record, "midiNotesFrom", settings_.midiNotesFrom);
    std::string to = textOf(record, "midiNotesTo", settings_.midiNotesTo);
    const std::optional<int> first = noteFrom(from);
    const std::optional<int> last = noteFrom(to);
    if (first && last && *first <= *last) {
        settings_.midiNotesFrom = std::move(from);
        settings_.midiNotesTo = std::move(to);
    } else {
        repair(report, "the notes from \"" + escapeForLog(from) + "\" to \"" + escapeForLog(to) +
                           "\" are no range; " + settings_.midiNotesFrom + " to " + settings_.midiNotesTo +
                           " is used");
    }
    midiRangeChanged();
}

void MarvoTimelineTrack::restoreRange(const PropertyList& record, LoadReport* report) {
    const auto warn = [&](const std::string& text) {
        if (services_.log) services_.log->log(text);
        if (report) report->add(where() + ": " + text);
    };
    const PropertyList* minimum = record.find("trackMinValue");
    const PropertyList* maximum = record.find("trackMaxValue");
    trackMinValue_ = minimum ? static_cast<float>(minimum->realOr(0.0)) : 0.0f;
    trackMaxValue_ = maximum ? static_cast<float>(maximum->realOr(0.0)) : 0.0f;
    if (!std::isfinite(trackMinValue_)) {
        warn("POSSIBLE PROBLEM: trackMin isnan/isinf");
        trackMinValue_ = 0.0f;
    }
    if (!std::isfinite(trackMaxValue_)) {
        warn("POSSIBLE PROBLEM: trackMax isnan/isinf");
        trackMaxValue_ = trackMinValue_ + 1.0f;
    }
    if (trackMaxValue_ < trackMinValue_) {
        warn("POSSIBLE PROBLEM: trackMax<trackMin");
        std::swap(trackMinValue_, trackMaxValue_);
    }
}

void MarvoTimelineTrack::restoreOSC(const PropertyList& record, LoadReport* report) {
    trackOSCType_ = record.find("trackOSCType")->integerOr(0);
    restoreRange(record, report);
    if (const PropertyList* five = record.find("isUsing5FractionDigits"))
        isUsing5FractionDigits_ = five->boolOr(false);
    if (const PropertyList* normal = record.find("sendsNormalisedValue"))
        sendsNormalisedValue_ = normal->boolOr(false);
    oscAddress_ = textOf(record, "trackOSCAddress");
}

std::string MarvoTimelineTrack::restoreOutput(const std::string& wanted,
                                              const std::vector<std::string>& titles, std::string& selected,
                                              LoadReport* report) {
    const bool isThere = std::find(titles.begin(), titles.end(), wanted) != titles.end();
    if (isThere || titles.empty()) {
        selected = wanted;
        return {};
    }
    selected = titles.front();
    if (wanted.empty()) return {};
    if (report) {
        report->add(where() + ": the output \"" + escapeForLog(wanted) + "\" is not there; \"" +
                    escapeForLog(selected) + "\" is used until it returns");
    }
    return wanted;
}

void MarvoTimelineTrack::restoreArtNet(const PropertyList& record) {
    settings_.artNetChannel = textOf(record, "artNetChannel", "1");
    if (const PropertyList* special = record.find("specialSettings")) {
        if (const PropertyList* repeat = special->find("artNetRepeat")) {
            settings_.artNetChannel +=
                "x" + std::string(repeat->stringOr(std::to_string(repeat->integerOr(1))));
        }
    }
    channels_ = DMXChannelList::createDMXChannelsWithString(settings_.artNetChannel);
    settings_.artNetChannel = channels_.stringValueOfDMXChannels();
    loadButton(artNet16bitButton, record, "artNet16bitButton");
}

void MarvoTimelineTrack::restoreSpecials(const PropertyList* special) {
    if (!special || !special->isDictionary()) return;
    restoreSpecialSettings(*special);
    // What this class writes was read; the older form has gone into the channel text.
    keptSpecial_ = *special;
    keptSpecial_.remove("artNetRepeat");
    const PropertyList written = specialSettings();
    for (const auto& [key, value] : written.entries()) keptSpecial_.remove(key);
}

void MarvoTimelineTrack::restoreWithData(const PropertyList& record, bool shouldRestoreTrackPosition,
                                         LoadReport* report) {
    keptRecord_ = keptKeysOf(record, knownKeys);
    if (const PropertyList* position = record.find("trackPos"); position && shouldRestoreTrackPosition) {
        trackPosition_ = position->integerOr(trackPosition_);
    }
    loadButton(enabledButton, record, "enabledButton");
    isEnabled_ = enabledButton.state();
    news_.raise();
    restoreName(record);

    if (record.find("midiNotesTo")) restoreNotes(record, report);
    settings_.midiChannel = textOf(record, "midiChannel", settings_.midiChannel);
    if (record.find("midiCC")) {
        settings_.midiCC = textOf(record, "midiCC", "0");
        loadButton(midiCC14bitButton, record, "midiCC14bitButton");
    }
    std::string wantedOutput;
    std::string wantedMIDIOutput;
    std::string wantedArtNetOutput;
    if (record.find("oscPortName")) {
        wantedOutput = textOf(record, "oscPortName");
        if (services_.oscManager.findOutputWithLabel(wantedOutput)) {
            settings_.oscOut = wantedOutput;
            wantedOutput.clear();
        } else if (isOSC(kind_) && report) {
            report->add(where() + ": the OSC output \"" + escapeForLog(wantedOutput) + "\" is not there; \"" +
                        settings_.oscOut + "\" is used until it returns");
        }
    }
    if (record.find("trackOSCType")) {
        restoreOSC(record, report);
    } else if (record.find("artNetChannel")) {
        restoreArtNet(record);
        if (record.find("artNetOutput")) {
            wantedArtNetOutput =
                restoreOutput(textOf(record, "artNetOutput"), services_.dmx.artNetOutputNames(),
                              settings_.artNetOutput, report);
        }
    } else if (record.find("midiNodeName")) {
        const std::string title = textOf(record, "midiNodeName");
        if (isMIDI(kind_)) {
            wantedMIDIOutput = restoreOutput(title, midiOutputTitles(), settings_.midiOut, report);
        } else {
            settings_.midiOut = title;
        }
    }
    if (const PropertyList* marked = record.find("markedForRecord")) markedForRecord_ = *marked;
    restoreSpecials(record.find("specialSettings"));
    restoreKeyframes(record, report);
    trackSettingsChangedAndShouldReprocess(!services_.shouldIgnoreRendering());
    // What is missing is remembered after the change, which forgets.
    if (wantedOutput.empty()) wantedOutput = textOf(record, "lastSelectedOSCOutput");
    if (!wantedOutput.empty()) settings_.lastSelectedOSCOutput = wantedOutput;
    settings_.lastSelectedMIDIOutput =
        wantedMIDIOutput.empty() ? textOf(record, "lastSelectedMIDIOutput") : wantedMIDIOutput;
    settings_.lastSelectedArtNetOutput =
        wantedArtNetOutput.empty() ? textOf(record, "lastSelectedArtNetOutput") : wantedArtNetOutput;
    if (const PropertyList* value = record.find("isLocked"); value && value->boolOr(false)) lockTrack(true);
    if (const PropertyList* value = record.find("isCollapsed"); value && value->boolOr(false))
        laneHeight.collapse();
    if (const PropertyList* value = record.find("cachedMuteState")) cachedMuteState_ = value->integerOr(0);
    if (const PropertyList* value = record.find("recordedSession")) recordedSession_ = value->boolOr(false);
    news_.raise();
}

} // namespace marvo
