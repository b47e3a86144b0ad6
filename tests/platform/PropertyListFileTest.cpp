#include "platform/PropertyListFile.h"

#include "BinaryPropertyList.h"
#include "CommaLocale.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace marvo {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

PropertyList someProject() {
    PropertyList project = PropertyList::dictionary();
    PropertyList composition = PropertyList::dictionary();
    composition.set("compName", "Comp é <1>");
    composition.set("compTime", 12.5);
    composition.set("value", 0.1f);
    composition.set("small", 1.0e-7);
    project.set("Comp-0", composition);
    project.set("appData", PropertyList::dictionary());
    return project;
}

// Fails at the nth of its steps.
class FailingSteps : public FileSteps {
public:
    explicit FailingSteps(int allowed) : allowed_(allowed) {}
    long write(int descriptor, const char* bytes, std::size_t size) override {
        return allowed_-- == 0 ? -ENOSPC : FileSteps::write(descriptor, bytes, size);
    }
    int synchronise(int descriptor) override {
        return allowed_-- == 0 ? -EIO : FileSteps::synchronise(descriptor);
    }
    int rename(const char* from, const char* to) override {
        return allowed_-- == 0 ? -EACCES : FileSteps::rename(from, to);
    }

private:
    int allowed_;
};

TEST(PropertyListFile, AProjectComesBackAsItWasSaved) {
    const TemporaryFolder folder;
    const std::string path = folder.file("show.mrv");
    const WriteResult written = writePropertyList(path, someProject());
    EXPECT_TRUE(written.ok());
    EXPECT_EQ(written.droppedCharacters, 0u);
    const ReadResult read = readPropertyList(path);
    EXPECT_EQ(read.error, "");
    EXPECT_EQ(read.value.find("Comp-0")->find("compName")->stringOr(""), "Comp é <1>");
    EXPECT_THAT(folder.names(), ElementsAre("show.mrv"));

    const std::string first = folder.read(path);
    ASSERT_TRUE(writePropertyList(path, read.value).ok());
    EXPECT_EQ(folder.read(path), first) << "saving, loading and saving again is a fixed point";
}

