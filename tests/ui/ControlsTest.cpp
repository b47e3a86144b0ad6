// Controls that are driven from outside or learn, where a user sees it.
#include "ui/TempoField.h"

#include "Stage.h"

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

struct ControlsTest : ::testing::Test, Stage {
    ControlsTest() {
        load();
        application().compositions.selectCompositionAtIndex(0);
        frame();
    }

    TempoField& tempo() { return child<TempoField>("Tempo"); }
    void send(std::uint8_t status, std::uint8_t number, std::uint8_t amount) {
        show().receiveMIDI({MIDIMessage{status, 0, number, amount}});
        frame();
    }
    void learn(const char* name, std::uint8_t status, std::uint8_t number) {
        choose("MIDI Learn");
        press(name);
        send(status, number, 127);
        choose("MIDI Learn");
    }
    bool loops() { return composition().controls.loopButton.state(); }
};

} // namespace

TEST_F(ControlsTest, ALearnedControllerActsOnItsReleaseAlone) {
    const bool before = loops();
    learn("Loop", MIDIMessage::controlChange, 20);
    send(MIDIMessage::controlChange, 20, 127);
    send(MIDIMessage::controlChange, 20, 1);
    EXPECT_EQ(loops(), before);
    send(MIDIMessage::controlChange, 20, 0);
    EXPECT_NE(loops(), before);
}

TEST_F(ControlsTest, ALearnedNoteActsAtAnyVelocity) {
    const bool before = loops();
    learn("Loop", MIDIMessage::noteOn, 60);
    send(MIDIMessage::noteOn, 60, 100);
    EXPECT_NE(loops(), before);
    send(MIDIMessage::noteOn, 60, 0);
    EXPECT_EQ(loops(), before);
}

TEST_F(ControlsTest, WhileLearningNothingThatIsAssignedReacts) {
    learn("Loop", MIDIMessage::noteOn, 60);
    const bool before = loops();
    choose("MIDI Learn");
    send(MIDIMessage::noteOn, 60, 100);
    EXPECT_EQ(loops(), before);
    press("Record");
    send(MIDIMessage::noteOn, 61, 100);
    send(MIDIMessage::noteOn, 62, 100); // the last one counts
    send(MIDIMessage::noteOn, 62, 100);
    EXPECT_FALSE(composition().controls.recButton.state());
    choose("MIDI Learn");
    send(MIDIMessage::noteOn, 60, 100);
    EXPECT_NE(loops(), before);
    send(MIDIMessage::noteOn, 61, 100);
    EXPECT_FALSE(composition().controls.recButton.state());
    send(MIDIMessage::noteOn, 62, 100);
    EXPECT_TRUE(composition().controls.recButton.state());
}

TEST_F(ControlsTest, TwoControlsOfOneNoteBothReact) {
    const bool before = loops();
    learn("Loop", MIDIMessage::noteOn, 60);
    learn("Composition on", MIDIMessage::noteOn, 60);
    send(MIDIMessage::noteOn, 60, 100);
    EXPECT_NE(loops(), before);
    EXPECT_FALSE(composition().state.compState);
}

TEST_F(ControlsTest, DeleteInTheTimelineForgetsTheAssignmentOfTheTargetAlone) {
    learn("Loop", MIDIMessage::noteOn, 60);
    learn("Record", MIDIMessage::noteOn, 61);
    lanes().setFocus();
    key(Qt::Key_Delete);
    EXPECT_EQ(composition().controls.recButton.midiControl(), 61) << "nothing is a target";
    choose("MIDI Learn");
    press("Record");
    lanes().setFocus();
    key(Qt::Key_Delete);
    EXPECT_EQ(composition().controls.recButton.midiControl(), -1);
    EXPECT_EQ(composition().controls.loopButton.midiControl(), 60);
    choose("MIDI Learn");
    send(MIDIMessage::noteOn, 61, 100);
    EXPECT_FALSE(composition().controls.recButton.state());
}

