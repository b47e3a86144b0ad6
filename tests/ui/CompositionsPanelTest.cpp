// The left side of the main window: the table of compositions, the master controls, the line above them.
#include "Stage.h"

#include <QMimeData>

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

using Column = CompositionsModel::Column;

struct CompositionsPanelTest : ::testing::Test, Stage {
    CompositionsPanelTest() { load(); }

    std::vector<std::string> names() {
        std::vector<std::string> shown;
        const QAbstractItemModel& model = *table().model();
        for (int row = 0; row < model.rowCount(); ++row)
            shown.push_back(model.index(row, Column::nameColumn).data().toString().toStdString());
        return shown;
    }
    // Opens the name of a row for typing.
    QLineEdit& rename(int row) {
        doubleClick(*table().viewport(), rowOf(row, Column::nameColumn).center());
        QApplication::processEvents();
        EXPECT_TRUE(editor());
        return *editor();
    }
    // As a right click on its switch asks for it.
    void openMenuOf(int row) {
        QContextMenuEvent event(QContextMenuEvent::Mouse, rowOf(row, Column::enabledColumn).center(),
                                QPoint(300, 300));
        QApplication::sendEvent(table().viewport(), &event);
        frame();
    }
    void cell(int row, Column column, const QString& means) {
        EXPECT_EQ(table().model()->index(row, column).data(Qt::ToolTipRole).toString(), means);
    }
};

} // namespace

TEST_F(CompositionsPanelTest, EveryCompositionHasARowInOrder) {
    EXPECT_EQ(names(), (std::vector<std::string>{"Sunrise", "Storm"}));
    EXPECT_EQ(table().currentIndex().row(), application().compositions.selectedCompositionIndex());
}

TEST_F(CompositionsPanelTest, ARowThatIsClickedShowsItsComposition) {
    clickRow(1, Column::nameColumn);
    EXPECT_EQ(application().compositions.selectedCompositionIndex(), 1);
    EXPECT_EQ(&view().composition(), &composition(1));
    clickRow(0, Column::nameColumn);
    EXPECT_EQ(&view().composition(), &composition(0));
}

TEST_F(CompositionsPanelTest, TheArrowKeysWalkThroughTheRows) {
    clickRow(0, Column::nameColumn);
    table().setFocus();
    key(Qt::Key_Down);
    EXPECT_EQ(&view().composition(), &composition(1));
    key(Qt::Key_Up);
    EXPECT_EQ(&view().composition(), &composition(0));
}

TEST_F(CompositionsPanelTest, ARemoteSelectionMovesTheRow) {
    clickRow(0, Column::nameColumn);
    application().compositions.selectCompositionAtIndex(1);
    frame();
    EXPECT_EQ(table().currentIndex().row(), 1);
}

TEST_F(CompositionsPanelTest, ADoubleClickOnANameTakesANewOne) {
    clickRow(0, Column::nameColumn);
    type(rename(0), "Dawn & Dusk");
    key(Qt::Key_Return);
    EXPECT_EQ(composition().compName(), "Dawn & Dusk");
    EXPECT_EQ(names().front(), "Dawn & Dusk");
    EXPECT_FALSE(information().contains("Sunrise"));
    EXPECT_TRUE(information().startsWith("Dawn & Dusk - "));
    EXPECT_EQ(beeps, 0);
}

TEST_F(CompositionsPanelTest, ANameInUseBeepsAndIsTypedOn) {
    clickRow(0, Column::nameColumn);
    QLineEdit& field = rename(0);
    type(field, "Storm");
    QTest::keyClick(&field, Qt::Key_Return);
    QApplication::processEvents();
    EXPECT_EQ(beeps, 1);
    ASSERT_EQ(editor(), &field);
    EXPECT_EQ(field.selectedText(), "Storm");
    EXPECT_EQ(composition().compName(), "Sunrise");
    type(field, "");
    QTest::keyClick(&field, Qt::Key_Return);
    QApplication::processEvents();
    EXPECT_EQ(beeps, 2);
    type(field, "Dawn");
    key(Qt::Key_Return);
    EXPECT_EQ(composition().compName(), "Dawn");
}

