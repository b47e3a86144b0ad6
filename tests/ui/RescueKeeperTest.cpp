// What a run that ends without warning leaves behind: seconds of work at most are lost.
#include "Commands.h"
#include "Eventually.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

struct RescueKeeperTest : ::testing::Test, Commands {
    void change(const std::string& name) {
        application().compositions.renameSelectedComposition(name);
        application().projectChanged();
    }
    // Lets the time pass and waits until what is being written is on the disk.
    void after(Duration time) {
        clock.advance(time);
        keeper.follow(clock);
        ASSERT_TRUE(eventually([&] { return !keeper.isWriting(); }));
    }
    std::string nameInTheCopy() {
        const std::vector<RescueCopy> copies = rescues.all();
        if (copies.size() != 1) return std::to_string(copies.size()) + " copies";
        const PropertyList root = readPropertyList(copies[0].file).value;
        return std::string(root.find("Comp-0")->find("compName")->stringOr(""));
    }

    VirtualClock clock;
    RescueKeeper keeper{application(), rescues};
};

constexpr Duration aMoment = Duration::ofSeconds(3);

// With commands that keep copies themselves, as the program does.
struct RescueDuringWork : ::testing::Test, Commands {
    void work() {
        application().projectChanged();
        clock.advance(RescueKeeper::interval);
        commands.keepRescueCopy(clock);
        ASSERT_TRUE(eventually([&] { return std::filesystem::exists(onlyCopy() + ".plist"); }));
    }
    std::string onlyCopy() {
        const std::vector<RescueCopy> copies = rescues.all();
        return copies.size() == 1 ? copies[0].file : "";
    }
    VirtualClock clock;
};

} // namespace

TEST_F(RescueKeeperTest, AChangeIsOnTheDiskSecondsLater) {
    application().newProject();
    after(aMoment);
    EXPECT_TRUE(rescues.all().empty()) << "nothing is unsaved";
    change("Changed");
    after(aMoment);
    EXPECT_EQ(nameInTheCopy(), "Changed");
}

TEST_F(RescueKeeperTest, WorkThatGoesOnIsKeptAgainAndAgainInOneCopyButNotAllTheTime) {
    application().newProject();
    change("One");
    after(aMoment);
    change("Two");
    after(aMoment);
    EXPECT_EQ(nameInTheCopy(), "One");
    after(RescueKeeper::interval);
    EXPECT_EQ(nameInTheCopy(), "Two");
}

TEST_F(RescueKeeperTest, WithoutANewChangeNothingIsWritten) {
    application().newProject();
    change("One");
    after(aMoment);
    ASSERT_EQ(rescues.all().size(), 1u);
    std::filesystem::remove(rescues.all()[0].file);
    after(RescueKeeper::interval);
    after(RescueKeeper::interval);
    EXPECT_TRUE(rescues.all().empty());
}

TEST_F(RescueKeeperTest, ACrashLeavesTheCopyToTheNextRun) {
    application().newProject();
    change("Changed");
    after(aMoment);
    RescueCopies next(show.file("state"));
    ASSERT_EQ(next.all().size(), 1u);
    EXPECT_TRUE(next.all()[0].inUse) << "while the first one runs";
    rescues.release(next.all()[0].file); // as the kernel does for whoever dies
    ASSERT_EQ(next.all().size(), 1u);
    EXPECT_FALSE(next.all()[0].inUse);
}

TEST_F(RescueKeeperTest, ADiskThatTakesNothingIsToldOnceAndTriedAgain) {
    std::ofstream(show.file("state")) << "in the way";
    application().newProject();
    change("Changed");
    after(aMoment);
    after(RescueKeeper::interval);
    std::filesystem::remove(show.file("state"));
    after(RescueKeeper::interval);
    EXPECT_EQ(nameInTheCopy(), "Changed");
}

