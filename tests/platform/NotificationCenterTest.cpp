#include "platform/NotificationCenter.h"

#include "Eventually.h"
#include "InvariantCapture.h"
#include "RealtimeScope.h"

#include <atomic>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

using namespace marvo;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

struct Tick {
    long frame = 0;
};

struct NotificationCenterTest : testing::Test {
    NotificationCenter center;
    Notification<Tick> tick = center.name<Tick>("processTracksAtTime-1");
    Notification<NoPayload> changed = center.name<NoPayload>("ProjectChanged");
    std::vector<int> order;
};

} // namespace

TEST_F(NotificationCenterTest, CallsObserversInOrderOfRegistrationOnThePostingThread) {
    std::thread::id where;
    const Observation a =
        center.observe(tick, [&](const Tick& t) { order.push_back(static_cast<int>(t.frame)); });
    const Observation b = center.observe(tick, [&](const Tick&) { order.push_back(2); });
    const Observation c = center.observe(tick, [&] { where = std::this_thread::get_id(); });
    std::thread other([&] { center.post(tick, {41}); });
    const std::thread::id expected = other.get_id();
    other.join();
    EXPECT_THAT(order, ElementsAre(41, 2));
    EXPECT_EQ(where, expected);
}

TEST_F(NotificationCenterTest, ReachesOnlyItsOwnNameAndItsOwnCentre) {
    NotificationCenter other;
    const Observation a = center.observe(changed, [&](const NoPayload&) { order.push_back(1); });
    center.post(tick, {1});
    other.post(other.name<NoPayload>("ProjectChanged"));
    EXPECT_THAT(order, ElementsAre());
    center.post(changed);
    EXPECT_THAT(order, ElementsAre(1));
}

TEST_F(NotificationCenterTest, GivesOneNameForOneText) {
    EXPECT_EQ(center.name<NoPayload>("ProjectChanged").name, changed.name);
    EXPECT_NE(center.name<NoPayload>("ProjectChange").name, changed.name);
    EXPECT_EQ(center.text(changed.name), "ProjectChanged");
}

TEST_F(NotificationCenterTest, FindsWithoutInterning) {
    const std::size_t before = center.nameCount();
    EXPECT_FALSE(center.find<NoPayload>("/from/outside"));
    EXPECT_EQ(center.nameCount(), before);
    ASSERT_TRUE(center.find<NoPayload>("ProjectChanged"));
    EXPECT_FALSE(center.find<Tick>("ProjectChanged")) << "it carries something else";
}

TEST_F(NotificationCenterTest, RefusesASecondPayloadTypeForAName) {
    const InvariantCapture capture;
    const Notification<int> wrong = center.name<int>("ProjectChanged");
    EXPECT_FALSE(wrong.isValid());
    EXPECT_THAT(capture.rules(), ElementsAre(HasSubstr("notification payload type: ProjectChanged")));
    const Observation none = center.observe(wrong, [&] { order.push_back(1); });
    EXPECT_FALSE(none);
    center.post(wrong, 1);
    center.post(changed);
    EXPECT_THAT(order, ElementsAre());
}

TEST_F(NotificationCenterTest, StopsCallingAfterRemoval) {
    Observation a = center.observe(changed, [&] { order.push_back(1); });
    Observation moved = std::move(a);
    a.reset();
    center.post(changed);
    EXPECT_TRUE(center.hasObservers(changed));
    moved.reset();
    EXPECT_FALSE(center.hasObservers(changed));
    center.post(changed);
    EXPECT_THAT(order, ElementsAre(1));
}

TEST_F(NotificationCenterTest, DoesNotCallAnObserverThatWasRemovedDuringThePost) {
    Observation second;
    const Observation first = center.observe(changed, [&] {
        order.push_back(1);
        second.reset();
    });
    second = center.observe(changed, [&] { order.push_back(2); });
    const Observation third = center.observe(changed, [&] { order.push_back(3); });
    center.post(changed);
    EXPECT_THAT(order, ElementsAre(1, 3));
}

TEST_F(NotificationCenterTest, LetsACallbackRemoveItself) {
    const auto destroyed =
        std::make_shared<bool>(false); // the centre may let go after the test's own variables
    std::shared_ptr<int> made(new int(100), [destroyed](int* number) {
        *destroyed = true;
        delete number;
    });
    Observation own;
    own = center.observe(changed, [&, held = std::move(made)] {
        own.reset();
        EXPECT_FALSE(*destroyed) << "what it holds outlives the removal inside it";
        order.push_back(1);
    });
    center.post(changed);
    center.post(changed);
    EXPECT_THAT(order, ElementsAre(1));
}

TEST_F(NotificationCenterTest, DoesNotCallObserversThatAreAddedDuringThePost) {
    std::vector<Observation> added;
    const Observation first = center.observe(changed, [&] {
        order.push_back(1);
        added.push_back(center.observe(changed, [&] { order.push_back(2); }));
    });
    center.post(changed);
    EXPECT_THAT(order, ElementsAre(1));
    order.clear();
    center.post(changed);
    EXPECT_THAT(order, ElementsAre(1, 2));
}

