#include "FakeMarkerComposition.h"

#include <gtest/gtest.h>

#include <limits>

using namespace marvo;
using marvo::testing_support::FakeMarkerComposition;

namespace {

using Area = std::pair<std::int64_t, std::int64_t>;

class WorkingArea : public ::testing::Test {
protected:
    WorkingArea() {
        composition.marker.setViewWidth(3020.0f);
        composition.marker.addMarkerAndThrottler();
    }
    // One pixel is one frame here.
    static double pixelOf(std::int64_t frame) { return static_cast<double>(frame) + 10.0; }
    void drag(ThrottlerPart part, std::int64_t frame, bool shift = false) {
        composition.marker.throttlerMovedToPoint(pixelOf(frame), part, shift);
    }
    void dragBody(std::int64_t fromFrame, std::int64_t toFrame, bool shift = false) {
        composition.marker.setHelperXForThrottlerDragMe(pixelOf(fromFrame));
        drag(ThrottlerPart::body, toFrame, shift);
    }
    FakeMarkerComposition composition;
};

class PlayheadMarker : public WorkingArea {};

} // namespace

TEST_F(WorkingArea, OfANewCompositionIsTheWholeOfIt) {
    composition.length = 10.03f;
    composition.area(5, 6);
    composition.marker.setMarkerTime(Frame(9));
    composition.marker.addMarkerAndThrottler();
    EXPECT_EQ(composition.area(), Area(0, 300));
    EXPECT_EQ(composition.marker.markerTime(), Frame(0));
    EXPECT_EQ(composition.marker.startPointForCompTime(), Frame(0));
    EXPECT_EQ(composition.marker.endPointForCompTime(), Frame(300));
}

TEST_F(WorkingArea, OfACompositionWithoutLengthIsEmptyAndStaysSo) {
    composition.length = 0.0f;
    composition.marker.addMarkerAndThrottler();
    EXPECT_EQ(composition.area(), Area(0, 0));
    for (const auto part : {ThrottlerPart::leftSide, ThrottlerPart::rightSide, ThrottlerPart::body}) {
        drag(part, 100, true);
        EXPECT_EQ(composition.area(), Area(0, 0));
    }
}

TEST_F(WorkingArea, NeverBeginsBeforeTheStart) {
    composition.area(0, 0);
    drag(ThrottlerPart::leftSide, 500);
    EXPECT_EQ(composition.area(), Area(0, 0));
    drag(ThrottlerPart::rightSide, 500);
    EXPECT_EQ(composition.area(), Area(0, 480));
}

TEST_F(WorkingArea, EdgesSnapToWholeSeconds) {
    drag(ThrottlerPart::leftSide, 59);
    EXPECT_EQ(composition.area(), Area(30, 3000));
    drag(ThrottlerPart::rightSide, 1019);
    EXPECT_EQ(composition.area(), Area(30, 990));
}

TEST_F(WorkingArea, EdgesGoFrameByFrameWithShift) {
    drag(ThrottlerPart::leftSide, 59, true);
    drag(ThrottlerPart::rightSide, 1019, true);
    EXPECT_EQ(composition.area(), Area(59, 1019));
}

TEST_F(WorkingArea, LeftEdgeOnTheRightLeavesOneFrame) {
    composition.area(0, 300);
    drag(ThrottlerPart::leftSide, 300);
    EXPECT_EQ(composition.area(), Area(299, 300));
    drag(ThrottlerPart::leftSide, 2000, true);
    EXPECT_EQ(composition.area(), Area(299, 300));
}

TEST_F(WorkingArea, RightEdgeOnTheLeftLeavesOneFrame) {
    composition.area(300, 600);
    drag(ThrottlerPart::rightSide, 300);
    EXPECT_EQ(composition.area(), Area(300, 301));
    drag(ThrottlerPart::rightSide, 0);
    EXPECT_EQ(composition.area(), Area(300, 301));
}

TEST_F(WorkingArea, EdgeThatDoesNotMoveChangesNothing) {
    composition.area(30, 600);
    drag(ThrottlerPart::leftSide, 31);
    drag(ThrottlerPart::rightSide, 601);
    EXPECT_EQ(composition.projectChanges, 0);
    EXPECT_EQ(composition.redraws, 0);
    EXPECT_EQ(composition.positionUpdates, 0);
    EXPECT_TRUE(composition.drags.empty());
}

