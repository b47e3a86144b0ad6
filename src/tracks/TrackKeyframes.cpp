#include "tracks/TrackKeyframes.h"

#include "tracks/KeyframeRecords.h"

#include <algorithm>
#include <string>
#include <utility>

namespace marvo {

TrackKeyframes::TrackKeyframes(MarvoKeyframeHelper& helper, bool withVelocities, TrackNews* news)
    : store_(helper), withVelocities_(withVelocities), news_(news) {}

TrackKeyframes::~TrackKeyframes() = default;

void TrackKeyframes::edit(const std::function<void(KeyframeStore&)>& change) {
    kfqueue_.sync([&] { publish(prepare(change)); });
}

std::unique_ptr<KeyframePlan> TrackKeyframes::prepare(const std::function<void(KeyframeStore&)>& change) {
    return kfqueue_.sync([&] {
        change(store_);
        store_.rebuild();
        std::unique_ptr<KeyframePlan> plan = store_.buildPlan(withVelocities_);
        if (makeContent_) plan->content = makeContent_(store_);
        return plan;
    });
}

void TrackKeyframes::publish(std::unique_ptr<KeyframePlan> plan) {
    kfqueue_.sync([&] {
        mailbox_.publish(std::move(plan));
        states_.planPublished();
        if (news_) news_->raise();
    });
}

void TrackKeyframes::publish() {
    edit([](KeyframeStore&) {});
}

MarvoTimelineKeyframe& TrackKeyframes::append(MarvoTimelineKeyframe keyframe) {
    return kfqueue_.sync([&]() -> MarvoTimelineKeyframe& {
        keyframe.slot = states_.allocateSlot();
        return store_.append(std::move(keyframe));
    });
}

void TrackKeyframes::reserve(std::size_t further) {
    kfqueue_.sync([&] { store_.reserve(store_.size() + further); });
}

bool TrackKeyframes::removeWithUID(std::uint64_t uID) {
    return kfqueue_.sync([&] {
        const MarvoTimelineKeyframe* keyframe = store_.objectWithUID(uID);
        if (!keyframe) return false;
        states_.releaseSlot(keyframe->slot);
        store_.removeWithUID(uID);
        extras_.erase(uID);
        publish();
        return true;
    });
}

void TrackKeyframes::removeIf(const std::function<bool(const MarvoTimelineKeyframe&)>& goes) {
    edit([&](KeyframeStore& store) {
        std::erase_if(store.all(), [&](const MarvoTimelineKeyframe& keyframe) {
            if (!goes(keyframe)) return false;
            states_.releaseSlot(keyframe.slot);
            extras_.erase(keyframe.uID);
            return true;
        });
    });
}

void TrackKeyframes::moveTo(std::uint64_t uID, Frame time, float value) {
    kfqueue_.sync([&] {
        MarvoTimelineKeyframe* keyframe = store_.objectWithUID(uID);
        if (!keyframe) return;
        states_.pin(keyframe->slot, keyframe->time.value);
        keyframe->time = time;
        keyframe->value = value;
        keyframe->refresh();
        publish();
    });
}

std::vector<KeyframePlace> TrackKeyframes::exchangePlaces(std::vector<KeyframePlace> places) {
    std::vector<KeyframePlace> before;
    before.reserve(places.size());
    kfqueue_.sync([&] {
        store_.visit(places, [&](MarvoTimelineKeyframe& keyframe, const KeyframePlace& place) {
            const KeyframePlace old{keyframe.uID, keyframe.time, keyframe.value};
            if (old == place) return;
            before.push_back(old);
            states_.pin(keyframe.slot, keyframe.time.value);
            keyframe.time = place.time;
            keyframe.value = place.value;
            keyframe.refresh();
        });
        if (!before.empty()) publish();
    });
    return before;
}

void TrackKeyframes::mark(const std::function<void(MarvoTimelineKeyframe&)>& change) {
    kfqueue_.sync([&] {
        for (MarvoTimelineKeyframe& keyframe : store_.all()) change(keyframe);
    });
}

void TrackKeyframes::deselectFrames() {
    mark([](MarvoTimelineKeyframe& keyframe) { keyframe.selected = keyframe.isActiveKeyframe = false; });
}

void TrackKeyframes::selectKeyframesInRange(Frame location, FrameCount length) {
    const Frame end = location + length;
    mark([&](MarvoTimelineKeyframe& keyframe) {
        if (keyframe.time >= location && keyframe.time <= end) keyframe.selected = true;
    });
}

std::vector<KeyframePlace> TrackKeyframes::places() const {
    std::vector<KeyframePlace> places;
    places.reserve(store_.size());
    for (const MarvoTimelineKeyframe& keyframe : store_.all())
        places.push_back({keyframe.uID, keyframe.time, keyframe.value});
    return places;
}

std::vector<KeyframePlace> TrackKeyframes::selectedKeyframes() const {
    std::vector<KeyframePlace> selected;
    for (const MarvoTimelineKeyframe& keyframe : store_.all())
        if (keyframe.selected) selected.push_back({keyframe.uID, keyframe.time, keyframe.value});
    return selected;
}

bool TrackKeyframes::hasKeyframesSelected() const {
    return std::any_of(store_.all().begin(), store_.all().end(), [](const auto& k) { return k.selected; });
}

bool TrackKeyframes::multiKeyframeSelected() const {
    return std::count_if(store_.all().begin(), store_.all().end(), [](const auto& k) { return k.selected; }) >
           1;
}

void TrackKeyframes::keepExtras(std::uint64_t uID, PropertyList extras) {
    extras_[uID] = std::move(extras);
}

const PropertyList* TrackKeyframes::extrasOf(std::uint64_t uID) const {
    const auto found = extras_.find(uID);
    return found == extras_.end() ? nullptr : &found->second;
}

PropertyList TrackKeyframes::record(const MarvoTimelineKeyframe& keyframe, bool forUndo) const {
    PropertyList record = recordOf(keyframe, withVelocities_, forUndo);
    if (const PropertyList* extras = extrasOf(keyframe.uID)) {
        for (const auto& [key, value] : extras->entries()) record.set(key, value);
    }
    return record;
}

// A load takes keyframes of one time in the text order of their keys, where "10" comes before "9". So they
// are given their keys in that order.
PropertyList TrackKeyframes::records(bool forUndo) const {
    const std::vector<MarvoTimelineKeyframe>& all = store_.all();
    std::vector<PropertyList::Entry> entries(all.size());
    std::vector<std::pair<std::string, std::size_t>> keys; // of the keyframes of one time
    for (std::size_t first = 0, end = 0; first < all.size(); first = end) {
        keys.clear();
        for (; end < all.size() && all[end].time == all[first].time; ++end)
            keys.emplace_back(std::to_string(end), end);
        std::sort(keys.begin(), keys.end());
        for (std::size_t i = 0; i < keys.size(); ++i)
            entries[keys[i].second] = {SharedText(keys[i].first), record(all[first + i], forUndo)};
    }
    return PropertyList::dictionaryOf(entries);
}

} // namespace marvo
