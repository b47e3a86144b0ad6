// The settings and the sort dialog of a composition.
#include "ui/CompositionSettingsDialog.h"
#include "ui/Look.h"
#include "ui/SortTracksDialog.h"

#include "Commands.h"
#include "Windows.h"

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

struct SettingsDialogTest : ::testing::Test, Commands {
    SettingsDialogTest() {
        application().newProject();
        show.composition().state.compTime = 3725.5f;
        show.main.pump();
        application().projectIsSaved();
        application().displayProjectName();
    }
    std::unique_ptr<CompositionSettingsDialog> open() {
        auto dialog =
            std::make_unique<CompositionSettingsDialog>(application(), person, show.composition(), nullptr);
        showAndWait(*dialog);
        return dialog;
    }
    float seconds() { return show.composition().state.compTime; }
    std::int64_t fps() { return show.composition().compFPS(); }
};

struct SortDialogTest : ::testing::Test, Commands {
    SortDialogTest() {
        application().newProject();
        for (const char* trackType : {"OSCValue", "MidiCCValue", "ArtNetValue"})
            show.composition().tracks.createTrackOfTpye(trackType);
    }
    std::string order() {
        std::string result;
        for (std::int64_t position = 0; position < 3; ++position)
            result += show.composition().tracks.trackAtPosition(position)->trackType() + " ";
        return result;
    }
};

} // namespace

TEST_F(SettingsDialogTest, TheLengthStandsInHoursMinutesSecondsAndFrames) {
    auto dialog = open();
    EXPECT_EQ(dialog->length().hours().text(), "1");
    EXPECT_EQ(dialog->length().minutes().text(), "2");
    EXPECT_EQ(dialog->length().seconds().text(), "5");
    EXPECT_EQ(dialog->length().frames().text(), "15");
    EXPECT_EQ(dialog->fps().text(), "30");
    keepPicture(*dialog, QStringLiteral("composition-settings"));
}

TEST_F(SettingsDialogTest, ItIsReadableInDaylightToo) {
    applyLook(*qApp, Variant::light);
    {
        auto dialog = open();
        keepPicture(*dialog, QStringLiteral("composition-settings-light"));
        EXPECT_EQ(drawn(*dialog, 1).pixelColor(2, 2), Look::light().window);
    }
    applyLook(*qApp, Variant::dark);
}

TEST_F(SettingsDialogTest, ANewLengthAndRateAreTakenInOneStepThatUndoTakesBack) {
    auto dialog = open();
    type(dialog->length().hours(), "0");
    type(dialog->length().minutes(), "1");
    type(dialog->length().seconds(), "30");
    type(dialog->length().frames(), "0");
    type(dialog->fps(), "60");
    click(dialog->okButton());
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_EQ(seconds(), 90.0f);
    EXPECT_EQ(fps(), 60);
    EXPECT_EQ(application().undo.undoActionName(), "Change Composition Preferences");
    EXPECT_TRUE(titleHasAsterisk());
    application().undo.undo();
    EXPECT_EQ(seconds(), 3725.5f);
    EXPECT_EQ(fps(), 30);
}

TEST_F(SettingsDialogTest, ConfirmingWithoutAChangeClosesAndChangesNothing) {
    auto dialog = open();
    click(dialog->okButton());
    show.main.pump();
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_EQ(seconds(), 3725.5f);
    EXPECT_FALSE(application().undo.canUndo());
    EXPECT_FALSE(titleHasAsterisk());
}

TEST_F(SettingsDialogTest, WhatCannotBeBeepsAndTheDialogStays) {
    const std::vector<std::function<void(CompositionSettingsDialog&)>> mistakes{
        [](auto& dialog) { type(dialog.fps(), "0"); },
        [](auto& dialog) { type(dialog.fps(), "-25"); },
        [](auto& dialog) { type(dialog.fps(), "ten"); },
        [](auto& dialog) { type(dialog.length().seconds(), "-1"); },
        [](auto& dialog) { type(dialog.startTime().frames(), "-1"); },
        [](auto& dialog) { type(dialog.length().hours(), "1.5"); },
        [](auto& dialog) {
            type(dialog.length().hours(), "0");
            type(dialog.length().minutes(), "");
            type(dialog.length().seconds(), "0");
            type(dialog.length().frames(), "0");
        }};
    for (std::size_t i = 0; i < mistakes.size(); ++i) {
        auto dialog = open();
        mistakes[i](*dialog);
        beeps = 0;
        click(dialog->okButton());
        EXPECT_EQ(beeps, 1) << "mistake " << i;
        EXPECT_TRUE(dialog->isVisible()) << "mistake " << i;
        EXPECT_EQ(seconds(), 3725.5f);
        EXPECT_EQ(fps(), 30);
    }
}

TEST_F(SettingsDialogTest, CancelAndEscapeChangeNothing) {
    auto dialog = open();
    type(dialog->fps(), "60");
    click(dialog->cancelButton());
    EXPECT_FALSE(dialog->isVisible());
    auto other = open();
    type(other->fps(), "60");
    QTest::keyClick(other.get(), Qt::Key_Escape);
    EXPECT_FALSE(other->isVisible());
    EXPECT_EQ(fps(), 30);
}

TEST_F(SettingsDialogTest, TheArrowKeysCountWithinTheRange) {
    auto dialog = open();
    NumberField& frames = dialog->startTime().frames();
    dialog->rate().setCurrentIndex(0);
    type(frames, "22");
    for (int i = 0; i < 4; ++i) QTest::keyClick(&frames, Qt::Key_Up);
    EXPECT_EQ(frames.text(), "23") << "24 frames a second end at 23";
    type(frames, "1");
    for (int i = 0; i < 4; ++i) QTest::keyClick(&frames, Qt::Key_Down);
    EXPECT_EQ(frames.text(), "0");
}

