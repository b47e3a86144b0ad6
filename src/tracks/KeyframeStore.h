// The keyframes of a track, sorted by time, as they are edited.
//
// Time decides the order; keyframes of equal time stand in the order in which they were made, which their uID
// tells. The order thus hangs on what the keyframes are and not on how they came there, so that an edit that
// is taken back leaves no trace. No queue in here: the owner lets one thread in at a time.
#pragma once

#include "platform/TimelineTime.h"
#include "tracks/KeyframePlan.h"
#include "tracks/MarvoKeyframeHelper.h"
#include "tracks/MarvoTimelineKeyframe.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace marvo {

class KeyframeStore {
public:
    explicit KeyframeStore(MarvoKeyframeHelper& helper) : helper_(helper) {}

    std::size_t size() const { return keyframes_.size(); }
    bool empty() const { return keyframes_.empty(); }
    std::vector<MarvoTimelineKeyframe>& all() { return keyframes_; }
    const std::vector<MarvoTimelineKeyframe>& all() const { return keyframes_; }

    // Room for that many, so that a load that knows its number does not leave half of the memory unused.
    void reserve(std::size_t count) { keyframes_.reserve(count); }
    // Adds at the end; rebuild() sorts.
    MarvoTimelineKeyframe& append(MarvoTimelineKeyframe keyframe);
    void rebuild();
    std::unique_ptr<KeyframePlan> buildPlan(bool withVelocities) const;

    // Index of the first keyframe at or behind the time.
    std::size_t sortedIndexForKeyframe(Frame time) const;
    const MarvoTimelineKeyframe* keyframeAtTime(Frame time) const;
    std::vector<const MarvoTimelineKeyframe*> keyframesAtTime(Frame time) const;
    // Strictly earlier. Draws one identity, as the probe that stands for it does.
    const MarvoTimelineKeyframe* keyframeBeforeTime(Frame time) const;
    // The neighbour behind the first place of that time: of two keyframes there, the second. Draws one
    // identity.
    const MarvoTimelineKeyframe* keyframeAfterTime(Frame time) const;
    // Both ends count.
    std::vector<const MarvoTimelineKeyframe*> keyframesInRange(Frame location, FrameCount length) const;
    MarvoTimelineKeyframe* objectWithUID(std::uint64_t uID);
    const MarvoTimelineKeyframe* objectWithUID(std::uint64_t uID) const;
    bool removeWithUID(std::uint64_t uID);
    // Calls visit(keyframe, one) for each of `named`, things with a uID, and drops those whose keyframe is
    // not there. One pass over the keyframes however many are named.
    template <class Named, class Visit>
    void visit(std::vector<Named>& named, Visit&& visit) {
        const auto byUID = [](const Named& a, const Named& b) { return a.uID < b.uID; };
        std::sort(named.begin(), named.end(), byUID);
        std::vector<Named> present;
        present.reserve(named.size());
        for (MarvoTimelineKeyframe& keyframe : keyframes_) {
            const auto one =
                std::lower_bound(named.begin(), named.end(), keyframe.uID,
                                 [](const Named& each, std::uint64_t uID) { return each.uID < uID; });
            if (one == named.end() || one->uID != keyframe.uID) continue;
            visit(keyframe, *one);
            present.push_back(std::move(*one));
        }
        named.swap(present);
    }

    // The value of a keyframe that a click adds: the middle of the range, or of the neighbours; with a
    // neighbour on one side only, the value of the last keyframe.
    float valueForNewKeyframeAt(Frame time, const KeyframeRange& range) const;

private:
    MarvoKeyframeHelper& helper_;
    std::vector<MarvoTimelineKeyframe> keyframes_;
};

} // namespace marvo
