// The timeline where it ends: the least and the greatest zoom, the edges of the ruler, gaps between lanes,
// compositions of an odd size.
#include "Stage.h"

#include <QNativeGestureEvent>
#include <QPointingDevice>

#include <functional>
#include <initializer_list>

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

struct TimelineEdgesTest : ::testing::Test, Stage {
    TimelineEdgesTest() { start(stageProject()); }

    void start(const PropertyList& project) {
        load(project);
        clickRow(0, CompositionsModel::nameColumn);
    }
    bool isChanged() { return window().windowTitle().contains('*'); }
    void pinch(double value) {
        const QPointF at = lanes().rect().center();
        QNativeGestureEvent event(Qt::ZoomNativeGesture, QPointingDevice::primaryPointingDevice(), 2, at, at,
                                  lanes().mapToGlobal(at), value, QPointF());
        QApplication::sendEvent(&lanes(), &event);
        frame();
    }
    // The pointer rests over a point of a lane; y upwards.
    void hover(std::size_t track, SurfacePoint inLane) {
        const LaneLayout::Lane at = lane(track);
        QTest::mouseMove(&lanes(),
                         QPoint(static_cast<int>(inLane.x), static_cast<int>(at.maxY() - inLane.y)));
        frame();
    }
};

} // namespace

// --- Zoom.

TEST_F(TimelineEdgesTest, ZoomingOutOfTheWholeChangesNothingNotEvenTheTitle) {
    for (const auto& out : std::initializer_list<std::function<void()>>{
             [this] { press("Zoom out"); }, [this] { key(Qt::Key_Minus, Qt::ControlModifier); },
             [this] { wheel(lanes(), QPoint(0, -120), Qt::ControlModifier); }, [this] { pinch(-0.2); }}) {
        out();
        frame();
        EXPECT_EQ(surface().zoomRatio(), 1.0f);
        EXPECT_FALSE(isChanged());
    }
    press("Zoom in");
    EXPECT_TRUE(isChanged());
}

TEST_F(TimelineEdgesTest, ZoomingInEndsWhereOneFrameFillsTheWindowAndThenDoesNothing) {
    zoomIn(30);
    const float deepest = surface().zoomRatio();
    const double pixelsPerFrame = surface().laneWidth() / static_cast<double>(surface().geometry().length());
    EXPECT_GT(pixelsPerFrame, lanes().width());
    EXPECT_LE(pixelsPerFrame / 2.0, lanes().width());
    choose("Save");
    ASSERT_FALSE(isChanged());
    zoomIn(1);
    pinch(0.5);
    press("Zoom in");
    EXPECT_EQ(surface().zoomRatio(), deepest);
    EXPECT_FALSE(isChanged());
}

TEST_F(TimelineEdgesTest, ControlWithASidewaysWheelNeitherZoomsNorScrolls) {
    zoomIn(2);
    surface().scrollTo(SurfaceArea::lanes, {300.0, 60.0});
    for (QWidget* area : std::initializer_list<QWidget*>{&lanes(), &ruler(), &cues(), &headers()}) {
        wheel(*area, QPoint(120, 0), Qt::ControlModifier);
        EXPECT_EQ(surface().zoomRatio(), 4.0f);
        EXPECT_EQ(x(SurfaceArea::lanes), 300.0);
        EXPECT_EQ(y(SurfaceArea::lanes), 60.0);
    }
}

TEST_F(TimelineEdgesTest, APinchZoomsInAboveNothingAndOutOtherwise) {
    pinch(0.1);
    pinch(0.1);
    EXPECT_EQ(surface().zoomRatio(), 4.0f);
    pinch(0.0);
    EXPECT_EQ(surface().zoomRatio(), 2.0f) << "nothing counts as out";
    pinch(-0.1);
    EXPECT_EQ(surface().zoomRatio(), 1.0f);
}

TEST_F(TimelineEdgesTest, AnotherCompositionAndBackKeepsZoomAndPlace) {
    zoomIn(3);
    surface().scrollTo(SurfaceArea::lanes, {777.0, 90.0});
    clickRow(1, CompositionsModel::nameColumn);
    EXPECT_EQ(surface().zoomRatio(), 1.0f) << "each has its own";
    EXPECT_EQ(x(SurfaceArea::lanes), 0.0);
    clickRow(0, CompositionsModel::nameColumn);
    EXPECT_EQ(surface().zoomRatio(), 8.0f);
    EXPECT_EQ(x(SurfaceArea::lanes), 777.0);
    EXPECT_EQ(y(SurfaceArea::lanes), 90.0);
    EXPECT_EQ(bar(Qt::Horizontal).value(), 777);
    EXPECT_EQ(bar(Qt::Vertical).value(), 90);
}

