// Every command of the menu bar, and the way through the window without a pointer.
#include "ui/CompositionSettingsDialog.h"
#include "ui/SortTracksDialog.h"

#include "Stage.h"

#include <QMessageBox>

#include <map>
#include <set>

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

struct MenusTest : ::testing::Test, Stage {
    MenusTest() {
        load();
        clickRow(0, CompositionsModel::nameColumn);
    }
    void answer(const char* button, const QString& command) {
        const WhenAsked asked([button](QWidget& dialog) {
            for (QAbstractButton* one : dialog.findChildren<QAbstractButton*>()) {
                if (one->text().remove('&') == QLatin1String(button)) return one->click();
            }
            ADD_FAILURE() << "no button " << button;
        });
        choose(command);
    }
    std::vector<QWidget*> tabOrder() {
        std::vector<QWidget*> order;
        QWidget* first = &window();
        for (QWidget* widget = first->nextInFocusChain(); widget != first;
             widget = widget->nextInFocusChain()) {
            if (widget->window() == first && widget->isVisible() && widget->isEnabled() &&
                (widget->focusPolicy() & Qt::TabFocus) && !widget->focusProxy())
                order.push_back(widget);
        }
        return order;
    }
};

} // namespace

TEST_F(MenusTest, EveryCommandHasAShortcutAndNoTwoAreTheSame) {
    std::map<QString, QString> taken;
    for (const QAction* action : commands()) {
        EXPECT_FALSE(action->shortcuts().isEmpty()) << action->text().toStdString();
        for (const QKeySequence& shortcut : action->shortcuts()) {
            const QString text = shortcut.toString();
            EXPECT_FALSE(text.isEmpty()) << action->text().toStdString();
            EXPECT_TRUE(taken.emplace(text, action->text()).second)
                << text.toStdString() << ": " << action->text().toStdString() << " and "
                << taken[text].toStdString();
        }
    }
    EXPECT_GT(taken.size(), 45u);
}

TEST_F(MenusTest, TheKeyInATooltipIsTheKeyOfTheCommand) {
    std::set<QString> keys;
    for (const QAction* action : commands()) {
        for (const QKeySequence& shortcut : action->shortcuts()) keys.insert(shortcut.toString());
    }
    for (const QWidget* widget : window().findChildren<QWidget*>()) {
        const auto* button = dynamic_cast<const ControlButton*>(widget);
        if (!button) continue;
        const QString tip = button->toolTip();
        const qsizetype open = tip.lastIndexOf('(');
        if (open < 0) continue;
        const QString key = tip.mid(open + 1, tip.size() - open - 2);
        EXPECT_TRUE(keys.contains(QKeySequence(key).toString())) << tip.toStdString();
    }
}

TEST_F(MenusTest, MenusOfTheBarHaveDifferentLettersToOpenThem) {
    std::set<QChar> letters;
    for (const QAction* menu : window().menuBar()->actions()) {
        const qsizetype mark = menu->text().indexOf('&');
        ASSERT_GE(mark, 0) << menu->text().toStdString();
        EXPECT_TRUE(letters.insert(menu->text()[mark + 1]).second) << menu->text().toStdString();
    }
}

TEST_F(MenusTest, WhatTakesTheKeyboardHasANameToReadOut) {
    for (const char* state : {"shown", "empty"}) {
        for (const QWidget* widget : tabOrder()) {
            EXPECT_FALSE(widget->accessibleName().isEmpty())
                << state << ": " << widget->metaObject()->className();
        }
        application().compositions.removeAll();
        frame();
    }
}

TEST_F(MenusTest, TabWalksTheWindowFromLeftToRightAndFromTopToBottom) {
    const std::vector<QWidget*> order = tabOrder();
    ASSERT_GT(order.size(), 20u);
    // Panel before composition; within a row from left to right, rows from the top.
    const auto group = [this](const QWidget* widget) {
        return window().panel().isAncestorOf(widget) ? 0 : 1;
    };
    for (std::size_t i = 1; i < order.size(); ++i) {
        const QPoint before = order[i - 1]->mapTo(&window(), order[i - 1]->rect().center());
        const QPoint now = order[i]->mapTo(&window(), order[i]->rect().center());
        const std::string where =
            order[i - 1]->accessibleName().toStdString() + ", " + order[i]->accessibleName().toStdString();
        EXPECT_LE(group(order[i - 1]), group(order[i])) << where;
        if (group(order[i - 1]) != group(order[i])) continue;
        EXPECT_TRUE(now.y() > before.y() + 10 ||
                    (std::abs(now.y() - before.y()) <= 10 && now.x() > before.x()))
            << where;
    }
    order.front()->setFocus();
    for (std::size_t i = 1; i < order.size(); ++i) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        EXPECT_EQ(QApplication::focusWidget(), order[i]) << order[i]->accessibleName().toStdString();
    }
}

