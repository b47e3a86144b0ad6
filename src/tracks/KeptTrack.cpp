#include "tracks/KeptTrack.h"

#include "tracks/ControlRecords.h"

namespace marvo {

KeptTrack::KeptTrack(std::string trackType, TrackComposition& composition, TrackServices& services)
    : trackType_(std::move(trackType)), composition_(composition), enabledButton_(services.controls) {
    enabledButton_.setState(true);
}

std::size_t KeptTrack::keyframeCount() const {
    const PropertyList* keyframes = record_.find("keyFrames");
    return keyframes && keyframes->isDictionary() ? keyframes->size() : 0;
}

void KeptTrack::refreshKeyFramesWithRatio(float ratio) {
    const PropertyList* keyframes = record_.find("keyFrames");
    if (!keyframes || !keyframes->isDictionary()) return;
    PropertyList scaled = PropertyList::dictionary();
    for (const auto& [key, keyframe] : keyframes->entries()) {
        PropertyList copy = keyframe;
        if (const PropertyList* time = keyframe.find("time")) {
            const float moved = static_cast<float>(time->integerOr(0)) * ratio;
            copy.set("time", PropertyList(static_cast<double>(moved)).integerOr(0));
        }
        scaled.set(key.view(), std::move(copy));
    }
    record_.set("keyFrames", std::move(scaled));
}

std::vector<PropertyList> KeptTrack::trimKeyframesAfter(float limit) {
    std::vector<PropertyList> trimmed;
    const PropertyList* keyframes = record_.find("keyFrames");
    if (!keyframes || !keyframes->isDictionary()) return trimmed;
    PropertyList rest = PropertyList::dictionary();
    for (const auto& [key, keyframe] : keyframes->entries()) {
        const PropertyList* time = keyframe.find("time");
        if (time && static_cast<float>(time->integerOr(0)) > limit) {
            trimmed.push_back(keyframe);
        } else {
            rest.set(std::to_string(rest.size()), keyframe);
        }
    }
    if (!trimmed.empty()) record_.set("keyFrames", std::move(rest));
    return trimmed;
}

std::uint64_t KeptTrack::addNewKeyFrameWithData(const PropertyList& record) {
    const PropertyList* present = record_.find("keyFrames");
    PropertyList keyframes = present && present->isDictionary() ? *present : PropertyList::dictionary();
    keyframes.set(std::to_string(keyframes.size()), record);
    record_.set("keyFrames", std::move(keyframes));
    return 0;
}

PropertyList KeptTrack::backupDataForUndo(bool) const {
    PropertyList record = record_;
    record.set("trackPos", trackPosition_);
    record.set("trackType", trackType_);
    record.set("enabledButton", propertyListOf(enabledButton_.saveData()));
    record.set("trackName", name_);
    return record;
}

void KeptTrack::restoreWithData(const PropertyList& record, bool shouldRestoreTrackPosition, LoadReport*) {
    record_ = record;
    if (const PropertyList* position = record.find("trackPos"); position && shouldRestoreTrackPosition) {
        trackPosition_ = position->integerOr(trackPosition_);
    }
    if (const auto saved = controlRecordFrom(record.find("enabledButton")))
        enabledButton_.loadWithData(&*saved);
    const PropertyList* saved = record.find("trackName");
    std::string name(saved ? saved->stringOr("") : "");
    while (!name.empty() && !composition_.isAvailableTrackName(name, false, this)) name += " (copy)";
    if (!name.empty()) name_ = std::move(name);
}

} // namespace marvo
