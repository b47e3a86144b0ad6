// The row of cues: what it says of each cue, and what it says while the cues act.
#include "ui/CuePopover.h"

#include "Stage.h"

#include <QHelpEvent>
#include <QToolTip>

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

constexpr std::int64_t fps = 30;

PropertyList cueOf(std::int64_t time, std::int64_t type, std::int64_t repeat) {
    PropertyList cue = PropertyList::dictionary();
    cue.set("time", time);
    cue.set("cueName", "Cue<$>");
    cue.set("type", type);
    cue.set("repeat", repeat);
    return cue;
}

// 20 s of 30 frames with these cues and one track.
PropertyList withCues(const std::vector<PropertyList>& cues) {
    using namespace marvo::testing;
    PropertyList composition = compositionOf("Cued", fps, 20.0f, {oscTrack("Dimmer", "/dimmer", {{0, 0}})});
    PropertyList controller = PropertyList::dictionary();
    controller.set("cues", listOf(cues));
    controller.set("enableButton", buttonOf(true));
    composition.set("cueController", controller);
    return projectOf({composition});
}

struct CueRowTest : ::testing::Test, Stage {
    CueRowTest() { show(withCues({cueOf(0, 0, 1), cueOf(100, 0, 0), cueOf(200, 1, 0)})); }

    void show(const PropertyList& project) {
        load(project);
        application().compositions.selectCompositionAtIndex(0);
        frame();
    }
    using Stage::show;
    std::size_t cueCount() { return composition().cueController.cues().size(); }
    QPoint onCue(std::int64_t at) { return {laneX(at) + 3, cues().height() / 2}; }
    QString tipAt(const QPoint& at) {
        QToolTip::hideText();
        QHelpEvent help(QEvent::ToolTip, at, cues().mapToGlobal(at));
        QApplication::sendEvent(&cues(), &help);
        return QToolTip::text();
    }
    QString tip(std::int64_t at) { return tipAt(onCue(at)); }
    // What stands beside the sign of a cue.
    QImage label(std::int64_t at, int from = 10, int to = 72) {
        return cues().grab(QRect(laneX(at) + from, 2, to - from, cues().height() - 4)).toImage();
    }
    // The thin line of a cue, over the whole height of the row.
    QColor inkOf(std::int64_t at) {
        const QImage line = cues().grab(QRect(laneX(at) - 8, 1, 20, 1)).toImage();
        for (int x = 0; x < line.width(); ++x) {
            if (line.pixelColor(x, 0) != Look::current().panel) return line.pixelColor(x, 0);
        }
        return Look::current().panel;
    }
    std::vector<std::int64_t> selectedCues() {
        std::vector<std::int64_t> times;
        composition().cueController.cues().forEach([&](const MarvoCue& cue) {
            if (cue.selected) times.push_back(cue.time.value);
        });
        return times;
    }
};

} // namespace

TEST_F(CueRowTest, ACueTellsItsNameAndWhatItDoes) {
    EXPECT_EQ(tip(0), "Cue1: passes, loops to the next cue");
    EXPECT_EQ(tip(100), "Cue2: passes");
    EXPECT_EQ(tip(200), "Cue3: pauses");
    EXPECT_EQ(tipAt(QPoint(laneX(400), 8)), "Double-click to add a cue");
}

TEST_F(CueRowTest, NumbersFollowTheOrderOfTheCues) {
    composition().transport.markerDraggedToTime(Frame(50));
    key(Qt::Key_C);
    EXPECT_TRUE(tip(50).startsWith("Cue2"));
    EXPECT_TRUE(tip(100).startsWith("Cue3"));
    EXPECT_TRUE(tip(200).startsWith("Cue4"));
    const QImage third = label(100);
    key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_TRUE(tip(100).startsWith("Cue2"));
    EXPECT_NE(label(100), third) << "the number is painted, too";
}

TEST_F(CueRowTest, AKindOrARepeatThatDoesNotExistIsTheNearest) {
    show(withCues({cueOf(60, 7, 9), cueOf(120, -3, -1), cueOf(-40, 1, 0)}));
    EXPECT_EQ(tip(0), "Cue1: pauses");
    EXPECT_EQ(tip(60), "Cue2: pauses, loops to the next cue");
    EXPECT_EQ(tip(120), "Cue3: passes");
}