TEST_F(MenusTest, SpacePlaysAndStopsWhereverTheKeyboardIs) {
    bool plays = false;
    for (QWidget* widget : tabOrder()) {
        widget->setFocus();
        key(Qt::Key_Space);
        plays = !plays;
        EXPECT_EQ(composition().isRunning(), plays) << widget->accessibleName().toStdString();
    }
    EXPECT_FALSE(application().isSoloMode());
}

TEST_F(MenusTest, LettersAreTypedAndNotTakenForCommands) {
    const std::size_t cues = composition().cueController.cues().size();
    typeInto(0, HeaderPart::name, "coil i o c");
    EXPECT_EQ(show().track(0).name(), "coil i o c");
    EXPECT_EQ(composition().cueController.cues().size(), cues);
    EXPECT_EQ(composition().inTime(), Frame(0));
    EXPECT_FALSE(composition().isRunning());
}

// --- File.

TEST_F(MenusTest, NewOpenAndSaveSpeakOfTheFile) {
    choose("Save");
    EXPECT_TRUE(std::filesystem::exists(show().file("show.mrv")));
    answer("OK", "New Project");
    EXPECT_EQ(application().compositions.count(), 1u);
    EXPECT_EQ(composition().compName(), "Composition 1");
    EXPECT_TRUE(window().windowTitle().startsWith("Marvo - "));
}

TEST_F(MenusTest, OpenAndSaveAsAskForAFile) {
    const QString path = QString::fromStdString(show().file("other.mrv"));
    const auto answerWith = [](const QString& file) {
        return [file](QWidget& dialog) {
            auto* name = dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
            ASSERT_TRUE(name);
            dialog.activateWindow();
            EXPECT_TRUE(QTest::qWaitForWindowActive(&dialog));
            name->setFocus();
            name->setText(file);
            QTimer::singleShot(200, &dialog, [] {
                // Over the panel only when it is not content with the name.
                if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                    ADD_FAILURE() << box->text().toStdString();
                    box->reject();
                }
            });
            QTest::keyClick(name, Qt::Key_Return);
        };
    };
    application().newProject();
    frame();
    {
        const WhenAsked asked(answerWith(path));
        choose(QStringLiteral("Save As\u2026"));
    }
    ASSERT_TRUE(std::filesystem::exists(path.toStdString()));
    EXPECT_TRUE(window().windowTitle().startsWith("Marvo - other"));
    application().compositions.removeAll();
    frame();
    {
        const WhenAsked asked(answerWith(path));
        choose(QStringLiteral("Open\u2026"));
    }
    EXPECT_EQ(application().compositions.count(), 1u);
}

TEST_F(MenusTest, TheLastProjectComesBack) {
    choose("Save");
    application().compositions.removeAll();
    frame();
    choose("Open Last Project");
    EXPECT_EQ(composition().compName(), "Sunrise");
}

TEST_F(MenusTest, TheStartWindowComesWhenItIsAskedFor) {
    EXPECT_FALSE(desktop->startWindow().isVisible());
    choose("Start Window");
    EXPECT_TRUE(desktop->startWindow().isVisible());
    desktop->startWindow().close();
}

TEST_F(MenusTest, LockingSaysHowToUnlock) {
    choose("Lock Project");
    EXPECT_TRUE(application().isProjectLocked());
    choose("Unlock Project");
    EXPECT_FALSE(application().isProjectLocked());
}

TEST_F(MenusTest, QuitAsksAndACancelGoesOn) {
    answer("Cancel", "Quit");
    EXPECT_TRUE(window().isVisible());
    answer("OK", "Quit");
    EXPECT_FALSE(window().isVisible());
}

// --- Edit.

TEST_F(MenusTest, UndoAndRedoSayWhatTheyWouldTakeBack) {
    EXPECT_FALSE(command("Undo")->isEnabled());
    typeInto(0, HeaderPart::name, "Front");
    const QString name = QString::fromStdString(application().undo.undoActionName());
    ASSERT_FALSE(name.isEmpty());
    choose("Undo " + name);
    EXPECT_EQ(show().track(0).name(), "Plain");
    EXPECT_FALSE(command("Undo")->isEnabled());
    choose("Redo " + name);
    EXPECT_EQ(show().track(0).name(), "Front");
    key(Qt::Key_Z, Qt::ControlModifier);
    key(Qt::Key_Y, Qt::ControlModifier);
    EXPECT_EQ(show().track(0).name(), "Front");
}

