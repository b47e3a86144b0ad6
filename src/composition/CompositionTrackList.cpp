// Look-ups, order, solo and the messages to all tracks: the walks over the list that need no factory.
#include "composition/CompositionServices.h"
#include "composition/CompositionTracks.h"
#include "composition/MarvoTimelineController.h"
#include "composition/TrackOrder.h"
#include "composition/UndoGroup.h"
#include "platform/Text.h"
#include "platform/UndoStack.h"
#include "tracks/MarvoTimelineTrack.h"

#include <algorithm>

namespace marvo {

MarvoTimelineTrackProtocol* CompositionTracks::trackAtPosition(std::int64_t position) const {
    for (const auto& track : tracks_) {
        if (track->trackPosition() == position) return track.get();
    }
    return nullptr;
}

MarvoTimelineTrack* CompositionTracks::plainTrackAtPosition(std::int64_t position) const {
    return dynamic_cast<MarvoTimelineTrack*>(trackAtPosition(position));
}

std::vector<MarvoTimelineTrack*> CompositionTracks::plainTracks() const {
    std::vector<MarvoTimelineTrack*> result;
    for (const auto& track : tracks_) {
        if (auto* plain = dynamic_cast<MarvoTimelineTrack*>(track.get())) result.push_back(plain);
    }
    return result;
}

MarvoTimelineTrackProtocol* CompositionTracks::trackWithName(std::string_view name) const {
    for (const auto& track : tracks_) {
        if (track->name() == name) return track.get();
    }
    return nullptr;
}

std::vector<MarvoTimelineTrackProtocol*> CompositionTracks::tracksOfType(std::string_view trackType) const {
    std::vector<MarvoTimelineTrackProtocol*> result;
    for (const auto& track : tracks_) {
        if (track->trackType() == trackType) result.push_back(track.get());
    }
    return result;
}

MarvoTimelineTrackProtocol* CompositionTracks::selectedTrack() const {
    for (const auto& track : tracks_) {
        if (track->isSelected()) return track.get();
    }
    return nullptr;
}

std::vector<MarvoTimelineTrackProtocol*> CompositionTracks::selectedTracks() const {
    std::vector<MarvoTimelineTrackProtocol*> result;
    for (const auto& track : tracks_) {
        if (track->isSelected()) result.push_back(track.get());
    }
    return result;
}

std::vector<std::string> CompositionTracks::trackNames() const {
    std::vector<std::string> names;
    names.reserve(tracks_.size());
    for (const auto& track : tracks_) names.push_back(track->name());
    return names;
}

bool CompositionTracks::hasMutedTracks() const {
    return std::any_of(tracks_.begin(), tracks_.end(), [](const auto& track) { return !track->isEnabled(); });
}

bool CompositionTracks::hasEnabledTracks() const {
    return std::any_of(tracks_.begin(), tracks_.end(), [](const auto& track) { return track->isEnabled(); });
}

bool CompositionTracks::isAvailableTrackName(std::string_view name, bool ignoreCurrent,
                                             const MarvoTimelineTrackProtocol* current) const {
    if (name.empty()) return false;
    return std::none_of(tracks_.begin(), tracks_.end(), [&](const auto& track) {
        return track->name() == name && (ignoreCurrent || track.get() != current);
    });
}

void CompositionTracks::moveTrack(std::int64_t source, std::int64_t destination) {
    if (source == destination) return;
    MarvoTimelineTrackProtocol* moved = trackAtPosition(source);
    if (!moved) return;
    for (const auto& track : tracks_) {
        const std::int64_t position = track->trackPosition();
        if (source < destination && position > source && position <= destination)
            track->setTrackPosition(position - 1);
        if (source > destination && position >= destination && position < source)
            track->setTrackPosition(position + 1);
    }
    moved->setTrackPosition(destination);
    composition_.registerUndo("Move Track", [this, source, destination] { moveTrack(destination, source); });
    composition_.updateTrackPositionsWithAnimation(true);
    composition_.projectChanged();
}

void CompositionTracks::recalculateTrackPositions() {
    std::vector<MarvoTimelineTrackProtocol*> sorted;
    for (const auto& track : tracks_) sorted.push_back(track.get());
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const auto* a, const auto* b) { return a->trackPosition() < b->trackPosition(); });
    for (std::size_t i = 0; i < sorted.size(); ++i) sorted[i]->setTrackPosition(static_cast<std::int64_t>(i));
}

