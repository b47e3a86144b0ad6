// What new, open, save, quit and delete do with the project, whatever the questions look like.
#include "Commands.h"
#include "Eventually.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

struct ProjectCommandsTest : ::testing::Test, Commands {
    void change() { show.application.projectChanged(); }
    std::string compositionName() { return show.composition().compName(); }
    // Somebody ends the program, and nobody is asked.
    void endOfTheRun() {
        ProjectCommands ending(application(), person, recents, rescues);
        EXPECT_FALSE(ending.endWithoutAsking().file.empty());
    }
    // A place where nothing can be written.
    std::string impossibleFile() { return show.file("no-such-folder/show.mrv"); }
};

} // namespace

TEST_F(ProjectCommandsTest, AnEmptyProgramQuitsWithoutAQuestion) {
    EXPECT_TRUE(commands.applicationShouldTerminate());
    EXPECT_TRUE(person.asked.empty());
}

TEST_F(ProjectCommandsTest, QuittingAsksInTheWordsOperatorsKnow) {
    application().newProject();
    EXPECT_FALSE(commands.applicationShouldTerminate());
    ASSERT_EQ(person.asked.size(), 1u);
    EXPECT_EQ(person.asked[0].message, "Are you sure you want to quit?");
    EXPECT_EQ(person.asked[0].text, "You will lose any unsaved changes.");
    EXPECT_EQ(person.asked[0].buttons, (std::vector<std::string>{"OK", "Cancel", "Save & Quit"}));
}

TEST_F(ProjectCommandsTest, OKQuitsWithoutSaving) {
    application().newProject();
    person.answers = {Answer::ok};
    EXPECT_TRUE(commands.applicationShouldTerminate());
    EXPECT_EQ(person.savePanels, 0);
}

TEST_F(ProjectCommandsTest, SaveAndQuitSavesToTheProjectsFileAndQuits) {
    const std::string path = projectFile("Evening");
    commands.openProjectAtURL(path);
    ASSERT_EQ(compositions(), 1u);
    application().compositions.renameSelectedComposition("Changed");
    change();
    person.answers = {Answer::third};
    EXPECT_TRUE(commands.applicationShouldTerminate());
    EXPECT_EQ(readPropertyList(path).value.find("Comp-0")->find("compName")->stringOr(""), "Changed");
}

TEST_F(ProjectCommandsTest, SaveAndQuitWithoutAFileAsksForOne) {
    application().newProject();
    person.answers = {Answer::third};
    person.fileToSave = show.file("first.mrv");
    EXPECT_TRUE(commands.applicationShouldTerminate());
    EXPECT_TRUE(std::filesystem::exists(*person.fileToSave));
    EXPECT_EQ(person.suggested, "Untitled project.mrv");
}

TEST_F(ProjectCommandsTest, SaveAndQuitStaysWhenTheSaveFails) {
    application().newProject();
    person.answers = {Answer::third};
    person.fileToSave = impossibleFile();
    EXPECT_FALSE(commands.applicationShouldTerminate());
    EXPECT_EQ(compositions(), 1u);
}

TEST_F(ProjectCommandsTest, SaveAndQuitStaysWhenTheSavePanelIsCancelled) {
    application().newProject();
    person.answers = {Answer::third};
    EXPECT_FALSE(commands.applicationShouldTerminate());
    EXPECT_EQ(compositions(), 1u);
}

TEST_F(ProjectCommandsTest, ThePreferenceLetsQuittingPassWithoutAQuestionEvenWithUnsavedChanges) {
    application().newProject();
    change();
    application().prefs.changeDisableConfirmOnQuit(true);
    EXPECT_TRUE(commands.applicationShouldTerminate());
    EXPECT_TRUE(person.asked.empty());
}

TEST_F(ProjectCommandsTest, ASaveThatFailsBeepsTellsFileAndReasonAndKeepsTheAsterisk) {
    application().newProject();
    change();
    person.fileToSave = impossibleFile();
    EXPECT_FALSE(commands.saveProject());
    EXPECT_EQ(beeps, 1);
    ASSERT_EQ(person.told.size(), 1u);
    EXPECT_NE(person.told[0].find(impossibleFile()), std::string::npos);
    EXPECT_NE(person.told[0].find("No such file or directory"), std::string::npos);
    EXPECT_NE(person.told[0].find("Nothing is lost"), std::string::npos);
    EXPECT_TRUE(titleHasAsterisk());
    EXPECT_FALSE(application().projectFile.projectURL());
    EXPECT_TRUE(application().hasUnsavedChanges());
    EXPECT_TRUE(recents.all().empty());
}

