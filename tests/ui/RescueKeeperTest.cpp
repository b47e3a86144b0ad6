// What a run that ends without warning leaves behind: little work is lost.
#include "Commands.h"
#include "Eventually.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

// Other programs may have the disk meanwhile.
constexpr std::chrono::seconds forTheDisk{30};

template <class Condition>
bool diskTakes(Condition condition) {
    return eventually(condition, forTheDisk);
}

std::string nameIn(const std::string& file) {
    const PropertyList root = readPropertyList(file).value;
    const PropertyList* composition = root.find("Comp-0");
    return composition ? std::string(composition->find("compName")->stringOr("")) : "no project";
}

struct RescueKeeperTest : ::testing::Test, Commands {
    void change(const std::string& name) {
        application().compositions.renameSelectedComposition(name);
        application().projectChanged();
    }
    // Lets the time pass and waits until what is being written is on the disk.
    void after(Duration time) {
        clock.advance(time);
        keeper->follow(clock);
        ASSERT_TRUE(eventually([&] { return !keeper->isWriting(); }, forTheDisk));
    }
    std::string nameInTheCopy() {
        const auto copies = keptCopies();
        return copies.size() == 1 ? nameIn(copies[0]) : std::to_string(copies.size()) + " copies";
    }

    VirtualClock clock;
    std::mutex lock;
    std::vector<std::string> lines;
    std::optional<RescueKeeper> keeper{std::in_place, application(), rescues,
                                       [this](const std::string& line) {
                                           const std::lock_guard hold(lock);
                                           lines.push_back(line);
                                       }};
};

constexpr Duration aMoment = Duration::ofSeconds(3);

// With commands that keep copies themselves, as the program does.
struct RescueDuringWork : ::testing::Test, Commands {
    // What is in the project is in a copy.
    void work(const std::string& name, std::size_t copies = 1) {
        application().compositions.renameSelectedComposition(name);
        application().projectChanged();
        timePasses();
        ASSERT_TRUE(diskTakes([&] {
            const auto kept = keptCopies();
            return kept.size() == copies && std::any_of(kept.begin(), kept.end(), [&](const auto& file) {
                       return nameIn(file) == name;
                   });
        }));
    }
    void timePasses() {
        clock.advance(RescueKeeper::interval);
        ASSERT_TRUE(diskTakes([&] { return commands.keepRescueCopy(clock); }));
    }
    bool copiesGo() {
        return diskTakes([&] { return keptCopies().empty(); });
    }
    VirtualClock clock;
};

} // namespace

TEST_F(RescueKeeperTest, AChangeIsOnTheDiskSecondsLater) {
    application().newProject();
    after(aMoment);
    EXPECT_TRUE(keptCopies().empty()) << "nothing is unsaved";
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
    ASSERT_EQ(keptCopies().size(), 1u);
    std::filesystem::remove(keptCopies()[0]);
    after(RescueKeeper::interval);
    after(RescueKeeper::interval);
    EXPECT_TRUE(keptCopies().empty());
}

TEST_F(RescueKeeperTest, ARunThatEndsLeavesTheCopyToTheNextOne) {
    application().newProject();
    change("Changed");
    after(aMoment);
    EXPECT_EQ(keptCopies().size(), 1u);
    EXPECT_TRUE(rescues.all().empty()) << "while the first one runs";
    keeper.reset();
    EXPECT_EQ(rescues.all().size(), 1u);
}

TEST_F(RescueKeeperTest, ADiskThatTakesNothingIsToldOnceAndTriedAgain) {
    std::ofstream(show.file("state")) << "in the way";
    application().newProject();
    change("Changed");
    after(aMoment);
    after(RescueKeeper::interval);
    after(RescueKeeper::interval);
    EXPECT_EQ(lines.size(), 1u);
    std::filesystem::remove(show.file("state"));
    after(RescueKeeper::interval);
    EXPECT_EQ(nameInTheCopy(), "Changed");
}

TEST_F(RescueKeeperTest, ACopyThatCannotBeReplacedIsTriedAgainWithoutAnotherChange) {
    application().newProject();
    change("One");
    after(aMoment);
    ASSERT_EQ(keptCopies().size(), 1u);
    const std::string file = keptCopies()[0];
    std::filesystem::remove(file);
    std::filesystem::create_directory(file);
    change("Two");
    after(RescueKeeper::interval);
    std::filesystem::remove(file);
    after(RescueKeeper::interval);
    EXPECT_EQ(nameInTheCopy(), "Two");
}

TEST_F(RescueKeeperTest, AnEndThatCannotKeepTheWorkSaysWhy) {
    std::ofstream(show.file("state")) << "in the way";
    application().newProject();
    change("Changed");
    const RescueKeeper::Written written = keeper->keepNow();
    EXPECT_TRUE(written.file.empty());
    EXPECT_NE(written.error.find(show.file("state")), std::string::npos) << written.error;
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
    work("Changed");
    EXPECT_TRUE(commands.saveProject());
    EXPECT_TRUE(copiesGo());
}

TEST_F(RescueDuringWork, WhoQuitsWithoutSavingIsNotOfferedTheCopy) {
    commands.openProjectAtURL(projectFile("Evening"));
    work("Changed");
    person.answers = {Answer::ok};
    EXPECT_TRUE(commands.applicationShouldTerminate());
    EXPECT_TRUE(copiesGo());
    timePasses();
    EXPECT_TRUE(commands.endWithoutAsking().file.empty()) << "the last steps of the end bring it back";
    EXPECT_TRUE(std::filesystem::is_empty(show.file("state/Rescue")));
}

