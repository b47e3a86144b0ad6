#include "surface/EdgeScrolling.h"
#include "surface/SurfaceScrolling.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace marvo {
namespace {

using ::testing::UnorderedElementsAre;

ScrollArea areaOf(SurfaceSize content, SurfaceSize document) {
    ScrollArea area;
    area.setContentSize(content);
    area.setDocumentSize(document);
    return area;
}

TEST(ScrollArea, NeverShowsWhatLiesBehindTheDocument) {
    ScrollArea area = areaOf({100.0, 50.0}, {300.0, 200.0});
    area.scrollToPoint({1000.0, 1000.0});
    EXPECT_EQ(area.origin(), (SurfacePoint{200.0, 150.0}));
    area.scrollToPoint({-5.0, -5.0});
    EXPECT_EQ(area.origin(), (SurfacePoint{0.0, 0.0}));
    area.scrollToPoint({200.0, 150.0});
    area.setDocumentSize({150.0, 40.0});
    EXPECT_EQ(area.origin(), (SurfacePoint{50.0, 0.0})) << "nor when the document shrinks";
    EXPECT_EQ(area.documentVisibleRect(), (SurfaceRect{50.0, 0.0, 100.0, 40.0}));
}

TEST(ScrollArea, TellsOfMovesAndOfNothingElse) {
    ScrollArea area = areaOf({100.0, 50.0}, {300.0, 200.0});
    int moves = 0;
    area.setBoundsObserver([&] { ++moves; });
    area.scrollToX(10.0);
    area.scrollToX(10.0);
    area.scrollToY(-3.0);
    EXPECT_EQ(moves, 1);
}

struct FourAreas {
    std::vector<SurfaceArea> told;
    int reflected = 0;
    SurfaceScrolling scrolling{[this](SurfaceArea which) { told.push_back(which); }, [this] { ++reflected; }};

