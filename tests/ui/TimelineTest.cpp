// The lanes, the ruler and the cues under a hand: selection, playhead, working area, zoom and scrolling.
#include "ui/CuePopover.h"

#include "Stage.h"

#include <map>

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

struct TimelineTest : ::testing::Test, Stage {
    TimelineTest() {
        load();
        clickRow(0, CompositionsModel::nameColumn);
    }

    static constexpr std::int64_t end = 20 * 30;
    void clickLane(std::size_t track, Qt::KeyboardModifiers modifiers = {}) {
        const LaneLayout::Lane at = lane(track);
        const double y = at.y + at.height / 2 - surface().area(SurfaceArea::lanes).origin().y;
        QTest::mouseClick(&lanes(), Qt::LeftButton, modifiers, QPoint(lanes().width() / 2, int(y)));
        frame();
    }
    std::vector<std::int64_t> selectedRows() {
        std::vector<std::int64_t> rows;
        for (const MarvoTimelineTrackProtocol* track : composition().tracks.selectedTracks())
            rows.push_back(track->trackPosition());
        return rows;
    }
    // In the middle of the row of cues, at the sign of a cue.
    QPoint onCue(std::int64_t at) { return {laneX(at) + 4, cues().height() / 2}; }
    std::size_t cueCount() { return composition().cueController.cues().size(); }
};

// How often a widget is asked to paint itself.
class PaintCount : public QObject {
public:
    explicit PaintCount(QWidget& widget) { widget.installEventFilter(this); }
    int count = 0;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Paint) ++count;
        return QObject::eventFilter(watched, event);
    }
};

} // namespace

// --- Lanes.

TEST_F(TimelineTest, AClickSelectsATrackAndControlAddsAndTakesAway) {
    clickLane(1);
    EXPECT_EQ(selectedRows(), (std::vector<std::int64_t>{1}));
    clickLane(3, Qt::ControlModifier);
    EXPECT_EQ(selectedRows(), (std::vector<std::int64_t>{1, 3}));
    clickLane(1, Qt::ControlModifier);
    EXPECT_EQ(selectedRows(), (std::vector<std::int64_t>{3}));
    clickLane(0);
    EXPECT_EQ(selectedRows(), (std::vector<std::int64_t>{0}));
}

TEST_F(TimelineTest, ShiftSelectsFromTheLastClickToThisOne) {
    clickLane(3);
    clickLane(1, Qt::ShiftModifier);
    EXPECT_EQ(selectedRows(), (std::vector<std::int64_t>{1, 2, 3}));
    clickLane(0);
    clickLane(2, Qt::ShiftModifier);
    EXPECT_EQ(selectedRows(), (std::vector<std::int64_t>{0, 1, 2}));
}

TEST_F(TimelineTest, ASelectedLaneLooksDifferent) {
    const QPoint at(lanes().width() - 6, static_cast<int>(lane(1).y) + 4);
    const QColor before = colorAt(lanes(), at);
    clickLane(1);
    EXPECT_NE(colorAt(lanes(), at), before);
}

TEST_F(TimelineTest, TheSecondsAreSeenInASelectedLaneToo) {
    const auto inksOfGrid = [this] {
        const QImage row =
            lanes().grab(QRect(0, static_cast<int>(lane(1).y) + 2, lanes().width(), 1)).toImage();
        std::map<QRgb, int> inks;
        for (int x = 0; x < row.width(); ++x) ++inks[row.pixel(x, 0)];
        return inks;
    };
    EXPECT_GT(inksOfGrid()[Look::current().faintLine.rgb()], 10);
    clickLane(1);
    EXPECT_GT(inksOfGrid()[Look::current().faintLineSelected.rgb()], 10);
}

TEST_F(TimelineTest, AKeyframeUnderThePointerIsMarkedAsLongAsItIs) {
    const MarvoTimelineTrack& track = show().track(0);
    const MarvoTimelineKeyframe& keyframe = track.keyframes().store().all().back();
    const LaneLayout::Lane at = lane(0);
    const SurfacePoint inLane = KeyframeGeometry::pointOf(keyframe, surface().scaleOf(track));
    const QPoint point(static_cast<int>(inLane.x), static_cast<int>(at.maxY() - inLane.y));
    const QRect around = QRect(point - QPoint(16, 16), QSize(32, 32)) & lanes().rect();
    frame();
    const QImage plain = lanes().grab(around).toImage();
    QTest::mouseMove(&lanes(), point);
    frame();
    EXPECT_EQ(surface().trackedKeyframe(), keyframe.uID);
    EXPECT_NE(lanes().grab(around).toImage(), plain);
    QTest::mouseMove(&lanes(), point + QPoint(200, 0));
    frame();
    EXPECT_FALSE(surface().trackedKeyframe());
    EXPECT_EQ(lanes().grab(around).toImage(), plain);
    QTest::mouseMove(&lanes(), point);
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(&lanes(), &leave);
    EXPECT_FALSE(surface().trackedKeyframe());
}

