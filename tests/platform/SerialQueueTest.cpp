#include "platform/SerialQueue.h"

#include "Eventually.h"
#include "InvariantCapture.h"
#include "RealtimeScope.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <thread>
#include <vector>

using namespace marvo;
using testing::ElementsAre;
using testing::HasSubstr;

TEST(SerialQueue, RunsTheBlockOnTheCallingThreadAndReturnsItsValue) {
    SerialQueue queue("com.selkar.compositions", QueueRank::compositions);
    std::thread::id where;
    const int value = queue.sync([&] {
        where = std::this_thread::get_id();
        return 7;
    });
    EXPECT_EQ(value, 7);
    EXPECT_EQ(where, std::this_thread::get_id());
    EXPECT_EQ(queue.label(), "com.selkar.compositions");
}

TEST(SerialQueue, LetsTheOwnerInAgain) {
    SerialQueue queue("cues", QueueRank::cues);
    const InvariantCapture capture;
    int depth = 0;
    queue.sync([&] {
        queue.sync([&] {
            ++depth;
            queue.sync([&] { ++depth; });
        });
        EXPECT_TRUE(queue.isCurrent()) << "leaving a re-entry is not leaving the queue";
    });
    EXPECT_EQ(depth, 2);
    EXPECT_THAT(capture.rules(), ElementsAre());
}

TEST(SerialQueue, KnowsWhoStandsInside) {
    SerialQueue queue("cues", QueueRank::cues);
    EXPECT_FALSE(queue.isCurrent());
    queue.sync([&] {
        EXPECT_TRUE(queue.isCurrent());
        bool seenByOther = true;
        std::thread([&] { seenByOther = queue.isCurrent(); }).join();
        EXPECT_FALSE(seenByOther);
    });
    EXPECT_FALSE(queue.isCurrent());
}

TEST(SerialQueue, KeepsThreadsApart) {
    SerialQueue queue("cues", QueueRank::cues);
    int counter = 0; // plain on purpose: the queue is its only guard
    std::vector<std::thread> threads;
    for (int each = 0; each < 4; ++each)
        threads.emplace_back([&] {
            for (int turn = 0; turn < 2000; ++turn)
                queue.sync([&] {
                    const int before = counter;
                    if (turn % 16 == 0) std::this_thread::yield(); // the worst moment to be interrupted
                    counter = before + 1;
                });
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(counter, 8000);
}

TEST(SerialQueue, KeepsQueuedBlocksInOrderAndApartFromTheOthers) {
    SerialQueue queue("cues", QueueRank::cues);
    std::vector<int> order;
    for (int each = 0; each < 500; ++each) {
        queue.async([&, each] { order.push_back(each); });
        if (each % 7 == 0) queue.sync([&] { order.reserve(1000); });
    }
    queue.drain();
    ASSERT_EQ(order.size(), 500u);
    for (int each = 0; each < 500; ++each) ASSERT_EQ(order[static_cast<std::size_t>(each)], each);
}

TEST(SerialQueue, RunsQueuedBlocksWithoutBeingAskedAgain) {
    SerialQueue queue("cues", QueueRank::cues);
    std::atomic<bool> ran{false};
    std::atomic<bool> inside{false};
    queue.async([&] {
        inside = queue.isCurrent();
        ran = true;
    });
    EXPECT_TRUE(eventually([&] { return ran.load(); }));
    EXPECT_TRUE(inside);
}

TEST(SerialQueue, DrainsFromInsideWithoutWaitingForItself) {
    SerialQueue queue("cues", QueueRank::cues);
    std::vector<int> order;
    queue.sync([&] {
        queue.async([&] { order.push_back(1); });
        queue.async([&] { order.push_back(2); });
        queue.drain();
        EXPECT_THAT(order, ElementsAre(1, 2));
    });
}

TEST(SerialQueue, FinishesWhatIsQueuedBeforeItGoes) {
    int ran = 0;
    {
        SerialQueue queue("cues", QueueRank::cues);
        for (int each = 0; each < 100; ++each) queue.async([&] { ++ran; });
    }
    EXPECT_EQ(ran, 100);
}

TEST(SerialQueue, AcceptsANestingInTheOrder) {
    SerialQueue outputs("com.selkar.outputs", QueueRank::outputs);
    SerialQueue keyframes("com.selkar.kfcalculate", QueueRank::keyframeCalculate);
    const InvariantCapture capture;
    keyframes.sync([&] { outputs.sync([] {}); });
    EXPECT_THAT(capture.rules(), ElementsAre());
}

TEST(SerialQueue, ReportsANestingAgainstTheOrder) {
    SerialQueue outputs("com.selkar.outputs", QueueRank::outputs);
    SerialQueue keyframes("com.selkar.kfcalculate", QueueRank::keyframeCalculate);
    const InvariantCapture capture;
    const std::uint64_t before = invariantFailureCount();
    bool ran = false;
    outputs.sync([&] { keyframes.sync([&] { ran = true; }); });
    EXPECT_THAT(capture.rules(),
                ElementsAre(HasSubstr("com.selkar.kfcalculate entered inside com.selkar.outputs")));
    EXPECT_EQ(invariantFailureCount(), before + 1);
    EXPECT_TRUE(ran) << "a show goes on";
}

TEST(SerialQueue, ReportsTwoQueuesOfOneRankInsideEachOther) {
    SerialQueue first("first", QueueRank::outputs);
    SerialQueue second("second", QueueRank::outputs);
    const InvariantCapture capture;
    first.sync([&] { second.sync([] {}); });
    EXPECT_THAT(capture.rules(), ElementsAre(HasSubstr("second entered inside first")));
}

TEST(SerialQueue, MeasuresTheOrderByTheHighestQueueHeldNotByTheLast) {
    SerialQueue midi("midi", QueueRank::midiInput);
    SerialQueue compositions("compositions", QueueRank::compositions);
    SerialQueue outputs("outputs", QueueRank::outputs);
    const InvariantCapture capture;
    outputs.sync([&] { midi.sync([&] { compositions.sync([] {}); }); });
    EXPECT_THAT(capture.rules(), ElementsAre(HasSubstr("midi entered inside outputs"),
                                             HasSubstr("compositions entered inside outputs")));
}

TEST(SerialQueue, AllowsReEntryOfAnOuterQueueFromAnInnerOne) {
    SerialQueue compositions("compositions", QueueRank::compositions);
    SerialQueue outputs("outputs", QueueRank::outputs);
    const InvariantCapture capture;
    compositions.sync([&] { outputs.sync([&] { compositions.sync([] {}); }); });
    EXPECT_THAT(capture.rules(), ElementsAre());
}

TEST(SerialQueue, CostsTheTickNoAllocationAndNoWaitWhileItIsFree) {
    SerialQueue compositions("compositions", QueueRank::compositions);
    SerialQueue outputs("outputs", QueueRank::outputs);
    const RealtimeScope scope;
    int ran = 0;
    for (int each = 0; each < 100; ++each) compositions.sync([&] { outputs.sync([&] { ++ran; }); });
    EXPECT_EQ(scope.violations(), 0u) << scope.report();
    EXPECT_EQ(ran, 100);
}

TEST(SerialQueue, LeavesTheQueueWhenABlockThrows) {
    SerialQueue queue("cues", QueueRank::cues);
    EXPECT_THROW(queue.sync([] { throw 1; }), int);
    EXPECT_FALSE(queue.isCurrent());
    bool ran = false;
    std::thread([&] { queue.sync([&] { ran = true; }); }).join();
    EXPECT_TRUE(ran);
}
