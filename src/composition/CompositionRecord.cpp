#include "composition/CompositionRecord.h"

#include "composition/CompositionApplication.h"
#include "composition/CompositionTimeMath.h"
#include "composition/CueRecords.h"
#include "composition/MarvoTimelineController.h"
#include "platform/Log.h"
#include "platform/Numbers.h"
#include "tracks/ControlRecords.h"
#include "tracks/KeptKeys.h"

#include <string_view>

namespace marvo {
namespace {

constexpr std::string_view knownKeys[] = {
    "tracks",       "compFPS",          "compTime",        "compSpeed",           "throttler",
    "compName",     "trackAddButton",   "playButton",      "rewindButton",        "recButton",
    "loopButton",   "zoomInButton",     "zoomOutButton",   "syncOutButton",       "compStateButton",
    "compState",    "compSpeedAssigns", "mtcOutStartTime", "mtcOutFPS",           "mtcOutDestination",
    "mtcOutButton", "transmitsMMC",     "transmitsMTC",    "useCompIDWithMMC",    "midiSyncSourcePopup",
    "mtcFormat",    "smpteOffset",      "cueController",   "lastOSCTrackAddress", "lastOSCFlagAddress",
};

std::int64_t readFrameRate(const PropertyList& record, const std::string& where, LoadReport* report) {
    const PropertyList* value = record.find("compFPS");
    const std::int64_t fps = value ? value->integerOr(0) : 0;
    if (fps >= 1) return fps;
    if (report) report->add(where + ": no frame rate; it cannot be played until it gets one");
    return 0;
}

float readLength(const PropertyList& record, const std::string& where, LoadReport* report) {
    const PropertyList* value = record.find("compTime");
    const float seconds = value ? static_cast<float>(value->realOr(0.0)) : 0.0f;
    if (seconds >= 0.0f && seconds <= longestComposition) return seconds;
    if (report) report->add(where + ": the length is not a number of seconds; 0 is used");
    return 0.0f;
}

void readSync(MarvoTimelineController& composition, const PropertyList& record) {
    CompositionSync& sync = composition.sync;
    if (const auto* value = record.find("mtcFormat"))
        sync.mtcFormat = static_cast<std::uint32_t>(value->integerOr(3));
    if (const auto* value = record.find("smpteOffset")) sync.smpteOffset = value->realOr(0.0);
    if (const auto* value = record.find("transmitsMMC")) sync.transmitsMMC = value->boolOr(false);
    if (const auto* value = record.find("transmitsMTC")) sync.transmitsMTC = value->boolOr(false);
    if (const auto* value = record.find("useCompIDWithMMC")) sync.useCompIDWithMMC = value->boolOr(false);
}

void readSyncOut(MarvoTimelineController& composition, const PropertyList& record) {
    CompositionSync& sync = composition.sync;
    if (const auto* value = record.find("mtcOutStartTime")) sync.mtcOutStartTime = value->realOr(0.0);
    if (const auto* value = record.find("mtcOutFPS")) sync.mtcOutFPS = value->stringOr("11");
    if (const auto* value = record.find("mtcOutDestination")) sync.mtcOutDestination = value->stringOr("");
}

void readName(MarvoTimelineController& composition, CompositionServices& services, const PropertyList& record,
              bool byImport) {
    const PropertyList* value = record.find("compName");
    if (!value) return;
    std::string name(value->stringOr(""));
    if (byImport) {
        do {
            name += " (imp.)";
        } while (!services.application.isAvailableCompName(name, true));
    }
    composition.setCompName(std::move(name));
}

void readThrottler(MarvoTimelineController& composition, const PropertyList& record) {
    const PropertyList* throttler = record.find("throttler");
    if (!throttler || !throttler->isDictionary()) return;
    ThrottlerRecord frames;
    if (const auto* in = throttler->find("inTime")) frames.inTime = in->integerOr(0);
    if (const auto* out = throttler->find("outTime")) frames.outTime = out->integerOr(0);
    composition.markerController.loadData(frames);
}

void loadControl(LearnableControl& control, const PropertyList& record, std::string_view key) {
    const std::optional<ControlRecord> saved = controlRecordFrom(record.find(key));
    control.loadWithData(saved ? &*saved : nullptr);
}

} // namespace

PropertyList saveComposition(const MarvoTimelineController& composition) {
    const CompositionControls& controls = composition.controls;
    const CompositionSync& sync = composition.sync;
    PropertyList record = PropertyList::dictionary();
    record.set("tracks", composition.tracks.saveData());
    record.set("compFPS", composition.state.compFPS.get());
    record.set("compTime", composition.state.compTime.get());
    record.set("compSpeed", controls.compSpeed.title());
    PropertyList throttler = PropertyList::dictionary();
    throttler.set("inTime", composition.markerController.inTime().value);
    throttler.set("outTime", composition.markerController.outTime().value);
    record.set("throttler", std::move(throttler));
    record.set("compName", composition.compName());
    record.set("trackAddButton", propertyListOf(controls.trackAddButton.saveData()));
    record.set("playButton", propertyListOf(controls.playButton.saveData()));
    record.set("rewindButton", propertyListOf(controls.rewindButton.saveData()));
    record.set("recButton", propertyListOf(controls.recButton.saveData()));
    record.set("loopButton", propertyListOf(controls.loopButton.saveData()));
    record.set("zoomInButton", propertyListOf(controls.zoomInButton.saveData()));
    record.set("zoomOutButton", propertyListOf(controls.zoomOutButton.saveData()));
    record.set("syncOutButton", propertyListOf(controls.syncOutButton.saveData()));
    record.set("compStateButton", propertyListOf(controls.compStateButton.saveData()));
    record.set("compState", composition.state.compState.get());
    record.set("compSpeedAssigns", propertyListOf(controls.compSpeed.saveData()));
    record.set("mtcOutStartTime", sync.mtcOutStartTime);
    record.set("mtcOutFPS", sync.mtcOutFPS);
    if (sync.mtcOutDestination) record.set("mtcOutDestination", *sync.mtcOutDestination);
    record.set("transmitsMMC", sync.transmitsMMC);
    record.set("transmitsMTC", sync.transmitsMTC);
    record.set("useCompIDWithMMC", sync.useCompIDWithMMC);
    record.set("midiSyncSourcePopup", sync.lastSelectedSyncItem);
    record.set("mtcFormat", static_cast<std::int64_t>(sync.mtcFormat));
    record.set("smpteOffset", static_cast<float>(sync.smpteOffset));
    PropertyList cues = saveCues(composition.cueController, composition.keptCueRecord);
    composition.cueControls.saveInto(cues);
    record.set("cueController", std::move(cues));
    record.set("lastOSCTrackAddress", composition.lastOSCTrackAddress);
    record.set("lastOSCFlagAddress", composition.lastOSCFlagAddress);
    appendKeptKeys(record, composition.keptRecord);
    return record;
}

void loadComposition(MarvoTimelineController& composition, CompositionServices& services,
                     const PropertyList* saved, bool byImport, LoadReport* report) {
    const PropertyList empty = PropertyList::dictionary();
    const PropertyList& record = saved && saved->isDictionary() ? *saved : empty;
    CompositionControls& controls = composition.controls;
    const auto* nameValue = record.find("compName");
    const std::string where =
        "composition \"" + (nameValue ? std::string(nameValue->stringOr("")) : "") + "\"";

    composition.keptRecord = keptKeysOf(record, knownKeys);
    readSync(composition, record);
    composition.state.compFPS = readFrameRate(record, where, report);
    composition.state.compTime = readLength(record, where, report);
    if (const auto* speed = record.find("compSpeed")) {
        controls.compSpeed.setTitle(std::string(speed->stringOr("")));
        composition.changeCompSpeed();
    }
    loadControl(controls.compStateButton, record, "compStateButton");
    if (const auto* value = record.find("compState")) {
        composition.state.compState = value->boolOr(true);
        controls.compStateButton.setState(composition.state.compState);
    }
    readName(composition, services, record, byImport);
    readThrottler(composition, record);
    composition.tracks.loadData(record.find("tracks"), report);
    loadControl(controls.trackAddButton, record, "trackAddButton");
    loadControl(controls.loopButton, record, "loopButton");
    // The zoom buttons take their assignment from the loop button's record; their own is written and never
    // read.
    loadControl(controls.zoomInButton, record, "loopButton");
    loadControl(controls.zoomOutButton, record, "loopButton");
    loadControl(controls.rewindButton, record, "rewindButton");
    loadControl(controls.compSpeed, record, "compSpeedAssigns");
    composition.refreshComposition();
    log(services.log, "done refreshComposition, recalculate track positions");
    composition.tracks.recalculateTrackPositions();
    composition.updateTrackPositionsWithAnimation(false);
    composition.keptCueRecord =
        loadCues(composition.cueController, services.compQueue, record.find("cueController"),
                 endFrame(composition.state.compTime, composition.state.compFPS), where, report);
    const PropertyList* cueRecord = record.find("cueController");
    composition.cueControls.loadFrom(cueRecord && cueRecord->isDictionary() ? cueRecord : nullptr);
    composition.setOSCAddresses();
    if (const auto* value = record.find("midiSyncSourcePopup")) {
        composition.sync.lastSelectedSyncItem = value->stringOr("Normal Tempo");
    }
    composition.transport.handlePositionOnStart();
    readSyncOut(composition, record);
    loadControl(controls.syncOutButton, record,
                record.find("mtcOutButton") ? "mtcOutButton" : "syncOutButton");
    const auto* trackAddress = record.find("lastOSCTrackAddress");
    composition.lastOSCTrackAddress = trackAddress ? trackAddress->stringOr("/example") : "/example";
    const auto* flagAddress = record.find("lastOSCFlagAddress");
    composition.lastOSCFlagAddress = flagAddress ? flagAddress->stringOr("/example") : "/example";
    std::optional<ControlRecord> play = controlRecordFrom(record.find("playButton"));
    if (play && services.application.ignorePlayButtonsOnLoading()) play->state = false;
    controls.playButton.loadWithData(play ? &*play : nullptr);
    loadControl(controls.recButton, record, "recButton");
}

} // namespace marvo