TEST_F(CompositionsPanelTest, EscapeAndARefusedNameThatIsLeftKeepTheOldOne) {
    clickRow(0, Column::nameColumn);
    type(rename(0), "Dawn");
    key(Qt::Key_Escape);
    EXPECT_EQ(composition().compName(), "Sunrise");
    type(rename(0), "Storm");
    clickRow(1, Column::nameColumn);
    EXPECT_EQ(names(), (std::vector<std::string>{"Sunrise", "Storm"}));
}

TEST_F(CompositionsPanelTest, AnotherNameFromOutsideEndsTheTyping) {
    clickRow(0, Column::nameColumn);
    type(rename(0), "Dawn");
    application().removeCompositionAtIndex(0);
    frame();
    EXPECT_EQ(names(), (std::vector<std::string>{"Storm"}));
    EXPECT_EQ(composition().compName(), "Storm");
}

TEST_F(CompositionsPanelTest, ANameIsTakenLiterallyInTheLineAbove) {
    clickRow(0, Column::nameColumn);
    type(rename(0), "<b>bold</b>");
    key(Qt::Key_Return);
    EXPECT_EQ(child<QLabel>("Information").textFormat(), Qt::PlainText);
    EXPECT_TRUE(information().startsWith("<b>bold</b> - "));
}

TEST_F(CompositionsPanelTest, TheSwitchOfARowMutesItsComposition) {
    cell(1, Column::enabledColumn, "On");
    clickRow(1, Column::enabledColumn);
    EXPECT_FALSE(composition(1).state.compState);
    cell(1, Column::enabledColumn, "Off");
    clickRow(1, Column::enabledColumn);
    EXPECT_TRUE(composition(1).state.compState);
}

TEST_F(CompositionsPanelTest, TheTriangleOfARowPlaysAndStopsIt) {
    cell(1, Column::playColumn, "Play");
    clickRow(1, Column::playColumn);
    EXPECT_TRUE(composition(1).isRunning());
    EXPECT_FALSE(composition(0).isRunning());
    cell(1, Column::playColumn, "Stop");
    clickRow(1, Column::playColumn);
    EXPECT_FALSE(composition(1).isRunning());
}

