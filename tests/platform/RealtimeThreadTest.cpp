#include "platform/RealtimeThread.h"

#include "platform/SerialQueue.h"

#include "Eventually.h"
#include "PrivateBus.h"
#include "RealtimeScope.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <string>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

using namespace marvo;
using testing::HasSubstr;

namespace {

// Without the process-wide extras, which the tests of those ask for themselves.
RealtimeOptions plain() {
    RealtimeOptions options;
    options.lockMemory = false;
    options.holdCpuLatency = false;
    return options;
}

bool isOpenInThisProcess(const std::string& path) {
    for (const auto& each : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        if (std::filesystem::read_symlink(each.path(), error) == path) return true;
    }
    return false;
}

// As the kernel schedules it now: 20 for an ordinary thread, -1 - p for one that runs at real-time priority
// p.
int effectivePriority(pid_t thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string text((std::istreambuf_iterator<char>(file)), {});
    std::istringstream rest(text.substr(text.rfind(')') + 2));
    std::string field;
    for (int number = 3; number <= 18; ++number) rest >> field;
    return std::stoi(field);
}

long minorFaults() {
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    return usage.ru_minflt;
}

[[gnu::noinline]] void useStack() {
    volatile char block[128 * 1024];
    for (std::size_t index = 0; index < sizeof block; index += 1024) block[index] = 1;
}

} // namespace

TEST(RealtimeThread, RunsItsBodyUnderTheGrantItReports) {
    RealtimeThread thread;
    std::atomic<int> policy{-1}, priority{-1};
    RealtimeOptions options = plain();
    options.priority = 61;
    const RealtimeResult result = thread.start(options, [&](RealtimeThread&) {
        sched_param parameters{};
        sched_getparam(0, &parameters);
        priority = parameters.sched_priority;
        policy = sched_getscheduler(0);
    });
    thread.join();
    ASSERT_EQ(result.grant, RealtimeGrant::fifo)
        << "this test needs the right to SCHED_FIFO: " << result.error;
    EXPECT_EQ(result.priority, 61);
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(policy, SCHED_FIFO | SCHED_RESET_ON_FORK);
    EXPECT_EQ(priority, 61);
}

TEST(RealtimeThread, DoesNotRunWithoutAGrantAndSaysWhy) {
    RealtimeThread thread;
    RealtimeOptions options = plain();
    options.priority = 200; // no such priority
    options.allowRealtimeKit = false;
    std::atomic<bool> ran{false};
    const RealtimeResult result = thread.start(options, [&](RealtimeThread&) { ran = true; });
    EXPECT_FALSE(result.runs());
    EXPECT_THAT(result.error, HasSubstr("SCHED_FIFO: Invalid argument"));
    EXPECT_FALSE(thread.isRunning());
    EXPECT_FALSE(ran);
}

TEST(RealtimeThread, RunsWithAFineTimerWhenBestEffortIsEnough) {
    RealtimeThread thread;
    RealtimeOptions options = plain();
    options.allowFifo = false;
    options.allowRealtimeKit = false;
    options.bestEffort = true;
    std::atomic<int> slack{-1}, policy{-1};
    const RealtimeResult result = thread.start(options, [&](RealtimeThread&) {
        slack = prctl(PR_GET_TIMERSLACK, 0UL, 0UL, 0UL, 0UL);
        policy = sched_getscheduler(0);
    });
    thread.join();
    EXPECT_EQ(result.grant, RealtimeGrant::bestEffort);
    EXPECT_EQ(result.priority, 0);
    EXPECT_NE(result.error, "");
    EXPECT_EQ(slack, 1);
    EXPECT_EQ(policy, SCHED_OTHER);
}

TEST(RealtimeThread, RunsUntilItIsAskedToStop) {
    std::atomic<bool> ended{false};
    {
        RealtimeThread thread;
        RealtimeOptions options = plain();
        options.bestEffort = true;
        ASSERT_TRUE(thread
                        .start(options,
                               [&](RealtimeThread& self) {
                                   const MonotonicClock clock;
                                   while (!self.stopRequested())
                                       RealtimeThread::sleepUntil(clock.now() + Duration::ofMilliseconds(1));
                                   ended = true;
                               })
                        .runs());
        EXPECT_TRUE(thread.isRunning());
        EXPECT_FALSE(thread.start(options, [](RealtimeThread&) {}).runs()) << "one body at a time";
        thread.requestStop();
        thread.join();
        EXPECT_TRUE(ended);
        EXPECT_FALSE(thread.isRunning());
        ended = false;
        EXPECT_TRUE(thread
                        .start(options,
                               [&](RealtimeThread& self) {
                                   while (!self.stopRequested()) usleep(100);
                                   ended = true;
                               })
                        .runs());
    }
    EXPECT_TRUE(ended) << "its end waits for the body";
}

TEST(RealtimeThread, SleepsUntilTheMomentAndNotLess) {
    const MonotonicClock clock;
    const MonotonicTime deadline = clock.now() + Duration::ofMilliseconds(20);
    RealtimeThread::sleepUntil(deadline);
    EXPECT_GE(clock.now(), deadline);
    RealtimeThread::sleepUntil(deadline); // has passed: returns
    RealtimeThread::sleepUntil(MonotonicTime(0));
}