TEST_F(ProjectCommandsTest, ACancelledSavePanelCleansTheTitleButTheChangesCountAsUnsaved) {
    application().newProject();
    change();
    EXPECT_FALSE(commands.saveProjectAs());
    EXPECT_FALSE(titleHasAsterisk());
    EXPECT_TRUE(application().hasUnsavedChanges());
}

TEST_F(ProjectCommandsTest, ASaveTakesTheAsteriskAwayAndEntersTheRecentProjects) {
    application().newProject();
    change();
    ASSERT_TRUE(titleHasAsterisk());
    person.fileToSave = show.file("kept.mrv");
    EXPECT_TRUE(commands.saveProject());
    EXPECT_FALSE(titleHasAsterisk());
    EXPECT_FALSE(application().hasUnsavedChanges());
    EXPECT_EQ(recents.first(), show.file("kept.mrv"));
    change();
    EXPECT_TRUE(commands.saveProject());
    EXPECT_EQ(person.savePanels, 1) << "the second save knows its file";
}

TEST_F(ProjectCommandsTest, ANewProjectInAnEmptyProgramComesWithoutAQuestionAndHasOneComposition) {
    int came = 0;
    commands.onProjectComes = [&] { ++came; };
    commands.clearProject();
    EXPECT_TRUE(person.asked.empty());
    EXPECT_EQ(compositions(), 1u);
    EXPECT_EQ(came, 1);
}

TEST_F(ProjectCommandsTest, ANewProjectAsksFirstAndCancelLeavesEverything) {
    commands.openProjectAtURL(projectFile("Evening"));
    commands.clearProject();
    ASSERT_EQ(person.asked.size(), 1u);
    EXPECT_EQ(person.asked[0].message, "Are you sure you want to create a new project?");
    EXPECT_EQ(person.asked[0].text, "You will lose any unsaved changes.");
    EXPECT_EQ(person.asked[0].buttons, (std::vector<std::string>{"OK", "Cancel", "Save & New"}));
    EXPECT_EQ(compositionName(), "Evening");
}

TEST_F(ProjectCommandsTest, SaveAndNewSavesFirst) {
    const std::string path = projectFile("Evening");
    commands.openProjectAtURL(path);
    application().compositions.renameSelectedComposition("Changed");
    person.answers = {Answer::third};
    commands.clearProject();
    EXPECT_EQ(compositionName(), "Composition 1");
    EXPECT_EQ(readPropertyList(path).value.find("Comp-0")->find("compName")->stringOr(""), "Changed");
}

TEST_F(ProjectCommandsTest, SaveAndNewKeepsTheProjectWhenTheSaveFails) {
    application().newProject();
    application().compositions.renameSelectedComposition("Precious");
    person.answers = {Answer::third};
    person.fileToSave = impossibleFile();
    commands.clearProject();
    EXPECT_EQ(compositionName(), "Precious");
}

TEST_F(ProjectCommandsTest, OpeningAsksInItsOwnWords) {
    application().newProject();
    EXPECT_FALSE(commands.askForNewProject());
    EXPECT_EQ(person.asked[0].message, "Are you sure you want to open a project?");
    EXPECT_EQ(person.asked[0].text, "You will lose any unsaved changes in your current project.");
    EXPECT_EQ(person.asked[0].buttons, (std::vector<std::string>{"OK", "Cancel", "Save & Open the Project"}));
    EXPECT_FALSE(commands.askForNewProjectBeforeLoading(true));
    EXPECT_EQ(person.asked[1].message, "Are you sure you want to create a new project?");
    EXPECT_EQ(person.asked[1].text, "You will lose any unsaved changes in your current project.");
    EXPECT_EQ(person.asked[1].buttons, (std::vector<std::string>{"OK", "Cancel", "Save & New"}));
}

TEST_F(ProjectCommandsTest, ThePresentProjectGoesBeforeTheOpenPanelAndCancellingThatLeavesAnEmptyOne) {
    commands.openProjectAtURL(projectFile("Evening"));
    person.answers = {Answer::ok};
    std::size_t whenPanelOpened = 99;
    person.whileAsked = [&] { whenPanelOpened = compositions(); };
    commands.openProject();
    EXPECT_EQ(person.openPanels, 1);
    EXPECT_EQ(whenPanelOpened, 0u);
    EXPECT_EQ(compositions(), 0u);
    EXPECT_EQ(application().windowTitle(), "Marvo - Untitled project (00s)");
}

TEST_F(ProjectCommandsTest, CancellingTheQuestionBeforeOpeningShowsNoPanelAndKeepsTheProject) {
    commands.openProjectAtURL(projectFile("Evening"));
    commands.openProject();
    EXPECT_EQ(person.openPanels, 0);
    EXPECT_EQ(compositionName(), "Evening");
}

