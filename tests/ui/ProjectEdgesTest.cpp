// What the window shows of a project that comes, goes, or is saved in an odd state.
#include "ui/MainWindow.h"
#include "ui/RangePanel.h"
#include "ui/RecentProjects.h"
#include "ui/WindowFrame.h"

#include "Stage.h"

#include <QScreen>

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

struct ProjectEdgesTest : ::testing::Test, Stage {
    // The stage's project with one key of the application's data set.
    static PropertyList with(const char* key, PropertyList value) {
        PropertyList project = stageProject();
        PropertyList appData = *project.find("appData");
        appData.set(key, std::move(value));
        project.set("appData", appData);
        return project;
    }
    bool says(const QString& text) {
        for (const QLabel* label : window().findChildren<QLabel*>()) {
            if (label->isVisible() && label->text() == text) return true;
        }
        return false;
    }
    void startAgain() {
        desktop.reset();
        desktop = std::make_unique<Desktop>(running, RealtimeResult{RealtimeGrant::fifo, 70, "", "", ""});
        desktop->open();
        frame();
    }
    std::string savedFrame() {
        return std::string(show().saved().find("appData")->find("WindowFrame")->stringOr(""));
    }
    static QRect room() { return QGuiApplication::primaryScreen()->availableGeometry(); }
};

} // namespace

// --- What is selected, and the line above.

TEST_F(ProjectEdgesTest, AProjectThatIsThereBeforeTheWindowIsAmongTheRecentOnes) {
    desktop.reset();
    show().load(stageProject());
    ASSERT_FALSE(RecentProjects(running.paths().state).first());
    startAgain();
    EXPECT_EQ(RecentProjects(running.paths().state).first(), *application().projectFile.projectURL());
}

TEST_F(ProjectEdgesTest, TheLineAboveTellsOfTheNewProjectFromItsFirstFrameOn) {
    load(with("selectedComposition", std::int64_t{0}));
    EXPECT_TRUE(information().startsWith("Sunrise - ")) << information().toStdString();
    // The same names, but for the tracks: only the line can tell.
    using namespace marvo::testing;
    load(projectOf({compositionOf("Sunrise", 30, 20.0f, {}), compositionOf("Storm", 25, 9.0f, {})}));
    EXPECT_EQ(information(), "Storm - No Tracks - 09s");
    application().projectFile.removeProject();
    EXPECT_EQ(information(), "No Compositions") << "before the next frame, too";
    frame();
    EXPECT_EQ(information(), "No Compositions");
}

TEST_F(ProjectEdgesTest, ASavedSelectionOfNothingSelectsNothingAndSaysSo) {
    load();
    load(with("selectedComposition", std::int64_t{-1}));
    EXPECT_EQ(window().compositionView(), nullptr);
    EXPECT_TRUE(says("No composition is selected"));
    EXPECT_EQ(information(), "");
    EXPECT_EQ(table().model()->rowCount(), 2);
    EXPECT_FALSE(table().currentIndex().isValid()) << "no row is marked";
    EXPECT_FALSE(command("Duplicate Composition")->isEnabled());
    EXPECT_TRUE(command("Lock Project")->isEnabled());
    choose("Previous Composition");
    EXPECT_EQ(window().compositionView(), nullptr);
    choose("Next Composition");
    ASSERT_TRUE(window().compositionView());
    EXPECT_EQ(view().composition().compName(), "Sunrise");
    EXPECT_EQ(table().currentIndex().row(), 0);
}

TEST_F(ProjectEdgesTest, WithoutACompositionNothingOfTheProjectCanBeCommanded) {
    for (const char* title : {"Lock Project", "Next Composition", "Previous Composition"})
        EXPECT_FALSE(command(title)->isEnabled()) << title;
    choose("New Composition");
    EXPECT_TRUE(command("Lock Project")->isEnabled());
}

// --- Load, new, lock, undo.

TEST_F(ProjectEdgesTest, ALockedProjectComesBackLockedAndAnOpenOneOpen) {
    load(with("isProjectLocked", true));
    EXPECT_TRUE(command("Unlock Project")->isEnabled());
    EXPECT_FALSE(button("Add composition").control().isEnabled());
    clickRow(0, CompositionsModel::nameColumn);
    EXPECT_FALSE(command("OSC Value")->isEnabled());
    press("Add composition");
    EXPECT_EQ(table().model()->rowCount(), 2);
    EXPECT_FALSE(window().windowTitle().contains('*'));
    load();
    EXPECT_TRUE(command("Lock Project")->isEnabled());
    clickRow(0, CompositionsModel::nameColumn);
    EXPECT_TRUE(command("OSC Value")->isEnabled());
    press("Add composition");
    EXPECT_EQ(table().model()->rowCount(), 3);
}