TEST_F(WorkingArea, DragPastTheRulerStopsAtItsEnds) {
    composition.area(30, 600);
    composition.marker.throttlerMovedToPoint(-500.0, ThrottlerPart::leftSide, true);
    composition.marker.throttlerMovedToPoint(9999.0, ThrottlerPart::rightSide, true);
    EXPECT_EQ(composition.area(), Area(0, 3000));
}

TEST_F(WorkingArea, NeverEndsBehindAFractionalEnd) {
    // 300.7 frames on a ruler where rounding up meets rounding down.
    composition.fps = 10;
    composition.length = 30.07f;
    for (float width = 100.0f; width < 900.0f; width += 7.0f) {
        composition.marker.setViewWidth(width);
        composition.area(0, 100);
        composition.marker.throttlerMovedToPoint(9999.0, ThrottlerPart::rightSide, true);
        EXPECT_EQ(composition.area(), Area(0, 300)) << width;
    }
}

TEST_F(WorkingArea, LeftEdgePulledPastThePlayheadTakesItAlong) {
    composition.now = Frame(50);
    drag(ThrottlerPart::leftSide, 90);
    EXPECT_EQ(composition.drags, std::vector<std::int64_t>{90});
    EXPECT_EQ(composition.mmcRewinds, 0);
    EXPECT_EQ(composition.projectChanges, 1);
    EXPECT_EQ(composition.redraws, 1);
    EXPECT_EQ(composition.positionUpdates, 1);
}

TEST_F(WorkingArea, RightEdgePulledBeforeThePlayheadLeavesItAlone) {
    composition.now = Frame(500);
    drag(ThrottlerPart::rightSide, 300);
    EXPECT_EQ(composition.area(), Area(0, 300));
    EXPECT_TRUE(composition.drags.empty());
}

TEST_F(WorkingArea, BodyDraggedLessThanASecondStays) {
    composition.area(300, 600);
    dragBody(400, 429);
    EXPECT_EQ(composition.area(), Area(300, 600));
    EXPECT_EQ(composition.marker.helperXForThrottlerDragMe(), pixelOf(400)) << "the drag goes on from there";
    drag(ThrottlerPart::body, 430);
    EXPECT_EQ(composition.area(), Area(330, 630));
}

TEST_F(WorkingArea, BodyHeldStillReportsNothingAndTheFirstPixelDoes) {
    composition.area(300, 600);
    composition.now = Frame(10);
    dragBody(400, 400);
    dragBody(400, 400, true);
    EXPECT_EQ(composition.positionUpdates, 0);
    EXPECT_EQ(composition.projectChanges, 0);
    dragBody(400, 401);
    EXPECT_EQ(composition.positionUpdates, 1);
    EXPECT_EQ(composition.area(), Area(300, 600));
    EXPECT_EQ(composition.drags, std::vector<std::int64_t>{300}) << "a playhead outside comes in";
}

TEST_F(WorkingArea, BodyMovesByWholeSeconds) {
    composition.area(300, 600);
    dragBody(400, 431);
    EXPECT_EQ(composition.area(), Area(330, 630));
    EXPECT_EQ(composition.marker.helperXForThrottlerDragMe(), pixelOf(431));
    dragBody(400, 369);
    EXPECT_EQ(composition.area(), Area(300, 600));
}

TEST_F(WorkingArea, BodyMovesByFramesWithShift) {
    composition.area(300, 600);
    dragBody(400, 407, true);
    EXPECT_EQ(composition.area(), Area(307, 607));
}

TEST_F(WorkingArea, BodyKeepsItsWidthAtBothEnds) {
    composition.area(2700, 3000);
    dragBody(2800, 2900);
    EXPECT_EQ(composition.area(), Area(2700, 3000));
    EXPECT_EQ(composition.projectChanges, 0) << "nothing moved";
    composition.area(20, 320);
    dragBody(200, 100, true);
    EXPECT_EQ(composition.area(), Area(0, 300));
    composition.area(2695, 2995);
    dragBody(2700, 2900, true);
    EXPECT_EQ(composition.area(), Area(2700, 3000));
}

