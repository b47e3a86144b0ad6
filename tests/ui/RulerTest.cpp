// The working area and the playhead under a hand, at their limits.
#include "Stage.h"

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

struct RulerTest : ::testing::Test, Stage {
    RulerTest() {
        load();
        application().compositions.selectCompositionAtIndex(0);
        frame();
        // A frame is several pixels wide: what is meant is what is hit.
        for (int i = 0; i < 3; ++i) key(Qt::Key_Plus, Qt::ControlModifier);
        surface().scrollTo(SurfaceArea::lanes, {0, 0});
        frame();
    }

    static constexpr std::int64_t end = 20 * 30;
    static constexpr int bar = 5;
    void setArea(std::int64_t in, std::int64_t out) {
        composition().markerController.setInTime(Frame(in));
        composition().markerController.setOutTime(Frame(out));
        frame();
    }
    std::int64_t in() { return composition().inTime().value; }
    std::int64_t out() { return composition().outTime().value; }
    void dragArea(std::int64_t from, std::int64_t to, Qt::KeyboardModifiers modifiers = {}) {
        drag(ruler(), QPoint(rulerX(from), bar), QPoint(rulerX(to), bar), modifiers);
        frame();
    }
    // A move with these buttons held.
    void moveTo(std::int64_t at, int y, Qt::MouseButtons held) {
        const QPoint to(rulerX(at), y);
        QMouseEvent move(QEvent::MouseMove, to, ruler().mapToGlobal(to), Qt::NoButton, held, {});
        QApplication::sendEvent(&ruler(), &move);
        frame();
    }
    void mouse(QEvent::Type type, std::int64_t at, int y, Qt::MouseButton which, Qt::MouseButtons held) {
        const QPoint to(rulerX(at), y);
        QMouseEvent event(type, to, ruler().mapToGlobal(to), which, held, {});
        QApplication::sendEvent(&ruler(), &event);
        frame();
    }
    void place(std::int64_t at) {
        composition().transport.markerDraggedToTime(Frame(at));
        frame();
    }
    void pressRuler(std::int64_t at) {
        QTest::mouseClick(&ruler(), Qt::LeftButton, {}, QPoint(rulerX(at), ruler().height() - 6));
        frame();
    }
};

} // namespace

TEST_F(RulerTest, TheEndsOfTheWorkingAreaNeverMeet) {
    setArea(10, 40);
    dragArea(10, 60, Qt::ShiftModifier);
    EXPECT_EQ(in(), 39);
    EXPECT_EQ(out(), 40);
    setArea(10, 40);
    dragArea(40, 2, Qt::ShiftModifier);
    EXPECT_EQ(in(), 10);
    EXPECT_EQ(out(), 11);
    setArea(10, 40);
    dragArea(10, 70);
    EXPECT_EQ(in(), 39) << "also where the ends snap to seconds";
}

TEST_F(RulerTest, InALockedProjectTheAreaStaysAndThePlayheadMoves) {
    setArea(30, 60);
    application().lockProject();
    dragArea(60, 90, Qt::ShiftModifier);
    EXPECT_EQ(out(), 60);
    EXPECT_EQ(beeps, 1);
    pressRuler(40);
    EXPECT_EQ(composition().currentTime().value, 40);
}

TEST_F(RulerTest, TheBodyMovesByWholeSecondsOnly) {
    setArea(0, 60);
    dragArea(20, 20 + 29);
    EXPECT_EQ(in(), 0);
    EXPECT_EQ(out(), 60);
    dragArea(20, 20 + 31);
    EXPECT_EQ(in(), 30);
    EXPECT_EQ(out(), 90);
    dragArea(50, 50 + 7, Qt::ShiftModifier);
    EXPECT_EQ(in(), 37);
    EXPECT_EQ(out(), 97);
}

