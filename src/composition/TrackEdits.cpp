#include "composition/TrackEdits.h"

#include "composition/CompositionApplication.h"
#include "composition/MarvoTimelineController.h"
#include "composition/TrackOrder.h"
#include "composition/UndoGroup.h"
#include "tracks/MarvoTimelineColorTrack.h"
#include "tracks/MarvoTimelineTrack.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>
#include <utility>

namespace marvo {
namespace {

constexpr std::array<std::string_view, 4> subAddressKeys{"addressR", "addressG", "addressB", "addressA"};

float boundFrom(const PropertyList& data, std::string_view key, float present) {
    const PropertyList* value = data.find(key);
    const float bound = value ? static_cast<float>(value->realOr(0.0)) : present;
    return std::isfinite(bound) ? bound : present;
}

bool switchFrom(const PropertyList& data, std::string_view key, bool present) {
    const PropertyList* value = data.find(key);
    return value ? value->boolOr(present) : present;
}

OSCPreferences preferencesFrom(const PropertyList& data, OSCPreferences preferences) {
    if (const PropertyList* type = data.find("trackOSCType"))
        preferences.trackOSCType = type->integerOr(preferences.trackOSCType);
    preferences.trackMinValue = boundFrom(data, "trackMinValue", preferences.trackMinValue);
    preferences.trackMaxValue = boundFrom(data, "trackMaxValue", preferences.trackMaxValue);
    if (preferences.trackMaxValue < preferences.trackMinValue)
        std::swap(preferences.trackMinValue, preferences.trackMaxValue);
    preferences.isUsing5FractionDigits =
        switchFrom(data, "isUsing5FractionDigits", preferences.isUsing5FractionDigits);
    preferences.sendsNormalisedValue =
        switchFrom(data, "sendsNormalisedValue", preferences.sendsNormalisedValue);
    return preferences;
}

PropertyList dataOf(const OSCPreferences& preferences) {
    PropertyList data = PropertyList::dictionary();
    data.set("trackOSCType", preferences.trackOSCType);
    data.set("trackMinValue", preferences.trackMinValue);
    data.set("trackMaxValue", preferences.trackMaxValue);
    data.set("isUsing5FractionDigits", preferences.isUsing5FractionDigits);
    data.set("sendsNormalisedValue", preferences.sendsNormalisedValue);
    return data;
}

} // namespace

void TrackEdits::undoRenameOnTrack(std::int64_t trackPosition, const std::string& name) {
    MarvoTimelineTrackProtocol* track = composition_.tracks.trackAtPosition(trackPosition);
    if (!track || track->name() == name) return;
    const std::string old = track->name();
    track->setName(name);
    track->setOscAddresses();
    composition_.registerUndo("Rename Track",
                              [this, trackPosition, old] { undoRenameOnTrack(trackPosition, old); });
    composition_.projectChanged();
}

void TrackEdits::undoChangeOSCAddressOnTrack(std::int64_t trackPosition, const std::string& address) {
    changeOSCAddress(trackPosition, address, address);
}

void TrackEdits::changeOSCAddress(std::int64_t trackPosition, const std::string& address,
                                  const std::string& lastAddress) {
    MarvoTimelineTrack* track = composition_.tracks.plainTrackAtPosition(trackPosition);
    if (!track) return;
    const std::string old = track->oscAddress();
    // The last address entered may have been another track's.
    const std::string oldLast = std::exchange(composition_.lastOSCTrackAddress, lastAddress);
    track->setOscAddress(address);
    composition_.registerUndo("Change OSC Message Address", [this, trackPosition, old, oldLast] {
        changeOSCAddress(trackPosition, old, oldLast);
    });
    composition_.projectChanged();
}

void TrackEdits::undoChangeOSCPreferencesOnTrack(std::int64_t trackPosition, const PropertyList& data) {
    changeOSCPreferences(trackPosition, data, {});
}

void TrackEdits::changeOSCPreferences(std::int64_t trackPosition, const PropertyList& data,
                                      const std::vector<KeyframePlace>& places) {
    MarvoTimelineTrack* track = composition_.tracks.plainTrackAtPosition(trackPosition);
    if (!track || track->kind() != TrackKind::oscValue) return;
    const OSCPreferences old = track->oscPreferences();
    std::vector<KeyframePlace> oldPlaces = track->keyframes().places();
    track->setOSCPreferences(preferencesFrom(data, old), places);
    composition_.registerUndo("Change OSC Preferences",
                              [this, trackPosition, oldData = dataOf(old), oldPlaces = std::move(oldPlaces)] {
                                  changeOSCPreferences(trackPosition, oldData, oldPlaces);
                              });
    composition_.projectChanged();
}

void TrackEdits::undoChangeOSCColorPreferencesOnTrack(std::int64_t trackPosition, const PropertyList& data) {
    auto* track =
        dynamic_cast<MarvoTimelineColorTrack*>(composition_.tracks.plainTrackAtPosition(trackPosition));
    if (!track || track->kind() != TrackKind::oscColor) return;
    PropertyList old = dataOf(track->oscPreferences());
    old.set("shouldSendAlpha", track->shouldSendAlpha());
    std::array<std::string, 4> addresses = track->subAddresses();
    for (std::size_t i = 0; i < addresses.size(); ++i) {
        old.set(subAddressKeys[i], addresses[i]);
        if (const PropertyList* address = data.find(subAddressKeys[i]))
            addresses[i] = address->stringOr(addresses[i]);
    }
    track->setOSCColorPreferences(preferencesFrom(data, track->oscPreferences()),
                                  switchFrom(data, "shouldSendAlpha", track->shouldSendAlpha()), addresses);
    composition_.registerUndo("Change OSC Color Preferences", [this, trackPosition, old] {
        undoChangeOSCColorPreferencesOnTrack(trackPosition, old);
    });
    composition_.projectChanged();
}

void TrackEdits::undoChangeArtNetChannelOnTrack(std::int64_t trackPosition,
                                                const std::string& channelString) {
    MarvoTimelineTrack* track = composition_.tracks.plainTrackAtPosition(trackPosition);
    // The track registers the way back, if there is one: another text may be the same list.
    if (track && isArtNet(track->kind())) track->setArtNetChannel(channelString);
}

void TrackEdits::moveTracksBeforeTrack(std::int64_t destination, std::int64_t sourceTrack) {
    const auto& tracks = composition_.tracks.all();
    std::vector<TrackPosition> positions;
    std::vector<std::size_t> selected;
    for (const auto& track : tracks) positions.push_back(track->trackPosition());
    for (std::size_t i = 0; i < tracks.size(); ++i)
        if (tracks[i]->isSelected()) selected.push_back(i);
    // From the top, whatever the order in which they were made.
    std::sort(selected.begin(), selected.end(),
              [&](std::size_t a, std::size_t b) { return positions[a] < positions[b]; });
    const UndoGroup group(services_.undo, "Move Tracks");
    for (const TrackMove& move : movesOfTracksBeforeTrack(positions, destination, sourceTrack, selected))
        composition_.tracks.moveTrack(move.source, move.destination);
}

void TrackEdits::duplicateTracks() {
    if (services_.application.isProjectLocked()) return;
    std::vector<MarvoTimelineTrackProtocol*> originals = composition_.tracks.selectedTracks();
    // From the top, so that copies of one name are counted downwards.
    std::sort(originals.begin(), originals.end(),
              [](const auto* a, const auto* b) { return a->trackPosition() < b->trackPosition(); });
    const UndoGroup group(services_.undo, "Duplicate Tracks");
    for (const MarvoTimelineTrackProtocol* original : originals) {
        PropertyList record = original->backupDataForUndo(false);
        record.set("trackName", original->name() + " (copy)");
        record.set("trackPos", original->trackPosition() + 1);
        PropertyList one = PropertyList::dictionary();
        one.set("tr-0", std::move(record));
        composition_.tracks.addTracksWithBackupDatas(one);
    }
}

} // namespace marvo