TEST_F(CueRowTest, CuesBehindTheEndAreNotThere) {
    show(withCues({cueOf(60, 1, 0), cueOf(20 * fps, 1, 0), cueOf(20 * fps + 1, 1, 0)}));
    EXPECT_EQ(cueCount(), 2u);
}

TEST_F(CueRowTest, ANewCueIsTheOnlySelectedOneAndPauses) {
    QTest::mouseClick(&cues(), Qt::LeftButton, {}, onCue(100));
    frame();
    EXPECT_EQ(inkOf(100), Look::current().focus);
    doubleClick(cues(), QPoint(laneX(400), cues().height() / 2));
    frame();
    ASSERT_EQ(selectedCues().size(), 1u);
    const std::int64_t at = selectedCues().front();
    EXPECT_NEAR(static_cast<double>(at), 400.0, 2.0);
    EXPECT_EQ(inkOf(at), Look::current().focus);
    EXPECT_NE(inkOf(100), Look::current().focus);
    EXPECT_EQ(tip(at), "Cue4: pauses");
    EXPECT_TRUE(command("Undo Add Cue")->isEnabled());
    key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(cueCount(), 3u);
    EXPECT_NE(inkOf(at), Look::current().focus);
}

TEST_F(CueRowTest, ALockedProjectTakesNoNewCueAndBeeps) {
    const std::size_t before = composition().cueController.cues().size();
    application().lockProject();
    doubleClick(cues(), QPoint(laneX(400), cues().height() / 2));
    EXPECT_EQ(composition().cueController.cues().size(), before);
    EXPECT_EQ(beeps, 1);
}

TEST_F(CueRowTest, WhereACueIsThePlayheadPlacesNoSecondOneAndBeeps) {
    composition().transport.markerDraggedToTime(Frame(300));
    key(Qt::Key_C);
    EXPECT_EQ(cueCount(), 4u);
    EXPECT_EQ(beeps, 0);
    key(Qt::Key_C);
    EXPECT_EQ(cueCount(), 4u);
    EXPECT_EQ(beeps, 1);
}

