// What stands on the screen in the lanes after paint upon paint, where few tracks leave room below.
#include "Stage.h"

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

struct LanesOnScreenTest : ::testing::Test, Stage {
    void withTracks(const std::vector<PropertyList>& tracks) {
        using namespace marvo::testing;
        load(projectOf({compositionOf("Sparse", 30, 20.0f, tracks)}));
        application().compositions.selectCompositionAtIndex(0);
        frame();
    }
    void place(std::int64_t at) {
        composition().transport.markerDraggedToTime(Frame(at));
        frame();
    }
    // x of what has the colour of the playhead in a row of pixels of the lanes, as they stand on the screen.
    std::vector<int> markersIn(int y) {
        const QImage seen = onScreen(lanes());
        std::vector<int> found;
        for (int x = 0; x < seen.width(); ++x) {
            if (seen.pixelColor(x, y) == Look::current().text) found.push_back(x);
        }
        return found;
    }
    void thePlayheadIsOneLine() {
        for (const std::int64_t at : {60, 300, 450}) {
            place(at);
            for (const int y : {4, lanes().height() - 4}) {
                const std::vector<int> found = markersIn(y);
                ASSERT_EQ(found.size(), 1u) << "frame " << at << ", y " << y;
                EXPECT_NEAR(found[0], laneX(at), 1);
            }
        }
    }
    // How many pixels around the middle of the lanes differ from the ground.
    int litInTheMiddle() {
        const QImage seen = onScreen(lanes());
        const QPoint middle = seen.rect().center();
        int lit = 0;
        for (int y = middle.y() - 12; y < middle.y() + 12; ++y) {
            for (int x = middle.x() - 200; x < middle.x() + 200; ++x)
                lit += seen.pixelColor(x, y) != Look::current().window;
        }
        return lit;
    }
};

} // namespace

TEST_F(LanesOnScreenTest, BelowASingleTrackThePlayheadLeavesNothingBehind) {
    withTracks({marvo::testing::oscTrack("Dimmer", "/dimmer", {{0, 0.5f}})});
    ASSERT_LT(lane(0).maxY(), lanes().height() - 10);
    thePlayheadIsOneLine();
}

TEST_F(LanesOnScreenTest, WithoutATrackThePlayheadIsOneLineToo) {
    withTracks({});
    thePlayheadIsOneLine();
}

TEST_F(LanesOnScreenTest, AfterAZoomThePlayheadLeavesNothingBehind) {
    withTracks({marvo::testing::oscTrack("Dimmer", "/dimmer", {{0, 0.5f}})});
    place(100);
    zoomIn(1);
    surface().scrollTo(SurfaceArea::lanes, {0.0, 0.0});
    frame();
    place(120);
    for (const int y : {4, lanes().height() - 4}) {
        const std::vector<int> found = markersIn(y);
        ASSERT_EQ(found.size(), 1u);
        EXPECT_NEAR(found[0], laneX(120), 1);
    }
}

TEST_F(LanesOnScreenTest, AnEmptyCompositionSaysHowToGetATrack) {
    withTracks({});
    EXPECT_GT(litInTheMiddle(), 300);
    zoomIn(2);
    surface().scrollTo(SurfaceArea::lanes, {500.0, 0.0});
    frame();
    EXPECT_GT(litInTheMiddle(), 300) << "wherever it is scrolled to";
}
