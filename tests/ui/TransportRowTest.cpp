// The controls of the composition that is shown: transport, playhead, tempo; and the two modes in which a
// click on a control does not act.
#include "ui/PlayheadFields.h"
#include "ui/TempoField.h"

#include "Stage.h"

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

struct TransportRowTest : ::testing::Test, Stage {
    TransportRowTest() {
        load();
        clickRow(0, CompositionsModel::nameColumn);
    }

    PlayheadFields& playhead() { return child<PlayheadFields>("Playhead"); }
    TempoField& tempo() { return child<TempoField>("Tempo"); }
    // Opens one of the four fields of the playhead, from the left.
    QLineEdit& field(int which) {
        const int wide = (playhead().width() - 12) / 4;
        QTest::mouseClick(&playhead(), Qt::LeftButton, {},
                          QPoint(6 + wide * which + wide / 3, playhead().height() / 2));
        EXPECT_TRUE(editor());
        return *editor();
    }
    QLineEdit& typeTempo() {
        doubleClick(tempo(), QPoint(20, 10));
        EXPECT_TRUE(editor());
        return *editor();
    }
    // Where learn mode and the like paint: the frame and the ground of a control.
    QImage picture(const char* name) { return button(name).grab().toImage(); }
};

} // namespace

TEST_F(TransportRowTest, PlayAndRewindMoveThePlayhead) {
    press("Play");
    play(1'000);
    EXPECT_TRUE(composition().isRunning());
    EXPECT_NEAR(static_cast<double>(show().frame()), 30.0, 1.0);
    press("Play");
    EXPECT_FALSE(composition().isRunning());
    press("Rewind");
    EXPECT_EQ(show().frame(), 0);
}

TEST_F(TransportRowTest, TheSwitchesOfACompositionSwitch) {
    const bool looped = composition().controls.loopButton.state();
    press("Loop");
    EXPECT_NE(composition().controls.loopButton.state(), looped);
    press("Composition on");
    EXPECT_FALSE(composition().state.compState);
    press("Composition on");
    EXPECT_TRUE(composition().state.compState);
    press("Record");
    EXPECT_TRUE(composition().controls.recButton.state());
    press("Record");
    EXPECT_FALSE(composition().controls.recButton.state());
    const bool cues = composition().cueController.isEnabled();
    press("Cues on");
    EXPECT_NE(composition().cueController.isEnabled(), cues);
}

TEST_F(TransportRowTest, WhatIsSwitchedFromOutsideIsSeen) {
    const QImage before = picture("Loop");
    composition().controls.loopButton.setState(!composition().controls.loopButton.state());
    frame();
    EXPECT_NE(picture("Loop"), before);
}

TEST_F(TransportRowTest, ThePlayheadStepsFromCueToCue) {
    press("Next cue");
    EXPECT_EQ(show().frame(), 20);
    press("Next cue");
    EXPECT_EQ(show().frame(), 45);
    press("Previous cue");
    EXPECT_EQ(show().frame(), 20);
}

TEST_F(TransportRowTest, TheAddTrackButtonOpensTheKindsOfTracks) {
    const std::size_t before = composition().tracks.count();
    press("Add track");
    pick("OSC Value");
    EXPECT_EQ(composition().tracks.count(), before + 1);
    choose("Lock Project");
    press("Add track");
    EXPECT_FALSE(openMenu());
}

TEST_F(TransportRowTest, TheMenuOfTheSwitchSolosTheComposition) {
    QTest::mouseClick(&button("Composition on"), Qt::LeftButton, Qt::ControlModifier);
    frame();
    pick("Solo");
    EXPECT_TRUE(composition(0).state.compState);
    EXPECT_FALSE(composition(1).state.compState);
}

// --- Playhead.

TEST_F(TransportRowTest, ATypedTimeMovesThePlayhead) {
    type(field(2), "7");
    key(Qt::Key_Return);
    EXPECT_EQ(show().frame(), 7 * 30);
    type(field(3), "12");
    key(Qt::Key_Return);
    EXPECT_EQ(show().frame(), 7 * 30 + 12);
    EXPECT_FALSE(editor());
}

TEST_F(TransportRowTest, WhileItRunsTheFramesAreAStarThatDoesNotFlicker) {
    const auto framesShown = [this] {
        frame();
        return playhead().grab().toImage().copy(6 + 3 * 38, 0, 38, playhead().height());
    };
    composition().controls.playButton.performClick();
    play(100);
    const QImage star = framesShown();
    play(200); // another frame of the same second
    EXPECT_EQ(framesShown(), star);
    composition().controls.playButton.performClick();
    EXPECT_NE(framesShown(), star);
}

TEST_F(TransportRowTest, ATimeBehindTheEndIsTheEnd) {
    type(field(1), "3");
    key(Qt::Key_Return);
    EXPECT_EQ(show().frame(), 20 * 30);
    type(field(0), "99999999999999999999");
    key(Qt::Key_Return);
    EXPECT_EQ(beeps, 1);
    EXPECT_EQ(show().frame(), 20 * 30);
}

TEST_F(TransportRowTest, SecondsMayBeTypedPastAMinute) {
    composition().settings.setNewCompTime(200.0f, 30, {}, {});
    frame();
    type(field(2), "75");
    key(Qt::Key_Return);
    EXPECT_EQ(show().frame(), 75 * 30);
}

TEST_F(TransportRowTest, WhatIsNoTimeBeepsAndIsTypedOn) {
    type(field(2), "soon");
    key(Qt::Key_Return);
    EXPECT_EQ(beeps, 1);
    ASSERT_TRUE(editor());
    EXPECT_EQ(editor()->selectedText(), "soon");
    type(*editor(), "4");
    key(Qt::Key_Return);
    EXPECT_EQ(show().frame(), 4 * 30);
}

TEST_F(TransportRowTest, AFieldThatIsEmptiedAndLeftMovesNothing) {
    type(field(2), "5");
    key(Qt::Key_Return);
    type(field(2), "");
    lanes().setFocus();
    frame();
    EXPECT_EQ(show().frame(), 150);
}

TEST_F(TransportRowTest, EscapeGivesATypedTimeUp) {
    type(field(2), "5");
    key(Qt::Key_Escape);
    EXPECT_FALSE(editor());
    EXPECT_EQ(show().frame(), 0);
}

TEST_F(TransportRowTest, TypingWhileTheShowPlaysKeepsTheOtherFieldsOfNow) {
    clickRow(1, CompositionsModel::nameColumn);
    press("Play");
    play(2'000);
    QLineEdit& frames = field(3);
    play(3'000);
    type(frames, "9");
    key(Qt::Key_Return);
    EXPECT_EQ(show().frame(1), 5 * 25 + 9);
}

TEST_F(TransportRowTest, AfterTypingTheKeyboardIsBackWhereItWas) {
    lanes().setFocus();
    type(field(2), "1");
    key(Qt::Key_Return);
    EXPECT_EQ(QApplication::focusWidget(), &lanes());
    key(Qt::Key_Space);
    EXPECT_TRUE(composition().isRunning());
}

// --- Tempo.

TEST_F(TransportRowTest, ATypedTempoIsTheTempo) {
    type(typeTempo(), "96");
    key(Qt::Key_Return);
    EXPECT_FLOAT_EQ(composition().state.compBPM, 96.0f);
    EXPECT_EQ(composition().controls.compSpeed.title(), "96");
    EXPECT_FALSE(composition().controls.compSpeed.isEnabled());
    type(typeTempo(), "60");
    key(Qt::Key_Escape);
    EXPECT_FLOAT_EQ(composition().state.compBPM, 96.0f);
}

TEST_F(TransportRowTest, DraggingTheTempoSidewaysRaisesAndLowersIt) {
    drag(tempo(), QPoint(20, 10), QPoint(60, 10));
    const float raised = composition().state.compBPM;
    EXPECT_GT(raised, 120.0f);
    EXPECT_LE(raised, 720.0f);
    drag(tempo(), QPoint(60, 10), QPoint(10, 10));
    EXPECT_LT(composition().state.compBPM, raised);
    EXPECT_GE(composition().state.compBPM, 0.0f);
}

TEST_F(TransportRowTest, ATempoFromOutsideIsShownAndCannotBeDragged) {
    composition().controls.compSpeed.setIgnored(true);
    drag(tempo(), QPoint(20, 10), QPoint(60, 10));
    doubleClick(tempo(), QPoint(20, 10));
    EXPECT_FALSE(editor());
    EXPECT_FLOAT_EQ(composition().state.compBPM, 120.0f);
    const QImage before = tempo().grab().toImage();
    composition().controls.compSpeed.setIsWaitingForClock(true);
    frame();
    EXPECT_NE(tempo().grab().toImage(), before);
}

// --- Learn mode and addresses.

TEST_F(TransportRowTest, InLearnModeAClickPicksTheControlAndDoesNotAct) {
    const QImage plain = picture("Rewind");
    choose("MIDI Learn");
    EXPECT_NE(picture("Rewind"), plain);
    const QImage hatched = picture("Rewind");
    press("Play");
    EXPECT_FALSE(composition().isRunning());
    EXPECT_TRUE(composition().controls.playButton.needsHighlight());
    press("Rewind");
    EXPECT_FALSE(composition().controls.playButton.needsHighlight());
    EXPECT_NE(picture("Rewind"), hatched);
}

TEST_F(TransportRowTest, TheMarksOfBothModesAreSeenOnWhatIsOnAndOnWhatIsOff) {
    const auto seen = [this](const char* name, const QImage& before) {
        const QImage now = picture(name);
        int strong = 0;
        for (int y = 0; y < now.height(); ++y) {
            for (int x = 0; x < now.width(); ++x)
                strong += std::abs(qGray(now.pixel(x, y)) - qGray(before.pixel(x, y))) > 40 ? 1 : 0;
        }
        return strong;
    };
    for (const bool on : {false, true}) {
        composition().controls.loopButton.setState(on);
        frame();
        const QImage plain = picture("Loop");
        for (const char* mode : {"MIDI Learn", "Show OSC Addresses"}) {
            choose(mode);
            EXPECT_GT(seen("Loop", plain), 30) << mode << (on ? " on" : " off");
            choose(mode);
        }
    }
}

TEST_F(TransportRowTest, AMessageInLearnModeIsAssignedAndActsAfterwards) {
    choose("MIDI Learn");
    press("Play");
    const QImage asked = picture("Play");
    show().receiveMIDI({MIDIMessage{MIDIMessage::noteOn, 0, 60, 100}});
    frame();
    EXPECT_NE(picture("Play"), asked);
    EXPECT_EQ(composition().controls.playButton.midiControl(), 60);
    EXPECT_FALSE(composition().isRunning());
    choose("MIDI Learn");
    show().receiveMIDI({MIDIMessage{MIDIMessage::noteOn, 0, 60, 100}});
    frame();
    EXPECT_TRUE(composition().isRunning());
}

TEST_F(TransportRowTest, DeleteTakesAnAssignmentBackInLearnMode) {
    choose("MIDI Learn");
    press("Play");
    show().receiveMIDI({MIDIMessage{MIDIMessage::noteOn, 0, 60, 100}});
    table().setFocus();
    key(Qt::Key_Delete);
    EXPECT_EQ(composition().controls.playButton.midiControl(), -1);
    EXPECT_EQ(application().compositions.count(), 2u);
}

TEST_F(TransportRowTest, InLearnModeTheTempoIsNeitherDraggedNorTyped) {
    choose("MIDI Learn");
    drag(tempo(), QPoint(20, 10), QPoint(60, 10));
    doubleClick(tempo(), QPoint(20, 10));
    EXPECT_FALSE(editor());
    EXPECT_FLOAT_EQ(composition().state.compBPM, 120.0f);
    EXPECT_TRUE(composition().controls.compSpeed.needsHighlight());
}

TEST_F(TransportRowTest, WhileAddressesAreShownAClickShowsTheAddress) {
    const QImage plain = picture("Play");
    choose("Show OSC Addresses");
    EXPECT_NE(picture("Play"), plain);
    EXPECT_EQ(information(), "Click on a button to get it's OSC address");
    press("Play");
    EXPECT_FALSE(composition().isRunning());
    EXPECT_TRUE(information().startsWith(
        QString::fromStdString(composition().controls.playButton.oscAddress() + " (")));
    EXPECT_TRUE(child<QLabel>("Information").textInteractionFlags() & Qt::TextSelectableByMouse);
    click(tempo());
    frame();
    EXPECT_TRUE(information().contains("compbpm"));
    choose("Show OSC Addresses");
    EXPECT_TRUE(information().startsWith("Sunrise - "));
    press("Play");
    EXPECT_TRUE(composition().isRunning());
}

TEST_F(TransportRowTest, TheMasterControlsShowTheirAddressesToo) {
    choose("Show OSC Addresses");
    press("Play all");
    EXPECT_TRUE(information().startsWith("/marvo/"));
    EXPECT_FALSE(composition().isRunning());
    EXPECT_TRUE(application().master.togglePlayAllButton.needsHighlight());
    press("Solo mode");
    EXPECT_FALSE(application().master.togglePlayAllButton.needsHighlight());
}
