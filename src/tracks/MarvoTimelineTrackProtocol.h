// What every kind of track answers to its composition.
//
// Threads: processAtTime and the composition... events run with the composition queue held, from the tick or
// from a transport operation. Everything else belongs to the main thread.
#pragma once

#include "platform/LoadReport.h"
#include "platform/PropertyList.h"
#include "platform/TimelineTime.h"
#include "tracks/LaneHeight.h"

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

namespace marvo {

struct ColorLane;
struct ValueLane;

class MarvoTimelineTrackProtocol {
public:
    virtual ~MarvoTimelineTrackProtocol() = default;

    virtual const std::string& trackType() const = 0;
    virtual const std::string& name() const = 0;
    virtual void setName(std::string name) = 0;
    virtual std::int64_t trackPosition() const = 0;
    virtual void setTrackPosition(std::int64_t position) = 0;
    virtual bool isEnabled() const = 0;
    // Switches the enable button and reacts as a click on it would.
    virtual void setEnabled(bool enabled) = 0;
    virtual void handleMute() = 0;
    virtual bool isSelected() const = 0;
    virtual void setSelected(bool selected) = 0;
    virtual std::size_t keyframeCount() const = 0;
    // Saved as whether the lane is collapsed.
    LaneHeight laneHeight;

    // Realtime-safe.
    virtual void processAtTime(Frame frame) = 0;
    // For a track that leaves behind what it finds, so that most frames need not ask it. Null for others.
    // news: to be raised whenever the lane's own are. Main thread.
    virtual ValueLane* lane(std::atomic<bool>*) { return nullptr; }
    // Beside its lane, of a track of colours.
    virtual ColorLane* colorLane() { return nullptr; }
    virtual void compositionStarted() = 0;
    virtual void compositionStopped() = 0;
    virtual void compositionJumped() = 0;
    virtual void compositionLooped() = 0;
    virtual void compositionLoopedByCue() = 0;

    // Keyframe times are scaled and truncated to whole frames.
    virtual void refreshKeyFramesWithRatio(float ratio) = 0;
    virtual void compositionSettingsChanged() = 0;
    // Removes the keyframes behind limit (frames) and returns their undo records in time order.
    virtual std::vector<PropertyList> trimKeyframesAfter(float limit) = 0;
    // Returns the uID of the keyframe.
    virtual std::uint64_t addNewKeyFrameWithData(const PropertyList& record) = 0;
    // With undo; false when there is no such keyframe.
    virtual bool removeKeyFrameWithUID(std::uint64_t uID) = 0;

    virtual void trackSettingsChangedAndShouldReprocess(bool reprocess) = 0;
    // Rebuilds the track's own OSC path and the addresses of its buttons, after a change of any name above
    // it.
    virtual void setOscAddresses() = 0;
    virtual void oscOutputsChanged(const std::string* oldLabel, const std::string* newLabel) = 0;

    // The saved record. With forUndo keyframes carry their uID.
    virtual PropertyList backupDataForUndo(bool forUndo) const = 0;
    virtual void restoreWithData(const PropertyList& record, bool shouldRestoreTrackPosition,
                                 LoadReport* report) = 0;

    // Last step of a track's life: nothing is sent or observed any more.
    virtual void removeResources() = 0;
};

} // namespace marvo
