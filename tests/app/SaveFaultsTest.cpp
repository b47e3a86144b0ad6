// Saving while the machine fails: the process is killed, the disk is full, the folder takes no files.
#include "TrackRecords.h"

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <random>
#include <sched.h>
#include <sstream>
#include <sys/mount.h>
#include <sys/wait.h>
#include <thread>

using namespace marvo;
using namespace marvo::testing;

namespace {

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

// A project of so many tracks, each with five hundred keyframes.
PropertyList largeProject(const std::string& name, int tracks) {
    std::vector<Point> points;
    for (std::int64_t time = 0; time < 500; ++time) points.push_back({time, static_cast<float>(time % 97)});
    std::vector<PropertyList> records;
    for (int i = 0; i < tracks; ++i) records.push_back(oscTrack("T" + std::to_string(i), "/a", points));
    return projectOf({compositionOf(name, 30, 60.0f, records)});
}

// Runs the work in a process of its own; true when it returned true there.
template <class Work>
bool inAnotherProcess(Work work) {
    const pid_t child = fork();
    if (child == 0) _exit(work() ? 0 : 1);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

void writeTo(const char* path, const std::string& text) {
    const int file = open(path, O_WRONLY | O_CLOEXEC);
    if (file < 0) return;
    [[maybe_unused]] const ssize_t written = write(file, text.data(), text.size());
    close(file);
}

// A small disk that only this process sees, mounted on the folder. For a process that ends soon.
bool mountSmallDisk(const std::string& folder, const char* options) {
    const auto user = std::to_string(geteuid());
    const auto group = std::to_string(getegid());
    if (unshare(CLONE_NEWNS) != 0) {
        if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
        writeTo("/proc/self/setgroups", "deny");
        writeTo("/proc/self/uid_map", "0 " + user + " 1");
        writeTo("/proc/self/gid_map", "0 " + group + " 1");
    }
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return false;
    return mount("tmpfs", folder.c_str(), "tmpfs", 0, options) == 0;
}

} // namespace

TEST(SaveFaults, KilledAtAnyMomentASaveLeavesTheOldFileOrTheNewOneWhole) {
    Show show;
    const std::string path = show.file("show.mrv");
    const std::string one = show.file("one.mrv");
    const std::string two = show.file("two.mrv");
    Show first(largeProject("First", 12));
    Show second(largeProject("Second", 15));
    const auto save = [](Show& which, const std::string& to) {
        return which.application.projectFile.processSaveWithURL(to);
    };
    save(first, one);
    save(second, two);
    const std::string before = contentOf(one);
    const std::string after = contentOf(two);
    ASSERT_GT(after.size(), 400'000u);
    save(first, path);
    const auto begun = std::chrono::steady_clock::now();
    save(first, path);
    const auto length = std::chrono::steady_clock::now() - begun;

    std::mt19937 random(7);
    int old = 0;
    int fresh = 0;
    double pace = 1.0; // a child that has just been forked may take many times as long as this process
    for (int time = 0; time < 100; ++time) {
        save(first, path);
        const pid_t child = fork();
        if (child == 0) {
            save(second, path);
            pause();
            _exit(0);
        }
        std::this_thread::sleep_for(length * pace * static_cast<double>(random() % 1500) / 1000.0);
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        const std::string left = contentOf(path);
        if (left == before) {
            ++old;
            pace *= 1.1;
        } else if (left == after) {
            ++fresh;
            pace *= 0.8;
        } else {
            FAIL() << "a file of " << left.size() << " bytes that nobody saved";
        }
    }
    std::printf("%d old files, %d new ones\n", old, fresh);
    EXPECT_GT(old, 0);
    EXPECT_GT(fresh, 0);
}

TEST(SaveFaults, AFullDiskLosesNeitherTheOldFileNorTheProjectInMemory) {
    Show show;
    const std::string folder = show.file("disk");
    std::filesystem::create_directory(folder);
    EXPECT_TRUE(inAnotherProcess([&] {
        if (!mountSmallDisk(folder, "size=256k")) {
            std::perror("mounting a small disk");
            return false;
        }
        const std::string path = folder + "/show.mrv";
        show.load(largeProject("Small", 2));
        show.application.projectFile.processSaveWithURL(path);
        const std::string before = contentOf(path);
        if (before.empty()) return false;
        show.load(largeProject("Large", 20));
        const PropertyList memory = show.composition().tracks.saveData();
        show.application.projectFile.processSaveWithURL(path);
        const bool isWhole = contentOf(path) == before;
        const bool isAlone = std::distance(std::filesystem::directory_iterator(folder), {}) == 1;
        const bool isThere = show.composition().tracks.saveData() == memory;
        // With room again the same project is saved.
        std::filesystem::remove(path);
        const bool hasRoom = mount("tmpfs", folder.c_str(), "tmpfs", MS_REMOUNT, "size=64m") == 0;
        show.application.projectFile.processSaveWithURL(path);
        return isWhole && isAlone && isThere && hasRoom && contentOf(path).size() > 400'000;
    }));
}

TEST(SaveFaults, AFolderThatTakesNoFilesLosesNothing) {
    Show show;
    const std::string folder = show.file("disk");
    std::filesystem::create_directory(folder);
    EXPECT_TRUE(inAnotherProcess([&] {
        if (!mountSmallDisk(folder, "size=16m")) {
            std::perror("mounting a small disk");
            return false;
        }
        const std::string path = folder + "/show.mrv";
        show.load(largeProject("One", 2));
        show.application.projectFile.processSaveWithURL(path);
        const std::string before = contentOf(path);
        if (mount("tmpfs", folder.c_str(), "tmpfs", MS_REMOUNT | MS_RDONLY, nullptr) != 0) return false;
        show.load(largeProject("Two", 3));
        const PropertyList memory = show.composition().tracks.saveData();
        show.application.projectFile.processSaveWithURL(path);
        return !before.empty() && contentOf(path) == before && show.composition().tracks.saveData() == memory;
    }));
}
