// The tracks of a composition: the ordered list, the factory, and the messages that go to all of them.
//
// The list is changed on the main thread inside the composition queue, by a swap that takes nanoseconds; the
// tick walks it with that queue held. Tracks process a frame in the order in which they were made, which is
// list order.
#pragma once

#include "platform/LoadReport.h"
#include "platform/PropertyList.h"
#include "platform/TimelineTime.h"
#include "tracks/MarvoTimelineTrackProtocol.h"
#include "tracks/TrackWalk.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace marvo {

class MarvoTimelineController;
class MarvoTimelineTrack;
struct CompositionServices;

// A keyframe that a shorter composition had no room for: where it was, and its undo record.
struct TrimmedKeyframe {
    std::int64_t trackPosition = 0;
    PropertyList record;
};

class CompositionTracks {
public:
    CompositionTracks(MarvoTimelineController& composition, CompositionServices& services);
    ~CompositionTracks();

    // Null while the project is locked. Any text is a type; one without a class of its own makes a plain
    // track.
    MarvoTimelineTrackProtocol* createTrackOfTpye(const std::string& trackType);
    MarvoTimelineTrackProtocol* createTrackOfTpye(const std::string& trackType, bool refresh);
    MarvoTimelineTrackProtocol* createTrackOfTpye(const std::string& trackType, bool refresh,
                                                  std::int64_t trackPosition);
    // Paste: new tracks at the positions of their records; those that stand there move down. Undoable.
    void addTracksWithBackupDatas(const PropertyList& records);
    void undoRemoveTracksWithPositions(const std::vector<std::int64_t>& positions);
    // Nothing while the project is locked.
    void clearComposition();

    std::size_t count() const { return tracks_.size(); }
    const std::vector<std::unique_ptr<MarvoTimelineTrackProtocol>>& all() const { return tracks_; }
    MarvoTimelineTrackProtocol* trackAtPosition(std::int64_t position) const;
    // Null for a track without keyframes of its own.
    MarvoTimelineTrack* plainTrackAtPosition(std::int64_t position) const;
    std::vector<MarvoTimelineTrack*> plainTracks() const;
    MarvoTimelineTrackProtocol* trackWithName(std::string_view name) const;
    std::vector<MarvoTimelineTrackProtocol*> tracksOfType(std::string_view trackType) const;
    MarvoTimelineTrackProtocol* selectedTrack() const;
    std::vector<MarvoTimelineTrackProtocol*> selectedTracks() const;
    std::vector<std::string> trackNames() const;
    bool hasMutedTracks() const;
    bool hasEnabledTracks() const;
    bool isAvailableTrackName(std::string_view name, bool ignoreCurrent,
                              const MarvoTimelineTrackProtocol* current) const;

    void moveTrack(std::int64_t source, std::int64_t destination);
    void recalculateTrackPositions();
    void undoSetPosition(std::int64_t position, std::string_view trackName);
    // sortOrder 0 is ascending.
    void doSortTracks(const std::string& sortBy, std::int64_t sortOrder);

    void setSoloTrack(const MarvoTimelineTrackProtocol* track);
    void muteTracks();
    void unmuteTracks();
    void handleMute();

    // "tr-%d" to track record.
    PropertyList saveData() const;
    void loadData(const PropertyList* records, LoadReport* report);

    // With the composition queue held; realtime-safe.
    void processAtTime(Frame frame);
    void compositionStarted();
    void compositionStopped();
    void compositionJumped();
    void compositionLooped();
    void compositionLoopedByCue();

    void setOscAddresses();
    void oscOutputsChanged(const std::string* oldLabel, const std::string* newLabel);
    void refreshKeyFramesWithRatio(float ratio);
    void compositionSettingsChanged();
    std::vector<TrimmedKeyframe> trimmedKeyframes(float limit);
    void removeResources();

private:
    std::unique_ptr<MarvoTimelineTrackProtocol> makeTrack(const std::string& trackType) const;
    std::string nameForNewTrack() const;
    void applyDefaults(MarvoTimelineTrackProtocol& track) const;
    MarvoTimelineTrackProtocol* makeAndAppend(const std::string& trackType, bool refresh,
                                              std::int64_t trackPosition);
    MarvoTimelineTrackProtocol* addFromRecord(const PropertyList& record, std::int64_t position);
    void registerUndoOfAddedTracks(const std::vector<std::int64_t>& positions);
    // Undo of a removal: everything as it was before, rows and list alike. Keys: "tr-" and the place in the
    // list.
    void putTracksBack(const PropertyList& records);
    void reorder(std::vector<MarvoTimelineTrackProtocol*> order);
    void makeRoomAt(std::int64_t position, const MarvoTimelineTrackProtocol* except);
    std::vector<std::int64_t> positions() const;

    MarvoTimelineController& composition_;
    CompositionServices& services_;
    TrackWalk walk_; // over the same tracks; it outlives them
    std::vector<std::unique_ptr<MarvoTimelineTrackProtocol>> tracks_;
    bool isLoadingProject_ = false;
};

} // namespace marvo
