#include "composition/CompositionTracks.h"

#include "composition/CompositionApplication.h"
#include "composition/CompositionServices.h"
#include "composition/MarvoTimelineCompositionTrack.h"
#include "composition/MarvoTimelineController.h"
#include "composition/TrackOrder.h"
#include "platform/MainThread.h"
#include "platform/Notifications.h"
#include "platform/SerialQueue.h"
#include "platform/Text.h"
#include "platform/UndoStack.h"
#include "tracks/KeptTrack.h"
#include "tracks/MarvoTimelineColorTrack.h"
#include "tracks/MarvoTimelineFlagTrack.h"
#include "tracks/MarvoTimelineTrack.h"

#include <algorithm>

namespace marvo {

CompositionTracks::CompositionTracks(MarvoTimelineController& composition, CompositionServices& services)
    : composition_(composition), services_(services) {}

CompositionTracks::~CompositionTracks() = default;

MarvoTimelineTrackProtocol* CompositionTracks::createTrackOfTpye(const std::string& trackType) {
    return createTrackOfTpye(trackType, true);
}

MarvoTimelineTrackProtocol* CompositionTracks::createTrackOfTpye(const std::string& trackType, bool refresh) {
    return createTrackOfTpye(trackType, refresh, static_cast<std::int64_t>(tracks_.size()));
}

MarvoTimelineTrackProtocol* CompositionTracks::createTrackOfTpye(const std::string& trackType, bool refresh,
                                                                 std::int64_t trackPosition) {
    if (services_.application.isProjectLocked()) return nullptr;
    if (!services_.mainThread.isCurrent()) {
        MarvoTimelineTrackProtocol* created = nullptr;
        services_.mainThread.sync([&] { created = createTrackOfTpye(trackType, refresh, trackPosition); });
        return created;
    }
    return makeAndAppend(trackType, refresh, trackPosition);
}

MarvoTimelineTrackProtocol* CompositionTracks::makeAndAppend(const std::string& trackType, bool refresh,
                                                             std::int64_t trackPosition) {
    std::unique_ptr<MarvoTimelineTrackProtocol> track = makeTrack(trackType);
    MarvoTimelineTrackProtocol* created = track.get();
    track->setName(nameForNewTrack());
    track->setTrackPosition(trackPosition);
    applyDefaults(*track);
    track->trackSettingsChangedAndShouldReprocess(!isLoadingProject_);
    track->setOscAddresses();

    // Room is made outside the queue, so that the tick never waits for an allocation.
    std::vector<std::unique_ptr<MarvoTimelineTrackProtocol>> larger;
    larger.reserve(tracks_.size() + 1);
    TrackWalk::Steps steps;
    steps.reserve(tracks_.size() + 1);
    for (const auto& existing : tracks_) steps.push_back(walk_.stepOf(*existing));
    steps.push_back(walk_.stepOf(*created));
    services_.compQueue.sync([&] {
        for (auto& existing : tracks_) larger.push_back(std::move(existing));
        larger.push_back(std::move(track));
        tracks_.swap(larger);
        walk_.swapSteps(steps);
    });
    if (!isLoadingProject_) {
        services_.notifications.post(services_.names.ShouldRefreshAssignHelper,
                                     CompositionTrackNames{composition_.compName(), created->name()});
    }
    if (refresh) {
        composition_.registerUndo("Add Track",
                                  [this, trackPosition] { undoRemoveTracksWithPositions({trackPosition}); });
        composition_.updateTrackPositionsWithAnimation(false);
        services_.application.updateInfoDisplay();
    }
    composition_.projectChanged();
    return created;
}

std::unique_ptr<MarvoTimelineTrackProtocol> CompositionTracks::makeTrack(const std::string& trackType) const {
    switch (trackKindOf(trackType)) {
    case TrackKind::oscColor:
    case TrackKind::artNetColor:
        return std::make_unique<MarvoTimelineColorTrack>(trackType, composition_, services_);
    case TrackKind::oscFlag:
        return std::make_unique<MarvoTimelineFlagTrack>(trackType, composition_, services_);
    case TrackKind::audioFile:
        return std::make_unique<KeptTrack>(trackType, composition_, services_);
    case TrackKind::composition:
        return std::make_unique<MarvoTimelineCompositionTrack>(trackType, composition_, services_);
    default:
        return std::make_unique<MarvoTimelineTrack>(trackType, composition_, services_);
    }
}

std::string CompositionTracks::nameForNewTrack() const {
    std::size_t number = tracks_.size() + 1;
    std::string name = "Track " + std::to_string(number);
    // A loaded track gets its saved name right after, so no test is made then.
    while (!isLoadingProject_ && !isAvailableTrackName(name, true, nullptr)) {
        name = "Track " + std::to_string(++number);
    }
    return name;
}

void CompositionTracks::applyDefaults(MarvoTimelineTrackProtocol& track) const {
    auto* plain = dynamic_cast<MarvoTimelineTrack*>(&track);
    if (!plain) return;
    if (plain->kind() != TrackKind::midiCC && !isArtNet(plain->kind())) {
        plain->applyCreationDefaults(composition_.lastOSCTrackAddress, 0, "1");
        return;
    }
    std::vector<TrackNumbering> numbering;
    for (const auto& other : tracks_) {
        const auto* existing = dynamic_cast<const MarvoTimelineTrack*>(other.get());
        if (!existing) continue;
        TrackNumbering one;
        one.trackType = existing->trackType();
        one.midiOut = existing->settings().midiOut;
        one.shownCC = static_cast<int>(existing->midiCCNumber());
        if (isArtNet(existing->kind())) one.dmxChannelsInUse = existing->dmxChannelsInUse();
        numbering.push_back(std::move(one));
    }
    plain->applyCreationDefaults(
        composition_.lastOSCTrackAddress, nextCCForAddTrackWithOutput(numbering, plain->settings().midiOut),
        plain->kind() == TrackKind::artNetColor ? nextArtNetColorCHForAddTrackWithOutput(numbering)
                                                : nextArtNetCHForAddTrackWithOutput(numbering));
}

void CompositionTracks::removeResources() {
    std::vector<std::unique_ptr<MarvoTimelineTrackProtocol>> gone;
    TrackWalk::Steps none;
    services_.compQueue.sync([&] {
        gone.swap(tracks_);
        walk_.swapSteps(none);
    });
    for (const auto& track : gone) track->removeResources();
}

} // namespace marvo