TEST(RealtimeThread, WatchesTheClockOnlyForTheLastPartOfAPreciseSleep) {
    const MonotonicClock clock;
    const Duration spin = Duration::ofMicroseconds(500);
    const auto used = [] {
        timespec now{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
        return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
    };
    // Others share the machine: a late wake-up shortens a watch, and stolen time lengthens one.
    std::vector<std::int64_t> watches;
    for (int each = 0; each < 20; ++each) {
        const MonotonicTime deadline = clock.now() + Duration::ofMilliseconds(10);
        const std::int64_t before = used();
        RealtimeThread::sleepUntil(deadline, spin);
        watches.push_back(used() - before);
        EXPECT_GE(clock.now(), deadline);
    }
    std::ranges::sort(watches);
    EXPECT_GT(watches.back(), spin.nanoseconds / 4);
    EXPECT_LT(watches[watches.size() / 2], 4 * spin.nanoseconds) << "most of the time is slept through";
    RealtimeThread::sleepUntil(clock.now(), spin); // has passed: returns
    RealtimeThread::sleepUntil(MonotonicTime(0), spin);
    RealtimeThread::sleepUntil(MonotonicTime(100), spin);
}

TEST(RealtimeThread, SleepsOnWhenASignalArrives) {
    struct sigaction handler {
    }, before{};
    static std::atomic<int> signals;
    signals = 0;
    handler.sa_handler = [](int) { ++signals; };
    sigaction(SIGUSR1, &handler, &before);
    const MonotonicClock clock;
    const MonotonicTime deadline = clock.now() + Duration::ofMilliseconds(60);
    const pthread_t sleeper = pthread_self();
    std::thread other([&] {
        for (int each = 0; each < 3; ++each) {
            usleep(8000);
            pthread_kill(sleeper, SIGUSR1);
        }
    });
    RealtimeThread::sleepUntil(deadline);
    EXPECT_GE(clock.now(), deadline);
    other.join();
    EXPECT_GT(signals, 0);
    sigaction(SIGUSR1, &before, nullptr);
}

TEST(RealtimeThread, HasItsStackInMemoryBeforeTheBodyStarts) {
    munlockall(); // locked memory would hide a missing touch
    std::atomic<long> faults{-1};
    RealtimeThread thread;
    RealtimeOptions options = plain();
    options.bestEffort = true;
    ASSERT_TRUE(thread
                    .start(options,
                           [&](RealtimeThread&) {
                               const long before = minorFaults();
                               useStack();
                               faults = minorFaults() - before;
                           })
                    .runs());
    thread.join();
    EXPECT_LE(faults, 2);
}

TEST(RealtimeThread, LocksMemoryOrSaysWhyNot) {
    RealtimeThread thread;
    RealtimeOptions options = plain();
    options.lockMemory = true;
    options.bestEffort = true;
    const RealtimeResult result = thread.start(options, [](RealtimeThread&) {});
    thread.join();
    ASSERT_TRUE(result.runs()) << "unlocked memory does not stop a show";
    std::ifstream status("/proc/self/status");
    std::string word;
    long locked = -1;
    while (status >> word)
        if (word == "VmLck:") status >> locked;
    munlockall();
    // The sanitizers turn the call into nothing.
    if (RealtimeScope::active()) {
        EXPECT_EQ(locked > 0, result.memory.empty()) << result.memory;
    }
}

TEST(RealtimeThread, HoldsTheProcessorAwakeAsLongAsItLives) {
    const std::string device = "/dev/cpu_dma_latency";
    {
        RealtimeThread thread;
        RealtimeOptions options = plain();
        options.holdCpuLatency = true;
        options.bestEffort = true;
        const RealtimeResult result = thread.start(options, [](RealtimeThread&) {});
        thread.join();
        ASSERT_TRUE(result.runs());
        EXPECT_EQ(isOpenInThisProcess(device), result.cpuLatency.empty()) << result.cpuLatency;
    }
    EXPECT_FALSE(isOpenInThisProcess(device));
}

TEST(SerialQueuePriority, LiftsASlowThreadInsideWhileTheTickWaits) {
    SerialQueue queue("com.selkar.compositions", QueueRank::compositions);
    std::atomic<pid_t> slow{0};
    std::atomic<bool> release{false};
    std::thread holder([&] {
        queue.sync([&] {
            slow = static_cast<pid_t>(syscall(SYS_gettid));
            while (!release) usleep(200);
        });
    });
    EXPECT_TRUE(eventually([&] { return slow != 0; }));
    ASSERT_GE(effectivePriority(slow), 0) << "an ordinary thread, however nice the tests are run";
    RealtimeThread tick;
    RealtimeOptions options = plain();
    options.priority = 60;
    std::atomic<bool> entered{false};
    const RealtimeResult result =
        tick.start(options, [&](RealtimeThread&) { queue.sync([&] { entered = true; }); });
    ASSERT_EQ(result.grant, RealtimeGrant::fifo)
        << "this test needs the right to SCHED_FIFO: " << result.error;
    EXPECT_TRUE(eventually([&] { return effectivePriority(slow) == -61; }));
    release = true;
    tick.join();
    holder.join();
    EXPECT_TRUE(entered);
}
