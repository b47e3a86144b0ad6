// What the value of a track is on a frame, and whether there is anything to send.
//
// One computation answers both: the interpolated value, and positive infinity where nothing is to be sent.
// The caller holds the composition queue. Realtime-safe.
#pragma once

#include "platform/TimelineTime.h"
#include "tracks/KeyframePlan.h"
#include "tracks/KeyframeRunStates.h"

#include <cstdint>
#include <limits>

namespace marvo {

enum class ValueKind : std::uint8_t { oscFloat, oscInteger, midiNotes, other };

// What the last evaluation found out about the frames around its own: as long as nothing happens to the
// track, evaluating one of them again would find the same neighbours and leave their states as they are.
// Whoever makes something happen forgets it.
struct SteadySegment {
    std::int64_t first = 0; // frame; where the segment begins when it moves
    std::uint64_t span = 0; // so many frames are meant from the first on
    float startValue = 0.0f;
    float range = 0.0f; // signed
    float length = 1.0f;
    Curve curve = Curve::none;
    ValueKind kind = ValueKind::other;
    bool isIdle = false; // nothing is to be sent on any of these frames
    bool suppresses = true;

    // Frames before the first wrap round to beyond any span.
    bool holdsAt(Frame frame) const {
        return static_cast<std::uint64_t>(frame.value) - static_cast<std::uint64_t>(first) < span;
    }
    void setFrames(std::int64_t from, std::int64_t end) {
        first = from;
        span = from < end ? static_cast<std::uint64_t>(end) - static_cast<std::uint64_t>(from) : 0;
    }
};

// The last pass over all tracks of a composition.
struct TrackPass {
    Frame frame;
    std::uint32_t number = 0; // wraps round: right for segments of up to two thousand million passes
    bool isAfter(std::uint32_t other) const { return static_cast<std::int32_t>(number - other) > 0; }
};

// Run state of one track; belongs to the evaluating side.
struct ValueRun {
    SteadySegment steady;
    float value = 0.0f;
    float prevTrackValue = -1.0f; // last sent; infinity after a start, stop, jump or loop
    Frame lastProcessedTime;
    float lastNoteOnVelocity = 127.0f;
    float lastNoteOffVelocity = 64.0f;
    std::int64_t lastkfindex = 0; // seek cache: where the next search starts; 0 searches everything
    // While passes over all tracks rely on the steady segment, what each of them would write here stands
    // there alone, and is written when the segment is forgotten.
    const TrackPass* passes = nullptr;
    std::uint32_t steadySince = 0;   // the pass that found the segment
    bool findsSteadySegment = false; // a pass over all tracks will rely on what is found
    bool needsProcessPreviousKeyframe = false;
    bool shouldCareAboutCompositionStartOrJump = false;
};

struct ValueRules {
    Frame inTime; // of the working area
    bool optimalisedSending = true;
    bool processFirstKeyframe = false;
    bool isGroupedOSCMessage = false;
    ValueKind kind = ValueKind::other;
};

// The two neighbours of a frame, as indices into the plan; -1 for none.
struct KeyframeNeighbours {
    std::int64_t previous = -1;
    std::int64_t next = -1;
};

// The search that every kind of track begins with. It leaves the velocities and the seek cache in the run,
// and the one behind as not yet passed. False when the cache points past the end.
bool findNeighbours(ValueRun& run, const KeyframePlan& plan, KeyframeRunStates& states,
                    const ValueRules& rules, Frame frame, KeyframeNeighbours& found);

void forgetSteadySegment(ValueRun& run);

// Leaves the steady segment behind when the run asks for it.
void calculateCurrentValueAtTime(ValueRun& run, const KeyframePlan& plan, KeyframeRunStates& states,
                                 const ValueRules& rules, Frame frame);

void markKeyframesAsNonProcessed(ValueRun& run, KeyframeRunStates& states);
void valueRunStarted(ValueRun& run, KeyframeRunStates& states, Frame currentTime,
                     bool processLastKeyframeOnUnpause);
void valueRunStopped(ValueRun& run);
void valueRunJumped(ValueRun& run, KeyframeRunStates& states, Frame currentTime,
                    bool processLastKeyframeOnJump);
// After a plain loop every keyframe counts as not yet passed.
void valueRunLooped(ValueRun& run, KeyframeRunStates& states);

} // namespace marvo