// At 60 frames a second: more pixels than an int counts.
TEST_F(TimelineEdgesTest, TwentyHoursAtTheGreatestZoomScrollToTheirVeryEnd) {
    using marvo::testing::compositionOf;
    using marvo::testing::oscTrack;
    start(marvo::testing::projectOf(
        {compositionOf("Long", 60, 72000.0f, {oscTrack("A", "/a", {{0, 10}, {4'320'000, 90}})})}));
    application().prefs.change("zoomToPlayhead", false);
    frame();
    for (int i = 0; i < 40; ++i) surface().zoomIn();
    frame();
    ASSERT_GT(surface().laneWidth(), 2.2e9) << lanes().width();
    QScrollBar& sideways = bar(Qt::Horizontal);
    ASSERT_GT(sideways.maximum(), 0);
    sideways.setValue(sideways.maximum());
    frame();
    const double furthest = surface().laneWidth() - lanes().width();
    EXPECT_NEAR(x(SurfaceArea::lanes), furthest, 10.0);
    surface().scrollTo(SurfaceArea::lanes, {furthest, 0.0});
    frame();
    EXPECT_EQ(sideways.value(), sideways.maximum());
    // The last frame and its keyframe are on the screen, and the pointer finds it.
    composition().transport.markerDraggedToTime(Frame(4'320'000));
    frame();
    EXPECT_EQ(colorAt(lanes(), QPoint(lanes().width() - 1, 3)), Look::current().text) << "the playhead";
    const MarvoTimelineTrack& track = show().track();
    const SurfacePoint last =
        KeyframeGeometry::pointOf(track.keyframes().store().all().back(), surface().scaleOf(track));
    hover(0, {last.x - x(SurfaceArea::lanes) - 2.0, last.y});
    EXPECT_EQ(surface().trackedKeyframe(), track.keyframes().store().all().back().uID);
}

// --- Ruler.

TEST_F(TimelineEdgesTest, ThePlayheadIsSeenAtBothEnds) {
    for (const std::int64_t at : {0, 20 * 30}) {
        composition().transport.markerDraggedToTime(Frame(at));
        frame();
        const int column = at == 0 ? 0 : lanes().width() - 1;
        EXPECT_EQ(colorAt(lanes(), QPoint(column, 3)), Look::current().text) << at;
        EXPECT_EQ(colorAt(cues(), QPoint(column, 3)), Look::current().text) << at;
    }
}

TEST_F(TimelineEdgesTest, ADragPastTheEndsOfARulerThatFitsDoesNotScrollIt) {
    const int low = ruler().height() - 8;
    drag(ruler(), QPoint(rulerX(300), low), QPoint(ruler().width() + 200, low));
    EXPECT_EQ(x(SurfaceArea::ruler), 0.0);
    EXPECT_EQ(x(SurfaceArea::lanes), 0.0);
    EXPECT_EQ(show().frame(), 20 * 30);
    drag(ruler(), QPoint(rulerX(300), low), QPoint(-200, low));
    EXPECT_EQ(x(SurfaceArea::ruler), 0.0);
    EXPECT_EQ(show().frame(), 0);
}

TEST_F(TimelineEdgesTest, ADragPastTheEdgeOfAZoomedRulerScrollsAllAreasByItsSteps) {
    const int low = ruler().height() - 8;
    zoomIn(3);
    surface().scrollTo(SurfaceArea::lanes, {500.0, 0.0});
    // A press and one move: twenty to the right.
    const auto pull = [&](int to) {
        QTest::mousePress(&ruler(), Qt::LeftButton, {}, QPoint(200, low));
        const QPoint at(to, low);
        QMouseEvent move(QEvent::MouseMove, at, ruler().mapToGlobal(at), Qt::NoButton, Qt::LeftButton,
                         Qt::NoModifier);
        QApplication::sendEvent(&ruler(), &move);
        QTest::mouseRelease(&ruler(), Qt::LeftButton, {}, at);
    };
    pull(ruler().width() - 1);
    EXPECT_EQ(x(SurfaceArea::ruler), 500.0) << "not before the edge";
    pull(ruler().width());
    EXPECT_EQ(x(SurfaceArea::ruler), 520.0);
    EXPECT_EQ(x(SurfaceArea::lanes), 520.0);
    EXPECT_EQ(x(SurfaceArea::cueRow), 520.0);
    pull(0);
    EXPECT_EQ(x(SurfaceArea::lanes), 490.0) << "and thirty back";
}