void CompositionTracks::undoSetPosition(std::int64_t position, std::string_view trackName) {
    MarvoTimelineTrackProtocol* track = trackWithName(trackName);
    if (!track) return;
    const std::int64_t old = track->trackPosition();
    track->setTrackPosition(position);
    composition_.registerUndo("Move Track",
                              [this, old, name = std::string(trackName)] { undoSetPosition(old, name); });
    composition_.updateTrackPositionsWithAnimation(true);
    composition_.projectChanged();
}

void CompositionTracks::doSortTracks(const std::string& sortBy, std::int64_t sortOrder) {
    recalculateTrackPositions();
    std::vector<MarvoTimelineTrackProtocol*> present(tracks_.size());
    for (const auto& track : tracks_) present[static_cast<std::size_t>(track->trackPosition())] = track.get();
    std::vector<TrackSortKeys> keys;
    for (const auto* track : present) {
        TrackSortKeys key;
        key.trackPosition = track->trackPosition();
        key.name = track->name();
        key.trackType = track->trackType();
        if (const auto* plain = dynamic_cast<const MarvoTimelineTrack*>(track)) {
            key.universe = plain->artNetUniverse();
            key.channel = plain->artNetChannel();
            key.midiChannelTitle = plain->settings().midiChannel;
            key.oscAddress = plain->oscAddress();
        }
        keys.push_back(std::move(key));
    }
    const TrackTextOrder order{
        [](std::string_view a, std::string_view b) { return a < b; },
        [](std::string_view a, std::string_view b) { return localizedCaseInsensitiveCompare(a, b) < 0; }};
    const std::vector<std::size_t> sorted = sortedTracks(keys, sortBy, sortOrder, order);
    const UndoGroup group(services_.undo, "Sort Tracks");
    for (std::size_t position = 0; position < sorted.size(); ++position) {
        undoSetPosition(static_cast<std::int64_t>(position), present[sorted[position]]->name());
    }
    composition_.projectChanged();
}

void CompositionTracks::setSoloTrack(const MarvoTimelineTrackProtocol* solo) {
    for (const auto& track : tracks_) {
        if (track.get() != solo && track->isEnabled()) track->setEnabled(false);
    }
}

void CompositionTracks::muteTracks() {
    for (const auto& track : tracks_) {
        if (track->isEnabled()) track->setEnabled(false);
    }
}

void CompositionTracks::unmuteTracks() {
    for (const auto& track : tracks_) {
        if (!track->isEnabled()) track->setEnabled(true);
    }
}

void CompositionTracks::handleMute() {
    for (const auto& track : tracks_) track->handleMute();
}

void CompositionTracks::processAtTime(Frame frame) {
    const PlaybackPreferences& preferences = services_.preferences;
    TrackWalk::Rules rules;
    rules.inTime = composition_.inTime();
    rules.optimalisedSending = preferences.optimalisedSending;
    rules.processFirstKeyframe = preferences.processFirstKeyframe;
    rules.processLastKeyframeOnUnpause = preferences.processLastKeyframeOnUnpause;
    rules.compState = composition_.compState();
    rules.hueRotateForColors = preferences.hueRotateForColors;
    walk_.processAtTime(frame, rules);
}

void CompositionTracks::compositionStarted() {
    for (const auto& track : tracks_) track->compositionStarted();
}

void CompositionTracks::compositionStopped() {
    for (const auto& track : tracks_) track->compositionStopped();
}

void CompositionTracks::compositionJumped() {
    for (const auto& track : tracks_) track->compositionJumped();
}

void CompositionTracks::compositionLooped() {
    for (const auto& track : tracks_) track->compositionLooped();
}

void CompositionTracks::compositionLoopedByCue() {
    for (const auto& track : tracks_) track->compositionLoopedByCue();
}

void CompositionTracks::setOscAddresses() {
    for (const auto& track : tracks_) track->setOscAddresses();
}

void CompositionTracks::oscOutputsChanged(const std::string* oldLabel, const std::string* newLabel) {
    for (const auto& track : tracks_) track->oscOutputsChanged(oldLabel, newLabel);
}

void CompositionTracks::refreshKeyFramesWithRatio(float ratio) {
    for (const auto& track : tracks_) track->refreshKeyFramesWithRatio(ratio);
}

void CompositionTracks::compositionSettingsChanged() {
    for (const auto& track : tracks_) track->compositionSettingsChanged();
}

std::vector<TrimmedKeyframe> CompositionTracks::trimmedKeyframes(float limit) {
    std::vector<TrimmedKeyframe> trimmed;
    for (const auto& track : tracks_) {
        for (PropertyList& record : track->trimKeyframesAfter(limit)) {
            trimmed.push_back({track->trackPosition(), std::move(record)});
        }
    }
    return trimmed;
}

} // namespace marvo