TEST_F(MenusTest, OneCommandIsOneStepBack) {
    key(Qt::Key_A, Qt::ControlModifier | Qt::ShiftModifier);
    const std::size_t before = composition().tracks.count();
    choose("Duplicate Tracks");
    EXPECT_GT(composition().tracks.count(), before);
    key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(composition().tracks.count(), before);
}

TEST_F(MenusTest, TheModesAreTickedWhileTheyLast) {
    for (const char* mode : {"MIDI Learn", "Show OSC Addresses"}) {
        EXPECT_FALSE(command(mode)->isChecked());
        choose(mode);
        EXPECT_TRUE(command(mode)->isChecked()) << mode;
        choose(mode);
        EXPECT_FALSE(command(mode)->isChecked()) << mode;
    }
}

// --- Composition.

TEST_F(MenusTest, CompositionsAreMadeDuplicatedRenamedAndRemoved) {
    choose("New Composition");
    EXPECT_EQ(application().compositions.count(), 3u);
    clickRow(0, CompositionsModel::nameColumn);
    choose("Duplicate Composition");
    EXPECT_EQ(application().compositions.count(), 4u);
    EXPECT_EQ(view().composition().tracks.count(), composition(0).tracks.count());
    choose("Rename Composition");
    ASSERT_TRUE(editor());
    type(*editor(), "Copy");
    key(Qt::Key_Return);
    EXPECT_EQ(view().composition().compName(), "Copy");
    answer("OK", "Remove Composition");
    EXPECT_EQ(application().compositions.count(), 3u);
}

TEST_F(MenusTest, TheSelectionStepsThroughTheCompositions) {
    choose("Next Composition");
    EXPECT_EQ(&view().composition(), &composition(1));
    choose("Next Composition");
    EXPECT_EQ(&view().composition(), &composition(1));
    choose("Previous Composition");
    EXPECT_EQ(&view().composition(), &composition(0));
}

TEST_F(MenusTest, TheWorkingAreaBeginsAndEndsAtThePlayhead) {
    composition().transport.markerDraggedToTime(Frame(60));
    choose("Set Working Area Beginning to Playhead");
    composition().transport.markerDraggedToTime(Frame(240));
    choose("Set Working Area End to Playhead");
    EXPECT_EQ(composition().inTime(), Frame(60));
    EXPECT_EQ(composition().outTime(), Frame(240));
    choose("Trim Composition to Work Area");
    EXPECT_FLOAT_EQ(composition().state.compTime, 6.0f);
}

TEST_F(MenusTest, KeyframesOfTheWorkingAreaAreSelected) {
    const auto selected = [this](std::size_t track) {
        std::size_t count = 0;
        for (const MarvoTimelineKeyframe& one : show().track(track).keyframes().store().all())
            count += one.selected ? 1 : 0;
        return count;
    };
    choose("Select Keyframes within the Work Area on All Tracks");
    EXPECT_EQ(selected(0), 2u);
    EXPECT_EQ(selected(2), 2u);
    clickRow(0, CompositionsModel::nameColumn);
    pressHeader(0, HeaderPart::name);
    choose("Select Keyframes within the Work Area on Selected Tracks");
    EXPECT_EQ(selected(0), 2u);
    EXPECT_EQ(selected(2), 0u);
}

TEST_F(MenusTest, SettingsOpenAndACueIsPlaced) {
    choose(QStringLiteral("Composition Settings\u2026"));
    auto* settings = dialog<CompositionSettingsDialog>();
    ASSERT_TRUE(settings);
    QTest::keyClick(settings, Qt::Key_Escape);
    EXPECT_FALSE(settings->isVisible());
    composition().transport.markerDraggedToTime(Frame(300));
    const std::size_t before = composition().cueController.cues().size();
    choose("Place Cue at Playhead");
    EXPECT_EQ(composition().cueController.cues().size(), before + 1);
}

// --- Track.

