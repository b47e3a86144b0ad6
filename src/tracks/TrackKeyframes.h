// The keyframes of one track: the store that is edited, and the plan that the tick reads.
//
// Edits run on the main thread inside "com.selkar.kfcalculate" and end with one publication. The evaluating
// side holds the composition queue, adopts the newest plan, and never waits for an edit. See docs/decisions.
#pragma once

#include "platform/PropertyList.h"
#include "platform/SerialQueue.h"
#include "tracks/KeyframePlan.h"
#include "tracks/KeyframeRunStates.h"
#include "tracks/KeyframeStore.h"
#include "tracks/MarvoTimelineKeyframe.h"
#include "tracks/TrackNews.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

namespace marvo {

// Where a keyframe stands, in frames and in the stored scale of its track.
struct KeyframePlace {
    std::uint64_t uID = 0;
    Frame time;
    float value = 0.0f;
    bool operator==(const KeyframePlace&) const = default;
};

class TrackKeyframes {
public:
    using ContentMaker = std::function<std::unique_ptr<const PlanContent>(const KeyframeStore&)>;

    // news: raised after each publication, when it is given.
    TrackKeyframes(MarvoKeyframeHelper& helper, bool withVelocities, TrackNews* news = nullptr);
    // Called for every plan, on the main thread and inside the queue.
    void setContentMaker(ContentMaker makeContent) { makeContent_ = std::move(makeContent); }
    ~TrackKeyframes();

    // Editing side: main thread.
    std::size_t count() const { return store_.size(); }
    const KeyframeStore& store() const { return store_; }
    // Runs the edit inside the queue, sorts, and publishes what came of it.
    void edit(const std::function<void(KeyframeStore&)>& change);
    // The same in two steps, for an edit that takes effect together with other settings: publish the plan
    // with the composition queue held, beside the swap of those.
    std::unique_ptr<KeyframePlan> prepare(const std::function<void(KeyframeStore&)>& change);
    void publish(std::unique_ptr<KeyframePlan> plan);
    // Adds without publishing, for batches that end with publish().
    MarvoTimelineKeyframe& append(MarvoTimelineKeyframe keyframe);
    // Before a batch of so many further ones.
    void reserve(std::size_t further);
    void publish();
    bool removeWithUID(std::uint64_t uID);
    // Removes every keyframe that the test names, with one publication.
    void removeIf(const std::function<bool(const MarvoTimelineKeyframe&)>& goes);
    void moveTo(std::uint64_t uID, Frame time, float value);
    // Puts each of the keyframes to its place, with one publication. Returns where they stood, without those
    // that are not there or stand there already.
    std::vector<KeyframePlace> exchangePlaces(std::vector<KeyframePlace> places);
    // For what the tick does not read, such as the selection: nothing is published.
    void mark(const std::function<void(MarvoTimelineKeyframe&)>& change);
    void deselectFrames();
    // Adds those from location to location + length, both ends included.
    void selectKeyframesInRange(Frame location, FrameCount length);
    // In time order.
    std::vector<KeyframePlace> places() const;
    std::vector<KeyframePlace> selectedKeyframes() const;
    bool hasKeyframesSelected() const;
    bool multiKeyframeSelected() const;
    // Keys of a saved keyframe that no field holds.
    void keepExtras(std::uint64_t uID, PropertyList extras);
    const PropertyList* extrasOf(std::uint64_t uID) const;
    // The saved form of one keyframe.
    PropertyList record(const MarvoTimelineKeyframe& keyframe, bool forUndo) const;
    // Records keyed by the numbers from 0 on, in time order; those of one time so that a load keeps their
    // order.
    PropertyList records(bool forUndo) const;

    // Evaluating side: with the composition queue held; realtime-safe.
    const KeyframePlan& plan(bool* changed) { return mailbox_.current(changed); }
    KeyframeRunStates& states() { return states_; }

private:
    SerialQueue kfqueue_{"com.selkar.kfcalculate", QueueRank::keyframeCalculate};
    KeyframeRunStates states_;
    KeyframeStore store_;
    KeyframePlanMailbox mailbox_;
    std::unordered_map<std::uint64_t, PropertyList> extras_;
    ContentMaker makeContent_;
    bool withVelocities_;
    TrackNews* news_;
};

} // namespace marvo