TEST_F(NotificationCenterTest, AllowsPostingInsideAPost) {
    int depth = 0;
    const Observation a = center.observe(changed, [&] {
        if (++depth < 3) center.post(changed);
        order.push_back(depth);
    });
    center.post(changed);
    EXPECT_THAT(order, ElementsAre(3, 3, 3));
}

TEST_F(NotificationCenterTest, LetsGoOfWhatACallbackHoldsWhenItIsRemoved) {
    auto held = std::make_shared<int>(1);
    Observation a = center.observe(changed, [held] { (void)held; });
    EXPECT_EQ(held.use_count(), 2);
    a.reset();
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(NotificationCenterTest, WaitsForACallbackOnAnotherThreadToEndBeforeARemovalReturns) {
    std::atomic<bool> inside{false};
    std::atomic<bool> ended{false};
    std::atomic<bool> mayEnd{false};
    Observation a = center.observe(changed, [&] {
        inside = true;
        while (!mayEnd) std::this_thread::yield();
        ended = true;
    });
    std::thread poster([&] { center.post(changed); });
    EXPECT_TRUE(eventually([&] { return inside.load(); }));
    std::atomic<bool> removed{false};
    bool endedBefore = false;
    std::thread remover([&] {
        a.reset();
        endedBefore = ended;
        removed = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(removed);
    mayEnd = true;
    remover.join();
    poster.join();
    EXPECT_TRUE(endedBefore);
}

TEST_F(NotificationCenterTest, DoesNotWaitForOtherCallbacksOfTheSamePost) {
    std::atomic<bool> inside{false};
    std::atomic<bool> mayEnd{false};
    const Observation slow = center.observe(changed, [&] {
        inside = true;
        while (!mayEnd) std::this_thread::yield();
    });
    const auto held = std::make_shared<int>(1);
    Observation quick = center.observe(changed, [&, held] { order.push_back(*held); });
    std::thread poster([&] { center.post(changed); });
    EXPECT_TRUE(eventually([&] { return inside.load(); }));
    quick.reset(); // hangs here if it waits for the whole post
    EXPECT_EQ(held.use_count(), 1) << "the post in progress keeps nothing of it";
    mayEnd = true;
    poster.join();
    EXPECT_THAT(order, ElementsAre());
}

TEST_F(NotificationCenterTest, PostsFromTheTickWithoutAllocatingOrWaiting) {
    long sum = 0;
    const Observation a = center.observe(tick, [&](const Tick& t) { sum += t.frame; });
    const RealtimeScope scope;
    for (long frame = 0; frame < 100; ++frame) {
        center.post(tick, {frame});
        center.post(changed);
        sum += center.hasObservers(changed) ? 1000 : 0;
    }
    EXPECT_EQ(scope.violations(), 0u) << scope.report();
    EXPECT_EQ(sum, 4950);
}

TEST_F(NotificationCenterTest, PostsWhileAnotherThreadRegistersAndRemoves) {
    std::atomic<bool> stop{false};
    std::atomic<long> calls{0};
    std::atomic<int> rounds{0};
    const Observation steady = center.observe(tick, [&] { ++calls; });
    long posts = 0;
    std::thread ticker([&] {
        while (!stop) {
            center.post(tick, {1});
            ++posts;
        }
    });
    std::thread second([&] {
        while (!stop) center.post(tick, {2});
    });
    for (int round = 0; round < 2000; ++round) {
        auto alive = std::make_shared<int>(round);
        Observation passing = center.observe(tick, [alive, &rounds] { rounds += *alive >= 0 ? 1 : 0; });
        center.name<NoPayload>("dynamic-" + std::to_string(round));
        passing.reset();
        ASSERT_EQ(alive.use_count(), 1) << "a removed callback is not held by a post";
    }
    EXPECT_TRUE(eventually([&] { return calls.load() > 0; }));
    stop = true;
    ticker.join();
    second.join();
    EXPECT_GE(calls.load(), posts) << "a change elsewhere never costs an observer its call";
}

TEST_F(NotificationCenterTest, HoldsTenThousandNames) {
    std::vector<Notification<Tick>> names;
    for (int each = 0; each < 10'000; ++each)
        names.push_back(center.name<Tick>("/osc/" + std::to_string(each)));
    long sum = 0;
    const Observation last = center.observe(names.back(), [&](const Tick& t) { sum += t.frame; });
    for (const auto& each : names) center.post(each, {3});
    EXPECT_EQ(sum, 3);
    EXPECT_EQ(center.text(names[5000].name), "/osc/5000");
}

TEST(NotificationCenterLife, LetsTokensOutliveIt) {
    Observation token;
    {
        NotificationCenter center;
        token = center.observe(center.name<NoPayload>("x"), [] {});
    }
    token.reset();
    EXPECT_FALSE(token);
}

TEST(NotificationCenterLife, SurvivesACallbackThatOwnsAnotherToken) {
    NotificationCenter center;
    const auto name = center.name<NoPayload>("x");
    auto inner = std::make_shared<Observation>(center.observe(name, [] {}));
    Observation outer = center.observe(name, [inner] {});
    inner.reset();
    outer.reset();
    EXPECT_FALSE(center.hasObservers(name));
}