    FourAreas() {
        set(SurfaceArea::lanes, {100.0, 50.0}, {1000.0, 500.0});
        set(SurfaceArea::headers, {40.0, 50.0}, {60.0, 500.0});
        set(SurfaceArea::ruler, {120.0, 20.0}, {1020.0, 40.0});
        set(SurfaceArea::cueRow, {100.0, 20.0}, {1000.0, 40.0});
        // Each stands somewhere of its own in the direction that is none of the others' business.
        scrolling.removeViewNotificationObservers();
        area(SurfaceArea::headers).scrollToX(7.0);
        area(SurfaceArea::ruler).scrollToY(3.0);
        area(SurfaceArea::cueRow).scrollToY(4.0);
        scrolling.addViewNotificationObservers();
        told.clear();
    }
    void set(SurfaceArea which, SurfaceSize content, SurfaceSize document) {
        area(which).setContentSize(content);
        area(which).setDocumentSize(document);
    }
    ScrollArea& area(SurfaceArea which) { return scrolling.area(which); }
    SurfacePoint at(SurfaceArea which) { return area(which).origin(); }
};

TEST(SurfaceScrolling, LanesTakeHeadersRulerAndCueRowAlong) {
    FourAreas four;
    four.area(SurfaceArea::lanes).scrollToPoint({300.0, 120.0});
    EXPECT_EQ(four.at(SurfaceArea::headers), (SurfacePoint{7.0, 120.0}));
    EXPECT_EQ(four.at(SurfaceArea::ruler), (SurfacePoint{300.0, 3.0}));
    EXPECT_EQ(four.at(SurfaceArea::cueRow), (SurfacePoint{300.0, 4.0}));
}

TEST(SurfaceScrolling, TheRulerTakesLanesAndCueRowAlongInX) {
    FourAreas four;
    four.area(SurfaceArea::lanes).scrollToY(120.0);
    four.area(SurfaceArea::ruler).scrollToX(300.0);
    EXPECT_EQ(four.at(SurfaceArea::lanes), (SurfacePoint{300.0, 120.0}));
    EXPECT_EQ(four.at(SurfaceArea::cueRow), (SurfacePoint{300.0, 4.0}));
    EXPECT_EQ(four.at(SurfaceArea::headers), (SurfacePoint{7.0, 120.0}));
}

TEST(SurfaceScrolling, TheCueRowTakesLanesAndRulerAlongInX) {
    FourAreas four;
    four.area(SurfaceArea::lanes).scrollToY(120.0);
    four.area(SurfaceArea::cueRow).scrollToX(300.0);
    EXPECT_EQ(four.at(SurfaceArea::lanes), (SurfacePoint{300.0, 120.0}));
    EXPECT_EQ(four.at(SurfaceArea::ruler), (SurfacePoint{300.0, 3.0}));
}

TEST(SurfaceScrolling, HeadersTakeTheLanesAlongInY) {
    FourAreas four;
    four.area(SurfaceArea::lanes).scrollToX(300.0);
    four.area(SurfaceArea::headers).scrollToPoint({9.0, 120.0});
    EXPECT_EQ(four.at(SurfaceArea::lanes), (SurfacePoint{300.0, 120.0}));
    EXPECT_EQ(four.at(SurfaceArea::ruler).x, 300.0);
}

TEST(SurfaceScrolling, MovesThatItMakesItselfDoNotComeBack) {
    FourAreas four;
    // Too short for where the others go: if its own end came back as a move, it would pull them back.
    four.set(SurfaceArea::cueRow, {100.0, 20.0}, {250.0, 40.0});
    four.area(SurfaceArea::ruler).scrollToX(300.0);
    EXPECT_EQ(four.at(SurfaceArea::cueRow).x, 150.0);
    EXPECT_EQ(four.at(SurfaceArea::lanes).x, 300.0);
    EXPECT_EQ(four.at(SurfaceArea::ruler).x, 300.0);
    EXPECT_THAT(four.told, UnorderedElementsAre(SurfaceArea::ruler, SurfaceArea::lanes, SurfaceArea::cueRow))
        << "the painter hears of each";
    EXPECT_EQ(four.reflected, 1);
    EXPECT_TRUE(four.scrolling.observes()) << "and watches again afterwards";
}

TEST(SurfaceScrolling, NothingFollowsWhileNobodyWatches) {
    FourAreas four;
    four.scrolling.removeViewNotificationObservers();
    four.area(SurfaceArea::lanes).scrollToX(300.0);
    EXPECT_EQ(four.at(SurfaceArea::ruler).x, 0.0);
    EXPECT_EQ(four.reflected, 0);
}

TEST(EdgeScrolling, LanesScrollWithinTwentyPixelsOfTheirEdgesByFifteen) {
    ScrollArea area = areaOf({100.0, 100.0}, {1000.0, 1000.0});
    area.scrollToPoint({500.0, 500.0});
    EXPECT_FALSE(handleScrollAtLocationOnLanes(area, {20.0, 80.0}));
    EXPECT_FALSE(handleScrollAtLocationOnLanes(area, {80.0, 20.0}));
    EXPECT_TRUE(handleScrollAtLocationOnLanes(area, {19.0, 50.0}));
    EXPECT_EQ(area.origin(), (SurfacePoint{485.0, 500.0}));
    EXPECT_TRUE(handleScrollAtLocationOnLanes(area, {81.0, 50.0}));
    EXPECT_EQ(area.origin(), (SurfacePoint{500.0, 500.0}));
    EXPECT_TRUE(handleScrollAtLocationOnLanes(area, {50.0, 19.0}));
    EXPECT_EQ(area.origin(), (SurfacePoint{500.0, 485.0}));
    EXPECT_TRUE(handleScrollAtLocationOnLanes(area, {50.0, 81.0}));
    EXPECT_EQ(area.origin(), (SurfacePoint{500.0, 500.0}));
}

TEST(EdgeScrolling, BothAxesMoveInOneCallEachByItself) {
    ScrollArea area = areaOf({100.0, 100.0}, {1000.0, 1000.0});
    area.scrollToPoint({500.0, 500.0});
    std::vector<SurfacePoint> stops;
    area.setBoundsObserver([&] { stops.push_back(area.origin()); });
    handleScrollAtLocationOnLanes(area, {5.0, 95.0});
    EXPECT_THAT(stops, ::testing::ElementsAre(SurfacePoint{500.0, 515.0}, SurfacePoint{485.0, 515.0}))
        << "y first";
}

TEST(EdgeScrolling, RowsScrollOnlyAtOrPastTheirEdgesByThirtyBackAndTwentyForth) {
    ScrollArea area = areaOf({100.0, 20.0}, {1000.0, 400.0});
    area.scrollToPoint({500.0, 200.0});
    EXPECT_FALSE(handleScrollAtLocationOnRow(area, {1.0, -50.0})) << "x alone";
    EXPECT_FALSE(handleScrollAtLocationOnRow(area, {99.0, 90.0}));
    EXPECT_TRUE(handleScrollAtLocationOnRow(area, {0.0, 5.0}));
    EXPECT_EQ(area.origin(), (SurfacePoint{470.0, 200.0}));
    EXPECT_TRUE(handleScrollAtLocationOnRow(area, {100.0, 5.0}));
    EXPECT_EQ(area.origin(), (SurfacePoint{490.0, 200.0}));
}

TEST(EdgeScrolling, StepsEndAtTheEndsOfTheDocument) {
    ScrollArea lanes = areaOf({100.0, 100.0}, {210.0, 105.0});
    handleScrollAtLocationOnLanes(lanes, {99.0, 99.0});
    EXPECT_EQ(lanes.origin(), (SurfacePoint{15.0, 5.0}));
    for (int i = 0; i < 10; ++i) handleScrollAtLocationOnLanes(lanes, {99.0, 50.0});
    EXPECT_EQ(lanes.origin().x, 110.0);
    for (int i = 0; i < 10; ++i) handleScrollAtLocationOnLanes(lanes, {1.0, 1.0});
    EXPECT_EQ(lanes.origin(), (SurfacePoint{0.0, 0.0}));

    ScrollArea row = areaOf({100.0, 20.0}, {125.0, 20.0});
    handleScrollAtLocationOnRow(row, {150.0, 0.0});
    handleScrollAtLocationOnRow(row, {150.0, 0.0});
    EXPECT_EQ(row.origin().x, 25.0);
    EXPECT_TRUE(handleScrollAtLocationOnRow(row, {-1.0, 0.0}));
    EXPECT_EQ(row.origin().x, 0.0);
}

TEST(EdgeScrolling, ADocumentThatFitsStaysWhereItIs) {
    // Wider by what a product in single precision is off.
    ScrollArea area = areaOf({620.0, 20.0}, {620.00006, 20.0});
    EXPECT_FALSE(handleScrollAtLocationOnRow(area, {620.0, 0.0}));
    EXPECT_EQ(area.origin().x, 0.0);
}

} // namespace
} // namespace marvo