TEST_F(ProjectEdgesTest, ALoadLeavesNothingToUndoAndNoAsterisk) {
    load();
    EXPECT_FALSE(command("Undo")->isEnabled());
    clickRow(0, CompositionsModel::nameColumn);
    typeInto(0, HeaderPart::name, "Front");
    EXPECT_TRUE(command("Undo Rename Track")->isEnabled());
    EXPECT_TRUE(window().windowTitle().contains('*'));
    load();
    EXPECT_FALSE(command("Undo")->isEnabled());
    EXPECT_FALSE(command("Redo")->isEnabled());
    EXPECT_EQ(window().windowTitle(), "Marvo - show (28s)");
}

TEST_F(ProjectEdgesTest, ANewProjectHasNoNameNoAsteriskAndNothingToUndo) {
    load();
    clickRow(0, CompositionsModel::nameColumn);
    typeInto(0, HeaderPart::name, "Front");
    application().newProject();
    frame();
    EXPECT_FALSE(window().windowTitle().contains('*')) << window().windowTitle().toStdString();
    EXPECT_TRUE(window().windowTitle().startsWith("Marvo - Untitled project ("));
    EXPECT_FALSE(command("Undo")->isEnabled());
    EXPECT_EQ(information(), "Composition 1 - No Tracks - 10s");
}

TEST_F(ProjectEdgesTest, ACompositionThatGoesTakesTheStepsOfTheListWithIt) {
    load();
    choose("Duplicate Composition");
    EXPECT_TRUE(command("Undo Duplicate Composition")->isEnabled());
    application().removeCompositionAtIndex(0);
    frame();
    EXPECT_FALSE(command("Undo")->isEnabled());
}

TEST_F(ProjectEdgesTest, AProjectSavedWhilePlayingPlaysOnAndShowsIt) {
    load();
    press("Play all");
    const PropertyList playing = show().saved();
    press("Play all");
    load(playing);
    EXPECT_TRUE(button("Play all").control().state());
    play(200);
    for (int row = 0; row < 2; ++row)
        EXPECT_EQ(table().model()->index(row, CompositionsModel::playColumn).data(Qt::ToolTipRole).toString(),
                  "Stop");
    application().prefs.change("ignorePlayButtonsOnLoading", true);
    load(playing);
    EXPECT_FALSE(button("Play all").control().state());
    EXPECT_FALSE(composition(0).isRunning());
    EXPECT_FALSE(composition(1).isRunning());
}

// --- Where the window stands.

TEST_F(ProjectEdgesTest, TheWindowGoesWhereItStoodWhenTheProjectWasSaved) {
    load();
    const QSize small = window().minimumSizeHint();
    window().setGeometry(QRect(QPoint(31, 42), small));
    frame();
    const QRect stood = window().geometry();
    EXPECT_EQ(savedFrame(),
              "{{31, 42}, {" + std::to_string(stood.width()) + ", " + std::to_string(stood.height()) + "}}");
    const PropertyList project = show().saved();
    window().move(5, 6);
    frame();
    load(project);
    EXPECT_EQ(window().geometry().size(), stood.size());
    EXPECT_EQ(window().geometry().topLeft().y(), stood.y());
}

TEST_F(ProjectEdgesTest, InFullScreenTheSavedFrameIsIgnored) {
    load();
    window().showFullScreen();
    frame();
    const QRect whole = window().geometry();
    load(with("WindowFrame", "{{10, 10}, {1100, 600}}"));
    EXPECT_EQ(window().geometry(), whole);
    EXPECT_TRUE(window().isFullScreen());
    window().showNormal();
    frame();
}

TEST_F(ProjectEdgesTest, AFrameThatSaysNothingLeavesTheWindowWhereItIs) {
    window().setGeometry(12, 34, 1200, 700);
    frame();
    const QRect stood = window().geometry();
    for (const char* text : {"{{0, 0}, {0, 0}}", "", "somewhere", "{{1, 2}, {3, 4", "{{1, 2}, {-30, 40}}",
                             "{{nan, 2}, {300, 400}}", "{{1e300, 2}, {300, 400}}"}) {
        load(with("WindowFrame", text));
        EXPECT_EQ(window().geometry(), stood) << text;
    }
}

