#include "platform/AtomicFile.h"

#include "TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace marvo {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

// Lets the first `allowed` steps pass and fails the next one.
class FailingSteps : public FileSteps {
public:
    FailingSteps(int allowed, int code) : allowed_(allowed), code_(code) {}
    long write(int descriptor, const char* bytes, std::size_t size) override {
        log += 'w';
        return fails() ? -code_ : FileSteps::write(descriptor, bytes, size);
    }
    int synchronise(int descriptor) override {
        log += 's';
        return fails() ? -code_ : FileSteps::synchronise(descriptor);
    }
    int close(int descriptor) override {
        log += 'c';
        const int result = FileSteps::close(descriptor);
        return fails() ? -code_ : result;
    }
    int rename(const char* from, const char* to) override {
        log += 'r';
        return fails() ? -code_ : FileSteps::rename(from, to);
    }

    std::string log;

private:
    bool fails() { return allowed_-- == 0; }
    int allowed_;
    const int code_;
};

// Takes the bytes in small helpings, with interruptions between them.
class SlowSteps : public FileSteps {
public:
    long write(int descriptor, const char* bytes, std::size_t size) override {
        if (interrupt_ = !interrupt_; interrupt_) return -EINTR;
        return FileSteps::write(descriptor, bytes, std::min<std::size_t>(size, 3));
    }

private:
    bool interrupt_ = false;
};

class FullSteps : public FileSteps {
public:
    long write(int, const char*, std::size_t) override { return 0; }
};

std::string replace(const std::string& path, std::string_view content, FileSteps& steps) {
    AtomicFile file(path, steps);
    if (file.write(content)) file.commit();
    return file.error();
}

std::string replace(const std::string& path, std::string_view content) {
    FileSteps steps;
    return replace(path, content, steps);
}

TEST(AtomicFile, MakesANewFileAndReplacesAnOldOne) {
    const TemporaryFolder folder;
    EXPECT_EQ(replace(folder.file("show.mrv"), "first"), "");
    EXPECT_EQ(folder.read(folder.file("show.mrv")), "first");
    EXPECT_EQ(replace(folder.file("show.mrv"), "second"), "");
    EXPECT_EQ(folder.read(folder.file("show.mrv")), "second");
    EXPECT_THAT(folder.names(), ElementsAre("show.mrv"));
}

TEST(AtomicFile, TheOldFileIsThereUntilTheNewOneIsDone) {
    const TemporaryFolder folder;
    const std::string path = folder.write("show.mrv", "old");
    FileSteps steps;
    {
        AtomicFile file(path, steps);
        ASSERT_TRUE(file.write("half of it"));
        EXPECT_EQ(folder.read(path), "old");
    }
    EXPECT_EQ(folder.read(path), "old") << "nothing was committed";
    EXPECT_THAT(folder.names(), ElementsAre("show.mrv"));
}

TEST(AtomicFile, EveryStepThatFailsLeavesTheOldFileAndNoTrace) {
    const char* reasons[] = {"cannot be written", "cannot be brought to the disk",
                             "cannot be brought to the disk", "cannot take the place of the old one"};
    for (int allowed = 0; allowed < 4; ++allowed) {
        const TemporaryFolder folder;
        const std::string path = folder.write("show.mrv", "old");
        FailingSteps steps(allowed, ENOSPC);
        const std::string error = replace(path, "new", steps);
        EXPECT_THAT(error, StartsWith(path + ": "));
        EXPECT_THAT(error, HasSubstr(reasons[allowed]));
        EXPECT_THAT(error, HasSubstr("No space left on device"));
        EXPECT_EQ(folder.read(path), "old");
        EXPECT_THAT(folder.names(), ElementsAre("show.mrv"));
        EXPECT_EQ(steps.log.size(), static_cast<std::size_t>(allowed) + 1)
            << "nothing is tried behind a failure";
    }
}

TEST(AtomicFile, TheContentIsOnTheDiskBeforeTheNameAndTheNameBeforeTheEnd) {
    const TemporaryFolder folder;
    FailingSteps steps(100, 0);
    EXPECT_EQ(replace(folder.file("show.mrv"), "new", steps), "");
    EXPECT_EQ(steps.log, "wscrs");
}

TEST(AtomicFile, SaysSoWhenOnlyTheFolderCouldNotBeSynchronised) {
    const TemporaryFolder folder;
    const std::string path = folder.write("show.mrv", "old");
    FailingSteps failing(4, EIO);
    EXPECT_THAT(replace(path, "new", failing),
                HasSubstr("was written, but its folder cannot be brought to the disk"));
    EXPECT_EQ(folder.read(path), "new");
    EXPECT_THAT(folder.names(), ElementsAre("show.mrv"));
    // File systems that cannot do this at all say EINVAL.
    FailingSteps unable(4, EINVAL);
    EXPECT_EQ(replace(path, "newer", unable), "");
}

