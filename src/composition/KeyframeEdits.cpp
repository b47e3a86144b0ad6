#include "composition/KeyframeEdits.h"

#include "composition/MarvoTimelineController.h"
#include "composition/UndoGroup.h"
#include "tracks/MarvoTimelineColorTrack.h"
#include "tracks/MarvoTimelineFlagTrack.h"
#include "tracks/MarvoTimelineTrack.h"

#include <algorithm>

namespace marvo {
namespace {

constexpr const char* addName = "Add Keyframe";
constexpr const char* removeName = "Remove Keyframe";
constexpr const char* curveName = "Change Keyframe Interpolation";
constexpr const char* velocityName = "Change Keyframe Velocity";
constexpr const char* colorName = "Set Color of Keyframes";

std::vector<std::uint64_t> selectedUIDs(const MarvoTimelineTrack& track) {
    std::vector<std::uint64_t> uIDs;
    for (const KeyframePlace& place : track.keyframes().selectedKeyframes()) uIDs.push_back(place.uID);
    return uIDs;
}

float heldVelocity(float velocity) {
    // Also for what is no number.
    return velocity > 0.0f ? std::min(velocity, 127.0f) : 0.0f;
}

} // namespace

std::optional<std::uint64_t> KeyframeEdits::addNewKeyFrameOnTrack(std::int64_t trackPosition,
                                                                  const PropertyList& record) {
    MarvoTimelineTrackProtocol* track = composition_.tracks.trackAtPosition(trackPosition);
    if (!track) return std::nullopt;
    const std::uint64_t uID = track->addNewKeyFrameWithData(record);
    composition_.registerUndoOfAddedKeyframe(uID, trackPosition);
    composition_.projectChanged();
    return uID;
}

bool KeyframeEdits::undoRemoveKeyFrameWithUID(std::uint64_t uID, std::int64_t trackPosition) {
    // The track registers the way back.
    MarvoTimelineTrackProtocol* track = composition_.tracks.trackAtPosition(trackPosition);
    return track && track->removeKeyFrameWithUID(uID);
}

void KeyframeEdits::undoRemoveKeyFramesWithUIDs(const std::vector<std::uint64_t>& uIDs,
                                                std::int64_t trackPosition) {
    MarvoTimelineTrack* track = composition_.tracks.plainTrackAtPosition(trackPosition);
    if (!track) return;
    std::vector<PropertyList> records = track->removeKeyFramesWithUIDs(uIDs);
    if (records.empty()) return;
    composition_.registerUndo(removeName, [this, trackPosition, records = std::move(records)] {
        addKeyFrames(trackPosition, records);
    });
    composition_.projectChanged();
}

void KeyframeEdits::addKeyFrames(std::int64_t trackPosition, const std::vector<PropertyList>& records) {
    MarvoTimelineTrack* track = composition_.tracks.plainTrackAtPosition(trackPosition);
    if (!track) return;
    std::vector<std::uint64_t> uIDs = track->addNewKeyFramesWithData(records);
    composition_.registerUndo(addName, [this, trackPosition, uIDs = std::move(uIDs)] {
        undoRemoveKeyFramesWithUIDs(uIDs, trackPosition);
    });
    composition_.projectChanged();
}

void KeyframeEdits::undoSetInterpolation(const std::string& interpolation) {
    const UndoGroup group(services_.undo, curveName);
    for (MarvoTimelineTrack* track : composition_.tracks.plainTracks()) {
        std::vector<CurveOfKeyframe> curves;
        for (const std::uint64_t uID : selectedUIDs(*track)) curves.push_back({uID, interpolation});
        exchangeCurves(track->trackPosition(), std::move(curves));
    }
}

void KeyframeEdits::setInterpolation(const std::string& interpolation, std::int64_t trackPosition,
                                     std::uint64_t uID) {
    exchangeCurves(trackPosition, {{uID, interpolation}});
}

void KeyframeEdits::exchangeCurves(std::int64_t trackPosition, std::vector<CurveOfKeyframe> curves) {
    MarvoTimelineTrack* track = composition_.tracks.plainTrackAtPosition(trackPosition);
    if (!track || curves.empty() || track->kind() == TrackKind::oscFlag) return;
    track->keyframes().edit([&](KeyframeStore& store) {
        store.visit(curves, [](MarvoTimelineKeyframe& keyframe, CurveOfKeyframe& one) {
            std::string before(keyframe.interpolationType());
            keyframe.setInterpolationType(one.label);
            one.label = std::move(before);
        });
    });
    if (curves.empty()) return;
    composition_.registerUndo(curveName,
                              [this, trackPosition, curves] { exchangeCurves(trackPosition, curves); });
    composition_.projectChanged();
}

void KeyframeEdits::undoSetNoteVelocityOn(float velocity) {
    setVelocityOfSelected(velocity, std::nullopt);
}

void KeyframeEdits::undoSetNoteVelocityOff(float velocity) {
    setVelocityOfSelected(std::nullopt, velocity);
}

void KeyframeEdits::setVelocityOfSelected(std::optional<float> on, std::optional<float> off) {
    const UndoGroup group(services_.undo, velocityName);
    for (MarvoTimelineTrack* track : composition_.tracks.plainTracks()) {
        std::vector<VelocitiesOfKeyframe> velocities;
        for (const std::uint64_t uID : selectedUIDs(*track)) velocities.push_back({uID, on, off});
        exchangeVelocities(track->trackPosition(), std::move(velocities));
    }
}

void KeyframeEdits::setVelocities(float on, float off, std::int64_t trackPosition, std::uint64_t uID) {
    exchangeVelocities(trackPosition, {{uID, on, off}});
}

void KeyframeEdits::exchangeVelocities(std::int64_t trackPosition,
                                       std::vector<VelocitiesOfKeyframe> velocities) {
    MarvoTimelineTrack* track = composition_.tracks.plainTrackAtPosition(trackPosition);
    if (!track || velocities.empty() || track->kind() != TrackKind::midiNotes) return;
    track->keyframes().edit([&](KeyframeStore& store) {
        store.visit(velocities, [](MarvoTimelineKeyframe& keyframe, VelocitiesOfKeyframe& one) {
            const VelocitiesOfKeyframe before{one.uID, keyframe.noteVelocityOn, keyframe.noteVelocityOff};
            if (one.on) keyframe.noteVelocityOn = heldVelocity(*one.on);
            if (one.off) keyframe.noteVelocityOff = heldVelocity(*one.off);
            one = before;
        });
    });
    if (velocities.empty()) return;
    composition_.registerUndo(
        velocityName, [this, trackPosition, velocities] { exchangeVelocities(trackPosition, velocities); });
    composition_.projectChanged();
}

template <class Change>
void KeyframeEdits::onSelectedColors(Change&& change) {
    const UndoGroup group(services_.undo, colorName);
    for (MarvoTimelineTrack* track : composition_.tracks.plainTracks()) {
        auto* colors = dynamic_cast<MarvoTimelineColorTrack*>(track);
        if (!colors) continue;
        const std::vector<std::uint64_t> uIDs = selectedUIDs(*colors);
        if (!uIDs.empty()) change(*colors, uIDs);
    }
}

void KeyframeEdits::undoSetSelectedKeyframesColorValue(const Colour& color, std::int64_t trackPosition) {
    auto* track =
        dynamic_cast<MarvoTimelineColorTrack*>(composition_.tracks.plainTrackAtPosition(trackPosition));
    if (track) track->setColorOfKeyframes(selectedUIDs(*track), color);
}

void KeyframeEdits::undoSetSelectedKeyframesColorValueOnMultipleTracks(const Colour& color) {
    onSelectedColors([&](MarvoTimelineColorTrack& track, const std::vector<std::uint64_t>& uIDs) {
        track.setColorOfKeyframes(uIDs, color);
    });
}

void KeyframeEdits::updateSelectedColorsOnChannel(ColorComponent channel, double value) {
    onSelectedColors([&](MarvoTimelineColorTrack& track, const std::vector<std::uint64_t>& uIDs) {
        track.setComponentOfKeyframes(uIDs, channel, value);
    });
}

void KeyframeEdits::setColorWithUndo(const Colour& color, std::int64_t trackPosition, std::uint64_t uID) {
    auto* track =
        dynamic_cast<MarvoTimelineColorTrack*>(composition_.tracks.plainTrackAtPosition(trackPosition));
    if (track) track->setColorOfKeyframes({uID}, color);
}

void KeyframeEdits::undoSetFlagAddress(const std::string& address, std::uint64_t uID,
                                       std::int64_t trackPosition) {
    undoSetFlagAddress(address, std::vector<std::uint64_t>{uID}, trackPosition);
}

void KeyframeEdits::undoSetFlagAddress(const std::string& address, const std::vector<std::uint64_t>& uIDs,
                                       std::int64_t trackPosition) {
    auto* track =
        dynamic_cast<MarvoTimelineFlagTrack*>(composition_.tracks.plainTrackAtPosition(trackPosition));
    if (track) track->setFlagAddressOfKeyframes(uIDs, address);
}

} // namespace marvo