TEST(PropertyListFile, AFileLargerThanOnePieceComesBack) {
    const TemporaryFolder folder;
    PropertyList list = PropertyList::array();
    for (int i = 0; i < 30'000; ++i) list.push_back("text number " + std::to_string(i));
    list.push_back(std::string(500'000, 'x'));
    ASSERT_TRUE(writePropertyList(folder.file("show.mrv"), list).ok());
    EXPECT_EQ(readPropertyList(folder.file("show.mrv")).value, list);
    // Exactly one piece: the end must still be noticed.
    std::string text = "<plist><string>";
    text += std::string((1 << 16) - text.size() - 17, 'y') + "</string></plist>";
    ASSERT_EQ(text.size(), std::size_t{1} << 16);
    EXPECT_EQ(readPropertyList(folder.write("exact.mrv", text)).error, "");
}

TEST(PropertyListFile, KeepsTheOldFileWholeWhenASaveFails) {
    for (int allowed = 0; allowed < 3; ++allowed) {
        const TemporaryFolder folder;
        const std::string path = folder.file("show.mrv");
        ASSERT_TRUE(writePropertyList(path, someProject()).ok());
        const std::string before = folder.read(path);
        PropertyList changed = someProject();
        changed.set("Comp-1", PropertyList::dictionary());
        FailingSteps steps(allowed);
        const WriteResult written = writePropertyList(path, changed, steps);
        EXPECT_FALSE(written.ok());
        EXPECT_THAT(written.error, StartsWith(path + ": "));
        EXPECT_EQ(folder.read(path), before);
        EXPECT_THAT(folder.names(), ElementsAre("show.mrv"));
    }
}

TEST(PropertyListFile, StopsAtOnceWhenTheDiskIsFull) {
    const TemporaryFolder folder;
    PropertyList list = PropertyList::array();
    for (int i = 0; i < 100'000; ++i) list.push_back(i);
    FailingSteps steps(2);
    EXPECT_THAT(writePropertyList(folder.file("show.mrv"), list, steps).error,
                HasSubstr("No space left on device"));
    EXPECT_TRUE(folder.names().empty());
}

TEST(PropertyListFile, AValueThatCannotBeWrittenLeavesTheOldFile) {
    const TemporaryFolder folder;
    const std::string path = folder.write("show.mrv", "old");
    PropertyList value = 1;
    for (int i = 0; i < 600; ++i) {
        PropertyList outer = PropertyList::array();
        outer.push_back(std::move(value));
        value = std::move(outer);
    }
    EXPECT_EQ(writePropertyList(path, value).error, path + ": nested deeper than 512 levels");
    EXPECT_EQ(writePropertyList(path, PropertyList()).error, path + ": there is no value to write");
    EXPECT_EQ(folder.read(path), "old");
    EXPECT_THAT(folder.names(), ElementsAre("show.mrv"));
}

TEST(PropertyListFile, CountsTheCharactersThatCouldNotBeSaved) {
    const TemporaryFolder folder;
    const WriteResult written = writePropertyList(folder.file("show.mrv"), "bell \a and \x1b");
    EXPECT_TRUE(written.ok());
    EXPECT_EQ(written.droppedCharacters, 2u);
    EXPECT_EQ(readPropertyList(folder.file("show.mrv")).value.stringOr(""), "bell  and ");
}

TEST(PropertyListFile, KeepsPermissionsAndLinks) {
    const TemporaryFolder folder;
    const std::string path = folder.write("real.mrv", "old");
    ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
    std::filesystem::create_symlink("real.mrv", folder.file("link.mrv"));
    ASSERT_TRUE(writePropertyList(folder.file("link.mrv"), someProject()).ok());
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("link.mrv")));
    EXPECT_EQ(readPropertyList(path).error, "");
    struct stat status {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
}

TEST(PropertyListFile, TellsTheBinaryFormFromTheOther) {
    const TemporaryFolder folder;
    BinaryPropertyList file;
    file.add(BinaryPropertyList::counted(5, 100'000) + std::string(100'000, 'x'));
    const std::string path = folder.write("show.mrv", file.bytes());
    EXPECT_EQ(readPropertyList(path).value.stringOr(""), std::string(100'000, 'x'))
        << "longer than one piece";
    EXPECT_EQ(readPropertyList(folder.write("cut.mrv", "bplist00")).error,
              folder.file("cut.mrv") + ": byte 8: the file is cut off");
}

TEST(PropertyListFile, SaysWhyAFileWasRefused) {
    const TemporaryFolder folder;
    EXPECT_EQ(readPropertyList(folder.file("none.mrv")).error,
              folder.file("none.mrv") + ": cannot be opened: No such file or directory");
    EXPECT_EQ(readPropertyList(folder.path()).error, folder.path() + ": is not a regular file");
    EXPECT_EQ(readPropertyList(folder.write("empty.mrv", "")).error,
              folder.file("empty.mrv") + ": the file is empty");
    EXPECT_EQ(readPropertyList(folder.write("photo.mrv", "\x89PNG\r\n")).error,
              folder.file("photo.mrv") + ": is not a property list");
    EXPECT_EQ(readPropertyList(folder.write("bad.mrv", "<plist>\n<dict>\n<key>a</key>\n    <foo/>")).error,
              folder.file("bad.mrv") + ": line 4, column 5: unexpected element <foo>");
}

TEST(PropertyListFile, DoesNotWaitForAPipeThatNobodyWritesTo) {
    const TemporaryFolder folder;
    ASSERT_EQ(::mkfifo(folder.file("pipe.mrv").c_str(), 0600), 0);
    EXPECT_EQ(readPropertyList(folder.file("pipe.mrv")).error,
              folder.file("pipe.mrv") + ": is not a regular file");
    EXPECT_EQ(readPropertyList("/dev/zero").error, "/dev/zero: is not a regular file");
}

TEST(PropertyListFile, RefusesAHugeFileWithoutReadingIt) {
    const TemporaryFolder folder;
    rusage before{};
    ::getrusage(RUSAGE_SELF, &before);
    for (const char* beginning : {"", "bplist00", "<?xml version=\"1.0\"?><plist><string>"}) {
        const std::string path = folder.write("huge.mrv", beginning);
        ASSERT_EQ(::truncate(path.c_str(), off_t{2} << 30), 0);
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(readPropertyList(path).error, path + ": is larger than 1 GiB");
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
    }
    rusage after{};
    ::getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 64 * 1024) << "kilobytes";
}

TEST(PropertyListFile, AFileOfNothingButZerosIsRefusedAtItsBeginning) {
    const TemporaryFolder folder;
    const std::string path = folder.write("zeros.mrv", "");
    ASSERT_EQ(::truncate(path.c_str(), off_t{1} << 30), 0);
    EXPECT_EQ(readPropertyList(path).error, path + ": line 1, column 1: not well-formed, or not valid UTF-8");
}

TEST(PropertyListFile, SavesTheSameBytesWhereTheDecimalPointIsAComma) {
    const TemporaryFolder folder;
    const std::string path = folder.file("show.mrv");
    ASSERT_TRUE(writePropertyList(path, someProject()).ok());
    const std::string plain = folder.read(path);
    const CommaLocale german;
    ASSERT_TRUE(german.isSet());
    const ReadResult read = readPropertyList(path);
    ASSERT_EQ(read.error, "");
    EXPECT_EQ(read.value.find("Comp-0")->find("compTime")->realOr(0), 12.5);
    EXPECT_EQ(PropertyList("0.25").realOr(0), 0.25);
    ASSERT_TRUE(writePropertyList(path, read.value).ok());
    EXPECT_EQ(folder.read(path), plain);
    ASSERT_TRUE(writePropertyList(path, someProject()).ok());
    EXPECT_EQ(folder.read(path), plain);
}

} // namespace
} // namespace marvo
