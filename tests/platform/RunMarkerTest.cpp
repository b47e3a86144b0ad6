// How a run learns that the one before it died, and how locks end.
#include "platform/RunMarker.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

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
            RunMarker marker(folder);
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
    EXPECT_TRUE(RunMarker(folder).earlierRunDied());
    EXPECT_FALSE(RunMarker(folder).earlierRunDied());
    EXPECT_EQ(files(), 0U);
}

TEST_F(RunMarkerTest, ARunThatEndedByItselfIsNot) {
    run(false);
    EXPECT_FALSE(RunMarker(folder).earlierRunDied());
}

TEST_F(RunMarkerTest, ARunBesideIsNotTakenForADeadOne) {
    const RunMarker beside(folder);
    EXPECT_FALSE(RunMarker(folder).earlierRunDied());
    EXPECT_EQ(files(), 1U) << "the mark of the one that runs stays";
}

TEST_F(RunMarkerTest, OtherFilesOfTheFolderStay) {
    std::ofstream(folder + "/marvo-1.log") << "a line";
    EXPECT_FALSE(RunMarker(folder).earlierRunDied());
    EXPECT_EQ(files(), 1U);
}

TEST_F(RunMarkerTest, AFolderThatCannotBeMadeIsNoReasonNotToRun) {
    std::ofstream(folder + "/file") << "in the way";
    EXPECT_FALSE(RunMarker(folder + "/file").earlierRunDied());
}

TEST_F(FileLockTest, OneAtATimeHasIt) {
    const std::string path = folder + "/lock";
    EXPECT_FALSE(FileLock::take(path, FileLock::Missing::leave));
    EXPECT_FALSE(FileLock::isHeld(path));
    {
        const auto lock = FileLock::take(path, FileLock::Missing::make);
        ASSERT_TRUE(lock);
        EXPECT_TRUE(FileLock::isHeld(path));
        EXPECT_FALSE(FileLock::take(path, FileLock::Missing::make));
    }
    EXPECT_FALSE(FileLock::isHeld(path));
    EXPECT_TRUE(FileLock::take(path, FileLock::Missing::leave));
}
