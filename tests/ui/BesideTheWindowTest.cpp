// Settings and sorting stand beside the main window: it works on, and they notice what happens in it.
#include "ui/CompositionSettingsDialog.h"
#include "ui/SortTracksDialog.h"

#include "Stage.h"

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

struct BesideTheWindowTest : ::testing::Test, Stage {
    BesideTheWindowTest() {
        load();
        clickRow(0, CompositionsModel::nameColumn);
    }

    CompositionSettingsDialog& settings() {
        choose(QStringLiteral("Composition Settings\u2026"));
        auto* found = dialog<CompositionSettingsDialog>();
        if (!found) std::abort();
        return *found;
    }
    int open() {
        int count = 0;
        for (QWidget* top : QApplication::topLevelWidgets())
            count += top->isVisible() && dynamic_cast<QDialog*>(top) ? 1 : 0;
        return count;
    }
    std::size_t keyframeCount() {
        std::size_t count = 0;
        for (const auto& one : composition().tracks.all()) {
            if (const auto* plain = dynamic_cast<const MarvoTimelineTrack*>(one.get()))
                count += plain->keyframes().store().size();
        }
        return count;
    }
};

} // namespace

TEST_F(BesideTheWindowTest, TheShowCanBeStoppedWhileSettingsAndSortingStand) {
    press("Play");
    settings();
    choose(QStringLiteral("Sort Tracks\u2026"));
    EXPECT_TRUE(dialog<SortTracksDialog>());
    EXPECT_FALSE(QApplication::activeModalWidget());
    press("Play");
    EXPECT_FALSE(composition().isRunning());
}

TEST_F(BesideTheWindowTest, AskedForTwiceThereIsOneWithWhatWasTyped) {
    type(settings().fps(), "48");
    EXPECT_EQ(settings().fps().text(), "48");
    EXPECT_EQ(open(), 1);
    clickRow(1, CompositionsModel::nameColumn);
    EXPECT_EQ(settings().fps().text(), "25") << "of the composition that is shown now";
    EXPECT_EQ(open(), 1);
    EXPECT_EQ(composition(0).compFPS(), 30);
}

TEST_F(BesideTheWindowTest, TheSettingsOfACompositionThatGoesClose) {
    settings();
    choose(QStringLiteral("Sort Tracks\u2026"));
    application().removeCompositionAtIndex(0);
    frame();
    EXPECT_EQ(open(), 0);
}

TEST_F(BesideTheWindowTest, WhatANewLengthCutsOffComesBackInOneStep) {
    const std::size_t keyframes = keyframeCount();
    const std::size_t cues = composition().cueController.cues().size();
    const QString information = this->information();
    const QImage lanes = this->lanes().grab().toImage();
    CompositionSettingsDialog& dialog = settings();
    type(dialog.length().seconds(), "1");
    click(dialog.okButton());
    frame();
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_LT(keyframeCount(), keyframes);
    EXPECT_LT(composition().cueController.cues().size(), cues);
    EXPECT_NE(this->information(), information);
    EXPECT_NE(this->lanes().grab().toImage(), lanes);
    EXPECT_EQ(composition().outTime(), Frame(30));
    key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(keyframeCount(), keyframes);
    EXPECT_EQ(composition().cueController.cues().size(), cues);
    EXPECT_FLOAT_EQ(composition().state.compTime, 20.0f);
    EXPECT_EQ(this->information(), information);
}

TEST_F(BesideTheWindowTest, ADoubledRateKeepsEverythingAtItsSecond) {
    composition().transport.markerDraggedToTime(Frame(60));
    frame();
    const QImage lanes = this->lanes().grab().toImage();
    const std::int64_t keyframe = show().track(0).keyframes().store().all().back().time.value;
    CompositionSettingsDialog& dialog = settings();
    type(dialog.fps(), "60");
    click(dialog.okButton());
    frame();
    EXPECT_EQ(show().track(0).keyframes().store().all().back().time.value, 2 * keyframe);
    EXPECT_EQ(show().frame(), 120);
    EXPECT_EQ(composition().outTime(), Frame(1200));
    key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(show().track(0).keyframes().store().all().back().time.value, keyframe);
    EXPECT_EQ(show().frame(), 60);
    EXPECT_EQ(this->lanes().grab().toImage(), lanes);
}

TEST_F(BesideTheWindowTest, NothingChangedIsNoStepAndNoChange) {
    application().projectIsSaved();
    application().displayProjectName();
    frame();
    const QString title = window().windowTitle();
    click(settings().okButton());
    frame();
    EXPECT_EQ(open(), 0);
    EXPECT_EQ(window().windowTitle(), title);
    EXPECT_FALSE(application().undo.canUndo());
}

TEST_F(BesideTheWindowTest, SortingIsOneStepAndTheHeadersFollow) {
    const auto names = [this] {
        std::vector<std::string> all;
        for (std::size_t i = 0; i < composition().tracks.count(); ++i)
            all.push_back(item(i, HeaderPart::name).text.toStdString());
        return all;
    };
    const std::vector<std::string> before = names();
    choose(QStringLiteral("Sort Tracks\u2026"));
    auto* sort = dialog<SortTracksDialog>();
    ASSERT_TRUE(sort);
    sort->descending().click();
    click(sort->sortButton());
    frame();
    const std::vector<std::string> after = names();
    EXPECT_TRUE(std::is_sorted(after.rbegin(), after.rend()));
    EXPECT_NE(after, before);
    key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(names(), before);
}
