#include "tracks/KeyframeStore.h"

#include <algorithm>

namespace marvo {
namespace {

bool isEarlier(const MarvoTimelineKeyframe& keyframe, Frame time) {
    return keyframe.time < time;
}

} // namespace

MarvoTimelineKeyframe& KeyframeStore::append(MarvoTimelineKeyframe keyframe) {
    keyframes_.push_back(std::move(keyframe));
    return keyframes_.back();
}

void KeyframeStore::rebuild() {
    const auto isBefore = [](const auto& a, const auto& b) {
        return a.time < b.time || (a.time == b.time && a.uID < b.uID);
    };
    if (!std::is_sorted(keyframes_.begin(), keyframes_.end(), isBefore)) {
        std::stable_sort(keyframes_.begin(), keyframes_.end(), isBefore);
    }
}

std::unique_ptr<KeyframePlan> KeyframeStore::buildPlan(bool withVelocities) const {
    auto plan = std::make_unique<KeyframePlan>();
    plan->keyframes.reserve(keyframes_.size());
    if (withVelocities) plan->velocities.reserve(keyframes_.size());
    for (const MarvoTimelineKeyframe& keyframe : keyframes_) {
        plan->keyframes.push_back(
            {keyframe.time.value, keyframe.value, keyframe.slot, keyframe.curveInUse()});
        if (withVelocities) plan->velocities.push_back({keyframe.noteVelocityOn, keyframe.noteVelocityOff});
    }
    return plan;
}

std::size_t KeyframeStore::sortedIndexForKeyframe(Frame time) const {
    const auto found = std::lower_bound(keyframes_.begin(), keyframes_.end(), time, isEarlier);
    return static_cast<std::size_t>(found - keyframes_.begin());
}

const MarvoTimelineKeyframe* KeyframeStore::keyframeAtTime(Frame time) const {
    const std::size_t index = sortedIndexForKeyframe(time);
    return index < size() && keyframes_[index].time == time ? &keyframes_[index] : nullptr;
}

std::vector<const MarvoTimelineKeyframe*> KeyframeStore::keyframesAtTime(Frame time) const {
    std::vector<const MarvoTimelineKeyframe*> result;
    for (std::size_t i = sortedIndexForKeyframe(time); i < size() && keyframes_[i].time == time; ++i) {
        result.push_back(&keyframes_[i]);
    }
    return result;
}

const MarvoTimelineKeyframe* KeyframeStore::keyframeBeforeTime(Frame time) const {
    helper_.nextUID();
    const std::size_t index = sortedIndexForKeyframe(time);
    return index > 0 ? &keyframes_[index - 1] : nullptr;
}

const MarvoTimelineKeyframe* KeyframeStore::keyframeAfterTime(Frame time) const {
    helper_.nextUID();
    const std::size_t index = sortedIndexForKeyframe(time);
    const bool taken = index < size() && keyframes_[index].time == time;
    const std::size_t neighbour = taken ? index + 1 : index;
    return neighbour < size() ? &keyframes_[neighbour] : nullptr;
}

std::vector<const MarvoTimelineKeyframe*> KeyframeStore::keyframesInRange(Frame location,
                                                                          FrameCount length) const {
    std::vector<const MarvoTimelineKeyframe*> result;
    const Frame end = location + length;
    for (std::size_t i = sortedIndexForKeyframe(location); i < size() && keyframes_[i].time <= end; ++i) {
        result.push_back(&keyframes_[i]);
    }
    return result;
}

MarvoTimelineKeyframe* KeyframeStore::objectWithUID(std::uint64_t uID) {
    for (MarvoTimelineKeyframe& keyframe : keyframes_) {
        if (keyframe.uID == uID) return &keyframe;
    }
    return nullptr;
}

const MarvoTimelineKeyframe* KeyframeStore::objectWithUID(std::uint64_t uID) const {
    for (const MarvoTimelineKeyframe& keyframe : keyframes_) {
        if (keyframe.uID == uID) return &keyframe;
    }
    return nullptr;
}

bool KeyframeStore::removeWithUID(std::uint64_t uID) {
    return std::erase_if(keyframes_, [uID](const auto& keyframe) { return keyframe.uID == uID; }) > 0;
}

float KeyframeStore::valueForNewKeyframeAt(Frame time, const KeyframeRange& range) const {
    if (empty()) return (range.maxValue - range.minValue) * 0.5f + range.minValue;
    const MarvoTimelineKeyframe* before = keyframeBeforeTime(time);
    const MarvoTimelineKeyframe* after = keyframeAfterTime(time);
    if (before && after) return (after->value - before->value) * 0.5f + before->value;
    return keyframes_.back().value;
}

} // namespace marvo
