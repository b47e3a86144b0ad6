// The list of recent projects and the kept copies, as files.
#include "ui/RecentProjects.h"
#include "ui/RescueCopies.h"

#include "Show.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace marvo;
using namespace marvo::ui;

namespace {

struct StateFolder : ::testing::Test {
    StateFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "marvo-state-XXXXXX").string();
        folder = ::mkdtemp(name.data());
    }
    ~StateFolder() override { std::filesystem::remove_all(folder); }
    std::string folder;
};

struct RecentProjectsTest : StateFolder {};
struct RescueCopiesTest : StateFolder {};

PropertyList smallProject() {
    return marvo::testing::projectOf({marvo::testing::compositionOf("A", 30, 1.0f, {})});
}

} // namespace

TEST_F(RecentProjectsTest, TheNewestStandsFirstAndNoneStandsTwice) {
    RecentProjects recents(folder);
    EXPECT_FALSE(recents.first());
    recents.add("/shows/a.mrv");
    recents.add("/shows/b.mrv");
    recents.add("/shows/../shows/a.mrv");
    EXPECT_EQ(recents.all(), (std::vector<std::string>{"/shows/a.mrv", "/shows/b.mrv"}));
}

TEST_F(RecentProjectsTest, TenAreKeptOverRuns) {
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(RecentProjects(folder + "/new").add("/shows/" + std::to_string(i) + ".mrv"), "");
    const std::vector<std::string> paths = RecentProjects(folder + "/new").all();
    ASSERT_EQ(paths.size(), 10u);
    EXPECT_EQ(paths.front(), "/shows/11.mrv");
    EXPECT_EQ(paths.back(), "/shows/2.mrv");
}

TEST_F(RecentProjectsTest, ADamagedListCountsAsEmptyAndIsReplaced) {
    std::ofstream(folder + "/recent-projects.plist") << "<plist><dict><key>projects</key><array><integer>";
    RecentProjects recents(folder);
    EXPECT_TRUE(recents.all().empty());
    EXPECT_EQ(recents.add("/shows/a.mrv"), "");
    EXPECT_EQ(recents.all().size(), 1u);
}

TEST_F(RecentProjectsTest, TwoProgramsSideBySideDoNotForgetEachOthersProjects) {
    RecentProjects one(folder);
    RecentProjects two(folder);
    one.add("/shows/a.mrv");
    two.add("/shows/b.mrv");
    one.add("/shows/c.mrv");
    EXPECT_EQ(two.all(), (std::vector<std::string>{"/shows/c.mrv", "/shows/b.mrv", "/shows/a.mrv"}));
}

TEST_F(RecentProjectsTest, AListThatCannotBeWrittenSaysSo) {
    std::ofstream(folder + "/taken") << "a file";
    EXPECT_NE(RecentProjects(folder + "/taken").add("/shows/a.mrv"), "");
}

TEST_F(RescueCopiesTest, ACopyIsAWholeProjectAndKnowsWhereItBelongs) {
    {
        RescueCopies::Held held;
        EXPECT_EQ(RescueCopies(folder).write(smallProject(), "Evening", "/shows/evening.mrv", held), "");
    }
    const std::vector<RescueCopy> copies = RescueCopies(folder).all();
    ASSERT_EQ(copies.size(), 1u);
    EXPECT_EQ(copies[0].name, "Evening");
    EXPECT_EQ(copies[0].original, "/shows/evening.mrv");
    EXPECT_EQ(readPropertyList(copies[0].file).value, smallProject());
}

TEST_F(RescueCopiesTest, CopiesOfTwoProjectsDoNotOverwriteEachOther) {
    const RescueCopies rescues(folder);
    {
        RescueCopies::Held one, two;
        EXPECT_EQ(rescues.write(smallProject(), "One", std::nullopt, one), "");
        EXPECT_EQ(rescues.write(smallProject(), "Two", std::nullopt, two), "");
        EXPECT_NE(one.file, two.file);
        EXPECT_TRUE(rescues.all().empty()) << "while they are worked on";
        EXPECT_EQ(rescues.remove(one), "");
    }
    ASSERT_EQ(rescues.all().size(), 1u);
    EXPECT_EQ(rescues.all()[0].name, "Two");
}

TEST_F(RescueCopiesTest, ACopyWhoseNoteIsGoneIsStillOffered) {
    const RescueCopies rescues(folder);
    {
        RescueCopies::Held held;
        rescues.write(smallProject(), "One", "/shows/one.mrv", held);
        std::filesystem::remove(held.file + ".plist");
    }
    ASSERT_EQ(rescues.all().size(), 1u);
    EXPECT_EQ(rescues.all()[0].name, "Untitled project");
    EXPECT_FALSE(rescues.all()[0].original);
}

TEST_F(RescueCopiesTest, NothingButACopyIsEverRemoved) {
    std::ofstream(folder + "/mine.mrv") << "precious";
    const RescueCopies rescues(folder);
    EXPECT_NE(rescues.remove(folder + "/mine.mrv"), "");
    EXPECT_TRUE(std::filesystem::exists(folder + "/mine.mrv"));
}

TEST_F(RescueCopiesTest, ACopyThatAnotherProgramWorksOnIsNeitherTakenNorRemoved) {
    const RescueCopies rescues(folder);
    RescueCopies::Held theirs;
    ASSERT_EQ(rescues.write(smallProject(), "One", std::nullopt, theirs), "");
    RescueCopies::Held ours;
    EXPECT_FALSE(RescueCopies::use(theirs.file, ours));
    EXPECT_NE(rescues.remove(theirs.file), "");
    EXPECT_TRUE(std::filesystem::exists(theirs.file));
    EXPECT_TRUE(RescueCopies::isInUse(theirs.file));
}

TEST_F(RescueCopiesTest, WhatADeadProgramLeftIsTidiedUpButNotItsCopy) {
    const RescueCopies rescues(folder);
    std::string copy;
    {
        RescueCopies::Held held;
        ASSERT_EQ(rescues.write(smallProject(), "One", std::nullopt, held), "");
        copy = held.file;
    }
    std::ofstream(copy + ".lock") << ""; // as whoever dies leaves it
    const pid_t dead = ::fork();
    if (dead == 0) ::_exit(0);
    ::waitpid(dead, nullptr, 0);
    const std::string place = folder + "/Rescue/";
    std::ofstream(place + ".marvo-save-" + std::to_string(dead) + "-1") << "half a project";
    std::ofstream(place + ".marvo-save-" + std::to_string(::getpid()) + "-1") << "being written";
    std::ofstream(place + "20260101-000000-1.mrv.lock") << "";
    rescues.tidy();
    EXPECT_FALSE(std::filesystem::exists(place + ".marvo-save-" + std::to_string(dead) + "-1"));
    EXPECT_TRUE(std::filesystem::exists(place + ".marvo-save-" + std::to_string(::getpid()) + "-1"));
    EXPECT_FALSE(std::filesystem::exists(place + "20260101-000000-1.mrv.lock"));
    EXPECT_EQ(rescues.all().size(), 1u) << "its lock has died with it";
}
