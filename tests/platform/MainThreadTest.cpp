#include "platform/MainThread.h"

#include "Eventually.h"
#include "RealtimeScope.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace marvo;
using testing::ElementsAre;

namespace {

struct MainThreadTest : testing::Test {
    VirtualClock clock;
    MainThread main{clock};
    std::vector<int> order;

    auto append(int number) {
        return [this, number] { order.push_back(number); };
    }
    bool isAwake() const {
        pollfd polled{main.wakeDescriptor(), POLLIN, 0};
        return poll(&polled, 1, 0) == 1;
    }
};

} // namespace

TEST_F(MainThreadTest, RunsBlocksLaterAndInOrder) {
    main.async(append(1));
    main.async(append(2));
    std::thread([&] { main.async(append(3)); }).join();
    EXPECT_THAT(order, ElementsAre());
    EXPECT_EQ(main.pump(), 3u);
    EXPECT_THAT(order, ElementsAre(1, 2, 3));
}

TEST_F(MainThreadTest, KeepsSignalsAndBlocksInTheOrderOfPosting) {
    MainThread::Signal a(main, append(10));
    MainThread::Signal b(main, append(20));
    main.async(append(1));
    b.post();
    main.async(append(2));
    a.post();
    main.async(append(3));
    main.pump();
    EXPECT_THAT(order, ElementsAre(1, 20, 2, 10, 3));
}

TEST_F(MainThreadTest, RunsWhatTheBlocksPostInTheSamePump) {
    main.async([&] {
        append(1)();
        main.async(append(3));
    });
    main.async(append(2));
    main.pump();
    EXPECT_THAT(order, ElementsAre(1, 2, 3));
}

TEST_F(MainThreadTest, DoesNotHangOnABlockThatPostsItselfForEver) {
    std::function<void()> again = [&] { main.async(again); };
    main.async(again);
    EXPECT_EQ(main.pump(50), 50u);
    EXPECT_TRUE(isAwake()) << "the rest must not be forgotten";
}

TEST_F(MainThreadTest, StaysAwakeWhenTheLimitLeavesBlocksBehind) {
    for (int each = 0; each < 5; ++each) main.async(append(each));
    EXPECT_EQ(main.pump(3), 3u);
    EXPECT_TRUE(isAwake());
    EXPECT_EQ(main.pump(), 2u);
    EXPECT_THAT(order, ElementsAre(0, 1, 2, 3, 4));
}

TEST_F(MainThreadTest, CoalescesASignalWhileItIsPending) {
    MainThread::Signal signal(main, append(1));
    signal.post();
    signal.post();
    EXPECT_TRUE(signal.isPending());
    main.pump();
    EXPECT_THAT(order, ElementsAre(1));
    EXPECT_FALSE(signal.isPending());
    signal.post();
    main.pump();
    EXPECT_THAT(order, ElementsAre(1, 1));
}

TEST_F(MainThreadTest, RunsASignalAgainThatIsPostedDuringItsFunction) {
    int runs = 0;
    MainThread::Signal* self = nullptr;
    MainThread::Signal signal(main, [&] {
        if (++runs < 3) self->post();
    });
    self = &signal;
    signal.post();
    main.pump();
    EXPECT_EQ(runs, 3);
}

TEST_F(MainThreadTest, DropsAPendingSignalThatIsDestroyed) {
    main.async(append(1));
    {
        MainThread::Signal signal(main, append(99));
        signal.post();
        MainThread::Signal delayed(main, append(98));
        delayed.postAfter(Duration(10));
    }
    main.async(append(2));
    clock.advance(Duration(100));
    main.pump();
    EXPECT_THAT(order, ElementsAre(1, 2));
}

TEST_F(MainThreadTest, AllowsASignalToBeDestroyedByItsOwnFunctionOrByAnEarlierBlock) {
    std::unique_ptr<MainThread::Signal> own;
    own = std::make_unique<MainThread::Signal>(main, [&, guard = std::string(100, 'x')] {
        own.reset();
        order.push_back(static_cast<int>(guard.size()));
    });
    auto other = std::make_unique<MainThread::Signal>(main, append(99));
    own->post();
    main.async([&] { other.reset(); });
    other->post();
    main.async(append(2));
    main.pump();
    EXPECT_THAT(order, ElementsAre(100, 2));
}