TEST_F(SettingsDialogTest, ASlowerTimeCodeRateLowersTheFramesOfTheStartTime) {
    auto dialog = open();
    EXPECT_EQ(dialog->rate().currentIndex(), 2) << "30 frames a second at first";
    type(dialog->startTime().frames(), "29");
    dialog->rate().setCurrentIndex(1);
    EXPECT_EQ(dialog->startTime().frames().text(), "24");
    dialog->rate().setCurrentIndex(0);
    EXPECT_EQ(dialog->startTime().frames().text(), "23");
}

TEST_F(SettingsDialogTest, TheSyncFieldsComeBackAsTheyWereEntered) {
    {
        auto dialog = open();
        dialog->rate().setCurrentIndex(1);
        type(dialog->startTime().hours(), "10");
        type(dialog->startTime().seconds(), "3");
        type(dialog->startTime().frames(), "7");
        click(dialog->okButton());
    }
    EXPECT_DOUBLE_EQ(show.composition().sync.mtcOutStartTime, 36003.28);
    EXPECT_EQ(show.composition().sync.mtcOutFPS, "01");
    auto dialog = open();
    EXPECT_EQ(dialog->rate().currentIndex(), 1);
    EXPECT_EQ(dialog->startTime().fields(), (TimeFields{10, 0, 3, 7}));
}

TEST_F(SettingsDialogTest, EveryFrameOfEveryRateComesBackAsItself) {
    for (int rate = 0; rate < 4; ++rate) {
        const int last = mtcRates[static_cast<std::size_t>(rate)].framesMaximum;
        // Some of these times are a hair below their frame when they are a number of seconds.
        for (const int frame : {1, 5, 18, 20, last}) {
            {
                auto dialog = open();
                dialog->rate().setCurrentIndex(rate);
                dialog->startTime().setFields({1, 59, 58, frame});
                click(dialog->okButton());
            }
            auto dialog = open();
            EXPECT_EQ(dialog->startTime().fields(), (TimeFields{1, 59, 58, frame})) << "rate " << rate;
        }
    }
}

TEST_F(SettingsDialogTest, ADeviceThatIsAwayKeepsItsPlaceInTheList) {
    show.composition().sync.mtcOutDestination = "Desk in the van";
    auto dialog = open();
    EXPECT_EQ(dialog->destination().currentText(), "Desk in the van");
    type(dialog->fps(), "25");
    click(dialog->okButton());
    EXPECT_EQ(show.composition().sync.mtcOutDestination, "Desk in the van");
}

TEST_F(SettingsDialogTest, SyncOutRestsWhileTheDialogStandsAndComesBack) {
    MarvoButton& syncOut = show.composition().controls.syncOutButton;
    syncOut.setState(true);
    {
        auto dialog = open();
        EXPECT_FALSE(syncOut.state());
        click(dialog->cancelButton());
        EXPECT_TRUE(syncOut.state());
    }
    EXPECT_TRUE(syncOut.state());
    syncOut.setState(false);
    auto dialog = open();
    click(dialog->okButton());
    EXPECT_FALSE(syncOut.state());
}

TEST_F(SettingsDialogTest, ADialogWhoseCompositionIsRemovedCloses) {
    auto dialog = open();
    application().loadProjectWithoutAsking(projectFile("Remote"));
    show.main.pump();
    dialog->follow();
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_EQ(fps(), 30);
    auto other = open();
    application().removeCompositionAtIndex(0);
    type(other->fps(), "60");
    click(other->okButton());
    EXPECT_FALSE(other->isVisible());
}

TEST_F(SettingsDialogTest, ItDoesNotBlockTheMainWindow) {
    EXPECT_FALSE(open()->isModal());
}

TEST_F(SortDialogTest, TracksAreSortedByTheChosenKeyAndDirection) {
    SortTracksDialog dialog(application(), show.composition(), nullptr);
    showAndWait(dialog);
    keepPicture(dialog, QStringLiteral("sort-tracks"));
    dialog.sortBy().setCurrentText("Track Type");
    click(dialog.sortButton());
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(order(), "ArtNetValue MidiCCValue OSCValue ");
    SortTracksDialog other(application(), show.composition(), nullptr);
    showAndWait(other);
    other.sortBy().setCurrentText("Track Type");
    other.descending().click();
    click(other.sortButton());
    EXPECT_EQ(order(), "OSCValue MidiCCValue ArtNetValue ");
    EXPECT_EQ(application().undo.undoActionName(), "Sort Tracks");
}

TEST_F(SortDialogTest, AllFiveKeysAreOffered) {
    SortTracksDialog dialog(application(), show.composition(), nullptr);
    QStringList keys;
    for (int i = 0; i < dialog.sortBy().count(); ++i) keys << dialog.sortBy().itemText(i);
    EXPECT_EQ(keys,
              (QStringList{"Track Name", "Track Type", "Art-Net Channel", "MIDI Channel", "OSC Address"}));
}

TEST_F(SortDialogTest, EscapeLeavesTheOrder) {
    const std::string before = order();
    SortTracksDialog dialog(application(), show.composition(), nullptr);
    showAndWait(dialog);
    dialog.sortBy().setCurrentText("Track Type");
    QTest::keyClick(&dialog, Qt::Key_Escape);
    EXPECT_EQ(order(), before);
}
