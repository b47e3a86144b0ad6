#include "platform/ThreadLoop.h"

#include "Eventually.h"

#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

using namespace marvo;

namespace {

constexpr Duration oneMillisecond = Duration::ofMilliseconds(1);
constexpr Duration oneHour = Duration::ofSeconds(3600);

} // namespace

TEST(ThreadLoop, CallsAtOnceAndThenAgain) {
    std::atomic<int> calls{0};
    ThreadLoop loop(oneMillisecond, [&] { ++calls; });
    EXPECT_FALSE(loop.isRunning());
    loop.start();
    loop.start();
    EXPECT_TRUE(loop.isRunning());
    EXPECT_TRUE(eventually([&] { return calls >= 5; }));
}

TEST(ThreadLoop, DoesNotCallAfterStopHasReturned) {
    std::atomic<int> calls{0};
    std::atomic<bool> inside{false};
    ThreadLoop loop(oneMillisecond, [&] {
        inside = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        ++calls;
        inside = false;
    });
    loop.start();
    EXPECT_TRUE(eventually([&] { return inside.load(); }));
    loop.stop();
    EXPECT_FALSE(inside);
    EXPECT_FALSE(loop.isRunning());
    const int after = calls;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(calls, after);
    loop.start();
    EXPECT_TRUE(eventually([&] { return calls > after; }));
}

TEST(ThreadLoop, StopsAtOnceHoweverLongTheInterval) {
    std::atomic<int> calls{0};
    ThreadLoop loop(oneHour, [&] { ++calls; });
    loop.start();
    EXPECT_TRUE(eventually([&] { return calls == 1; }));
    loop.stop();
    EXPECT_EQ(calls, 1);
}

TEST(ThreadLoop, CanBeStoppedInsideItsOwnFunction) {
    std::atomic<int> calls{0};
    ThreadLoop* self = nullptr;
    ThreadLoop loop(oneMillisecond, [&] {
        if (++calls == 3) self->stop();
    });
    self = &loop;
    loop.start();
    EXPECT_TRUE(eventually([&] { return !loop.isRunning(); }));
    loop.stop();
    EXPECT_EQ(calls, 3);
}

TEST(ThreadLoop, CanBeStartedAgainInsideItsOwnFunctionWithoutOverlap) {
    std::atomic<int> calls{0};
    std::atomic<int> inside{0};
    std::atomic<bool> overlapped{false};
    ThreadLoop* self = nullptr;
    ThreadLoop loop(oneMillisecond, [&] {
        if (++inside > 1) overlapped = true;
        if (++calls == 2) {
            self->stop();
            self->start();
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        if (calls == 4) {
            self->stop();
            self->start();
            self->stop();
        }
        --inside;
    });
    self = &loop;
    loop.start();
    EXPECT_TRUE(eventually([&] { return calls >= 4 && !loop.isRunning(); }));
    loop.stop();
    EXPECT_FALSE(overlapped);
    EXPECT_EQ(calls, 4);
}

TEST(ThreadLoop, WaitsForACallThatStoppedItselfBeforeAStopElsewhereReturns) {
    std::atomic<bool> stopped{false};
    std::atomic<bool> ended{false};
    ThreadLoop* self = nullptr;
    ThreadLoop loop(oneMillisecond, [&] {
        self->stop();
        stopped = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        ended = true;
    });
    self = &loop;
    loop.start();
    EXPECT_TRUE(eventually([&] { return stopped.load(); }));
    loop.stop();
    EXPECT_TRUE(ended);
}

TEST(ThreadLoop, CanBeDestroyedInsideItsOwnFunction) {
    auto guard = std::make_shared<int>(5);
    std::atomic<bool> done{false};
    std::unique_ptr<ThreadLoop> loop;
    std::mutex handOver; // the pointer is set before the function may clear it
    std::unique_lock hold(handOver);
    loop = std::make_unique<ThreadLoop>(oneMillisecond, [&handOver, &loop, &done, guard] {
        const std::lock_guard wait(handOver);
        loop.reset();
        if (*guard == 5) done = true; // what the function holds outlives the loop
    });
    loop->start();
    hold.unlock();
    EXPECT_TRUE(eventually([&] { return done.load(); }));
    EXPECT_TRUE(eventually([&] { return guard.use_count() == 1; }));
}

TEST(ThreadLoop, HoldsStillWhilePaused) {
    std::atomic<int> calls{0};
    ThreadLoop loop(oneMillisecond, [&] { ++calls; });
    loop.start();
    EXPECT_TRUE(eventually([&] { return calls > 0; }));
    loop.pause();
    EXPECT_TRUE(loop.isPaused());
    EXPECT_TRUE(loop.isRunning());
    std::this_thread::sleep_for(std::chrono::milliseconds(5)); // a call in progress may still end
    const int before = calls;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(calls, before);
    loop.resume();
    EXPECT_FALSE(loop.isPaused());
    EXPECT_TRUE(eventually([&] { return calls > before; }));
    loop.pause();
    loop.stop();
    EXPECT_FALSE(loop.isPaused());
}

TEST(ThreadLoop, TakesANewIntervalWithoutFinishingTheOldOne) {
    std::atomic<int> calls{0};
    ThreadLoop loop(oneHour, [&] { ++calls; });
    loop.start();
    EXPECT_TRUE(eventually([&] { return calls == 1; }));
    loop.setInterval(oneMillisecond);
    EXPECT_EQ(loop.interval(), oneMillisecond);
    EXPECT_TRUE(eventually([&] { return calls >= 4; }));
}

TEST(ThreadLoop, KeepsItsRhythmAgainstTheTimeTheCallsTake) {
    // Calls of 12 ms, 20 ms apart. If their time shifted the rhythm, no two beginnings could be less than 32
    // ms apart; a busy machine only makes the distances longer.
    std::vector<std::chrono::steady_clock::time_point> begins;
    std::atomic<bool> done{false};
    ThreadLoop loop(Duration::ofMilliseconds(20), [&] {
        begins.push_back(std::chrono::steady_clock::now());
        if (begins.size() == 15) done = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(12));
    });
    loop.start();
    EXPECT_TRUE(eventually([&] { return done.load(); }));
    loop.stop();
    int onTime = 0;
    for (std::size_t index = 1; index < begins.size(); ++index)
        onTime += begins[index] - begins[index - 1] < std::chrono::milliseconds(31) ? 1 : 0;
    EXPECT_GE(onTime, 3);
    EXPECT_GE(begins[14] - begins[0], std::chrono::milliseconds(260)) << "nor does it run ahead";
}

TEST(ThreadLoop, DoesNotCatchUpWhatALongCallMissed) {
    std::atomic<int> calls{0};
    std::chrono::steady_clock::time_point end;
    std::atomic<int> soon{0};
    ThreadLoop loop(Duration::ofMilliseconds(10), [&] {
        if (++calls == 1) {
            std::this_thread::sleep_for(std::chrono::milliseconds(105));
            end = std::chrono::steady_clock::now();
        } else if (std::chrono::steady_clock::now() - end < std::chrono::milliseconds(5)) {
            ++soon;
        }
    });
    loop.start();
    EXPECT_TRUE(eventually([&] { return calls >= 5; }));
    loop.stop();
    EXPECT_LE(soon, 1) << "ten intervals were missed, one call makes up for them";
}
