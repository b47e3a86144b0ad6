// The undoable moves of keyframes in time and value: single ones, whole tracks, selections, mirrors.
//
// A selection moves as a block: the delta is narrowed over all of it first, so that it stops at the edges in
// one piece. What is kept for undo are the places before, so the way back is exact whatever was rounded.
// Main thread, without the composition queue; one publication a track.
#pragma once

#include "platform/TimelineTime.h"
#include "tracks/TrackKeyframes.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace marvo {

class MarvoNumberFormatter;
class MarvoTimelineController;
class MarvoTimelineTrack;
struct CompositionServices;

class KeyframeMoves {
public:
    KeyframeMoves(MarvoTimelineController& composition, CompositionServices& services)
        : composition_(composition), services_(services) {}

    // Inside 0 ... the end of the composition, and inside the keyframe's range.
    Frame maxPossibleTimeForTime(Frame time) const;
    static float maxPossibleValueForValue(float value, const MarvoTimelineKeyframe& keyframe);
    // More than one track with several keyframes selected.
    bool multiKeyframesSelectedOnMultipleTracks() const;
    // Where a keyframe belongs whose frame has its origin there, in pixels of a lane of that size.
    KeyframePlace updateKeyFrame(const MarvoTimelineKeyframe& keyframe, float originX, float originY,
                                 float trackWidth, float trackHeight) const;

    // To a place that the helpers above have limited.
    void moveKeyFrameWithUID(std::uint64_t uID, std::int64_t trackPosition, Frame time, float value);
    // In frames and in the stored scale of the track; not limited.
    void moveAllKeyFramesOnTrack(std::int64_t trackPosition, FrameCount timeDelta, float valueDelta);
    // Values move by whole units only.
    void moveMultiKeyframesOnSelectedTracks(FrameCount timeDelta, float valueDelta);
    void moveMultiKeyframesOnTracks(const std::vector<MarvoTimelineTrack*>& tracks, FrameCount timeDelta,
                                    float valueDelta);
    // About the middle of the track's range, or of the whole composition.
    void undoInvertSelectedKeyframesValueOnTrack(std::int64_t trackPosition);
    void undoInvertSelectedKeyframesTimeOnTrack(std::int64_t trackPosition);

    // What was typed into the fields of the track's header, of which the active keyframe is shown: the
    // selected ones move along. Text that says nothing beeps; without an active keyframe nothing happens.
    void setTimeOfMultiKeyFrame(std::int64_t trackPosition, std::string_view text);
    void setValueOfMultiKeyFrame(std::int64_t trackPosition, std::string_view text,
                                 MarvoNumberFormatter& formatter);

    // The step under all of these, for edits of other parts: each keyframe to its place.
    void place(std::int64_t trackPosition, std::vector<KeyframePlace> places, const std::string& actionName);

private:
    struct Deltas {
        FrameCount time;
        float value = 0.0f;
    };
    Deltas maxDeltas(const MarvoTimelineTrack& track, Deltas wanted) const;
    void moveSelected(MarvoTimelineTrack& track, Deltas deltas);

    MarvoTimelineController& composition_;
    CompositionServices& services_;
};

} // namespace marvo