TEST_F(ProjectCommandsTest, OpeningLoadsWhatThePanelGives) {
    person.fileToOpen = projectFile("Evening");
    int came = 0;
    commands.onProjectComes = [&] { ++came; };
    commands.openProject();
    EXPECT_EQ(compositionName(), "Evening");
    EXPECT_EQ(came, 1);
    EXPECT_EQ(recents.first(), person.fileToOpen);
}

TEST_F(ProjectCommandsTest, OpenLastOpensTheNewestRecentProject) {
    commands.openProjectAtURL(projectFile("Older"));
    person.answers = {Answer::ok, Answer::ok};
    commands.openProjectAtURL(projectFile("Newer"));
    commands.openLastProject();
    EXPECT_EQ(compositionName(), "Newer");
}

TEST_F(ProjectCommandsTest, OpenLastBeepsWithoutARecentProjectAndWhenItsFileIsGone) {
    commands.openLastProject();
    EXPECT_EQ(beeps, 1);
    const std::string path = projectFile("Gone");
    recents.add(path);
    std::filesystem::remove(path);
    application().newProject();
    commands.openLastProject();
    EXPECT_EQ(beeps, 2);
    EXPECT_TRUE(person.asked.empty());
    EXPECT_EQ(compositions(), 1u);
}

TEST_F(ProjectCommandsTest, ARecentProjectThatIsGoneBeepsAndTheListIsBuiltAnew) {
    int rebuilt = 0;
    commands.onRecentsChanged = [&] { ++rebuilt; };
    commands.openProjectAtURL(show.file("gone.mrv"));
    EXPECT_EQ(beeps, 1);
    EXPECT_EQ(rebuilt, 1);
}

TEST_F(ProjectCommandsTest, AFileThatCannotBeReadLeavesTheProjectAndSaysWhy) {
    commands.openProjectAtURL(projectFile("Evening"));
    const std::string broken = show.file("broken.mrv");
    std::ofstream(broken) << "no property list";
    person.answers = {Answer::ok};
    commands.openProjectAtURL(broken);
    EXPECT_EQ(compositionName(), "Evening");
    ASSERT_EQ(person.told.size(), 1u);
    EXPECT_NE(person.told[0].find(broken), std::string::npos);
    EXPECT_EQ(beeps, 1);
}

TEST_F(ProjectCommandsTest, ADocumentFromOutsideIsTakenByItsEndingAlone) {
    EXPECT_TRUE(commands.openFile(projectFile("Evening")));
    EXPECT_EQ(compositionName(), "Evening");
    EXPECT_FALSE(commands.openFile(show.file("notes.txt")));
    EXPECT_TRUE(commands.openFile(projectFile("Other"))) << "recognised, though the operator cancels";
    EXPECT_EQ(person.asked.size(), 1u);
    EXPECT_EQ(compositionName(), "Evening");
}

TEST_F(ProjectCommandsTest, ARemoteLoadClosesTheStartWindowAndEntersTheRecentProjectsToo) {
    int came = 0;
    commands.onProjectComes = [&] { ++came; };
    const std::string path = projectFile("Remote");
    application().loadProjectWithoutAsking(path);
    show.main.pump();
    EXPECT_EQ(compositionName(), "Remote");
    EXPECT_EQ(came, 1);
    EXPECT_EQ(recents.first(), path);
    EXPECT_TRUE(person.asked.empty());
}

TEST_F(ProjectCommandsTest, DeletingACompositionAsksAndDeletesOnOKAlone) {
    application().newProject();
    commands.removeComposition();
    ASSERT_EQ(person.asked.size(), 1u);
    EXPECT_EQ(person.asked[0].message, "Delete the composition?");
    EXPECT_EQ(person.asked[0].text, "This action cannot be undone.");
    EXPECT_EQ(person.asked[0].buttons, (std::vector<std::string>{"OK", "Cancel"}));
    EXPECT_EQ(compositions(), 1u);
    person.answers = {Answer::ok};
    commands.removeComposition();
    EXPECT_EQ(compositions(), 0u);
}

TEST_F(ProjectCommandsTest, DeletingBeepsWithoutASelectionAndDoesNothingWhileLocked) {
    commands.removeComposition();
    EXPECT_EQ(beeps, 1);
    application().newProject();
    application().lockProject();
    person.answers = {Answer::ok};
    commands.removeComposition();
    EXPECT_EQ(compositions(), 1u);
    EXPECT_TRUE(person.asked.empty());
    EXPECT_EQ(beeps, 1);
}

TEST_F(ProjectCommandsTest, TheCompositionThatWasAskedAboutIsDeletedThoughTheSelectionMoves) {
    application().newProject();
    application().compositions.createComposition();
    application().compositions.selectCompositionAtIndex(0);
    person.answers = {Answer::ok};
    person.whileAsked = [&] { application().compositions.selectCompositionAtIndex(1); };
    commands.removeComposition();
    ASSERT_EQ(compositions(), 1u);
    EXPECT_EQ(compositionName(), "Composition 2");
}

