// How a run learns that the one before it died, and how locks end.
#include "platform/RunMarker.h"

#include "Eventually.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace marvo;

namespace {

struct RunMarkerTest : testing::Test {
    RunMarkerTest() {
        std::string name = (std::filesystem::temp_directory_path() / "marvo-runs-XXXXXX").string();
        folder = ::mkdtemp(name.data());
    }
    ~RunMarkerTest() override { std::filesystem::remove_all(folder); }
    std::size_t files() const {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
    }
    // A run that dies, or ends by itself.
    void run(bool dies) const {
        const pid_t child = ::fork();
        if (child == 0) {
            RunMarker marker(folder, "marvo");
            if (!dies) marker.end();
            ::_exit(0);
        }
        ::waitpid(child, nullptr, 0);
    }
    std::string folder;
};

using FileLockTest = RunMarkerTest;

} // namespace

TEST_F(RunMarkerTest, ARunThatDiedIsSeenOnce) {
    run(true);
    EXPECT_EQ(RunMarker(folder, "other").deadProgram(), "marvo");
    EXPECT_FALSE(RunMarker(folder, "other").deadProgram());
    EXPECT_EQ(files(), 0U);
}

TEST_F(RunMarkerTest, ARunThatEndedByItselfIsNot) {
    run(false);
    EXPECT_FALSE(RunMarker(folder, "other").deadProgram());
}

TEST_F(RunMarkerTest, ARunBesideIsNotTakenForADeadOne) {
    const RunMarker beside(folder, "marvo");
    EXPECT_FALSE(RunMarker(folder, "other").deadProgram());
    EXPECT_EQ(files(), 1U) << "the mark of the one that runs stays";
}

TEST_F(RunMarkerTest, OtherFilesOfTheFolderStay) {
    for (const char* name : {"/marvo-1.log", "/run-of-show.txt", "/run-", "/run-12a"})
        std::ofstream(folder + name) << "a line";
    EXPECT_FALSE(RunMarker(folder, "other").deadProgram());
    EXPECT_EQ(files(), 4U);
}

TEST_F(RunMarkerTest, AFolderThatCannotBeMadeIsNoReasonNotToRun) {
    std::ofstream(folder + "/file") << "in the way";
    EXPECT_FALSE(RunMarker(folder + "/file", "marvo").deadProgram());
}

TEST_F(FileLockTest, OneAtATimeHasIt) {
    const std::string path = folder + "/lock";
    const FileLock::Attempt none = FileLock::take(path, FileLock::Missing::leave);
    EXPECT_FALSE(none.lock || none.heldByOther);
    EXPECT_EQ(none.error, "No such file or directory");
    EXPECT_FALSE(FileLock::isHeld(path));
    {
        const FileLock::Attempt first = FileLock::take(path, FileLock::Missing::make);
        ASSERT_TRUE(first.lock);
        EXPECT_TRUE(FileLock::isHeld(path));
        const FileLock::Attempt second = FileLock::take(path, FileLock::Missing::make);
        EXPECT_TRUE(!second.lock && second.heldByOther);
    }
    EXPECT_FALSE(FileLock::isHeld(path));
    EXPECT_TRUE(FileLock::take(path, FileLock::Missing::leave).lock);
}

TEST_F(FileLockTest, WhoCannotMakeItIsToldWhy) {
    const FileLock::Attempt attempt = FileLock::take(folder + "/no/lock", FileLock::Missing::make);
    EXPECT_FALSE(attempt.lock || attempt.heldByOther);
    EXPECT_EQ(attempt.error, "No such file or directory");
}

TEST_F(FileLockTest, WhatIsLockedIsTheFileThatStandsThere) {
    const std::string path = folder + "/lock";
    std::atomic<bool> done{false};
    std::atomic<int> holders{0};
    std::atomic<int> most{0};
    std::atomic<int> times{0};
    const auto holdAndTakeAway = [&] {
        while (!done) {
            const FileLock::Attempt attempt = FileLock::take(path, FileLock::Missing::make);
            if (!attempt.lock) continue;
            const int now = ++holders;
            for (int before = most; before < now && !most.compare_exchange_weak(before, now);) {
            }
            ++times;
            for (int i = 0; i < 20; ++i) std::this_thread::yield();
            --holders;
            attempt.lock->removeFile();
        }
    };
    std::vector<std::thread> programs;
    for (int i = 0; i < 4; ++i) programs.emplace_back(holdAndTakeAway);
    EXPECT_TRUE(eventually([&] { return times > 2000; }, std::chrono::seconds(60)));
    done = true;
    for (std::thread& program : programs) program.join();
    EXPECT_EQ(most, 1);
}
