// What the tick reads of a track's keyframes: sorted, contiguous, and never changed once it is published.
//
// The editing side builds a plan and publishes it through the mailbox; the evaluating side adopts the newest
// before it computes. The editing side has one user at a time (the track's queue), and so has the evaluating
// side (the composition queue); the two run at once.
#pragma once

#include "platform/TimelineTime.h"
#include "tracks/Curves.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace marvo {

struct PlannedKeyframe {
    std::int64_t time;  // frames
    float value;        // stored scale
    std::uint32_t slot; // of its run state
    Curve curve;        // of the segment that ends here
};

struct NoteVelocities {
    float on;
    float off;
};

// What a kind of track adds to its plans. Whoever made it knows what it is.
struct PlanContent {
    virtual ~PlanContent() = default;
};

struct KeyframePlan {
    std::vector<PlannedKeyframe> keyframes; // by time; equal times in order of insertion
    std::vector<NoteVelocities> velocities; // one a keyframe on note tracks, empty on others
    std::unique_ptr<const PlanContent> content;
    KeyframePlan* next = nullptr; // used by the mailbox alone
};

class KeyframePlanMailbox {
public:
    KeyframePlanMailbox() : current_(new KeyframePlan()) {}
    ~KeyframePlanMailbox() {
        collectGarbage();
        delete pending_.load();
        delete current_;
    }
    KeyframePlanMailbox(const KeyframePlanMailbox&) = delete;
    KeyframePlanMailbox& operator=(const KeyframePlanMailbox&) = delete;

    // Editing side. A plan that was never adopted is dropped.
    void publish(std::unique_ptr<KeyframePlan> plan) {
        delete pending_.exchange(plan.release(), std::memory_order_acq_rel);
        collectGarbage();
    }

    // Editing side: frees what the evaluating side has handed back.
    void collectGarbage() {
        KeyframePlan* plan = retired_.exchange(nullptr, std::memory_order_acquire);
        while (plan) delete std::exchange(plan, plan->next);
    }

    // Evaluating side. Sets *changed when a newer plan was adopted. Realtime-safe: frees nothing, waits for
    // nobody.
    const KeyframePlan& current(bool* changed) {
        if (pending_.load(std::memory_order_relaxed)) {
            if (KeyframePlan* fresh = pending_.exchange(nullptr, std::memory_order_acq_rel)) {
                KeyframePlan* old = std::exchange(current_, fresh);
                old->next = retired_.load(std::memory_order_relaxed);
                while (!retired_.compare_exchange_weak(old->next, old, std::memory_order_release,
                                                       std::memory_order_relaxed)) {
                }
                *changed = true;
            }
        }
        return *current_;
    }

private:
    std::atomic<KeyframePlan*> pending_{nullptr};
    std::atomic<KeyframePlan*> retired_{nullptr};
    KeyframePlan* current_; // evaluating side only
};

} // namespace marvo