TEST_F(CueRowTest, HowOftenASectionHasLoopedIsSeenWhileItPlays) {
    const QImage none = label(0, 14);
    press("Play");
    play(3'000);
    EXPECT_EQ(label(0, 14), none) << "the playhead has left the label, and nothing has looped";
    play(600); // past frame 100: back to 0
    play(2'600);
    ASSERT_LT(show().frame(), 100);
    const QImage once = label(0, 14);
    EXPECT_NE(once, none);
    play(2'000);
    EXPECT_GT(show().frame(), 100) << "the second time it passes";
    EXPECT_EQ(label(0, 14), once);
    press("Play");
    press("Rewind");
    EXPECT_EQ(label(0, 14), none) << "a jump by hand starts a new pass";
}

TEST_F(CueRowTest, AJumpToTheCueBehindShowsTheSectionAsDone) {
    const QImage none = label(0, 14);
    press("Next cue");
    EXPECT_EQ(show().frame(), 100);
    EXPECT_NE(label(0, 14), none);
    show().receive("/marvo/cued/resetcuestates", 1);
    frame();
    EXPECT_EQ(label(0, 14), none);
}

TEST_F(CueRowTest, CuesThatAreOffAreFaintWhoeverSwitchedThemOff) {
    EXPECT_EQ(inkOf(100), Look::current().text);
    press("Cues on");
    EXPECT_EQ(inkOf(100), Look::current().faintText);
    press("Cues on");
    EXPECT_EQ(inkOf(100), Look::current().text);
    show().receive("/marvo/cued/cueon", 0);
    frame();
    EXPECT_EQ(inkOf(100), Look::current().faintText);
    EXPECT_FALSE(composition().cueControls.enableButton.state());
    press("Play");
    play(7'500);
    EXPECT_GT(show().frame(), 200) << "neither the loop nor the pause";
}

TEST_F(CueRowTest, StepsEndAtTheFirstAndAtTheLastCue) {
    for (int i = 0; i < 5; ++i) press("Next cue");
    EXPECT_EQ(show().frame(), 200);
    composition().transport.markerDraggedToTime(Frame(400));
    press("Next cue");
    EXPECT_EQ(show().frame(), 200) << "from behind it, too";
    for (int i = 0; i < 5; ++i) press("Previous cue");
    EXPECT_EQ(show().frame(), 0);
}

TEST_F(CueRowTest, APauseCueStopsThereAndPlayGoesOnBehindIt) {
    composition().transport.markerDraggedToTime(Frame(150));
    press("Play");
    play(3'000);
    EXPECT_FALSE(composition().isRunning());
    EXPECT_EQ(show().frame(), 200);
    press("Play");
    play(1'000);
    EXPECT_TRUE(composition().isRunning());
    EXPECT_GT(show().frame(), 220);
}

TEST_F(CueRowTest, TheNameThatIsTypedStandsInTheRow) {
    doubleClick(cues(), onCue(100));
    frame();
    auto* popover = dialog<CuePopover>();
    ASSERT_TRUE(popover);
    const QImage before = label(100);
    auto* name = qobject_cast<QLineEdit*>(QApplication::focusWidget());
    ASSERT_TRUE(name);
    type(*name, "Storm <$>");
    QTest::keyClick(name, Qt::Key_Return);
    popover->close();
    frame();
    EXPECT_TRUE(tip(100).startsWith("Storm 2"));
    EXPECT_NE(label(100), before);
}

TEST_F(CueRowTest, AFieldOfSeveralTimesIsOneMoreThanTheJumpsBack) {
    doubleClick(cues(), onCue(0));
    frame();
    auto* popover = dialog<CuePopover>();
    ASSERT_TRUE(popover);
    QLineEdit* times = nullptr;
    for (QLineEdit* field : popover->findChildren<QLineEdit*>()) {
        if (field->accessibleName() == "How often the section plays") times = field;
    }
    ASSERT_TRUE(times);
    EXPECT_EQ(times->text(), "2");
    const QImage before = label(0, 14);
    type(*times, "4");
    QTest::keyClick(times, Qt::Key_Return);
    popover->close();
    frame();
    EXPECT_NE(label(0, 14), before) << "0/3 in place of 0/1";
    composition().cueController.cues().forEach([](const MarvoCue& cue) {
        if (cue.time == Frame(0)) {
            EXPECT_EQ(cue.loopNumberInfo(), "0/3");
        }
    });
}

TEST_F(CueRowTest, WhatIsTypedIntoACueIsKeptWhenARemoteSelectsAnotherComposition) {
    application().compositions.createComposition();
    application().compositions.selectCompositionAtIndex(0);
    frame();
    doubleClick(cues(), onCue(0));
    frame();
    auto* popover = dialog<CuePopover>();
    ASSERT_TRUE(popover);
    type(popover->count(), "4");
    type(popover->name(), "Storm");
    application().compositions.selectCompositionAtIndex(1);
    frame();
    EXPECT_FALSE(dialog<CuePopover>());
    application().compositions.selectCompositionAtIndex(0);
    frame();
    EXPECT_TRUE(tip(0).startsWith("Storm"));
    EXPECT_EQ(composition().cueController.cues().cueAtTime(Frame(0))->loopNumberInfo(), "0/3");
}

TEST_F(CueRowTest, TheNumberOfACueIsThatOfItsPlaceAlsoWhenOthersAreOutOfSight) {
    zoomIn(4);
    surface().scrollTo(SurfaceArea::lanes, {surface().laneWidth() * 195.0 / 600.0, 0.0});
    frame();
    ASSERT_LT(laneX(100), -400);
    const QImage numbered = label(200);
    composition().cueController.cues().cueAtTime(Frame(200))->cueName = "Cue3";
    cues().contentChanged();
    EXPECT_EQ(label(200), numbered);
    composition().cueController.cues().cueAtTime(Frame(200))->cueName = "Cue1";
    cues().contentChanged();
    EXPECT_NE(label(200), numbered);
}