TEST_F(ProjectCommandsTest, ASecondQuestionIsNotStackedOnTheFirst) {
    application().newProject();
    bool second = true;
    person.whileAsked = [&] { second = commands.applicationShouldTerminate(); };
    commands.applicationShouldTerminate();
    EXPECT_FALSE(second);
    EXPECT_EQ(person.asked.size(), 1u);
}

// --- Rescue.

TEST_F(ProjectCommandsTest, AForcedEndKeepsUnsavedChangesAndTheNextStartBringsThemBack) {
    const std::string path = projectFile("Evening");
    commands.openProjectAtURL(path);
    application().compositions.renameSelectedComposition("Changed");
    change();
    endOfTheRun();
    EXPECT_TRUE(person.asked.empty());
    EXPECT_EQ(readPropertyList(path).value.find("Comp-0")->find("compName")->stringOr(""), "Evening")
        << "the project's own file is not touched";

    Show next;
    Operator other;
    ProjectCommands nextCommands(next.application, other, recents, rescues);
    other.answers = {Answer::ok};
    nextCommands.offerRescuedCopies();
    ASSERT_EQ(other.asked.size(), 1u);
    EXPECT_NE(other.asked[0].message.find("Evening"), std::string::npos);
    EXPECT_EQ(next.composition().compName(), "Changed");
    EXPECT_EQ(next.application.projectFile.projectURL(), path);
    EXPECT_TRUE(next.application.hasUnsavedChanges());
    EXPECT_EQ(recents.first(), path) << "the copy itself is no recent project";
    EXPECT_EQ(keptCopies().size(), 1u) << "kept until the project is saved";
    EXPECT_TRUE(nextCommands.saveProject());
    EXPECT_TRUE(eventually([&] { return keptCopies().empty(); }));
    EXPECT_EQ(readPropertyList(path).value.find("Comp-0")->find("compName")->stringOr(""), "Changed");
}

TEST_F(ProjectCommandsTest, AForcedEndWithoutUnsavedChangesKeepsNoCopy) {
    commands.endWithoutAsking();
    commands.openProjectAtURL(projectFile("Evening"));
    commands.endWithoutAsking();
    commands.offerRescuedCopies();
    EXPECT_TRUE(eventually([&] { return keptCopies().empty(); }));
    EXPECT_TRUE(person.asked.empty());
}

TEST_F(ProjectCommandsTest, AForcedEndAfterACancelledSavePanelStillKeepsTheChanges) {
    application().newProject();
    change();
    commands.saveProjectAs();
    commands.endWithoutAsking();
    EXPECT_EQ(keptCopies().size(), 1u);
}

TEST_F(ProjectCommandsTest, SeveralRequestsOfOneSessionLeaveOneCopyAndASaveTakesItAway) {
    application().newProject();
    change();
    commands.endWithoutAsking();
    commands.endWithoutAsking();
    EXPECT_EQ(keptCopies().size(), 1u);
    person.fileToSave = show.file("saved.mrv");
    commands.saveProject();
    EXPECT_TRUE(eventually([&] { return keptCopies().empty(); }));
}

TEST_F(ProjectCommandsTest, ACopyThatIsPutOffIsOfferedAgainAndOneThatIsDeletedIsNot) {
    application().newProject();
    change();
    endOfTheRun();
    person.answers = {Answer::cancel, Answer::third};
    commands.offerRescuedCopies();
    EXPECT_EQ(keptCopies().size(), 1u);
    commands.offerRescuedCopies();
    EXPECT_TRUE(eventually([&] { return keptCopies().empty(); }));
    EXPECT_EQ(person.asked.size(), 2u);
}

TEST_F(ProjectCommandsTest, AForcedEndWhileAQuestionStandsKeepsTheChanges) {
    application().newProject();
    change();
    person.whileAsked = [&] { commands.endWithoutAsking(); };
    commands.applicationShouldTerminate();
    EXPECT_EQ(keptCopies().size(), 1u);
}

TEST_F(ProjectCommandsTest, ARemoteLoadLeavesTheCopyOfTheProjectBeforeForTheNextStart) {
    application().newProject();
    change();
    commands.endWithoutAsking();
    application().loadProjectWithoutAsking(projectFile("Remote"));
    show.main.pump();
    EXPECT_EQ(keptCopies().size(), 1u);
    change();
    EXPECT_TRUE(commands.saveProject());
    const VirtualClock clock;
    ASSERT_TRUE(eventually([&] { return commands.keepRescueCopy(clock); }));
    EXPECT_EQ(keptCopies().size(), 1u) << "the save was of another project";
}
