#include "RealtimeScope.h"

#include <atomic>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <poll.h>
#include <string>
#include <sys/eventfd.h>
#include <thread>
#include <time.h>
#include <unistd.h>

using namespace marvo;

namespace {

// Sanitizer builds watch nothing; there the scope has to stay silent.
std::size_t expected(std::size_t count) {
    return RealtimeScope::active() ? count : 0;
}

template <class Work>
std::size_t violationsOf(Work work) {
    const RealtimeScope scope;
    work();
    return scope.violations();
}

void* volatile keptBlock;

} // namespace

TEST(RealtimeScope, SeesAllocatingAndFreeing) {
    EXPECT_EQ(violationsOf([] {
                  keptBlock = std::malloc(10);
                  std::free(keptBlock);
              }),
              expected(2));
    EXPECT_EQ(violationsOf([] {
                  int* const number = new int(5);
                  keptBlock = number;
                  delete number;
              }),
              expected(2));
    EXPECT_EQ(violationsOf([] {
                  keptBlock = std::calloc(2, 8);
                  keptBlock = std::realloc(keptBlock, 64);
                  std::free(keptBlock);
              }),
              expected(3));
}

TEST(RealtimeScope, SeesAllocationInsideTheStandardLibrary) {
    EXPECT_EQ(violationsOf([] {
                  std::string text(200, 'x');
                  keptBlock = text.data(); // seen from outside, so that it cannot be left out
              }),
              expected(2));
}

TEST(RealtimeScope, SeesOnlyLocksThatWait) {
    std::mutex lock;
    EXPECT_EQ(violationsOf([&] { const std::lock_guard hold(lock); }), 0u);
    std::unique_lock<std::mutex> blocked(lock);
    std::size_t count = 99;
    std::thread other([&] { count = violationsOf([&] { const std::lock_guard hold(lock); }); });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    blocked.unlock();
    other.join();
    EXPECT_EQ(count, expected(1));
}

TEST(RealtimeScope, SeesSleepingAndPolling) {
    EXPECT_EQ(violationsOf([] {
                  const timespec moment{0, 1000};
                  nanosleep(&moment, nullptr);
                  clock_nanosleep(CLOCK_MONOTONIC, 0, &moment, nullptr);
                  usleep(1);
              }),
              expected(3));
    EXPECT_EQ(violationsOf([] { poll(nullptr, 0, 1); }), expected(1));
    EXPECT_EQ(violationsOf([] { poll(nullptr, 0, 0); }), 0u);
}

TEST(RealtimeScope, AllowsWritingToADescriptorThatNeverWaits) {
    const int patient = eventfd(0, EFD_CLOEXEC);
    const int brisk = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    const std::uint64_t one = 1;
    EXPECT_EQ(violationsOf([&] { ASSERT_EQ(write(patient, &one, sizeof one), 8); }), expected(1));
    EXPECT_EQ(violationsOf([&] { ASSERT_EQ(write(brisk, &one, sizeof one), 8); }), 0u);
    close(patient);
    close(brisk);
}

TEST(RealtimeScope, SeesFileSync) {
    char name[] = "/tmp/marvo-scope-XXXXXX";
    const int file = mkstemp(name);
    EXPECT_EQ(violationsOf([&] { fsync(file); }), expected(1));
    close(file);
    unlink(name);
}

TEST(RealtimeScope, LeavesOtherThreadsAlone) {
    std::atomic<int> stage{0};
    std::thread other([&] {
        while (stage.load() != 1) {
        }
        keptBlock = std::malloc(10);
        std::free(keptBlock);
        stage.store(2);
    });
    std::size_t count = 99;
    {
        const RealtimeScope scope;
        stage.store(1);
        while (stage.load() != 2) {
        }
        count = scope.violations();
    }
    other.join();
    EXPECT_EQ(count, 0u);
}

TEST(RealtimeScope, CountsForTheInnermostScopeAndEndsWithIt) {
    const RealtimeScope outer;
    {
        const RealtimeScope inner;
        keptBlock = std::malloc(1);
        EXPECT_EQ(inner.violations(), expected(1));
    }
    EXPECT_EQ(outer.violations(), 0u);
    std::free(keptBlock);
    EXPECT_EQ(outer.violations(), expected(1));
}

TEST(RealtimeScope, SaysWhereItHappened) {
    const RealtimeScope scope;
    keptBlock = std::malloc(10);
    std::free(keptBlock);
    const std::string report = scope.report();
    EXPECT_EQ(report.find("malloc") != std::string::npos, RealtimeScope::active()) << report;
    EXPECT_EQ(scope.violations(), expected(2)) << "the report itself is not counted";
}

TEST(RealtimeScopeDeathTest, StopsTheProgramWhenAskedTo) {
    const auto allocate = [] {
        const RealtimeScope scope(RealtimeScope::Reaction::abort);
        keptBlock = std::malloc(10);
    };
    if (RealtimeScope::active()) {
        EXPECT_DEATH(allocate(), "forbidden in a real-time scope: malloc");
    } else {
        EXPECT_EXIT((allocate(), ::_exit(7)), ::testing::ExitedWithCode(7), "");
    }
}
