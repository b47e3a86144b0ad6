// The order of compositions: rows dragged in the table, the keys for it, and what the show notices of it.
#include "Stage.h"

#include <QDragEnterEvent>
#include <QMimeData>

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

using Column = CompositionsModel::Column;
using Names = std::vector<std::string>;

struct CompositionOrderTest : ::testing::Test, Stage {
    CompositionOrderTest() {
        load();
        press("Add composition");
        clickRow(0, Column::nameColumn);
    }

    Names names() { return application().compositions.compositionNames(); }
    Names rows() {
        Names shown;
        const QAbstractItemModel& model = *table().model();
        for (int row = 0; row < model.rowCount(); ++row)
            shown.push_back(model.index(row, Column::nameColumn).data().toString().toStdString());
        return shown;
    }
    std::string selected() { return application().selectedComposition()->compName(); }

    std::unique_ptr<QMimeData> taken(int row) {
        QAbstractItemModel& model = *table().model();
        return std::unique_ptr<QMimeData>(model.mimeData({model.index(row, Column::nameColumn)}));
    }
    QPoint edge(int row, bool upper) {
        const QRect where = rowOf(row, Column::nameColumn);
        return {where.center().x(), upper ? where.top() : where.bottom()};
    }
    // Everything that the table sees of a drag but its beginning; true when it would take the drop.
    bool over(const QMimeData& data, QPoint at) {
        QWidget& viewport = *table().viewport();
        QDragEnterEvent enter(at, Qt::MoveAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(&viewport, &enter);
        QDragMoveEvent move(at, Qt::MoveAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(&viewport, &move);
        return move.isAccepted();
    }
    bool drop(const QMimeData& data, QPoint at) {
        if (!over(data, at)) {
            QDragLeaveEvent leave;
            QApplication::sendEvent(table().viewport(), &leave);
            return false;
        }
        QDropEvent event(at, Qt::MoveAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(table().viewport(), &event);
        frame();
        return event.isAccepted();
    }
    bool drag(int row, QPoint to) {
        const std::unique_ptr<QMimeData> data = taken(row);
        return data && drop(*data, to);
    }
};

} // namespace

TEST_F(CompositionOrderTest, ARowIsDroppedAboveOrBelowTheOneUnderThePointer) {
    ASSERT_TRUE(drag(2, edge(1, true)));
    EXPECT_EQ(rows(), (Names{"Sunrise", "Composition 3", "Storm"}));
    ASSERT_TRUE(drag(2, edge(0, true)));
    EXPECT_EQ(rows(), (Names{"Storm", "Sunrise", "Composition 3"}));
    ASSERT_TRUE(drag(0, edge(2, false)));
    EXPECT_EQ(rows(), (Names{"Sunrise", "Composition 3", "Storm"}));
    EXPECT_EQ(rows(), names());
}

TEST_F(CompositionOrderTest, BelowTheLastRowIsTheEnd) {
    const QPoint empty(40, table().viewport()->height() - 5);
    ASSERT_GT(empty.y(), rowOf(2, 0).bottom());
    ASSERT_TRUE(drag(0, empty));
    EXPECT_EQ(rows(), (Names{"Storm", "Composition 3", "Sunrise"}));
}

TEST_F(CompositionOrderTest, DraggedDownARowLandsOneLowerThanTheLineShows) {
    ASSERT_TRUE(drag(0, edge(0, false)));
    EXPECT_EQ(rows(), (Names{"Storm", "Sunrise", "Composition 3"}));
    ASSERT_TRUE(drag(0, edge(1, false)));
    EXPECT_EQ(rows(), (Names{"Sunrise", "Composition 3", "Storm"}));
}

TEST_F(CompositionOrderTest, WhereItStandsARowIsNotDropped) {
    EXPECT_FALSE(drag(1, edge(1, true)));
    EXPECT_FALSE(drag(1, edge(0, false)));
    EXPECT_EQ(rows(), (Names{"Sunrise", "Storm", "Composition 3"}));
    EXPECT_FALSE(application().undo.canUndo());
}

TEST_F(CompositionOrderTest, ALockedProjectKeepsItsOrder) {
    const std::unique_ptr<QMimeData> before = taken(2);
    choose("Lock Project");
    EXPECT_EQ(taken(2), nullptr);
    EXPECT_FALSE(table().model()->flags(table().model()->index(0, 1)) & Qt::ItemIsDragEnabled);
    EXPECT_FALSE(drop(*before, edge(0, true)));
    EXPECT_FALSE(command("Move Composition Down")->isEnabled());
    key(Qt::Key_Down, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(rows(), (Names{"Sunrise", "Storm", "Composition 3"}));
    choose("Unlock Project");
    EXPECT_TRUE(drop(*before, edge(0, true)));
    EXPECT_EQ(rows(), (Names{"Composition 3", "Sunrise", "Storm"}));
}

TEST_F(CompositionOrderTest, WhatIsSelectedStaysSelectedAndShown) {
    const CompositionView* shown = &view();
    ASSERT_TRUE(drag(0, edge(2, false)));
    EXPECT_EQ(selected(), "Sunrise");
    EXPECT_EQ(table().currentIndex().row(), 2);
    EXPECT_EQ(&view(), shown);
    ASSERT_TRUE(drag(0, edge(2, true)));
    EXPECT_EQ(selected(), "Sunrise");
    EXPECT_EQ(table().currentIndex().row(), application().compositions.selectedCompositionIndex());
    EXPECT_TRUE(information().startsWith("Sunrise - "));
}

TEST_F(CompositionOrderTest, AMoveIsOneStepOfUndo) {
    ASSERT_TRUE(drag(2, edge(1, true)));
    EXPECT_TRUE(command("Undo Move Composition")->isEnabled());
    choose("Undo Move Composition");
    EXPECT_EQ(rows(), (Names{"Sunrise", "Storm", "Composition 3"}));
    choose("Redo Move Composition");
    EXPECT_EQ(rows(), (Names{"Sunrise", "Composition 3", "Storm"}));
}

TEST_F(CompositionOrderTest, KeysMoveTheSelectedRow) {
    constexpr auto modifiers = Qt::ControlModifier | Qt::ShiftModifier;
    EXPECT_FALSE(command("Move Composition Up")->isEnabled());
    key(Qt::Key_Down, modifiers);
    EXPECT_EQ(rows(), (Names{"Storm", "Sunrise", "Composition 3"}));
    key(Qt::Key_Down, modifiers);
    EXPECT_EQ(rows(), (Names{"Storm", "Composition 3", "Sunrise"}));
    EXPECT_FALSE(command("Move Composition Down")->isEnabled());
    key(Qt::Key_Down, modifiers);
    EXPECT_EQ(rows(), (Names{"Storm", "Composition 3", "Sunrise"}));
    key(Qt::Key_Up, modifiers);
    EXPECT_EQ(rows(), (Names{"Storm", "Sunrise", "Composition 3"}));
    EXPECT_EQ(selected(), "Sunrise");
    choose("Undo Move Composition");
    EXPECT_EQ(rows(), (Names{"Storm", "Composition 3", "Sunrise"}));
    EXPECT_EQ(selected(), "Sunrise");
}

TEST_F(CompositionOrderTest, ACompositionThatGoesWhileItIsDraggedIsNotDropped) {
    const std::unique_ptr<QMimeData> storm = taken(1);
    application().removeCompositionAtIndex(1);
    frame();
    EXPECT_FALSE(drop(*storm, edge(0, true)));
    EXPECT_EQ(rows(), (Names{"Sunrise", "Composition 3"}));
}

TEST_F(CompositionOrderTest, WhatIsDraggedIsTheCompositionAndNotItsRow) {
    const std::unique_ptr<QMimeData> last = taken(2);
    application().removeCompositionAtIndex(0);
    frame();
    ASSERT_TRUE(drop(*last, edge(0, true)));
    EXPECT_EQ(rows(), (Names{"Composition 3", "Storm"}));
}

TEST_F(CompositionOrderTest, ForeignThingsAreNotRows) {
    QMimeData text;
    text.setText("1");
    EXPECT_FALSE(over(text, edge(0, true)));
    QMimeData number;
    number.setData("application/x-marvo-composition", "no such");
    EXPECT_FALSE(over(number, edge(0, true)));
}

TEST_F(CompositionOrderTest, WhatPlaysPlaysOnInItsNewPlace) {
    press("Play all");
    play(1'000);
    MarvoTimelineController* const storm = &composition(1);
    MarvoTimelineController* const third = &composition(2);
    const auto frames = [&] {
        return std::pair(storm->state.currentTime.get().value, third->state.currentTime.get().value);
    };
    // A drag lasts: the show goes on under it, and the table with it.
    const std::unique_ptr<QMimeData> data = taken(1);
    const auto [stormBefore, thirdBefore] = frames();
    ASSERT_TRUE(over(*data, edge(2, false)));
    play(500);
    ASSERT_TRUE(drop(*data, edge(2, false)));
    play(500);
    const auto [stormAfter, thirdAfter] = frames();
    EXPECT_EQ(rows(), (Names{"Sunrise", "Composition 3", "Storm"}));
    EXPECT_NEAR(static_cast<double>(stormAfter - stormBefore), 25, 1);
    EXPECT_NEAR(static_cast<double>(thirdAfter - thirdBefore), 30, 1);
    EXPECT_TRUE(storm->isRunning());
    EXPECT_EQ(table().model()->index(2, Column::playColumn).data(Qt::ToolTipRole).toString(), "Stop");
}

TEST_F(CompositionOrderTest, TheLineShowsWhereARowWouldFall) {
    press("Play all");
    play(1'000);
    const std::unique_ptr<QMimeData> data = taken(2);
    const QPoint at = edge(1, true);
    const QImage before = drawn(*table().viewport(), 1);
    ASSERT_TRUE(over(*data, at));
    frame();
    const QImage now = drawn(*table().viewport(), 1);
    int changed = 0;
    for (int x = 0; x < now.width(); ++x) changed += now.pixel(x, at.y()) != before.pixel(x, at.y());
    EXPECT_GT(changed, now.width() / 2);
    keepPicture(window().panel(), QStringLiteral("panel-drop"));
    applyLook(*qApp, Variant::light);
    keepPicture(window().panel(), QStringLiteral("panel-drop-light"));
    applyLook(*qApp, Variant::dark);
}