TEST_F(ControlsTest, ARemoteToggleGoesOnByAnyNumberFromOneUp) {
    const std::string address = "/marvo/sunrise/loop";
    show().receive(address, 0);
    frame();
    EXPECT_FALSE(loops());
    const QImage off = button("Loop").grab().toImage();
    show().receive(address, 5);
    frame();
    EXPECT_TRUE(loops());
    EXPECT_NE(button("Loop").grab().toImage(), off);
    show().receive(address, 1);
    EXPECT_TRUE(loops());
    show().receive(address, 0);
    frame();
    EXPECT_EQ(button("Loop").grab().toImage(), off);
}

TEST_F(ControlsTest, ALearnedTempoGoesFromOneToTheHighest) {
    choose("MIDI Learn");
    click(tempo());
    send(MIDIMessage::controlChange, 9, 64);
    choose("MIDI Learn");
    send(MIDIMessage::controlChange, 9, 0);
    EXPECT_FLOAT_EQ(composition().state.compBPM, 1.0f);
    send(MIDIMessage::controlChange, 9, 127);
    EXPECT_FLOAT_EQ(composition().state.compBPM, 720.0f);
    EXPECT_EQ(composition().controls.compSpeed.title(), "720");
    drag(tempo(), QPoint(60, 10), QPoint(-tempo().mapToGlobal(QPoint(0, 0)).x(), 10));
    EXPECT_FLOAT_EQ(composition().state.compBPM, 0.0f) << "the pointer reaches what a controller does not";
}

TEST_F(ControlsTest, TheTempoIsHeldByAClosedHandAsLongAsItIsDragged) {
    EXPECT_EQ(tempo().cursor().shape(), Qt::ArrowCursor);
    QTest::mousePress(&tempo(), Qt::LeftButton, {}, QPoint(20, 10));
    QMouseEvent move(QEvent::MouseMove, QPointF(30, 10), tempo().mapToGlobal(QPointF(30, 10)), Qt::NoButton,
                     Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&tempo(), &move);
    EXPECT_EQ(tempo().cursor().shape(), Qt::ClosedHandCursor);
    QTest::mouseRelease(&tempo(), Qt::LeftButton, {}, QPoint(30, 10));
    EXPECT_EQ(tempo().cursor().shape(), Qt::ArrowCursor);
}

TEST_F(ControlsTest, WhileAddressesAreShownTheTempoIsNeitherDraggedNorTyped) {
    choose("Show OSC Addresses");
    drag(tempo(), QPoint(20, 10), QPoint(60, 10));
    doubleClick(tempo(), QPoint(20, 10));
    EXPECT_FALSE(editor());
    EXPECT_FLOAT_EQ(composition().state.compBPM, 120.0f);
    EXPECT_EQ(information(), "/marvo/sunrise/compbpm (float 0-999)");
}

TEST_F(ControlsTest, AnAddressThatIsShownFollowsTheNameOfItsComposition) {
    ASSERT_TRUE(application().compositions.renameSelectedComposition(
        QStringLiteral("\u00c9t\u00e9 / 1").toStdString()));
    frame();
    choose("Show OSC Addresses");
    press("Play");
    EXPECT_EQ(information(), "/marvo/ete/1/play (integer 0-1)");
    press("Add track");
    EXPECT_FALSE(openMenu());
    EXPECT_EQ(information(), "/marvo/ete/1/addtrack (integer 0-6)");
}

TEST_F(ControlsTest, AFrameFieldTakesNoMoreThanASecondOfFrames) {
    QWidget& playhead = child<QWidget>("Playhead");
    const auto typeFrames = [&](const char* text) {
        const int wide = (playhead.width() - 12) / 4;
        QTest::mouseClick(&playhead, Qt::LeftButton, {}, QPoint(6 + 3 * wide + 5, playhead.height() / 2));
        ASSERT_TRUE(editor());
        type(*editor(), text);
        key(Qt::Key_Return);
    };
    typeFrames("29");
    EXPECT_EQ(show().frame(), 29);
    typeFrames("75");
    EXPECT_EQ(show().frame(), 30);
}
