#include "composition/KeyframeStretch.h"

#include "composition/CompositionTimeMath.h"
#include "composition/MarvoTimelineController.h"
#include "composition/UndoGroup.h"
#include "platform/SerialQueue.h"
#include "tracks/MarvoTimelineTrack.h"

#include <algorithm>

namespace marvo {
namespace {

std::uint64_t identityOf(const KeyframePlace& place) {
    return place.uID;
}
std::uint64_t identityOf(const CueTime& cue) {
    return cue.id.value;
}

template <class Things>
auto& withIdentity(Things& things, std::uint64_t identity) {
    return *std::find_if(things.begin(), things.end(),
                         [&](const auto& thing) { return identityOf(thing) == identity; });
}

} // namespace

// things: in time order, at least two.
template <class Things>
void KeyframeStretch::begin(Start& start, const Things& things, StretchEnd dragged) {
    const bool isSame = start.times.size() == things.size() &&
                        std::all_of(things.begin(), things.end(), [&](const auto& thing) {
                            return start.times.contains(identityOf(thing));
                        });
    if (isSame) return;
    start = {};
    for (const auto& thing : things) start.times[identityOf(thing)] = thing.time;
    start.base = identityOf(dragged == StretchEnd::right ? things.back() : things.front());
    start.anchor = identityOf(dragged == StretchEnd::right ? things.front() : things.back());
}

template <class Things>
void KeyframeStretch::narrow(FrameCount& delta, Start& start, const Things& things, StretchEnd dragged,
                             Frame end) {
    if (things.size() < 2) return;
    begin(start, things, dragged);
    const Frame base = withIdentity(things, start.base).time;
    const Frame anchor = withIdentity(things, start.anchor).time;
    delta = dragged == StretchEnd::right ? limitedStretchDelta(delta, dragged, anchor, base, end)
                                         : limitedStretchDelta(delta, dragged, base, anchor, end);
}

template <class Things>
void KeyframeStretch::stretchTimes(Things& things, Start& start, StretchEnd dragged, FrameCount delta) {
    begin(start, things, dragged);
    auto& base = withIdentity(things, start.base);
    const StretchGesture gesture{dragged, withIdentity(things, start.anchor).time, start.times[start.base],
                                 base.time + delta};
    for (auto& thing : things) {
        const std::uint64_t identity = identityOf(thing);
        if (identity == start.base || identity == start.anchor) continue;
        if (const auto time = stretchedTime(gesture, start.times[identity])) thing.time = *time;
    }
    base.time = gesture.base;
}

void KeyframeStretch::calculateMaxPossibleStretchTimeWithDeltaForRightStretch(FrameCount delta) {
    limit(delta, StretchEnd::right);
}

void KeyframeStretch::calculateMaxPossibleStretchTimeWithDeltaForLeftStretch(FrameCount delta) {
    limit(delta, StretchEnd::left);
}

void KeyframeStretch::limit(FrameCount delta, StretchEnd dragged) {
    const Frame end = endFrame(composition_.compTime(), composition_.compFPS());
    for (const MarvoTimelineTrack* track : composition_.tracks.plainTracks())
        narrow(delta, keyframes_[track->trackPosition()], track->keyframes().selectedKeyframes(), dragged,
               end);
    narrow(delta, cues_, composition_.cueEdits.selectedTimes(), dragged, end);
    cachedMaxStretchTimeDelta_ = delta;
}

void KeyframeStretch::stretch(StretchEnd dragged, const char* actionName) {
    const UndoGroup group(services_.undo, actionName);
    for (MarvoTimelineTrack* track : composition_.tracks.plainTracks()) stretchTrack(*track, dragged);
    stretchCues(dragged);
}

void KeyframeStretch::stretchTrack(MarvoTimelineTrack& track, StretchEnd dragged) {
    std::vector<KeyframePlace> places = track.keyframes().selectedKeyframes();
    if (places.size() < 2) return;
    stretchTimes(places, keyframes_[track.trackPosition()], dragged, cachedMaxStretchTimeDelta_);
    composition_.keyframeMoves.place(track.trackPosition(), std::move(places), "Move Keyframe");
}

void KeyframeStretch::stretchCues(StretchEnd dragged) {
    std::vector<CueTime> times = composition_.cueEdits.selectedTimes();
    if (times.size() < 2) return;
    stretchTimes(times, cues_, dragged, cachedMaxStretchTimeDelta_);
    services_.compQueue.sync([&] { composition_.cueEdits.placeCues(times); });
}

void KeyframeStretch::stretchCuesWithBaseCue(CueId base) {
    const std::vector<CueTime> times = composition_.cueEdits.selectedTimes();
    if (times.size() < 2) return;
    if (times.back().id == base)
        stretch(StretchEnd::right, "Move Cue");
    else if (times.front().id == base)
        stretch(StretchEnd::left, "Move Cue");
    else
        services_.compQueue.sync([&] { composition_.cueController.rebuildCuesWithRefresh(true); });
}

} // namespace marvo
