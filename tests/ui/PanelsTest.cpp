// The range panel, the cue popover, the add-track menu, and where windows stand.
#include "ui/AddTrackMenu.h"
#include "ui/CuePopover.h"
#include "ui/RangePanel.h"
#include "ui/WindowPlaces.h"

#include "Commands.h"
#include "Windows.h"

#include <QMenu>

#include <fstream>

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

struct RangePanelTest : ::testing::Test, Commands {
    RangePanelTest() { showAndWait(panel); }
    static std::string textOf(const std::array<QLabel*, 4>& labels) {
        std::string text;
        for (const QLabel* label : labels) text += label->text().toStdString() + " ";
        return text;
    }
    // Two cues, at 10 and at 20 frames; those that are selected.
    void addCues() {
        application().services().compQueue.sync([&] {
            for (const int frame : {10, 20}) show.composition().cueController.addNewCueAtTime(Frame(frame));
            show.composition().cueController.deselectCues();
        });
    }
    std::vector<std::int64_t> selected() {
        std::vector<std::int64_t> times;
        show.composition().cueController.cues().forEach([&](const MarvoCue& cue) {
            if (cue.selected) times.push_back(cue.time.value);
        });
        return times;
    }
    RangePanel panel{application(), nullptr};
};

struct CuePopoverTest : ::testing::Test, Commands {
    CuePopoverTest() {
        application().newProject();
        for (const int frame : {0, 100, 200}) addCue(frame);
        edits.emplace(composition().cueController, composition());
        popover = std::make_unique<CuePopover>(application(), composition(), *edits, nullptr);
    }
    ~CuePopoverTest() override { application().undo.removeAllActions(); }

    MarvoTimelineController& composition() { return show.composition(); }
    void addCue(int frame) {
        locked([&] { composition().cueController.addNewCueAtTime(Frame(frame)); });
    }
    template <class Work>
    void locked(Work work) {
        application().services().compQueue.sync(work);
    }
    const MarvoCue& cue(std::size_t index) { return *composition().cueController.cues().cueAtIndex(index); }
    void open(std::size_t index) {
        locked([&] {
            composition().cueController.selectOnly(cue(index).id);
            composition().cueController.setActiveCue(cue(index).id);
            composition().cueController.setLastClickedCue(cue(index).id);
        });
        popover->showNumberOfLoopsPopoverForActiveCue({300, 300});
        ASSERT_TRUE(QTest::qWaitForWindowExposed(popover.get()));
    }
    void choose(QComboBox& popup, int index) {
        popup.setFocus();
        popup.setCurrentIndex(index);
        emit popup.activated(index);
    }
    std::optional<CueEdits> edits;
    std::unique_ptr<CuePopover> popover;
};

struct AddTrackMenuTest : ::testing::Test, Commands {};

struct WindowPlacesTest : ::testing::Test, Commands {
    std::string folder() { return show.file("places"); }
};

} // namespace

// --- Range panel.

TEST_F(RangePanelTest, WithoutACompositionEveryButtonBeeps) {
    click(panel.startButton());
    click(panel.endButton());
    click(panel.selectButton());
    EXPECT_EQ(beeps, 3);
    panel.follow();
    EXPECT_EQ(beeps, 3);
    EXPECT_EQ(textOf(panel.startDisplays()), "0 0 0 0 ");
}

TEST_F(RangePanelTest, TheTimesComeFromThePlayheadAndStandInFourFields) {
    application().newProject();
    CompositionState& state = show.composition().state;
    state.currentTime = Frame(95);
    click(panel.startButton());
    state.currentTime = Frame((3600 + 2 * 60 + 3) * 30 + 4);
    click(panel.endButton());
    EXPECT_EQ(state.rangeSelectStart.get(), Frame(95));
    EXPECT_EQ(textOf(panel.startDisplays()), "0 0 3 5 ");
    EXPECT_EQ(textOf(panel.endDisplays()), "1 2 3 4 ");
    EXPECT_EQ(beeps, 0);
    keepPicture(panel, QStringLiteral("range-panel"));
}

TEST_F(RangePanelTest, SelectBeepsUnlessTheEndIsAfterTheStart) {
    application().newProject();
    addCues();
    CompositionState& state = show.composition().state;
    state.rangeSelectStart = Frame(10);
    state.rangeSelectEnd = Frame(10);
    click(panel.selectButton());
    EXPECT_EQ(beeps, 1);
    EXPECT_TRUE(selected().empty());
    state.rangeSelectEnd = Frame(11);
    click(panel.selectButton());
    EXPECT_EQ(beeps, 1);
    EXPECT_EQ(selected(), std::vector<std::int64_t>{10});
}

TEST_F(RangePanelTest, EachCompositionHasItsOwnRange) {
    application().newProject();
    show.composition().state.rangeSelectStart = Frame(30);
    application().compositions.createComposition();
    panel.follow();
    EXPECT_EQ(textOf(panel.startDisplays()), "0 0 0 0 ");
    application().compositions.selectCompositionAtIndex(0);
    panel.follow();
    EXPECT_EQ(textOf(panel.startDisplays()), "0 0 1 0 ");
}