TEST_F(TimelineTest, ThePlayheadIsSeenInTheLanesAndItsColourTellsWhetherItRuns) {
    composition().transport.markerDraggedToTime(Frame(100));
    frame();
    const auto markerColor = [this] {
        const SurfaceRect column = surface().markerColumn(SurfaceArea::lanes);
        const QImage image =
            lanes()
                .grab(QRect(static_cast<int>(column.x), 2, static_cast<int>(column.width) + 1, 1))
                .toImage();
        for (int i = 0; i < image.width(); ++i) {
            if (image.pixelColor(i, 0) == Look::current().plays) return QStringLiteral("plays");
            if (image.pixelColor(i, 0) == Look::current().text) return QStringLiteral("rests");
        }
        return QStringLiteral("none");
    };
    EXPECT_EQ(markerColor(), "rests");
    press("Play");
    play(100);
    EXPECT_EQ(markerColor(), "plays");
    PaintCount paints(lanes());
    press("Play");
    EXPECT_GT(paints.count, 0);
    EXPECT_EQ(markerColor(), "rests");
}

// --- Ruler.

TEST_F(TimelineTest, APressOnTheRulerMovesThePlayheadAndADragTakesItAlong) {
    const int low = ruler().height() - 8;
    QTest::mouseClick(&ruler(), Qt::LeftButton, {}, QPoint(rulerX(150), low));
    EXPECT_NEAR(static_cast<double>(show().frame()), 150.0, 2.0);
    drag(ruler(), QPoint(rulerX(150), low), QPoint(rulerX(400), low));
    EXPECT_NEAR(static_cast<double>(show().frame()), 400.0, 2.0);
    drag(ruler(), QPoint(rulerX(400), low), QPoint(-500, low));
    EXPECT_EQ(show().frame(), 0);
    QMouseEvent later(QEvent::MouseMove, QPointF(rulerX(300), low), ruler().mapToGlobal(QPointF(0, 0)),
                      Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(&ruler(), &later);
    EXPECT_EQ(show().frame(), 0);
}

TEST_F(TimelineTest, TheEndsOfTheWorkingAreaSnapToSecondsUnlessShiftIsHeld) {
    drag(ruler(), QPoint(rulerX(0) + 2, 5), QPoint(rulerX(100), 5));
    EXPECT_EQ(composition().inTime().value % 30, 0);
    EXPECT_NEAR(static_cast<double>(composition().inTime().value), 100.0, 31.0);
    drag(ruler(), QPoint(rulerX(end) - 2, 5), QPoint(rulerX(413), 5), Qt::ShiftModifier);
    EXPECT_NEAR(static_cast<double>(composition().outTime().value), 413.0, 3.0);
    EXPECT_NE(composition().outTime().value % 30, 0);
}

TEST_F(TimelineTest, TheWorkingAreaMovesAsAWhole) {
    composition().markerController.setInTime(Frame(90));
    composition().markerController.setOutTime(Frame(300));
    frame();
    drag(ruler(), QPoint(rulerX(200), 5), QPoint(rulerX(320), 5), Qt::ShiftModifier);
    EXPECT_NEAR(static_cast<double>(composition().inTime().value), 210.0, 4.0);
    EXPECT_EQ((composition().outTime() - composition().inTime()).value, 210);
    drag(ruler(), QPoint(rulerX(300), 5), QPoint(rulerX(900), 5), Qt::ShiftModifier);
    EXPECT_LE(composition().outTime(), Frame(end));
    EXPECT_EQ((composition().outTime() - composition().inTime()).value, 210);
}

TEST_F(TimelineTest, WhatLiesOutsideOfTheWorkingAreaIsShaded) {
    const QPoint at(laneX(30) + 3, static_cast<int>(lane(1).y) + 4);
    const QColor before = colorAt(lanes(), at);
    drag(ruler(), QPoint(rulerX(0) + 2, 5), QPoint(rulerX(120), 5));
    frame();
    EXPECT_NE(colorAt(lanes(), at), before);
}

TEST_F(TimelineTest, LabelsOfSecondsGiveWayBeforeTheyRunIntoEachOther) {
    window().resize(window().minimumSizeHint());
    frame();
    const int apart = rulerX(30) - rulerX(0);
    ASSERT_GT(apart, 17);
    ASSERT_LT(apart, 26);
    const QImage image = ruler().grab().toImage();
    const auto isLabelled = [&](std::int64_t second) {
        // Digits reach above the ticks.
        for (int x = rulerX(second * 30) + 3; x < rulerX(second * 30) + 14; ++x) {
            for (int y = ruler().height() - 26; y < ruler().height() - 20; ++y) {
                if (image.pixelColor(x, y) != Look::current().panel) return true;
            }
        }
        return false;
    };
    for (const std::int64_t second : {2, 4, 10, 18}) EXPECT_TRUE(isLabelled(second)) << second;
    for (const std::int64_t second : {5, 11, 19}) EXPECT_FALSE(isLabelled(second)) << second;
}

TEST_F(TimelineTest, TheMenuOfTheRulerTrimsAndSelects) {
    composition().markerController.setInTime(Frame(0));
    composition().markerController.setOutTime(Frame(50));
    const auto selectedKeyframes = [this](std::size_t track) {
        std::size_t count = 0;
        for (const MarvoTimelineKeyframe& one : show().track(track).keyframes().store().all())
            count += one.selected ? 1 : 0;
        return count;
    };
    QTest::mouseClick(&ruler(), Qt::RightButton, {}, QPoint(80, 30));
    pick("Select Keyframes within the Work Area on All Tracks");
    EXPECT_EQ(selectedKeyframes(0), 2u);
    EXPECT_EQ(selectedKeyframes(1), 1u);
    clickLane(1);
    QTest::mouseClick(&ruler(), Qt::LeftButton, Qt::ControlModifier, QPoint(80, 30));
    pick("Select Keyframes within the Work Area on Selected Tracks");
    EXPECT_EQ(selectedKeyframes(1), 1u);
    EXPECT_EQ(selectedKeyframes(0), 0u);
    QTest::mouseClick(&ruler(), Qt::RightButton, {}, QPoint(80, 30));
    pick("Trim Composition to Work Area");
    EXPECT_NEAR(composition().state.compTime, 50.0f / 30.0f, 0.001f);
    key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_FLOAT_EQ(composition().state.compTime, 20.0f);
}

// --- Cues.

TEST_F(TimelineTest, ADoubleClickAddsACueAndOneOnACueOpensIt) {
    const std::size_t before = cueCount();
    doubleClick(cues(), QPoint(laneX(300), cues().height() / 2));
    frame();
    EXPECT_EQ(cueCount(), before + 1);
    doubleClick(cues(), onCue(300));
    frame();
    EXPECT_EQ(cueCount(), before + 1);
    QWidget* popover = QApplication::activePopupWidget();
    if (!popover) {
        for (QWidget* top : QApplication::topLevelWidgets()) {
            if (top->isVisible() && dynamic_cast<CuePopover*>(top)) popover = top;
        }
    }
    ASSERT_TRUE(popover);
    EXPECT_TRUE(dynamic_cast<CuePopover*>(popover));
    popover->close();
}

TEST_F(TimelineTest, LockedCuesTakeNoNewOne) {
    const std::size_t before = cueCount();
    composition().cueController.setLocked(true);
    doubleClick(cues(), QPoint(laneX(300), cues().height() / 2));
    EXPECT_EQ(cueCount(), before);
}

TEST_F(TimelineTest, AClickSelectsACueAndOneBesideDeselects) {
    const auto selectedCues = [this] {
        std::size_t count = 0;
        composition().cueController.cues().forEach(
            [&](const MarvoCue& cue) { count += cue.selected ? 1 : 0; });
        return count;
    };
    QTest::mouseClick(&cues(), Qt::LeftButton, {}, onCue(20));
    EXPECT_EQ(selectedCues(), 1u);
    QTest::mouseClick(&cues(), Qt::LeftButton, Qt::ShiftModifier, onCue(45));
    EXPECT_EQ(selectedCues(), 2u);
    QTest::mouseClick(&cues(), Qt::LeftButton, {}, onCue(70));
    EXPECT_EQ(selectedCues(), 1u);
    QTest::mouseClick(&cues(), Qt::LeftButton, {}, QPoint(laneX(500), cues().height() / 2));
    EXPECT_EQ(selectedCues(), 0u);
}

// --- Zoom and scrolling.

TEST_F(TimelineTest, ControlWithTheWheelAndTheKeysZoom) {
    EXPECT_EQ(surface().zoomRatio(), 1.0f);
    wheel(lanes(), QPoint(0, 120), Qt::ControlModifier);
    EXPECT_EQ(surface().zoomRatio(), 2.0f);
    wheel(ruler(), QPoint(0, -120), Qt::ControlModifier);
    EXPECT_EQ(surface().zoomRatio(), 1.0f);
    key(Qt::Key_Plus, Qt::ControlModifier);
    key(Qt::Key_Equal, Qt::ControlModifier);
    EXPECT_EQ(surface().zoomRatio(), 4.0f);
    key(Qt::Key_Minus, Qt::ControlModifier);
    EXPECT_EQ(surface().zoomRatio(), 2.0f);
    press("Zoom out");
    press("Zoom out");
    EXPECT_EQ(surface().zoomRatio(), 1.0f);
    press("Zoom in");
    EXPECT_EQ(surface().zoomRatio(), 2.0f);
}

TEST_F(TimelineTest, TheWheelScrollsUpAndDownAndWithShiftSideways) {
    zoomIn(2);
    surface().scrollTo(SurfaceArea::lanes, {0, 0});
    wheel(lanes(), QPoint(0, -120));
    EXPECT_EQ(y(SurfaceArea::lanes), 60.0);
    EXPECT_EQ(x(SurfaceArea::lanes), 0.0);
    wheel(lanes(), QPoint(0, -120), Qt::ShiftModifier);
    EXPECT_EQ(x(SurfaceArea::lanes), 60.0);
    wheel(headers(), QPoint(0, 120));
    EXPECT_EQ(y(SurfaceArea::lanes), 0.0);
}

TEST_F(TimelineTest, ScrollBarsAndAreasStayInStep) {
    zoomIn(2);
    QScrollBar& sideways = bar(Qt::Horizontal);
    QScrollBar& upright = bar(Qt::Vertical);
    ASSERT_GT(sideways.maximum(), 0);
    ASSERT_GT(upright.maximum(), 0);
    sideways.setValue(sideways.maximum() / 2);
    upright.setValue(150);
    frame();
    EXPECT_EQ(x(SurfaceArea::lanes), sideways.value());
    EXPECT_EQ(x(SurfaceArea::ruler), sideways.value());
    EXPECT_EQ(x(SurfaceArea::cueRow), sideways.value());
    EXPECT_EQ(y(SurfaceArea::lanes), 150.0);
    EXPECT_EQ(y(SurfaceArea::headers), 150.0);
    wheel(lanes(), QPoint(240, -240));
    EXPECT_EQ(sideways.value(), static_cast<int>(x(SurfaceArea::lanes)));
    EXPECT_EQ(upright.value(), static_cast<int>(y(SurfaceArea::lanes)));
    sideways.setValue(sideways.maximum());
    EXPECT_NEAR(x(SurfaceArea::lanes) + lanes().width(), surface().laneWidth(), 1.0);
}

TEST_F(TimelineTest, ALargerWindowShowsTheWholeCompositionAgain) {
    window().resize(1200, 700);
    frame();
    EXPECT_NEAR(surface().laneWidth(), lanes().width(), 0.5);
    window().resize(1500, 900);
    frame();
    EXPECT_NEAR(surface().laneWidth(), lanes().width(), 0.5);
    EXPECT_EQ(bar(Qt::Horizontal).maximum(), 0);
    EXPECT_EQ(cues().width(), lanes().width());
    EXPECT_EQ(ruler().width(), lanes().width() + 20);
    EXPECT_EQ(ruler().mapTo(&view(), QPoint(10, 0)).x(), lanes().mapTo(&view(), QPoint(0, 0)).x());
}

TEST_F(TimelineTest, TheViewFollowsThePlayheadPageByPage) {
    clickRow(1, CompositionsModel::nameColumn);
    application().prefs.change("followPlayheadDuringPlayback", true);
    frame();
    zoomIn(3);
    surface().scrollTo(SurfaceArea::lanes, {0, 0});
    press("Play");
    play(5'000); // behind the right edge: an eighth of 8 s is seen
    const double now = surface().laneWidth() * static_cast<double>(show().frame(1)) / (8.0 * 25.0);
    EXPECT_GT(x(SurfaceArea::lanes), 0.0);
    EXPECT_LE(x(SurfaceArea::lanes), now + 20.0);
    EXPECT_GE(x(SurfaceArea::lanes) + lanes().width(), now);
    EXPECT_EQ(bar(Qt::Horizontal).value(), static_cast<int>(x(SurfaceArea::lanes)));
}

TEST_F(TimelineTest, WithoutTheWishTheViewStaysWhereItIs) {
    clickRow(1, CompositionsModel::nameColumn);
    application().prefs.change("followPlayheadDuringPlayback", false);
    frame();
    zoomIn(3);
    surface().scrollTo(SurfaceArea::lanes, {0, 0});
    press("Play");
    play(5'000);
    EXPECT_EQ(x(SurfaceArea::lanes), 0.0);
}