TEST_F(RulerTest, TheBodyKeepsItsWidthAtBothEnds) {
    setArea(10, 55);
    dragArea(30, -40, Qt::ShiftModifier);
    EXPECT_EQ(in(), 0);
    EXPECT_EQ(out(), 45);
    for (int i = 0; i < 3; ++i) key(Qt::Key_Minus, Qt::ControlModifier);
    setArea(500, 590);
    dragArea(540, 5'000);
    EXPECT_EQ(out() - in(), 90);
    EXPECT_LE(out(), end);
    setArea(505, 590);
    dragArea(540, 5'000, Qt::ShiftModifier);
    EXPECT_EQ(in(), end - 85);
    EXPECT_EQ(out(), end);
}

TEST_F(RulerTest, ALeftEndTakesThePlayheadAlongAndARightEndLeavesIt) {
    setArea(0, 70);
    place(20);
    dragArea(0, 41, Qt::ShiftModifier);
    EXPECT_EQ(show().frame(), in());
    EXPECT_NEAR(static_cast<double>(in()), 41.0, 1.0);
    place(65);
    dragArea(70, 50, Qt::ShiftModifier);
    EXPECT_EQ(show().frame(), 65);
}

TEST_F(RulerTest, AnAreaThatMovesAwayFromThePlayheadBringsItToItsStart) {
    setArea(0, 30);
    place(10);
    dragArea(15, 15 + 31);
    EXPECT_EQ(in(), 30);
    EXPECT_EQ(show().frame(), 30);
}

TEST_F(RulerTest, ADragOfTheAreaIsAChangeOfTheProject) {
    application().projectIsSaved();
    application().displayProjectName();
    frame();
    ASSERT_FALSE(window().windowTitle().contains("* ("));
    dragArea(0, 2, Qt::ShiftModifier);
    EXPECT_TRUE(window().windowTitle().contains("* ("));
}

TEST_F(RulerTest, WhereThePlayheadIsTheOtherEndTheKeysBeepAndChangeNothing) {
    setArea(60, 240);
    place(240);
    key(Qt::Key_I);
    EXPECT_EQ(beeps, 1);
    place(60);
    key(Qt::Key_O);
    EXPECT_EQ(beeps, 2);
    EXPECT_EQ(in(), 60);
    EXPECT_EQ(out(), 240);
    place(61);
    key(Qt::Key_O);
    EXPECT_EQ(out(), 61);
    EXPECT_EQ(beeps, 2);
}

TEST_F(RulerTest, AStoppedPlayheadGoesAnywhereAndARunningOneNotBeforeTheArea) {
    setArea(30, 80);
    pressRuler(8);
    EXPECT_NEAR(static_cast<double>(show().frame()), 8.0, 1.0);
    press("Play");
    play(100);
    EXPECT_GE(show().frame(), 30) << "a start outside of the area begins at its start";
    pressRuler(8);
    EXPECT_EQ(show().frame(), 30);
    pressRuler(60);
    EXPECT_NEAR(static_cast<double>(show().frame()), 60.0, 1.0);
}

TEST_F(RulerTest, ATrimIsOneStepThatBringsEverythingBack) {
    setArea(15, 65);
    const auto counts = [this] {
        std::vector<std::size_t> all;
        for (std::size_t i = 0; i < composition().tracks.count(); ++i) {
            const auto* plain = dynamic_cast<const MarvoTimelineTrack*>(composition().tracks.all()[i].get());
            all.push_back(plain ? plain->keyframes().store().all().size() : 0);
        }
        return all;
    };
    const auto before = counts();
    const auto cuesBefore = composition().cueController.cues().size();
    QTest::mouseClick(&ruler(), Qt::RightButton, {}, QPoint(80, 30));
    pick("Trim Composition to Work Area");
    EXPECT_EQ(in(), 0);
    EXPECT_EQ(out(), 50);
    EXPECT_NEAR(composition().state.compTime, 50.0f / 30.0f, 0.001f);
    EXPECT_NE(counts(), before);
    key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(counts(), before);
    EXPECT_EQ(in(), 15);
    EXPECT_EQ(out(), 65);
    EXPECT_FLOAT_EQ(composition().state.compTime, 20.0f);
    EXPECT_EQ(composition().cueController.cues().size(), cuesBefore);
}

TEST_F(RulerTest, TheMenuOffersSelectedTracksOnlyWhereThereAreSome) {
    const auto offers = [this] {
        QTest::mouseClick(&ruler(), Qt::LeftButton, Qt::ControlModifier, QPoint(80, 30));
        QMenu* menu = openMenu();
        if (!menu || menu->actions().size() != 4) return -1;
        const bool enabled = menu->actions().back()->isEnabled();
        EXPECT_EQ(menu->actions()[0]->text(), "Trim Composition to Work Area");
        EXPECT_TRUE(menu->actions()[1]->isSeparator());
        EXPECT_EQ(menu->actions()[2]->text(), "Select Keyframes within the Work Area on All Tracks");
        EXPECT_EQ(menu->actions()[3]->text(), "Select Keyframes within the Work Area on Selected Tracks");
        menu->close();
        frame();
        return enabled ? 1 : 0;
    };
    EXPECT_EQ(offers(), 0);
    key(Qt::Key_Down, Qt::AltModifier);
    EXPECT_EQ(offers(), 1);
}

TEST_F(RulerTest, AControlClickOnTheRulerMovesNothing) {
    place(40);
    QTest::mouseClick(&ruler(), Qt::LeftButton, Qt::ControlModifier, QPoint(rulerX(10), 30));
    if (openMenu()) openMenu()->close();
    frame();
    EXPECT_EQ(show().frame(), 40);
}

TEST_F(RulerTest, ACompositionWithoutLengthIsShownAndTouchedWithoutHarm) {
    using namespace marvo::testing;
    load(projectOf({compositionOf("Nothing", 30, 0.0f, {oscTrack("Dimmer", "/dimmer", {{0, 0.5f}})})}));
    application().compositions.selectCompositionAtIndex(0);
    frame();
    EXPECT_EQ(in(), 0);
    EXPECT_EQ(out(), 0);
    for (const int x : {0, 10, 11, 200}) {
        drag(ruler(), QPoint(x, bar), QPoint(x + 50, bar));
        drag(ruler(), QPoint(x, 30), QPoint(x + 50, 30));
    }
    key(Qt::Key_I);
    key(Qt::Key_O);
    EXPECT_EQ(beeps, 2);
    wheel(lanes(), QPoint(0, 120), Qt::ControlModifier);
    wheel(lanes(), QPoint(0, -120), Qt::ControlModifier);
    doubleClick(cues(), QPoint(100, 8));
    press("Play");
    play(200);
    if (composition().isRunning()) press("Play");
    EXPECT_EQ(in(), 0);
    EXPECT_EQ(out(), 0);
    EXPECT_EQ(show().frame(), 0);
    composition().cueController.cues().forEach([](const MarvoCue& cue) { EXPECT_EQ(cue.time, Frame(0)); });
    window().grab();
}

TEST_F(RulerTest, APlayheadWhoseReleaseWentAstrayStaysWhereItWasLetGo) {
    mouse(QEvent::MouseButtonPress, 20, 34, Qt::LeftButton, Qt::LeftButton);
    moveTo(30, 34, Qt::LeftButton);
    const std::int64_t letGo = show().frame();
    EXPECT_NEAR(static_cast<double>(letGo), 30.0, 1.0);
    moveTo(50, 34, Qt::NoButton); // the window that came in between took the release
    EXPECT_EQ(show().frame(), letGo);
    moveTo(60, 34, Qt::RightButton);
    EXPECT_EQ(show().frame(), letGo);
}

TEST_F(RulerTest, AWorkingAreaWhoseReleaseWentAstrayStaysWhereItWasLetGo) {
    setArea(0, 60);
    mouse(QEvent::MouseButtonPress, 20, bar, Qt::LeftButton, Qt::LeftButton);
    moveTo(20 + 31, bar, Qt::LeftButton);
    ASSERT_EQ(in(), 30);
    moveTo(20 + 62, bar, Qt::NoButton);
    EXPECT_EQ(in(), 30);
}

TEST_F(RulerTest, AnotherButtonChangesNothingWhileThePlayheadIsDragged) {
    mouse(QEvent::MouseButtonPress, 20, 34, Qt::LeftButton, Qt::LeftButton);
    mouse(QEvent::MouseButtonPress, 20, 34, Qt::RightButton, Qt::LeftButton | Qt::RightButton);
    EXPECT_FALSE(openMenu()) << "a menu would swallow the release";
    mouse(QEvent::MouseButtonRelease, 20, 34, Qt::RightButton, Qt::LeftButton);
    moveTo(40, 34, Qt::LeftButton);
    EXPECT_NEAR(static_cast<double>(show().frame()), 40.0, 1.0) << "the drag goes on";
    mouse(QEvent::MouseButtonRelease, 40, 34, Qt::LeftButton, Qt::NoButton);
    moveTo(50, 34, Qt::NoButton);
    EXPECT_NEAR(static_cast<double>(show().frame()), 40.0, 1.0);
}
