// The panel that selects between two times, on its desktop: pointer, keys, and what of it is remembered.
#include "Stage.h"

#include "ui/RangePanel.h"

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

struct RangeSelectionTest : ::testing::Test, Stage {
    RangeSelectionTest() {
        load();
        clickRow(0, CompositionsModel::nameColumn);
    }
    ~RangeSelectionTest() override { applyLook(*qApp, Variant::dark); }

    RangePanel& panel() { return window().rangePanel(); }
    static std::string textOf(const std::array<QLabel*, 4>& labels) {
        std::string text;
        for (const QLabel* label : labels) text += label->text().toStdString() + " ";
        return text;
    }
    void playheadTo(std::int64_t frame) { composition().transport.markerDraggedToTime(Frame(frame)); }
    std::vector<std::int64_t> selectedOn(std::size_t track) {
        std::vector<std::int64_t> times;
        for (const KeyframePlace& place : show().track(track).keyframes().selectedKeyframes())
            times.push_back(place.time.value);
        return times;
    }
    void restart() {
        window().close();
        application().prefs.synchronise();
        desktop.reset();
        desktop = std::make_unique<Desktop>(running, RealtimeResult{RealtimeGrant::fifo, 70, "", "", ""});
        desktop->open();
        frame();
    }
    std::vector<std::int64_t> timesOn(std::size_t track) {
        std::vector<std::int64_t> times;
        for (const MarvoTimelineKeyframe& one : show().track(track).keyframes().store().all())
            times.push_back(one.time.value);
        return times;
    }
};

} // namespace

TEST_F(RangeSelectionTest, ThePointerTakesBothTimesAndSelectsWhatLiesBetween) {
    const std::vector<std::int64_t> all = timesOn(0);
    ASSERT_EQ(all.size(), 2u);
    pressHeader(0, HeaderPart::name);
    choose("Range Selection");
    playheadTo(all[1]);
    click(panel().startButton());
    playheadTo(all[1] + 5);
    click(panel().endButton());
    click(panel().selectButton());
    EXPECT_EQ(selectedOn(0), std::vector<std::int64_t>{all[1]});
    EXPECT_TRUE(selectedOn(2).empty());
    EXPECT_EQ(beeps, 0);
    EXPECT_EQ(application().undo.undoActionName(), "") << "selecting changes nothing";
}

TEST_F(RangeSelectionTest, TheSelectionIsSeenAtOnce) {
    pressHeader(0, HeaderPart::name);
    const QImage before = drawn(lanes(), 1);
    composition().state.rangeSelectEnd = composition().outTime();
    panel().selectRange();
    EXPECT_NE(drawn(lanes(), 1), before);
}

TEST_F(RangeSelectionTest, KeysDoTheSameWithoutThePanel) {
    pressHeader(0, HeaderPart::name);
    const std::vector<std::int64_t> all = timesOn(0);
    playheadTo(all[0]);
    key(Qt::Key_I, Qt::ShiftModifier);
    playheadTo(all[0] + 1);
    key(Qt::Key_O, Qt::ShiftModifier);
    EXPECT_EQ(composition().state.rangeSelectStart.get(), Frame(all[0]));
    EXPECT_EQ(composition().state.rangeSelectEnd.get(), Frame(all[0] + 1));
    key(Qt::Key_R, Qt::ControlModifier | Qt::AltModifier);
    EXPECT_EQ(selectedOn(0), std::vector<std::int64_t>{all[0]});
    EXPECT_FALSE(panel().isVisible());
    EXPECT_EQ(composition().inTime(), Frame(0)) << "the working area is another thing";
}

TEST_F(RangeSelectionTest, AnEmptyRangeBeepsAndLeavesTheSelectionAlone) {
    key(Qt::Key_A, Qt::ControlModifier | Qt::AltModifier);
    const std::vector<std::int64_t> before = selectedOn(0);
    ASSERT_FALSE(before.empty());
    composition().state.rangeSelectStart = Frame(30);
    composition().state.rangeSelectEnd = Frame(30);
    choose("Select Keyframes in Range");
    EXPECT_EQ(beeps, 1);
    EXPECT_EQ(selectedOn(0), before);
}

TEST_F(RangeSelectionTest, ItShowsTheRangeOfTheSelectedCompositionHoweverThatChanges) {
    composition(0).state.rangeSelectStart = Frame(95);
    composition(1).state.rangeSelectEnd = Frame(26);
    choose("Range Selection");
    EXPECT_EQ(textOf(panel().startDisplays()), "0 0 3 5 ");
    clickRow(1, CompositionsModel::nameColumn);
    EXPECT_EQ(textOf(panel().startDisplays()), "0 0 0 0 ");
    EXPECT_EQ(textOf(panel().endDisplays()), "0 0 1 1 ");
    application().compositions.selectCompositionAtIndex(0); // from outside
    frame();
    EXPECT_EQ(textOf(panel().startDisplays()), "0 0 3 5 ");
    // Of the menu of the ruler: it takes the working area over.
    composition().keyframeSelection.selectKeyframesInWorkArea();
    frame();
    EXPECT_EQ(textOf(panel().startDisplays()), "0 0 0 0 ");
    EXPECT_EQ(textOf(panel().endDisplays()), "0 0 20 0 ");
    application().compositions.removeAll();
    frame();
    EXPECT_EQ(textOf(panel().endDisplays()), "0 0 0 0 ");
    EXPECT_EQ(beeps, 0);
    click(panel().startButton());
    EXPECT_EQ(beeps, 1);
}

TEST_F(RangeSelectionTest, TheTimelineKeepsTheKeyboard) {
    view().takeKeyboard();
    choose("Range Selection");
    click(panel().startButton());
    EXPECT_EQ(window().focusWidget(), &lanes());
    EXPECT_EQ(panel().focusWidget(), nullptr);
    EXPECT_TRUE(panel().testAttribute(Qt::WA_ShowWithoutActivating));
    for (const QWidget* one : panel().findChildren<QWidget*>())
        EXPECT_EQ(one->focusPolicy(), Qt::NoFocus) << one->metaObject()->className();
}

TEST_F(RangeSelectionTest, ItsCommandIsTickedWhileItStands) {
    QAction* toggle = command("Range Selection");
    EXPECT_FALSE(toggle->isChecked());
    choose("Range Selection");
    EXPECT_TRUE(toggle->isChecked());
    panel().close(); // by its own button
    EXPECT_FALSE(toggle->isChecked());
    application().compositions.removeAll();
    frame();
    choose("Range Selection");
    EXPECT_TRUE(panel().isVisible());
}

TEST_F(RangeSelectionTest, ItComesBackWhereItWasAndOnlyWhenItStood) {
    application().compositions.removeAll();
    choose("Range Selection");
    panel().move(150, 140);
    frame();
    const QPoint at = panel().pos();
    restart();
    EXPECT_TRUE(panel().isVisible());
    EXPECT_EQ(panel().pos(), at);
    EXPECT_TRUE(command("Range Selection")->isChecked());
    panel().close();
    restart();
    EXPECT_FALSE(panel().isVisible());
}

TEST_F(RangeSelectionTest, ItIsReadableInDaylightThatComesWhileItStands) {
    choose("Range Selection");
    playheadTo(95);
    click(panel().endButton());
    choose("Daylight Colours");
    keepPicture(panel(), QStringLiteral("range-panel-light"));
    const QLabel& digit = *panel().endDisplays()[3];
    const QColor ground = colorAt(panel(), digit.geometry().topLeft() + QPoint(2, 2));
    EXPECT_EQ(ground, Look::light().panel);
}
