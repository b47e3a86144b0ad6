// What a track asks of the composition that owns it.
//
// Numbers may be read from any thread (plain words); texts and undo belong to the main thread.
#pragma once

#include "platform/PropertyList.h"
#include "platform/TimelineTime.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace marvo {

class MarvoTimelineTrackProtocol;

class TrackComposition {
public:
    virtual ~TrackComposition() = default;

    virtual std::int64_t compFPS() const = 0;
    virtual float compTime() const = 0;
    virtual Frame currentTime() const = 0;
    virtual Frame inTime() const = 0;
    virtual Frame outTime() const = 0;
    virtual bool compState() const = 0;
    virtual bool isRunning() const = 0;
    // True while a cue moves the playhead.
    virtual bool jumpedToCue() const = 0;

    virtual const std::string& compName() const = 0;
    virtual const std::string& oscNamespace() const = 0;
    // Position in the list of compositions, from 0.
    virtual std::int64_t compositionIndex() const = 0;

    // False for an empty name and for one that a track bears: any track with ignoreCurrent, any other track
    // without.
    virtual bool isAvailableTrackName(std::string_view name, bool ignoreCurrent,
                                      const MarvoTimelineTrackProtocol* current) const = 0;

    // Undo halves. They name tracks by position and keyframes by uID, so an entry survives the object it
    // speaks of.
    virtual void registerUndoOfAddedKeyframe(std::uint64_t uID, std::int64_t trackPosition) = 0;
    virtual void registerUndoOfRemovedKeyframe(PropertyList keyframe, std::int64_t trackPosition) = 0;
    virtual void registerUndoOfMovedKeyframes(FrameCount delta, std::int64_t trackPosition) = 0;
    // For everything else: undoing runs `inverse` on the track that stands there then.
    virtual void registerUndoOfTrackChange(const std::string& actionName, std::int64_t trackPosition,
                                           std::function<void(MarvoTimelineTrackProtocol&)> inverse) = 0;

    // Gives the track another name, which is free; undoable.
    virtual void undoRenameOnTrack(std::int64_t trackPosition, const std::string& name) = 0;

    virtual void projectChanged() = 0;
    virtual void beep() = 0;
};

} // namespace marvo