// --- Lanes.

TEST_F(TimelineEdgesTest, InAGapAndBelowTheLanesNoKeyframeStaysMarked) {
    const MarvoTimelineTrack& track = show().track(0);
    // At the lower edge: half of what can be hit of it lies outside of its lane.
    const MarvoTimelineKeyframe& keyframe = track.keyframes().store().all().front();
    const SurfacePoint point = KeyframeGeometry::pointOf(keyframe, surface().scaleOf(track));
    ASSERT_LT(point.y, 1.0);
    hover(0, {point.x, point.y + 0.5});
    ASSERT_EQ(surface().trackedKeyframe(), keyframe.uID);
    hover(0, {point.x, 0.0});
    EXPECT_FALSE(surface().trackedKeyframe()) << "between two lanes";
    while (composition().tracks.count() > 1) composition().tracks.undoRemoveTracksWithPositions({1});
    frame();
    hover(0, {point.x, point.y + 0.5});
    ASSERT_EQ(surface().trackedKeyframe(), keyframe.uID);
    hover(0, {point.x, -2.0});
    EXPECT_FALSE(surface().trackedKeyframe()) << "below the last one";
}

TEST_F(TimelineEdgesTest, AColourIsTakenWhereItIsSeenAndMarked) {
    const std::size_t row = 6;
    const MarvoTimelineTrack& track = show().track(row);
    ASSERT_EQ(track.kind(), TrackKind::artNetColor);
    const LaneLayout::Lane at = lane(row);
    surface().scrollTo(SurfaceArea::lanes, {0.0, at.y});
    frame();
    const double top = at.y - y(SurfaceArea::lanes);
    const QPoint middle(laneX(40), static_cast<int>(top + at.height / 2));
    const QRect around(middle - QPoint(12, 12), QSize(24, 24));
    const QImage plain = lanes().grab(around).toImage();
    QTest::mouseMove(&lanes(), middle);
    frame();
    ASSERT_TRUE(surface().trackedKeyframe());
    EXPECT_EQ(track.keyframes().store().objectWithUID(*surface().trackedKeyframe())->time, Frame(40));
    EXPECT_NE(lanes().grab(around).toImage(), plain);
    QTest::mouseMove(&lanes(), QPoint(middle.x(), static_cast<int>(top + at.height) - 16));
    frame();
    EXPECT_FALSE(surface().trackedKeyframe()) << "nothing is seen there";
    EXPECT_EQ(lanes().grab(around).toImage(), plain);
}

TEST_F(TimelineEdgesTest, FortyCollapsedTracksStandTightAndTheSurfaceStaysTall) {
    using namespace marvo::testing;
    std::vector<PropertyList> tracks;
    for (int i = 0; i < 40; ++i) tracks.push_back(oscTrack("T" + std::to_string(i), "/t", {{0, 1}}));
    start(projectOf({compositionOf("Many", 30, 20.0f, tracks)}));
    for (const auto& track : composition().tracks.all()) track->setSelected(true);
    surface().handleCollapseAndExpand(*composition().tracks.all().front());
    frame();
    EXPECT_EQ(lane(39).y, 39.0 * 33.0);
    EXPECT_EQ(lane(39).height, 32.0);
    EXPECT_EQ(bar(Qt::Vertical).maximum() + lanes().height(), 40 * 120 + 2);
    bar(Qt::Vertical).setValue(bar(Qt::Vertical).maximum());
    frame();
    EXPECT_EQ(colorAt(lanes(), QPoint(50, lanes().height() / 2)), Look::current().window)
        << "below the last lane there is nothing";
    keepPicture(window(), QStringLiteral("below-forty-collapsed-tracks"));
}

// --- The line above, when the length comes from elsewhere.

TEST_F(TimelineEdgesTest, AnUndoneLengthIsReadInTheLineAbove) {
    ASSERT_TRUE(information().endsWith("20s")) << information().toStdString();
    composition().settings.setNewCompTime(5.0f, 30, {}, {});
    frame();
    EXPECT_TRUE(information().endsWith("05s")) << information().toStdString();
    key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_TRUE(information().endsWith("20s")) << information().toStdString();
}
