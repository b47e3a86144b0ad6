#include "composition/KeyframeMoves.h"

#include "composition/CompositionTimeMath.h"
#include "composition/MarvoTimelineController.h"
#include "composition/UndoGroup.h"
#include "tracks/FieldInput.h"
#include "tracks/MarvoTimelineTrack.h"

#include <algorithm>
#include <cmath>
#include <variant>

namespace marvo {
namespace {

constexpr const char* moveName = "Move Keyframe";
// Half of a keyframe as it is drawn.
constexpr float halfKeyframe = 8.0f;

// The one of smallest size in the direction that was asked for; none against it.
template <class Number>
Number narrowed(Number delta, Number possible) {
    const Number none = Number{};
    return delta > none ? std::clamp(possible, none, delta) : std::clamp(possible, delta, none);
}

const MarvoTimelineKeyframe* activeKeyframe(const MarvoTimelineTrack& track) {
    const auto& all = track.keyframes().store().all();
    const auto found =
        std::find_if(all.begin(), all.end(), [](const auto& keyframe) { return keyframe.isActiveKeyframe; });
    return found == all.end() ? nullptr : &*found;
}

} // namespace

Frame KeyframeMoves::maxPossibleTimeForTime(Frame time) const {
    return clampToComposition(time, composition_.compTime(), composition_.compFPS());
}

float KeyframeMoves::maxPossibleValueForValue(float value, const MarvoTimelineKeyframe& keyframe) {
    return std::max(std::min(value, keyframe.maxValue), keyframe.minValue);
}

bool KeyframeMoves::multiKeyframesSelectedOnMultipleTracks() const {
    const auto tracks = composition_.tracks.plainTracks();
    return std::count_if(tracks.begin(), tracks.end(), [](const MarvoTimelineTrack* track) {
               return track->keyframes().multiKeyframeSelected();
           }) > 1;
}

KeyframePlace KeyframeMoves::updateKeyFrame(const MarvoTimelineKeyframe& keyframe, float originX,
                                            float originY, float trackWidth, float trackHeight) const {
    KeyframePlace place{keyframe.uID, keyframe.time, keyframe.value};
    if (!(trackWidth > 0.0f) || !(trackHeight > 0.0f)) return place;
    // A flag stands at its left edge.
    const float x = keyframe.flag() ? originX : originX + halfKeyframe;
    const float length = lengthInFrames(composition_.compTime(), composition_.compFPS());
    place.time = truncateToFrame(std::round(x / trackWidth * length));
    const float range = keyframe.maxValue - keyframe.minValue;
    place.value = keyframe.minValue + std::round(range / trackHeight * (originY + halfKeyframe));
    return place;
}

void KeyframeMoves::place(std::int64_t trackPosition, std::vector<KeyframePlace> places,
                          const std::string& actionName) {
    MarvoTimelineTrack* track = composition_.tracks.plainTrackAtPosition(trackPosition);
    if (!track) return;
    std::vector<KeyframePlace> before = track->keyframes().exchangePlaces(std::move(places));
    if (before.empty()) return;
    composition_.registerUndo(actionName, [this, trackPosition, before = std::move(before), actionName] {
        place(trackPosition, before, actionName);
    });
    composition_.projectChanged();
}

void KeyframeMoves::moveKeyFrameWithUID(std::uint64_t uID, std::int64_t trackPosition, Frame time,
                                        float value) {
    place(trackPosition, {{uID, time, value}}, moveName);
}

void KeyframeMoves::moveAllKeyFramesOnTrack(std::int64_t trackPosition, FrameCount timeDelta,
                                            float valueDelta) {
    MarvoTimelineTrack* track = composition_.tracks.plainTrackAtPosition(trackPosition);
    if (!track) return;
    if (valueDelta == 0.0f) {
        // Whole frames are exact both ways: the delta alone brings them back.
        track->moveAllKeyFrames(timeDelta);
        return;
    }
    std::vector<KeyframePlace> places;
    for (const MarvoTimelineKeyframe& keyframe : track->keyframes().store().all())
        places.push_back({keyframe.uID, keyframe.time + timeDelta, keyframe.value + valueDelta});
    place(trackPosition, std::move(places), moveName);
}

KeyframeMoves::Deltas KeyframeMoves::maxDeltas(const MarvoTimelineTrack& track, Deltas wanted) const {
    Deltas deltas = wanted;
    for (const MarvoTimelineKeyframe& keyframe : track.keyframes().store().all()) {
        if (!keyframe.selected) continue;
        const Frame target = maxPossibleTimeForTime(keyframe.time + deltas.time);
        deltas.time = narrowed(deltas.time, target - keyframe.time);
        const float reached = maxPossibleValueForValue(keyframe.value + deltas.value, keyframe);
        deltas.value = narrowed(deltas.value, reached - keyframe.value);
    }
    return deltas;
}

void KeyframeMoves::moveSelected(MarvoTimelineTrack& track, Deltas deltas) {
    std::vector<KeyframePlace> places = track.keyframes().selectedKeyframes();
    for (KeyframePlace& place : places) {
        place.time = place.time + deltas.time;
        place.value += deltas.value;
    }
    place(track.trackPosition(), std::move(places), moveName);
}

void KeyframeMoves::moveMultiKeyframesOnSelectedTracks(FrameCount timeDelta, float valueDelta) {
    std::vector<MarvoTimelineTrack*> tracks = composition_.tracks.plainTracks();
    std::erase_if(tracks, [](const MarvoTimelineTrack* track) { return !track->isSelected(); });
    moveMultiKeyframesOnTracks(tracks, timeDelta, valueDelta);
}

void KeyframeMoves::moveMultiKeyframesOnTracks(const std::vector<MarvoTimelineTrack*>& tracks,
                                               FrameCount timeDelta, float valueDelta) {
    Deltas deltas{timeDelta, std::trunc(valueDelta)};
    if (!std::isfinite(deltas.value)) deltas.value = 0.0f;
    for (const MarvoTimelineTrack* track : tracks) {
        deltas = maxDeltas(*track, deltas);
        deltas.value = std::trunc(deltas.value);
    }
    const UndoGroup group(services_.undo, moveName);
    for (MarvoTimelineTrack* track : tracks) moveSelected(*track, deltas);
}

void KeyframeMoves::undoInvertSelectedKeyframesValueOnTrack(std::int64_t trackPosition) {
    const MarvoTimelineTrack* track = composition_.tracks.plainTrackAtPosition(trackPosition);
    if (!track) return;
    std::vector<KeyframePlace> places = track->keyframes().selectedKeyframes();
    for (KeyframePlace& place : places)
        place.value = track->trackMaxValue() - (place.value - track->trackMinValue());
    place(trackPosition, std::move(places), "Invert Keyframes Value");
}

void KeyframeMoves::undoInvertSelectedKeyframesTimeOnTrack(std::int64_t trackPosition) {
    const MarvoTimelineTrack* track = composition_.tracks.plainTrackAtPosition(trackPosition);
    if (!track) return;
    const Frame total = endFrame(composition_.compTime(), composition_.compFPS());
    std::vector<KeyframePlace> places = track->keyframes().selectedKeyframes();
    for (KeyframePlace& place : places) place.time = Frame((total - place.time).value);
    place(trackPosition, std::move(places), "Invert Keyframes Time");
}

void KeyframeMoves::setTimeOfMultiKeyFrame(std::int64_t trackPosition, std::string_view text) {
    MarvoTimelineTrack* track = composition_.tracks.plainTrackAtPosition(trackPosition);
    const MarvoTimelineKeyframe* active = track ? activeKeyframe(*track) : nullptr;
    if (!active) return;
    const TimeInput input = parseTimeInput(text, composition_.compFPS());
    FrameCount delta;
    if (std::holds_alternative<RefusedInput>(input)) {
        composition_.beep();
        return;
    }
    if (std::holds_alternative<InvertSelection>(input)) {
        undoInvertSelectedKeyframesTimeOnTrack(trackPosition);
        return;
    }
    if (const auto* relative = std::get_if<RelativeFrames>(&input))
        delta = FrameCount(relative->delta);
    else
        delta = maxPossibleTimeForTime(Frame(std::get<AbsoluteFrame>(input).frame)) - active->time;
    moveSelected(*track, maxDeltas(*track, {delta, 0.0f}));
    composition_.projectChanged();
}

void KeyframeMoves::setValueOfMultiKeyFrame(std::int64_t trackPosition, std::string_view text,
                                            MarvoNumberFormatter& formatter) {
    MarvoTimelineTrack* track = composition_.tracks.plainTrackAtPosition(trackPosition);
    const MarvoTimelineKeyframe* active = track ? activeKeyframe(*track) : nullptr;
    if (!active) return;
    const bool isScaled = track->kind() == TrackKind::oscValue && track->trackOSCType() == 0;
    const ValueInput input =
        parseValueInput(text, formatter, isScaled ? track->oscFloatMultiplerByDigits() : 1.0f);
    if (std::holds_alternative<RefusedInput>(input)) {
        composition_.beep();
        return;
    }
    if (std::holds_alternative<InvertSelection>(input)) {
        undoInvertSelectedKeyframesValueOnTrack(trackPosition);
        return;
    }
    float delta = 0.0f;
    if (const auto* relative = std::get_if<RelativeValue>(&input))
        delta = relative->delta;
    else
        delta = maxPossibleValueForValue(std::get<AbsoluteValue>(input).value, *active) - active->value;
    moveSelected(*track, maxDeltas(*track, {FrameCount(0), delta}));
    composition_.projectChanged();
}

} // namespace marvo