TEST_F(RescueDuringWork, WhoNeverWantsToBeAskedIsNotOfferedTheCopyEither) {
    commands.openProjectAtURL(projectFile("Evening"));
    work("Changed");
    application().prefs.changeDisableConfirmOnQuit(true);
    EXPECT_TRUE(commands.applicationShouldTerminate());
    EXPECT_TRUE(copiesGo());
}

TEST_F(RescueDuringWork, WorkThatMayGoIsKeptUntilAnotherProjectHasComeInItsPlace) {
    commands.openProjectAtURL(projectFile("Evening"));
    work("Changed");
    std::ofstream(show.file("broken.mrv")) << "no project";
    application().compositions.renameSelectedComposition("Not kept yet");
    application().projectChanged();
    person.answers = {Answer::ok};
    commands.openProjectAtURL(show.file("broken.mrv"));
    ASSERT_EQ(show.composition().compName(), "Not kept yet");
    timePasses();
    EXPECT_TRUE(
        eventually([&] { return keptCopies().size() == 1 && nameIn(keptCopies()[0]) == "Not kept yet"; }));
    work("Changed again");
    person.answers = {Answer::ok};
    commands.openProjectAtURL(projectFile("Night"));
    EXPECT_TRUE(copiesGo());
}

TEST_F(RescueDuringWork, AProgramThatRunsBesideIsNotOfferedTheCopy) {
    commands.openProjectAtURL(projectFile("Evening"));
    work("Changed");
    Show beside;
    Operator other;
    ProjectCommands besideCommands(beside.application, other, recents, rescues);
    besideCommands.offerRescuedCopies();
    EXPECT_TRUE(other.asked.empty());
}

TEST_F(RescueDuringWork, ARemoteLoadLosesNoneOfTheWorkItReplaces) {
    commands.openProjectAtURL(projectFile("Evening"));
    work("Kept already");
    application().compositions.renameSelectedComposition("The last word");
    application().projectChanged();
    application().loadProjectWithoutAsking(projectFile("Remote"));
    show.main.pump();
    ASSERT_EQ(show.composition().compName(), "Remote");
    EXPECT_TRUE(
        eventually([&] { return keptCopies().size() == 1 && nameIn(keptCopies()[0]) == "The last word"; }));
    application().projectChanged();
    EXPECT_TRUE(commands.saveProject());
    timePasses();
    EXPECT_EQ(keptCopies().size(), 1u) << "the save was of another project";
}

TEST_F(RescueDuringWork, RemoteLoadsOfAWholeDayDoNotFillTheDisk) {
    for (std::size_t i = 0; i < 15; ++i) {
        application().loadProjectWithoutAsking(projectFile("Remote"));
        show.main.pump();
        work("Changed " + std::to_string(i), std::min(i, RescueKeeper::mostLeft) + 1);
    }
}

TEST_F(RescueDuringWork, RemoteLoadsWithoutWorkTakeNoCopyAway) {
    commands.openProjectAtURL(projectFile("Evening"));
    work("Hours of work");
    const std::string remote = projectFile("Remote");
    for (std::size_t i = 0; i <= RescueKeeper::mostLeft; ++i) {
        application().loadProjectWithoutAsking(remote);
        show.main.pump();
    }
    timePasses();
    ASSERT_EQ(keptCopies().size(), 1u);
    EXPECT_EQ(nameIn(keptCopies()[0]), "Hours of work");
}

TEST_F(RescueDuringWork, WorkThatTheDiskRefusedIsTriedOnceMoreBeforeItIsReplaced) {
    commands.openProjectAtURL(projectFile("Evening"));
    std::ofstream(show.file("state/Rescue")) << "in the way";
    application().compositions.renameSelectedComposition("Changed");
    application().projectChanged();
    timePasses();
    ASSERT_TRUE(diskTakes([&] { return commands.keepRescueCopy(clock); }));
    std::filesystem::remove(show.file("state/Rescue"));
    application().loadProjectWithoutAsking(projectFile("Remote"));
    show.main.pump();
    EXPECT_TRUE(diskTakes([&] { return keptCopies().size() == 1 && nameIn(keptCopies()[0]) == "Changed"; }));
}

TEST_F(RescueDuringWork, ACopyThatWasTakenUpAgainFollowsTheWork) {
    {
        ProjectCommands ending(application(), person, recents, rescues);
        application().newProject();
        application().projectChanged();
        ASSERT_FALSE(ending.endWithoutAsking().file.empty());
    }
    Show next;
    Operator other;
    ProjectCommands nextCommands(next.application, other, recents, rescues);
    other.answers = {Answer::ok};
    nextCommands.offerRescuedCopies();
    next.application.compositions.renameSelectedComposition("Later");
    next.application.projectChanged();
    ASSERT_TRUE(diskTakes([&] { return nextCommands.keepRescueCopy(clock); }));
    EXPECT_TRUE(diskTakes([&] { return keptCopies().size() == 1 && nameIn(keptCopies()[0]) == "Later"; }));
    EXPECT_TRUE(rescues.all().empty()) << "it is worked on";
}