TEST_F(WorkingArea, BodyThatMovedAwayFromThePlayheadBringsItToTheStart) {
    composition.area(300, 600);
    composition.now = Frame(310);
    dragBody(400, 460);
    EXPECT_EQ(composition.area(), Area(360, 660));
    EXPECT_EQ(composition.drags, std::vector<std::int64_t>{360});
    EXPECT_EQ(composition.mmcRewinds, 1);
    EXPECT_EQ(composition.projectChanges, 1);
    composition.now = Frame(361);
    dragBody(400, 430);
    EXPECT_EQ(composition.now, Frame(390));
}

TEST_F(WorkingArea, KeepsThePlayheadThatStandsOnEitherEdge) {
    composition.area(300, 600);
    composition.now = Frame(300);
    composition.marker.markerThrottlerDragged();
    composition.now = Frame(600);
    composition.marker.markerThrottlerDragged();
    EXPECT_TRUE(composition.drags.empty());
    composition.now = Frame(601);
    composition.marker.markerThrottlerDragged();
    EXPECT_EQ(composition.drags, std::vector<std::int64_t>{300});
    EXPECT_EQ(composition.mmcRewinds, 1);
}

TEST_F(WorkingArea, BeginsAtThePlayheadUnlessThatIsItsEnd) {
    composition.area(0, 600);
    composition.now = Frame(200);
    composition.marker.setWorkingAreaBeginningToCurrent();
    EXPECT_EQ(composition.area(), Area(200, 600));
    EXPECT_EQ(composition.redraws, 1);
    EXPECT_EQ(composition.beeps, 0);
    composition.now = Frame(600);
    composition.marker.setWorkingAreaBeginningToCurrent();
    EXPECT_EQ(composition.area(), Area(200, 600));
    EXPECT_EQ(composition.beeps, 1);
}

TEST_F(WorkingArea, EndsAtThePlayheadUnlessThatIsItsStart) {
    composition.area(100, 600);
    composition.now = Frame(200);
    composition.marker.setWorkingAreaEndToCurrent();
    EXPECT_EQ(composition.area(), Area(100, 200));
    EXPECT_EQ(composition.projectChanges, 1);
    composition.now = Frame(100);
    composition.marker.setWorkingAreaEndToCurrent();
    EXPECT_EQ(composition.area(), Area(100, 200));
    EXPECT_EQ(composition.beeps, 1);
    EXPECT_EQ(composition.projectChanges, 1);
}

TEST_F(WorkingArea, ChangeCanBeUndoneAndRedone) {
    composition.area(100, 600);
    composition.marker.undoSetMarkerInTimeOutTime(Frame(0), Frame(500));
    EXPECT_EQ(composition.area(), Area(0, 500));
    EXPECT_EQ(composition.undo(), "Change Working Area");
    EXPECT_EQ(composition.area(), Area(100, 600));
    EXPECT_EQ(composition.undo(), "Change Working Area");
    EXPECT_EQ(composition.area(), Area(0, 500));
    EXPECT_TRUE(composition.drags.empty());
}

TEST_F(WorkingArea, UndoHalfOfATrimRegistersNothingAndMindsThePlayhead) {
    composition.now = Frame(10);
    composition.marker.undoSetInTimeOutTime(Frame(100), Frame(600));
    EXPECT_EQ(composition.area(), Area(100, 600));
    EXPECT_TRUE(composition.undoStack.empty());
    EXPECT_EQ(composition.drags, std::vector<std::int64_t>{100});
}

TEST_F(WorkingArea, ComesBackFromItsRecord) {
    composition.area(100, 600);
    const ThrottlerRecord saved = composition.marker.saveData();
    EXPECT_EQ(saved, (ThrottlerRecord{100, 600}));
    composition.marker.addMarkerAndThrottler();
    composition.marker.loadData(saved);
    EXPECT_EQ(composition.area(), Area(100, 600));
}