TEST_F(MenusTest, TracksAreAddedRenamedDuplicatedAndRemoved) {
    const std::size_t before = composition().tracks.count();
    for (const char* kind :
         {"MIDI CC", "MIDI Notes", "OSC Value", "OSC Flag", "OSC Color", "Art-Net Value", "Art-Net Color"})
        choose(kind);
    EXPECT_EQ(composition().tracks.count(), before + 7);
    pressHeader(0, HeaderPart::name);
    choose("Rename Track");
    ASSERT_TRUE(editor());
    type(*editor(), "Front");
    key(Qt::Key_Return);
    EXPECT_EQ(show().track(0).name(), "Front");
    choose("Duplicate Tracks");
    EXPECT_EQ(composition().tracks.count(), before + 8);
    pressHeader(0, HeaderPart::name);
    choose("Remove Tracks");
    EXPECT_EQ(composition().tracks.count(), before + 7);
    EXPECT_EQ(composition().tracks.trackWithName("Front"), nullptr);
}

TEST_F(MenusTest, TracksAreSelectedByKeys) {
    key(Qt::Key_A, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(composition().tracks.selectedTracks().size(), composition().tracks.count());
    pressHeader(1, HeaderPart::name);
    key(Qt::Key_Down, Qt::AltModifier);
    ASSERT_EQ(composition().tracks.selectedTracks().size(), 1u);
    EXPECT_EQ(composition().tracks.selectedTrack()->trackPosition(), 2);
    key(Qt::Key_Up, Qt::AltModifier);
    EXPECT_EQ(composition().tracks.selectedTrack()->trackPosition(), 1);
}

TEST_F(MenusTest, TheTrackThatTheKeysSelectComesIntoView) {
    for (std::size_t i = 0; i + 1 < composition().tracks.count(); ++i) key(Qt::Key_Down, Qt::AltModifier);
    const LaneLayout::Lane last = lane(composition().tracks.count() - 2);
    const SurfaceRect seen = surface().area(SurfaceArea::lanes).documentVisibleRect();
    EXPECT_TRUE(lane(composition().tracks.count() - 2).track->isSelected());
    EXPECT_GE(last.y, seen.y);
    EXPECT_LE(last.maxY(), seen.maxY());
}

TEST_F(MenusTest, SortingAsksHow) {
    choose(QStringLiteral("Sort Tracks\u2026"));
    auto* sort = dialog<SortTracksDialog>();
    ASSERT_TRUE(sort);
    QTest::keyClick(sort, Qt::Key_Escape);
    EXPECT_FALSE(sort->isVisible());
}

// --- Playback and view.

TEST_F(MenusTest, TheTransportHasItsCommands) {
    choose("Play or Stop");
    play(500);
    EXPECT_TRUE(composition().isRunning());
    choose("Play or Stop");
    choose("Rewind");
    EXPECT_FALSE(composition().isRunning());
    EXPECT_EQ(show().frame(), 0);
    choose("Next Cue");
    EXPECT_EQ(show().frame(), 20);
    choose("Next Cue");
    choose("Previous Cue");
    EXPECT_EQ(show().frame(), 20);
    const bool looped = composition().controls.loopButton.state();
    choose("Loop");
    EXPECT_NE(composition().controls.loopButton.state(), looped);
    choose("Record");
    EXPECT_TRUE(composition().controls.recButton.state());
    choose("Play or Stop All");
    EXPECT_TRUE(composition(1).isRunning());
    choose("Play or Stop All");
    choose("Rewind All");
    EXPECT_EQ(show().frame(), 0);
}

TEST_F(MenusTest, ThePlayheadJumpsByKeys) {
    composition().markerController.setInTime(Frame(15));
    composition().markerController.setOutTime(Frame(100));
    key(Qt::Key_End, Qt::ShiftModifier);
    EXPECT_EQ(show().frame(), 100);
    key(Qt::Key_Home, Qt::ShiftModifier);
    EXPECT_EQ(show().frame(), 15);
    pressHeader(0, HeaderPart::name);
    std::int64_t next = -1;
    for (const KeyframePlace& place : show().track(0).keyframes().places()) {
        if (place.time > Frame(15) && (next < 0 || place.time.value < next)) next = place.time.value;
    }
    ASSERT_GT(next, 0);
    key(Qt::Key_Right, Qt::AltModifier);
    EXPECT_EQ(show().frame(), next);
    choose("Rename Track");
    ASSERT_TRUE(editor());
    QTest::keyClick(editor(), Qt::Key_Left, Qt::AltModifier);
    EXPECT_EQ(show().frame(), next) << "while a name is typed";
    key(Qt::Key_Escape);
    key(Qt::Key_Left, Qt::AltModifier);
    EXPECT_LT(show().frame(), next);
    const int before = beeps;
    key(Qt::Key_J);
    EXPECT_EQ(beeps, before + 1);
}

TEST_F(MenusTest, TheModesOfAllCompositionsHaveTheirCommands) {
    for (const auto& [title, button] : std::map<const char*, MarvoButton*>{
             {"Queue Compositions", &application().master.queuedModeButton},
             {"Loop the Queue", &application().master.queuedLoopButton},
             {"Play One Composition at a Time", &application().master.soloModeButton}}) {
        choose(title);
        EXPECT_TRUE(button->state()) << title;
        EXPECT_TRUE(command(title)->isChecked()) << title;
        choose(title);
        EXPECT_FALSE(button->state()) << title;
    }
    choose("Play Next Composition");
    frame();
    EXPECT_EQ(application().compositions.selectedCompositionIndex(), 1);
    EXPECT_TRUE(composition(1).isRunning());
    choose("Play Previous Composition");
    EXPECT_TRUE(composition(0).isRunning());
}

TEST_F(MenusTest, BlackoutSendsZeros) {
    int blackouts = 0;
    const auto before = application().master.doBlackout;
    application().master.doBlackout = [&] { ++blackouts; };
    choose("Blackout");
    EXPECT_EQ(blackouts, 1);
    application().master.doBlackout = before;
}

TEST_F(MenusTest, TheRangePanelComesAndGoes) {
    choose("Range Selection");
    EXPECT_TRUE(window().rangePanel().isVisible());
    choose("Range Selection");
    EXPECT_FALSE(window().rangePanel().isVisible());
}

TEST_F(MenusTest, FollowingThePlayheadIsSwitchedAndKept) {
    EXPECT_TRUE(command("Follow Playhead")->isChecked());
    choose("Follow Playhead");
    EXPECT_FALSE(command("Follow Playhead")->isChecked());
    EXPECT_FALSE(application().prefs.flag("followPlayheadDuringPlayback"));
    for (int i = 0; i < 3; ++i) key(Qt::Key_Plus, Qt::ControlModifier);
    composition().transport.markerDraggedToTime(Frame(500));
    frame();
    surface().scrollTo(SurfaceArea::lanes, {0, 0});
    press("Play");
    play(500);
    ASSERT_TRUE(composition().isRunning());
    EXPECT_EQ(surface().area(SurfaceArea::lanes).documentVisibleRect().x, 0.0);
    choose("Follow Playhead");
    play(200);
    EXPECT_GT(surface().area(SurfaceArea::lanes).documentVisibleRect().x, 0.0);
    EXPECT_TRUE(application().prefs.flag("followPlayheadDuringPlayback"));
}

TEST_F(MenusTest, DaylightTurnsEverythingLightAndBack) {
    const auto lightness = [this] {
        return window().grab().toImage().scaled(1, 1).pixelColor(0, 0).lightness();
    };
    const int dark = lightness();
    choose("Daylight Colours");
    EXPECT_GT(lightness(), dark + 100);
    EXPECT_EQ(&Look::current(), &Look::light());
    applyLook(*qApp, Variant::dark); // as the next start begins
    desktop.reset();
    desktop = std::make_unique<Desktop>(running, RealtimeResult{RealtimeGrant::fifo, 70, "", "", ""});
    desktop->open();
    frame();
    EXPECT_EQ(&Look::current(), &Look::light());
    choose("Daylight Colours");
    EXPECT_EQ(&Look::current(), &Look::dark());
    EXPECT_EQ(lightness(), dark);
}

TEST_F(MenusTest, WithoutACompositionItsCommandsRest) {
    application().compositions.removeAll();
    frame();
    for (const char* title : {"Duplicate Composition", "Rename Track", "Play or Stop", "Zoom In",
                              "Lock Project", "Place Cue at Playhead", "OSC Value"})
        EXPECT_FALSE(command(title)->isEnabled()) << title;
    for (const char* title : {"New Project", "New Composition", "Quit", "Start Window"})
        EXPECT_TRUE(command(title)->isEnabled()) << title;
    choose("New Composition");
    EXPECT_TRUE(command("Play or Stop")->isEnabled());
}

TEST_F(MenusTest, SaveAsHasTheKeyThatItHasElsewhere) {
    EXPECT_EQ(command(QStringLiteral("Save As\u2026"))->shortcut(),
              QKeySequence(QStringLiteral("Ctrl+Shift+S")));
}

TEST_F(MenusTest, ACommandThatComesTooLateDoesNothing) {
    application().compositions.removeAll();
    for (QAction* action : commands()) {
        if (action->text() != "Play or Stop" && action->text() != "Select All Tracks" &&
            action->text() != "Set Working Area End to Playhead")
            continue;
        action->setEnabled(true); // as when the composition goes between two frames
        action->trigger();
    }
    EXPECT_EQ(application().compositions.count(), 0u);
}