TEST_F(RescueKeeperTest, ACopyThatCannotBeReplacedIsTriedAgainWithoutAnotherChange) {
    application().newProject();
    change("One");
    after(aMoment);
    ASSERT_EQ(rescues.all().size(), 1u);
    const std::string file = rescues.all()[0].file;
    std::filesystem::remove(file);
    std::filesystem::create_directory(file);
    change("Two");
    after(RescueKeeper::interval);
    std::filesystem::remove(file);
    after(RescueKeeper::interval);
    EXPECT_EQ(nameInTheCopy(), "Two");
}

TEST_F(RescueKeeperTest, TheWindowIsNotPaintedForACopy) {
    application().newProject();
    int pictures = 0;
    application().projectFile.windowImage = [&] {
        ++pictures;
        return std::vector<std::uint8_t>{1};
    };
    change("Changed");
    after(aMoment);
    EXPECT_EQ(nameInTheCopy(), "Changed");
    EXPECT_EQ(pictures, 0);
    application().projectFile.windowImage = nullptr;
}

TEST_F(RescueDuringWork, ASaveTakesTheCopyAway) {
    commands.openProjectAtURL(projectFile("Evening"));
    work();
    EXPECT_TRUE(commands.saveProject());
    EXPECT_TRUE(rescues.all().empty());
}

TEST_F(RescueDuringWork, WhoQuitsWithoutSavingIsNotOfferedTheCopy) {
    commands.openProjectAtURL(projectFile("Evening"));
    work();
    person.answers = {Answer::ok};
    EXPECT_TRUE(commands.applicationShouldTerminate());
    EXPECT_TRUE(rescues.all().empty());
    EXPECT_TRUE(std::filesystem::is_empty(show.file("state/Rescue")));
}

TEST_F(RescueDuringWork, WhoNeverWantsToBeAskedIsNotOfferedTheCopyEither) {
    commands.openProjectAtURL(projectFile("Evening"));
    work();
    application().prefs.changeDisableConfirmOnQuit(true);
    EXPECT_TRUE(commands.applicationShouldTerminate());
    EXPECT_TRUE(rescues.all().empty());
}

TEST_F(RescueDuringWork, AProgramThatRunsBesideIsNotOfferedTheCopy) {
    commands.openProjectAtURL(projectFile("Evening"));
    work();
    Show beside;
    Operator other;
    RescueCopies seen(show.file("state"));
    ProjectCommands besideCommands(beside.application, other, recents, seen);
    besideCommands.offerRescuedCopies();
    EXPECT_TRUE(other.asked.empty());
}

TEST_F(RescueDuringWork, RemoteLoadsOfAWholeDayLeaveOneCopy) {
    for (int i = 0; i < 5; ++i) {
        application().loadProjectWithoutAsking(projectFile("Remote"));
        show.main.pump();
        EXPECT_LE(rescues.all().size(), 1u);
        application().projectChanged();
        clock.advance(RescueKeeper::interval);
        commands.keepRescueCopy(clock);
        ASSERT_TRUE(eventually([&] { return rescues.all().size() == (i == 0 ? 1u : 2u); }));
    }
}

TEST_F(RescueDuringWork, ACopyThatWasTakenUpAgainFollowsTheWork) {
    commands.openProjectAtURL(projectFile("Evening"));
    application().projectChanged();
    commands.endWithoutAsking();
    Show next;
    Operator other;
    RescueCopies theirs(show.file("state"));
    ProjectCommands nextCommands(next.application, other, recents, theirs);
    other.answers = {Answer::ok};
    nextCommands.offerRescuedCopies();
    next.application.compositions.renameSelectedComposition("Later");
    next.application.projectChanged();
    nextCommands.keepRescueCopy(clock);
    ASSERT_TRUE(eventually([&] {
        const PropertyList root = readPropertyList(onlyCopy()).value;
        const PropertyList* composition = root.find("Comp-0");
        return composition && composition->find("compName")->stringOr("") == "Later";
    }));
}
