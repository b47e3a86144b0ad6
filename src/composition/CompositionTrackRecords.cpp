// Tracks that come from records and go to them: paste, removal and its undo, saving and loading.
#include "composition/CompositionApplication.h"
#include "composition/CompositionServices.h"
#include "composition/CompositionTracks.h"
#include "composition/MarvoTimelineController.h"
#include "platform/Clock.h"
#include "platform/Log.h"
#include "platform/Numbers.h"
#include "platform/SerialQueue.h"
#include "platform/Text.h"
#include "platform/UndoStack.h"

#include <algorithm>

namespace marvo {

void CompositionTracks::addTracksWithBackupDatas(const PropertyList& records) {
    if (services_.application.isProjectLocked()) return;
    const MonotonicClock clock;
    const MonotonicTime began = clock.now();
    std::vector<std::string> keys;
    for (const auto& [key, record] : records.entries()) keys.emplace_back(key);
    std::sort(keys.begin(), keys.end(),
              [](const auto& a, const auto& b) { return localizedStandardCompare(a, b) < 0; });
    services_.undo.disableUndoRegistration();
    std::vector<const MarvoTimelineTrackProtocol*> added;
    for (const std::string& key : keys) {
        const PropertyList& record = *records.find(key);
        const auto* wanted = record.find("trackPos");
        const std::int64_t position =
            wanted ? wanted->integerOr(0) : static_cast<std::int64_t>(tracks_.size());
        makeRoomAt(position, nullptr);
        added.push_back(addFromRecord(record, position));
    }
    services_.undo.enableUndoRegistration();
    if (added.empty()) return;
    recalculateTrackPositions();
    std::vector<std::int64_t> addedPositions;
    for (const auto* track : added) addedPositions.push_back(track->trackPosition());
    registerUndoOfAddedTracks(addedPositions);
    composition_.updateTrackPositionsWithAnimation(false);
    composition_.projectChanged();
    const double seconds = static_cast<double>((clock.now() - began).nanoseconds) * 1e-9;
    log(services_.log, "tracks add done in: " + std::string(formatFixed(seconds, 6).view()));
}

MarvoTimelineTrackProtocol* CompositionTracks::addFromRecord(const PropertyList& record,
                                                             std::int64_t position) {
    const auto* type = record.find("trackType");
    MarvoTimelineTrackProtocol* track =
        makeAndAppend(std::string(type ? type->stringOr("") : ""), true, position);
    track->restoreWithData(record, true, nullptr);
    // Also where the record says something else, or nothing.
    track->setTrackPosition(position);
    // The record brought the name that the addresses are made of.
    track->setOscAddresses();
    return track;
}

void CompositionTracks::registerUndoOfAddedTracks(const std::vector<std::int64_t>& positions) {
    composition_.registerUndo(positions.size() > 1 ? "Add Tracks" : "Add Track",
                              [this, positions] { undoRemoveTracksWithPositions(positions); });
}

void CompositionTracks::putTracksBack(const PropertyList& records) {
    struct Returning {
        std::size_t place = 0;
        std::int64_t position = 0;
        const PropertyList* record = nullptr;
        MarvoTimelineTrackProtocol* track = nullptr;
    };
    std::vector<Returning> returning;
    for (const auto& [key, record] : records.entries()) {
        const auto place = parseLeadingInt(key.view().substr(std::string_view("tr-").size()));
        const auto* position = record.find("trackPos");
        returning.push_back(
            {static_cast<std::size_t>(place), position ? position->integerOr(0) : 0, &record});
    }
    std::sort(returning.begin(), returning.end(),
              [](const auto& a, const auto& b) { return a.position < b.position; });
    services_.undo.disableUndoRegistration();
    for (Returning& one : returning) {
        makeRoomAt(one.position, nullptr);
        one.track = addFromRecord(*one.record, one.position);
    }
    services_.undo.enableUndoRegistration();

    std::vector<MarvoTimelineTrackProtocol*> order;
    for (std::size_t i = 0; i + returning.size() < tracks_.size(); ++i) order.push_back(tracks_[i].get());
    std::sort(returning.begin(), returning.end(),
              [](const auto& a, const auto& b) { return a.place < b.place; });
    for (const Returning& one : returning)
        order.insert(order.begin() + static_cast<std::ptrdiff_t>(std::min(one.place, order.size())),
                     one.track);
    reorder(std::move(order));

    std::vector<std::int64_t> returned;
    for (const Returning& one : returning) returned.push_back(one.track->trackPosition());
    registerUndoOfAddedTracks(returned);
    composition_.updateTrackPositionsWithAnimation(false);
    services_.application.updateInfoDisplay();
    composition_.projectChanged();
}

// The list stands in the order that is saved and that the tick goes by.
void CompositionTracks::reorder(std::vector<MarvoTimelineTrackProtocol*> order) {
    std::vector<std::unique_ptr<MarvoTimelineTrackProtocol>> arranged(order.size());
    std::vector<std::size_t> placeOf(order.size());
    TrackWalk::Steps steps;
    for (std::size_t i = 0; i < tracks_.size(); ++i) {
        const auto place = std::find(order.begin(), order.end(), tracks_[i].get()) - order.begin();
        placeOf[i] = static_cast<std::size_t>(place);
    }
    for (MarvoTimelineTrackProtocol* track : order) steps.push_back(walk_.stepOf(*track));
    services_.compQueue.sync([&] {
        for (std::size_t i = 0; i < tracks_.size(); ++i) arranged[placeOf[i]] = std::move(tracks_[i]);
        tracks_.swap(arranged);
        walk_.swapSteps(steps);
    });
}

void CompositionTracks::makeRoomAt(std::int64_t position, const MarvoTimelineTrackProtocol* except) {
    const bool taken = std::any_of(tracks_.begin(), tracks_.end(), [&](const auto& track) {
        return track.get() != except && track->trackPosition() == position;
    });
    if (!taken) return;
    for (const auto& track : tracks_) {
        if (track.get() != except && track->trackPosition() >= position) {
            track->setTrackPosition(track->trackPosition() + 1);
        }
    }
}

void CompositionTracks::undoRemoveTracksWithPositions(const std::vector<std::int64_t>& removedPositions) {
    PropertyList records = PropertyList::dictionary();
    std::vector<std::unique_ptr<MarvoTimelineTrackProtocol>> kept;
    std::vector<std::unique_ptr<MarvoTimelineTrackProtocol>> removed;
    std::vector<bool> goes(tracks_.size(), false);
    for (const std::int64_t position : removedPositions) {
        const MarvoTimelineTrackProtocol* track = trackAtPosition(position);
        for (std::size_t i = 0; i < tracks_.size(); ++i) {
            if (tracks_[i].get() == track) goes[i] = true;
        }
    }
    for (std::size_t i = 0; i < tracks_.size(); ++i) {
        if (goes[i]) records.set("tr-" + std::to_string(i), tracks_[i]->backupDataForUndo(true));
    }
    if (records.size() == 0) return;
    kept.reserve(tracks_.size());
    removed.reserve(tracks_.size());
    TrackWalk::Steps steps;
    for (std::size_t i = 0; i < tracks_.size(); ++i) {
        if (!goes[i]) steps.push_back(walk_.stepOf(*tracks_[i]));
    }
    services_.compQueue.sync([&] {
        for (std::size_t i = 0; i < tracks_.size(); ++i)
            (goes[i] ? removed : kept).push_back(std::move(tracks_[i]));
        tracks_.swap(kept);
        walk_.swapSteps(steps);
    });
    for (const auto& track : removed) track->removeResources();
    composition_.registerUndo(records.size() > 1 ? "Remove Tracks" : "Remove Track",
                              [this, records] { putTracksBack(records); });
    recalculateTrackPositions();
    composition_.updateTrackPositionsWithAnimation(false);
    services_.application.updateInfoDisplay();
    composition_.projectChanged();
}

void CompositionTracks::clearComposition() {
    if (services_.application.isProjectLocked()) return;
    undoRemoveTracksWithPositions(positions());
}

std::vector<std::int64_t> CompositionTracks::positions() const {
    std::vector<std::int64_t> result;
    result.reserve(tracks_.size());
    for (const auto& track : tracks_) result.push_back(track->trackPosition());
    return result;
}

PropertyList CompositionTracks::saveData() const {
    PropertyList records = PropertyList::dictionary();
    for (std::size_t i = 0; i < tracks_.size(); ++i) {
        records.set("tr-" + std::to_string(i), tracks_[i]->backupDataForUndo(false));
    }
    return records;
}

void CompositionTracks::loadData(const PropertyList* records, LoadReport* report) {
    if (!records || !records->isDictionary()) return;
    std::vector<std::string> keys;
    for (const auto& [key, record] : records->entries()) keys.emplace_back(key);
    // Text order, so "tr-10" comes before "tr-2". The saved positions put the tracks right afterwards.
    std::sort(keys.begin(), keys.end(),
              [](const auto& a, const auto& b) { return localizedCaseInsensitiveCompare(a, b) < 0; });
    isLoadingProject_ = true;
    for (const std::string& key : keys) {
        const PropertyList& record = *records->find(key);
        if (!record.isDictionary()) {
            if (report)
                report->add("composition \"" + composition_.compName() + "\": track record " + key +
                            " is not a dictionary and was left out");
            continue;
        }
        const auto* type = record.find("trackType");
        MarvoTimelineTrackProtocol* track =
            createTrackOfTpye(std::string(type ? type->stringOr("") : ""), false);
        if (track) track->restoreWithData(record, true, report);
    }
    isLoadingProject_ = false;
}

} // namespace marvo