TEST_F(CompositionsPanelTest, WhatPlaysIsSeenToMoveOn) {
    const QRect row = rowOf(1, Column::nameColumn);
    const QPoint bar(row.left() + row.width() / 10, row.bottom() - 1);
    const QColor before = colorAt(*table().viewport(), bar);
    clickRow(1, Column::playColumn);
    clickRow(0, Column::nameColumn);
    play(2'000); // a quarter of it
    EXPECT_NE(colorAt(*table().viewport(), bar), before);
    EXPECT_EQ(colorAt(*table().viewport(), bar), Look::current().plays);
    const QPoint ahead(row.left() + row.width() / 2, row.bottom() - 1);
    EXPECT_NE(colorAt(*table().viewport(), ahead), Look::current().plays);
}

TEST_F(CompositionsPanelTest, TheColumnOfNumbersComesWithItsCommandAndIsKept) {
    EXPECT_TRUE(table().isColumnHidden(Column::indexColumn));
    choose("Show Column Indexes");
    EXPECT_FALSE(table().isColumnHidden(Column::indexColumn));
    EXPECT_EQ(table().model()->index(1, Column::indexColumn).data().toString(), "2");
    EXPECT_TRUE(application().prefs.flag("ShowColumnIndexes"));
    choose("Show Column Indexes");
    EXPECT_TRUE(table().isColumnHidden(Column::indexColumn));
}

TEST_F(CompositionsPanelTest, TheMenuOfASwitchSolosAndMutes) {
    clickRow(0, Column::nameColumn);
    openMenuOf(0);
    pick("Solo");
    EXPECT_TRUE(composition(0).state.compState);
    EXPECT_FALSE(composition(1).state.compState);
    openMenuOf(0);
    pick("Unmute All");
    EXPECT_TRUE(composition(1).state.compState);
    openMenuOf(0);
    pick("Mute All");
    EXPECT_FALSE(composition(0).state.compState);
    EXPECT_FALSE(composition(1).state.compState);
}

TEST_F(CompositionsPanelTest, TheMenuSolosItsRowThoughARemoteHasSelectedAnother) {
    clickRow(0, Column::nameColumn);
    openMenuOf(0);
    application().compositions.selectCompositionAtIndex(1);
    frame();
    pick("Solo");
    EXPECT_TRUE(composition(0).state.compState);
    EXPECT_FALSE(composition(1).state.compState);
}

TEST_F(CompositionsPanelTest, ANameThatIsTypedIsKeptWhenARemoteSelectsAnotherRow) {
    clickRow(0, Column::nameColumn);
    type(rename(0), "Dawn");
    application().compositions.selectCompositionAtIndex(1);
    frame();
    EXPECT_EQ(names(), (std::vector<std::string>{"Dawn", "Storm"}));
    EXPECT_EQ(composition(0).oscNamespace(), "/marvo/dawn");
    EXPECT_TRUE(window().windowTitle().contains('*'));
    EXPECT_EQ(beeps, 0);
}

TEST_F(CompositionsPanelTest, ANameInUseIsRefusedAlsoWhenARemoteHasSelectedTheOtherRow) {
    clickRow(0, Column::nameColumn);
    type(rename(0), "Storm");
    application().compositions.selectCompositionAtIndex(1);
    frame();
    EXPECT_EQ(names(), (std::vector<std::string>{"Sunrise", "Storm"}));
    EXPECT_EQ(beeps, 1);
}

TEST_F(CompositionsPanelTest, ANameThatIsTypedGoesToItsCompositionThoughTheRowsMoved) {
    clickRow(0, Column::nameColumn);
    type(rename(0), "Dawn");
    application().compositions.moveComposition(0, 2);
    frame();
    EXPECT_EQ(names(), (std::vector<std::string>{"Storm", "Dawn"}));
    EXPECT_EQ(beeps, 0);
}

TEST_F(CompositionsPanelTest, ANameThatIsGivenUpIsNotTakenByARemoteChange) {
    clickRow(0, Column::nameColumn);
    QLineEdit& field = rename(0);
    type(field, "Dawn");
    QTest::keyClick(&field, Qt::Key_Escape);
    application().compositions.moveComposition(0, 2);
    window().follow();
    EXPECT_EQ(names(), (std::vector<std::string>{"Storm", "Sunrise"}));
}

TEST_F(CompositionsPanelTest, TheMenuSolosTheRowItWasOpenedOn) {
    clickRow(0, Column::nameColumn);
    QTest::mouseClick(table().viewport(), Qt::RightButton, {}, rowOf(1, Column::enabledColumn).center());
    frame();
    openMenuOf(1);
    pick("Solo");
    EXPECT_FALSE(composition(0).state.compState);
    EXPECT_TRUE(composition(1).state.compState);
}

TEST_F(CompositionsPanelTest, DeleteAsksBeforeACompositionGoes) {
    clickRow(1, Column::nameColumn);
    table().setFocus();
    {
        const WhenAsked answer([](QWidget& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
        key(Qt::Key_Delete);
    }
    EXPECT_EQ(names().size(), 2u);
    {
        const WhenAsked answer([](QWidget& dialog) {
            for (QAbstractButton* button : dialog.findChildren<QAbstractButton*>()) {
                if (button->text().remove('&') == "OK") button->click();
            }
        });
        key(Qt::Key_Delete);
    }
    EXPECT_EQ(names(), (std::vector<std::string>{"Sunrise"}));
}

TEST_F(CompositionsPanelTest, ARowIsDraggedBetweenTwoOthers) {
    press("Add composition");
    clickRow(0, Column::nameColumn);
    QAbstractItemModel& model = *table().model();
    const auto drop = [&](int from, int to, const QModelIndex& on = {}) {
        const std::unique_ptr<QMimeData> data(model.mimeData({model.index(from, Column::nameColumn)}));
        const bool dropped = data && model.dropMimeData(data.get(), Qt::MoveAction, to, 0, on);
        frame();
        return dropped;
    };
    EXPECT_TRUE(drop(2, 0));
    EXPECT_EQ(names(), (std::vector<std::string>{"Composition 3", "Sunrise", "Storm"}));
    EXPECT_TRUE(drop(0, 3));
    EXPECT_EQ(names(), (std::vector<std::string>{"Sunrise", "Storm", "Composition 3"}));
    EXPECT_FALSE(drop(1, 1));
    EXPECT_FALSE(drop(0, -1, model.index(1, 0)));
    choose("Lock Project");
    EXPECT_FALSE(drop(2, 0));
    EXPECT_FALSE(model.flags(model.index(0, 1)) & Qt::ItemIsDragEnabled);
    EXPECT_EQ(names(), (std::vector<std::string>{"Sunrise", "Storm", "Composition 3"}));
}

// --- Master controls.

TEST_F(CompositionsPanelTest, PlayAllPlaysEveryCompositionAndRewindAllRewinds) {
    press("Play all");
    play(500);
    EXPECT_TRUE(composition(0).isRunning());
    EXPECT_TRUE(composition(1).isRunning());
    press("Play all");
    EXPECT_FALSE(composition(0).isRunning());
    EXPECT_FALSE(composition(1).isRunning());
    EXPECT_GT(show().frame(0), 0);
    press("Rewind all");
    EXPECT_EQ(show().frame(0), 0);
    EXPECT_EQ(show().frame(1), 0);
}

TEST_F(CompositionsPanelTest, TheModesSwitchOnAndOff) {
    press("Queued mode");
    EXPECT_TRUE(application().isQueuedMode());
    press("Loop the queue");
    EXPECT_TRUE(application().isQueuedLoop());
    press("Solo mode");
    EXPECT_TRUE(application().isSoloMode());
    for (const char* mode : {"Queued mode", "Loop the queue", "Solo mode"}) press(mode);
    EXPECT_FALSE(application().isQueuedMode());
    EXPECT_FALSE(application().isQueuedLoop());
    EXPECT_FALSE(application().isSoloMode());
}

TEST_F(CompositionsPanelTest, TheQueueStepsForthAndBack) {
    clickRow(0, Column::nameColumn);
    press("Next in the queue");
    EXPECT_TRUE(composition(1).isRunning());
    EXPECT_EQ(table().currentIndex().row(), 1);
    press("Previous in the queue");
    EXPECT_TRUE(composition(0).isRunning());
    EXPECT_EQ(table().currentIndex().row(), 0);
}

TEST_F(CompositionsPanelTest, WithOneCompositionTheModesRest) {
    application().removeCompositionAtIndex(1);
    frame();
    for (const char* mode : {"Queued mode", "Loop the queue", "Solo mode", "Next in the queue"}) {
        EXPECT_FALSE(button(mode).control().isEnabled()) << mode;
        press(mode);
    }
    EXPECT_FALSE(application().isQueuedMode());
    EXPECT_FALSE(composition(0).isRunning());
}

TEST_F(CompositionsPanelTest, AddingACompositionShowsIt) {
    press("Add composition");
    EXPECT_EQ(names(), (std::vector<std::string>{"Sunrise", "Storm", "Composition 3"}));
    EXPECT_EQ(&view().composition(), &composition(2));
    EXPECT_EQ(information(), "Composition 3 - No Tracks - 10s");
}

TEST_F(CompositionsPanelTest, ALockedProjectTakesNoNewComposition) {
    choose("Lock Project");
    press("Add composition");
    EXPECT_EQ(names().size(), 2u);
    choose("Unlock Project");
    press("Add composition");
    EXPECT_EQ(names().size(), 3u);
}

TEST_F(CompositionsPanelTest, ReturnPressesTheButtonThatHasTheKeyboard) {
    button("Solo mode").setFocus();
    key(Qt::Key_Return);
    EXPECT_TRUE(application().isSoloMode());
}

TEST_F(CompositionsPanelTest, AButtonThatIsLeftBeforeTheReleaseDoesNothing) {
    ControlButton& solo = button("Solo mode");
    QTest::mousePress(&solo, Qt::LeftButton);
    QTest::mouseRelease(&solo, Qt::LeftButton, {}, QPoint(-40, 5));
    EXPECT_FALSE(application().isSoloMode());
}