TEST_F(WorkingArea, StaysAsItWasWithoutARecord) {
    composition.marker.loadData(std::nullopt);
    EXPECT_EQ(composition.area(), Area(0, 3000));
    composition.marker.loadData(ThrottlerRecord{std::nullopt, 700});
    EXPECT_EQ(composition.area(), Area(0, 700));
}

TEST_F(WorkingArea, OfADamagedRecordCanBeDraggedWithoutHarm) {
    constexpr auto largest = std::numeric_limits<std::int64_t>::max();
    constexpr auto smallest = std::numeric_limits<std::int64_t>::min();
    for (const auto& [in, out] : {Area(largest, smallest), Area(smallest, largest), Area(largest, largest)}) {
        for (const std::int64_t fps : {std::int64_t{0}, std::int64_t{30}, largest}) {
            composition.fps = fps;
            for (const auto part : {ThrottlerPart::leftSide, ThrottlerPart::rightSide, ThrottlerPart::body}) {
                composition.marker.loadData(ThrottlerRecord{in, out});
                dragBody(0, 50);
                drag(part, 700);
                drag(part, 100, true);
            }
        }
    }
    composition.fps = 30;
    composition.area(0, largest);
    drag(ThrottlerPart::rightSide, 600);
    EXPECT_EQ(composition.area(), Area(0, 600)) << "and mended";
}

TEST_F(WorkingArea, CannotBeDraggedOnARulerWithoutRoom) {
    for (const float width : {0.0f, 10.0f, 20.0f}) {
        composition.marker.setViewWidth(width);
        EXPECT_EQ(composition.marker.throttlerTimeUnitInPixels(), 0.0f);
        composition.area(300, 600);
        dragBody(100, 900);
        EXPECT_EQ(composition.area(), Area(300, 600));
        drag(ThrottlerPart::leftSide, 400);
        drag(ThrottlerPart::rightSide, 400);
        EXPECT_EQ(composition.area(), Area(300, 600));
    }
}

TEST_F(PlayheadMarker, GoesToTheFrameUnderThePointer) {
    composition.marker.moveMarkerToPos(110.4f);
    EXPECT_EQ(composition.marker.markerTime(), Frame(100));
    composition.marker.moveMarkerToPos(110.6f);
    EXPECT_EQ(composition.marker.markerTime(), Frame(101));
    EXPECT_EQ(composition.drags, (std::vector<std::int64_t>{100, 101}));
}

TEST_F(PlayheadMarker, StopsAtTheEndsOfTheRuler) {
    composition.marker.moveMarkerToPos(-400.0f);
    composition.marker.moveMarkerToPos(90000.0f);
    EXPECT_EQ(composition.drags, (std::vector<std::int64_t>{0, 3000}));
}

TEST_F(PlayheadMarker, NeverStandsBehindAFractionalEnd) {
    composition.fps = 10;
    composition.length = 30.07f;
    composition.marker.moveMarkerToPos(90000.0f);
    EXPECT_EQ(composition.marker.markerTime(), Frame(300));
}

TEST_F(PlayheadMarker, StaysOnARulerWithoutRoom) {
    composition.marker.setMarkerTime(Frame(77));
    composition.marker.setViewWidth(5.0f);
    composition.marker.moveMarkerToPos(3.0f);
    EXPECT_EQ(composition.marker.markerTime(), Frame(77));
    EXPECT_TRUE(composition.drags.empty());
}

TEST_F(PlayheadMarker, IsRedrawnWithItsPosition) {
    composition.marker.refreshMarker();
    EXPECT_EQ(composition.redraws, 1);
    EXPECT_EQ(composition.positionUpdates, 1);
}

TEST_F(PlayheadMarker, ZoomLeavesTheMarginsAsTheyAre) {
    composition.marker.setViewWidth(1020.0f);
    EXPECT_EQ(composition.marker.markerTimeUnitInPixels(), 3.0f);
    composition.marker.zoomIn();
    EXPECT_EQ(composition.marker.viewWidth(), 2020.0f);
    composition.marker.zoomOut();
    composition.marker.zoomOut();
    EXPECT_EQ(composition.marker.viewWidth(), 520.0f);
    EXPECT_EQ(composition.redraws, 3);
    EXPECT_EQ(composition.positionUpdates, 3);
}
