#include "composition/MarvoTimelineCompositionTrack.h"

#include "composition/CompositionApplication.h"
#include "platform/MainThread.h"
#include "platform/Text.h"
#include "tracks/ControlRecords.h"
#include "tracks/KeptKeys.h"

#include <algorithm>
#include <cstdio>

namespace marvo {
namespace {

constexpr std::string_view knownKeys[] = {
    "trackPos", "trackType", "trackName", "enabledButton", "isLocked", "isCollapsed",
};

} // namespace

MarvoTimelineCompositionTrack::MarvoTimelineCompositionTrack(std::string trackType,
                                                             TrackComposition& composition,
                                                             CompositionServices& services)
    : enabledButton(services.controls), trackType_(std::move(trackType)), composition_(composition),
      services_(services) {
    enabledButton.setAction([this](MarvoButton&) { composition_.projectChanged(); });
    enabledButton.setState(true);
}

bool MarvoTimelineCompositionTrack::renameTrack(const std::string& name) {
    if (!composition_.isAvailableTrackName(name, false, this)) {
        composition_.beep();
        return false;
    }
    composition_.undoRenameOnTrack(trackPosition_, name);
    return true;
}

void MarvoTimelineCompositionTrack::lockTrack(bool locks) {
    services_.mainThread.sync([this, locks] {
        isSelected_ = false;
        isLocked_ = locks;
    });
    composition_.projectChanged();
}

void MarvoTimelineCompositionTrack::buildCompositionsList() {
    std::vector<std::string> names = services_.application.compositionNames();
    std::sort(names.begin(), names.end());
    sources_.clear();
    for (std::string& name : names) {
        const bool isOwn = name == composition_.compName();
        sources_.push_back({std::move(name), !isOwn});
    }
    const bool remains = std::any_of(sources_.begin(), sources_.end(),
                                     [this](const Source& source) { return source.title == source_; });
    if (!remains) source_ = sources_.empty() ? std::string() : sources_.front().title;
}

void MarvoTimelineCompositionTrack::selectCompositionSource(const std::string& title) {
    if (std::find(sources_.begin(), sources_.end(), Source{title, true}) != sources_.end()) source_ = title;
}

bool MarvoTimelineCompositionTrack::hasComposition() const {
    return std::find(sources_.begin(), sources_.end(), Source{source_, true}) != sources_.end();
}

std::string MarvoTimelineCompositionTrack::displayCompStartTime() const {
    const std::int64_t fps = std::max<std::int64_t>(composition_.compFPS(), 1);
    const std::int64_t seconds = startPosition_ / fps;
    char text[64];
    std::snprintf(text, sizeof text, "%02lld:%02lld:%02lld", static_cast<long long>(seconds / 60),
                  static_cast<long long>(seconds % 60), static_cast<long long>(startPosition_ % fps));
    return text;
}

void MarvoTimelineCompositionTrack::setOscAddresses() {
    trackMinValue_ = 0.0f;
    trackMaxValue_ = 1.0f;
    enabledButton.removeOSCListener();
    oscNamespace_ = composition_.oscNamespace() + "/" + removeBlanks(lowercase(lossyAscii(name_)));
    enabledButton.setOSCAddress(oscNamespace_ + "/enable", "integer 0-1");
    enabledButton.addOSCListener();
}

PropertyList MarvoTimelineCompositionTrack::backupDataForUndo(bool) const {
    PropertyList record = PropertyList::dictionary();
    record.set("trackPos", trackPosition_);
    record.set("trackType", trackType_);
    record.set("trackName", name_);
    record.set("enabledButton", propertyListOf(enabledButton.saveData()));
    record.set("isLocked", isLocked_);
    record.set("isCollapsed", laneHeight.isCollapsed());
    appendKeptKeys(record, keptRecord_);
    return record;
}

void MarvoTimelineCompositionTrack::restoreWithData(const PropertyList& record, bool, LoadReport*) {
    keptRecord_ = keptKeysOf(record, knownKeys);
    if (const PropertyList* position = record.find("trackPos"))
        trackPosition_ = position->integerOr(trackPosition_);
    if (const PropertyList* saved = record.find("trackName")) {
        std::string name(saved->stringOr(name_));
        while (!name.empty() && !composition_.isAvailableTrackName(name, false, this)) name += " (copy)";
        if (!name.empty()) name_ = std::move(name);
    }
    if (const auto saved = controlRecordFrom(record.find("enabledButton")))
        enabledButton.loadWithData(&*saved);
    if (const PropertyList* locked = record.find("isLocked"); locked && locked->boolOr(false))
        lockTrack(true);
    const PropertyList* collapsed = record.find("isCollapsed");
    if (collapsed && collapsed->boolOr(false)) laneHeight.collapse();
}

} // namespace marvo