TEST(AtomicFile, GoesOnAfterInterruptionsAndShortWrites) {
    const TemporaryFolder folder;
    SlowSteps steps;
    EXPECT_EQ(replace(folder.file("show.mrv"), "a text of some length", steps), "");
    EXPECT_EQ(folder.read(folder.file("show.mrv")), "a text of some length");
}

TEST(AtomicFile, ADiskThatTakesNothingIsFull) {
    const TemporaryFolder folder;
    FullSteps steps;
    EXPECT_THAT(replace(folder.file("show.mrv"), "x", steps), HasSubstr("No space left on device"));
    EXPECT_TRUE(folder.names().empty());
}

TEST(AtomicFile, KeepsThePermissionsOfTheOldFile) {
    const TemporaryFolder folder;
    const std::string path = folder.write("show.mrv", "old");
    for (const mode_t mode : {0640u, 0600u, 0664u, 0444u}) {
        ASSERT_EQ(::chmod(path.c_str(), mode), 0);
        ASSERT_EQ(replace(path, "new"), "");
        struct stat status {};
        ASSERT_EQ(::stat(path.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, mode);
    }
}

TEST(AtomicFile, ANewFileGetsThePermissionsOfTheUsersMask) {
    const TemporaryFolder folder;
    const mode_t before = ::umask(027);
    ASSERT_EQ(replace(folder.file("show.mrv"), "new"), "");
    ::umask(before);
    struct stat status {};
    ASSERT_EQ(::stat(folder.file("show.mrv").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
}

TEST(AtomicFile, FollowsLinksToTheFileTheyStandFor) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.file("deep"));
    folder.write("deep/real.mrv", "old");
    std::filesystem::create_symlink("deep/second", folder.file("first"));
    std::filesystem::create_symlink("real.mrv", folder.file("deep/second"));
    ASSERT_EQ(replace(folder.file("first"), "new"), "");
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("first")));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("deep/second")));
    EXPECT_EQ(folder.read(folder.file("deep/real.mrv")), "new");
}

TEST(AtomicFile, ALinkToAFileThatIsNotThereYetStaysALink) {
    const TemporaryFolder folder;
    std::filesystem::create_symlink(folder.file("later.mrv"), folder.file("link"));
    ASSERT_EQ(replace(folder.file("link"), "new"), "");
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("link")));
    EXPECT_EQ(folder.read(folder.file("later.mrv")), "new");
}

TEST(AtomicFile, ALinkThatGoesInCirclesIsRefused) {
    const TemporaryFolder folder;
    std::filesystem::create_symlink(folder.file("b"), folder.file("a"));
    std::filesystem::create_symlink(folder.file("a"), folder.file("b"));
    EXPECT_NE(replace(folder.file("a"), "new"), "");
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("a")));
    EXPECT_THAT(folder.names(), ElementsAre("a", "b"));
}

TEST(AtomicFile, SavesAFileWhoseNameIsAsLongAsANameCanBe) {
    const TemporaryFolder folder;
    const std::string name(255, 'n');
    EXPECT_EQ(replace(folder.file(name), "new"), "");
    EXPECT_EQ(folder.read(folder.file(name)), "new");
}

TEST(AtomicFile, DoesNotReplaceAFolderOrAPipe) {
    const TemporaryFolder folder;
    EXPECT_THAT(replace(folder.path(), "new"), HasSubstr("cannot be replaced: Is a directory"));
    ASSERT_EQ(::mkfifo(folder.file("pipe").c_str(), 0600), 0);
    EXPECT_THAT(replace(folder.file("pipe"), "new"), HasSubstr("cannot be replaced"));
    EXPECT_THAT(folder.names(), ElementsAre("pipe"));
}

TEST(AtomicFile, SaysWhenTheFolderIsNotThere) {
    const TemporaryFolder folder;
    EXPECT_EQ(replace(folder.file("none/show.mrv"), "new"),
              folder.file("none/show.mrv") + ": nothing can be written beside it: No such file or directory");
}

TEST(AtomicFile, APathWithoutAFolderMeansThePresentOne) {
    const TemporaryFolder folder;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    EXPECT_EQ(replace("show.mrv", "new"), "");
    std::filesystem::current_path(before);
    EXPECT_EQ(folder.read(folder.file("show.mrv")), "new");
}

} // namespace
} // namespace marvo