TEST_F(RangePanelTest, ItFloatsAndLeavesTheKeyboardWhereItIs) {
    EXPECT_TRUE(panel.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    EXPECT_TRUE(panel.testAttribute(Qt::WA_ShowWithoutActivating));
    EXPECT_EQ(panel.startButton().focusPolicy(), Qt::NoFocus);
}

// --- Cue popover.

TEST_F(CuePopoverTest, ItShowsTheCueAndHowOftenItsSectionPlays) {
    locked([&] {
        edits->undoChangeCueToTypeToRepeat(1, CueType::passes, CueRepeat::counted);
        edits->undoChangeCueToLoopNumberNeeded(1, 3);
    });
    open(1);
    EXPECT_EQ(popover->name().text(), "Cue<$>");
    EXPECT_EQ(popover->type().currentData().toInt(), 0);
    EXPECT_EQ(popover->repeat().currentData().toInt(), 1);
    EXPECT_EQ(popover->count().text(), "4");
    EXPECT_TRUE(popover->count().isEnabled());
    keepPicture(*popover, QStringLiteral("cue-popover"));
}

TEST_F(CuePopoverTest, TheCountRestsUnlessTheSectionPlaysSeveralTimes) {
    open(0);
    EXPECT_FALSE(popover->count().isEnabled());
    EXPECT_FALSE(popover->more().isEnabled());
    choose(popover->repeat(), 1);
    EXPECT_TRUE(popover->count().isEnabled());
    choose(popover->repeat(), 2);
    EXPECT_FALSE(popover->count().isEnabled());
    EXPECT_EQ(cue(0).repeat, CueRepeat::forEver);
    EXPECT_EQ(application().undo.undoActionName(), "Change Cue Type");
}

TEST_F(CuePopoverTest, TheCountIsOneMoreThanTheJumpsBack) {
    open(0);
    choose(popover->repeat(), 1);
    EXPECT_EQ(popover->count().text(), "2");
    click(popover->more());
    EXPECT_EQ(cue(0).numberOfLoopsNeeded, 2u);
    EXPECT_EQ(popover->count().text(), "3");
    type(popover->count(), "10");
    QTest::keyClick(&popover->count(), Qt::Key_Return);
    EXPECT_EQ(cue(0).numberOfLoopsNeeded, 9u);
    click(popover->less());
    EXPECT_EQ(cue(0).numberOfLoopsNeeded, 8u);
    type(popover->count(), "many");
    QTest::keyClick(&popover->count(), Qt::Key_Return);
    EXPECT_EQ(beeps, 1);
    EXPECT_EQ(popover->count().text(), "9");
    EXPECT_EQ(cue(0).numberOfLoopsNeeded, 8u);
}

TEST_F(CuePopoverTest, ANameIsTakenOnReturnAndANameInUseBeepsAndIsSelected) {
    open(0);
    type(popover->name(), "Intro");
    QTest::keyClick(&popover->name(), Qt::Key_Return);
    EXPECT_EQ(cue(0).cueName, "Intro");
    EXPECT_EQ(application().undo.undoActionName(), "Change Cue Name");
    EXPECT_TRUE(popover->isVisible());
    type(popover->name(), "Cue2");
    QTest::keyClick(&popover->name(), Qt::Key_Return);
    EXPECT_EQ(beeps, 1);
    EXPECT_EQ(cue(0).cueName, "Intro");
    EXPECT_EQ(popover->name().selectedText(), "Cue2");
    type(popover->name(), "Part <$>");
    QTest::keyClick(&popover->name(), Qt::Key_Return);
    EXPECT_EQ(cue(0).cueName, "Part <$>");
    EXPECT_EQ(beeps, 1);
}

TEST_F(CuePopoverTest, ClosingTakesANameThatWasTypedAndForgetsTheClickedCue) {
    open(1);
    type(popover->name(), "Bridge");
    popover->close();
    EXPECT_EQ(cue(1).cueName, "Bridge");
    EXPECT_EQ(composition().cueController.lastClickedCue(), nullptr);
    EXPECT_EQ(popover->count().text(), "1");
}

TEST_F(CuePopoverTest, EscapeGivesUpWhatWasTyped) {
    open(1);
    type(popover->name(), "Bridge");
    QTest::keyClick(&popover->name(), Qt::Key_Escape);
    EXPECT_FALSE(popover->isVisible());
    EXPECT_EQ(cue(1).cueName, "Cue<$>");
    EXPECT_EQ(beeps, 0);
}

TEST_F(CuePopoverTest, AnUndoShowsAndARemovedCueCloses) {
    open(1);
    choose(popover->type(), 0);
    EXPECT_EQ(cue(1).type, CueType::passes);
    locked([&] { edits->undoChangeCueToTypeToRepeat(1, CueType::pauses, CueRepeat::counted); });
    popover->follow();
    EXPECT_EQ(popover->type().currentData().toInt(), 1);
    EXPECT_TRUE(popover->count().isEnabled());
    locked([&] { composition().cueController.undoRemoveCueAtIndex(1); });
    popover->follow();
    EXPECT_FALSE(popover->isVisible());
}

TEST_F(CuePopoverTest, WhileCuesAreLockedNothingInItCanBeChanged) {
    locked([&] { composition().cueController.setLocked(true); });
    open(0);
    EXPECT_FALSE(popover->name().isEnabled());
    EXPECT_FALSE(popover->type().isEnabled());
}

TEST_F(CuePopoverTest, ItStaysOnTheScreen) {
    locked([&] { composition().cueController.setActiveCue(cue(0).id); });
    popover->showNumberOfLoopsPopoverForActiveCue({5, 100000});
    const QRect room = popover->screen()->availableGeometry();
    EXPECT_EQ(popover->geometry() & room, popover->geometry());
}

TEST_F(CuePopoverTest, WithoutAnActiveCueNothingOpens) {
    locked([&] { composition().cueController.setActiveCue({}); });
    popover->showNumberOfLoopsPopoverForActiveCue({300, 300});
    EXPECT_FALSE(popover->isVisible());
}

// --- Add-track menu.

TEST_F(AddTrackMenuTest, ItOffersEveryKindInItsOrderAndAddsTheOneChosen) {
    application().newProject();
    const auto menu = makeAddTrackMenu(application(), nullptr);
    ASSERT_TRUE(menu);
    QStringList titles;
    for (const QAction* action : menu->actions()) titles << action->text();
    EXPECT_EQ(titles, (QStringList{"MIDI CC", "MIDI Notes", "OSC Value", "OSC Flag", "OSC Color",
                                   "Art-Net Value", "Art-Net Color"}));
    showAndWait(*menu);
    keepPicture(*menu, QStringLiteral("add-track-menu"));
    for (QAction* action : menu->actions()) action->trigger();
    std::vector<std::string> added;
    for (const auto& track : show.composition().tracks.all()) added.push_back(track->trackType());
    EXPECT_EQ(added, (std::vector<std::string>{"MidiCCValue", "MidiNotes", "OSCValue", "OSCFlag", "OSCColor",
                                               "ArtNetValue", "ArtNetColor"}));
}

TEST_F(AddTrackMenuTest, ALockedProjectAndAnEmptyOneShowNoMenu) {
    EXPECT_FALSE(makeAddTrackMenu(application(), nullptr));
    application().newProject();
    application().lockProject();
    EXPECT_FALSE(makeAddTrackMenu(application(), nullptr));
}

TEST_F(AddTrackMenuTest, AProjectLockedWhileTheMenuStandsAddsNothing) {
    application().newProject();
    const auto menu = makeAddTrackMenu(application(), nullptr);
    application().lockProject();
    menu->actions().first()->trigger();
    EXPECT_EQ(show.composition().tracks.count(), 0u);
}

// --- Where windows stand.

TEST_F(WindowPlacesTest, AWindowComesBackWhereItWas) {
    {
        WindowPlaces places(folder());
        QWidget window;
        places.follow(window, "main");
        window.setGeometry(120, 90, 510, 330);
        showAndWait(window);
        window.hide();
    }
    WindowPlaces places(folder());
    QWidget window;
    places.follow(window, "main");
    EXPECT_EQ(window.geometry(), QRect(120, 90, 510, 330));
    QWidget other;
    const QRect before = other.geometry();
    places.follow(other, "never seen");
    EXPECT_EQ(other.geometry(), before);
}

TEST_F(WindowPlacesTest, WhatStandsOpenIsSavedToo) {
    QWidget window;
    {
        WindowPlaces places(folder());
        places.follow(window, "main");
        window.setGeometry(60, 70, 400, 300);
        showAndWait(window);
        EXPECT_EQ(places.save(), "");
    }
    WindowPlaces places(folder());
    QWidget again;
    places.follow(again, "main");
    EXPECT_EQ(again.geometry(), QRect(60, 70, 400, 300));
}

TEST_F(WindowPlacesTest, APlaceOnAScreenThatIsGoneIsBroughtBack) {
    {
        WindowPlaces places(folder());
        QWidget window;
        places.follow(window, "main");
        window.setGeometry(9000, 9000, 400, 300);
        showAndWait(window);
        window.hide();
    }
    WindowPlaces places(folder());
    QWidget window;
    places.follow(window, "main");
    EXPECT_TRUE(window.screen()->availableGeometry().intersects(window.geometry()));
}

TEST_F(WindowPlacesTest, ADamagedFileIsNoHindrance) {
    std::filesystem::create_directories(folder());
    std::ofstream(folder() + "/windows.plist") << "<plist><dict><key>main</key><data>####";
    WindowPlaces places(folder());
    QWidget window;
    places.follow(window, "main");
    showAndWait(window);
    EXPECT_EQ(places.save(), "");
}
