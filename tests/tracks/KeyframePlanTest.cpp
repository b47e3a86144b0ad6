#include "tracks/KeyframePlan.h"
#include "tracks/KeyframeRunStates.h"
#include "tracks/TrackKeyframes.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>

using namespace marvo;

namespace {

std::unique_ptr<KeyframePlan> planOf(std::int64_t count, float value) {
    auto plan = std::make_unique<KeyframePlan>();
    for (std::int64_t i = 0; i < count; ++i) plan->keyframes.push_back({i, value, 0, Curve::linear});
    return plan;
}

} // namespace

TEST(KeyframePlan, IsSeenByTheNextTickAfterItWasPublished) {
    KeyframePlanMailbox mailbox;
    bool changed = false;
    EXPECT_TRUE(mailbox.current(&changed).keyframes.empty());
    EXPECT_FALSE(changed);
    mailbox.publish(planOf(1, 1));
    mailbox.publish(planOf(2, 2));
    EXPECT_EQ(mailbox.current(&changed).keyframes.size(), 2u);
    EXPECT_TRUE(changed);
    changed = false;
    mailbox.current(&changed);
    EXPECT_FALSE(changed);
}

TEST(KeyframePlan, IsAlwaysSeenWholeWhileItIsEdited) {
    KeyframePlanMailbox mailbox;
    std::atomic<bool> stop{false};
    std::thread tick([&] {
        while (!stop) {
            bool changed = false;
            const KeyframePlan& plan = mailbox.current(&changed);
            for (const PlannedKeyframe& keyframe : plan.keyframes) {
                ASSERT_EQ(keyframe.value, static_cast<float>(plan.keyframes.size()));
            }
        }
    });
    for (int i = 1; i <= 3000; ++i) mailbox.publish(planOf(i % 50 + 1, static_cast<float>(i % 50 + 1)));
    stop = true;
    tick.join();
}

TEST(KeyframeRunStates, MarkingAllAsNotPassedForgetsEveryWord) {
    KeyframeRunStates states;
    const std::uint32_t a = states.allocateSlot();
    states.set(a, true, true);
    EXPECT_TRUE(states.isProcessed(a, 5));
    EXPECT_TRUE(states.shouldSkip(a));
    states.markAllNonProcessed();
    EXPECT_FALSE(states.isProcessed(a, 5));
    EXPECT_FALSE(states.shouldSkip(a));
}

TEST(KeyframeRunStates, WhatLiesBeforeTheStartCountsAsPassed) {
    KeyframeRunStates states;
    const std::uint32_t a = states.allocateSlot();
    const std::uint32_t b = states.allocateSlot();
    states.markAllNonProcessed();
    states.markProcessedBefore(Frame(10));
    EXPECT_TRUE(states.isProcessed(a, 9));
    EXPECT_FALSE(states.isProcessed(b, 10));
}

TEST(KeyframeRunStates, AKeyframeAddedDuringARunIsNotPassed) {
    KeyframeRunStates states;
    states.markAllNonProcessed();
    states.markProcessedBefore(Frame(100));
    const std::uint32_t added = states.allocateSlot();
    EXPECT_FALSE(states.isProcessed(added, 5));
}

TEST(KeyframeRunStates, AMovedKeyframeKeepsWhatItHasBeenThrough) {
    KeyframeRunStates states;
    const std::uint32_t a = states.allocateSlot();
    states.markAllNonProcessed();
    states.markProcessedBefore(Frame(10));
    states.pin(a, 5);
    EXPECT_TRUE(states.isProcessed(a, 50)) << "it had been passed where it stood";
}

TEST(KeyframeRunStates, ManySlotsAllHaveTheirOwnWord) {
    KeyframeRunStates states;
    std::vector<std::uint32_t> slots;
    for (int i = 0; i < 5000; ++i) slots.push_back(states.allocateSlot());
    for (std::size_t i = 0; i < slots.size(); i += 2) states.setProcessed(slots[i], true);
    for (std::size_t i = 0; i < slots.size(); ++i)
        ASSERT_EQ(states.isProcessed(slots[i], 0), i % 2 == 0) << i;
}

TEST(TrackKeyframes, EditsReachTheTickWhileItEvaluates) {
    MarvoKeyframeHelper helper;
    TrackKeyframes keyframes(helper, false);
    std::atomic<bool> stop{false};
    std::thread tick([&] {
        while (!stop) {
            bool changed = false;
            const KeyframePlan& plan = keyframes.plan(&changed);
            std::int64_t last = -1;
            for (const PlannedKeyframe& keyframe : plan.keyframes) {
                ASSERT_GE(keyframe.time, last);
                last = keyframe.time;
                keyframes.states().setProcessed(keyframe.slot, true);
            }
        }
    });
    std::vector<std::uint64_t> identities;
    for (int i = 0; i < 2000; ++i) {
        MarvoTimelineKeyframe keyframe;
        keyframe.time = Frame(i * 7919 % 1000);
        keyframe.uID = helper.nextUID();
        identities.push_back(keyframe.uID);
        keyframes.append(std::move(keyframe));
        keyframes.publish();
        if (i % 3 == 0) keyframes.removeWithUID(identities[static_cast<std::size_t>(i / 2)]);
        if (i % 5 == 0) keyframes.moveTo(identities.back(), Frame(i % 17), 1.0f);
    }
    stop = true;
    tick.join();
}