TEST_F(MainThreadTest, PostsFromTheTickWithoutAllocatingOrWaiting) {
    MainThread::Signal signal(main, append(1));
    MainThread::Signal delayed(main, append(2));
    {
        const RealtimeScope scope;
        for (int each = 0; each < 10; ++each) {
            signal.post();
            delayed.postAfter(Duration::ofMilliseconds(1));
        }
        EXPECT_EQ(scope.violations(), 0u) << scope.report();
    }
    main.pump();
    EXPECT_THAT(order, ElementsAre(1));
}

TEST_F(MainThreadTest, FiresDelayedBlocksWhenTheyAreDueAndNotBefore) {
    main.asyncAfter(Duration(200), append(2));
    main.asyncAfter(Duration(100), append(1));
    main.asyncAfter(Duration(300), append(4));
    main.asyncAfter(Duration(200), append(3));
    main.pump();
    EXPECT_THAT(order, ElementsAre());
    EXPECT_EQ(main.nextDeadline(), clock.now() + Duration(100));
    clock.advance(Duration(99));
    main.pump();
    EXPECT_THAT(order, ElementsAre());
    clock.advance(Duration(1));
    main.pump();
    EXPECT_THAT(order, ElementsAre(1));
    clock.advance(Duration(1000));
    main.pump();
    EXPECT_THAT(order, ElementsAre(1, 2, 3, 4));
    EXPECT_FALSE(main.nextDeadline());
}

TEST_F(MainThreadTest, FiresADelayedSignalOnceHoweverOftenItIsPosted) {
    MainThread::Signal refresh(main, append(15));
    refresh.postAfter(Duration(66'666'670));
    main.pump();
    refresh.postAfter(Duration(1));
    refresh.post();
    main.pump();
    EXPECT_THAT(order, ElementsAre()) << "the first post's moment stands";
    clock.advance(Duration(66'666'670));
    main.pump();
    EXPECT_THAT(order, ElementsAre(15));
}

TEST_F(MainThreadTest, RunsASyncBlockInlineOnTheMainThread) {
    EXPECT_TRUE(main.isCurrent());
    EXPECT_TRUE(main.sync(append(1)));
    EXPECT_THAT(order, ElementsAre(1));
}

TEST_F(MainThreadTest, LetsAnotherThreadWaitForItsBlock) {
    std::atomic<bool> done{false};
    std::thread::id where;
    std::thread other([&] {
        EXPECT_FALSE(main.isCurrent());
        EXPECT_TRUE(main.sync([&] { where = std::this_thread::get_id(); }));
        done = true;
    });
    EXPECT_TRUE(eventually([&] {
        main.pump();
        return done.load();
    }));
    other.join();
    EXPECT_EQ(where, std::this_thread::get_id());
}

TEST_F(MainThreadTest, ReleasesThoseWhoWaitWhenItCloses) {
    std::atomic<bool> result{true};
    std::thread other([&] { result = main.sync(append(1)); });
    EXPECT_TRUE(eventually([&] { return isAwake(); }));
    main.close();
    other.join();
    EXPECT_FALSE(result);
    EXPECT_FALSE([&] {
        bool late = true;
        std::thread([&] { late = main.sync(append(2)); }).join();
        return late;
    }());
    main.async(append(3));
    MainThread::Signal signal(main, append(4));
    signal.post();
    EXPECT_FALSE(signal.isPending());
    EXPECT_EQ(main.pump(), 0u);
    EXPECT_THAT(order, ElementsAre());
}

TEST_F(MainThreadTest, WakesAForeignLoopOnceUntilItIsPumped) {
    EXPECT_FALSE(isAwake());
    main.async(append(1));
    main.async(append(2));
    EXPECT_TRUE(isAwake());
    main.pump();
    EXPECT_FALSE(isAwake());
    main.async(append(3));
    EXPECT_TRUE(isAwake());
}

TEST_F(MainThreadTest, StaysAwakeForTheOthersWhenAPendingSignalIsDestroyed) {
    auto signal = std::make_unique<MainThread::Signal>(main, append(99));
    signal->post();
    main.async(append(1));
    signal.reset();
    EXPECT_TRUE(isAwake());
}