TEST_F(ProjectEdgesTest, AFrameOfALargerDeskIsBroughtOntoTheScreen) {
    for (const char* text :
         {"{{9000, 9000}, {1100, 700}}", "{{-7000, 20}, {1100, 700}}", "{{100.5, 100}, {5120, 2880}}"}) {
        load(with("WindowFrame", text));
        const QRect place = window().geometry();
        EXPECT_TRUE(room().contains(place.topLeft())) << text;
        EXPECT_LE(place.height(), room().height()) << text;
        EXPECT_LE(place.width(), std::max(room().width(), window().minimumSizeHint().width())) << text;
    }
}

TEST_F(ProjectEdgesTest, AProjectGivenAtTheStartBringsItsFrame) {
    desktop.reset();
    show().load(with("WindowFrame", "{{17, 18}, {1024, 600}}"));
    startAgain();
    EXPECT_EQ(window().geometry().y(), 18);
    EXPECT_EQ(window().height(), 600);
}

TEST_F(ProjectEdgesTest, TheFirstWindowOfAllIsNoLargerThanTheScreen) {
    desktop.reset(); // one in a process
    VirtualShow other;
    other.preferences().set("showStartupWindow", false);
    Desktop first(other, RealtimeResult{RealtimeGrant::fifo, 70, "", "", ""});
    first.open();
    QApplication::processEvents();
    EXPECT_LT(first.window().height(), room().height());
    EXPECT_LE(first.window().width(), std::max(room().width(), first.window().minimumSizeHint().width()));
}

// --- Panels and the table.

TEST_F(ProjectEdgesTest, PanelsAndTheColumnOfNumbersAreThereAgainAtTheNextStart) {
    load();
    choose("Show Column Indexes");
    choose("Range Selection");
    application().prefs.change("disableConfirmOnQuit", true);
    window().close();
    EXPECT_EQ(application().prefs.number("rangeSelectPanelVisible"), 1);
    startAgain();
    EXPECT_FALSE(table().isColumnHidden(CompositionsModel::indexColumn));
    EXPECT_TRUE(command("Show Column Indexes")->isChecked());
    EXPECT_TRUE(window().rangePanel().isVisible());
    load();
    EXPECT_FALSE(table().isColumnHidden(CompositionsModel::indexColumn)) << "a load leaves it";
    choose("Range Selection");
    EXPECT_FALSE(window().rangePanel().isVisible());
    window().keepPanels();
    startAgain();
    EXPECT_FALSE(window().rangePanel().isVisible());
}

TEST_F(ProjectEdgesTest, TheRangePanelFollowsTheSelectedComposition) {
    load();
    clickRow(0, CompositionsModel::nameColumn);
    composition(0).state.rangeSelectStart = Frame(95);
    composition(1).state.rangeSelectStart = Frame(50);
    choose("Range Selection");
    const auto shown = [this] {
        std::string text;
        for (const QLabel* label : window().rangePanel().startDisplays())
            text += label->text().toStdString() + " ";
        return text;
    };
    EXPECT_EQ(shown(), "0 0 3 5 ");
    clickRow(1, CompositionsModel::nameColumn);
    EXPECT_EQ(shown(), "0 0 2 0 ");
    application().compositions.selectCompositionAtIndex(0);
    frame();
    EXPECT_EQ(shown(), "0 0 3 5 ");
    application().projectFile.removeProject();
    frame();
    EXPECT_EQ(shown(), "0 0 0 0 ");
    EXPECT_EQ(beeps, 0);
}

TEST_F(ProjectEdgesTest, WhileANameIsTypedTheOtherRowsWaitAndThenCatchUp) {
    load();
    clickRow(0, CompositionsModel::nameColumn);
    doubleClick(*table().viewport(), rowOf(0, CompositionsModel::nameColumn).center());
    ASSERT_TRUE(editor());
    type(*editor(), "Dawn");
    int cells = 0;
    QObject listener; // goes with what it counts in
    QObject::connect(table().model(), &QAbstractItemModel::dataChanged, &listener,
                     [&](const QModelIndex& cell) {
                         cells += cell.row() == 1 && cell.column() == CompositionsModel::playColumn;
                     });
    composition(1).transport.togglePlay();
    show().tick(300);
    QApplication::processEvents();
    EXPECT_EQ(cells, 0);
    ASSERT_TRUE(editor());
    EXPECT_EQ(editor()->text(), "Dawn") << "typing is not disturbed";
    QTest::keyClick(editor(), Qt::Key_Return);
    QApplication::processEvents();
    cells = 0;
    show().tick(300);
    EXPECT_EQ(cells, 1) << "what happened meanwhile is drawn";
}
