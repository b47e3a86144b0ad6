#include "ui/Menus.h"

#include "ui/AddTrackMenu.h"
#include "ui/CompositionView.h"
#include "ui/CompositionsPanel.h"
#include "ui/HelpMenu.h"
#include "ui/KeyframesAtPlayhead.h"
#include "ui/Look.h"
#include "ui/MainWindow.h"
#include "ui/ProjectCommands.h"
#include "ui/RangePanel.h"
#include "ui/ShownComposition.h"
#include "ui/TrackSwitches.h"

#include <QAction>
#include <QApplication>
#include <QInputDialog>
#include <QMenu>
#include <QMenuBar>

namespace marvo::ui {
namespace {

constexpr std::string_view daylightKey = "daylightColours";

QString withName(const QString& verb, const std::string& name) {
    return name.empty() ? verb : QStringLiteral("%1 %2").arg(verb, QString::fromStdString(name));
}

} // namespace

Menus::Menus(MainWindow& window) : window_(window) {
    addFile();
    addEdit();
    addComposition();
    addTrack();
    addKeyframe();
    addPlayback();
    addView();
    help_ = std::make_unique<HelpMenu>(*window_.menuBar(), window_.show().reports(), window_);
    window_.show().application().undo.setChangeHandler([this] { update(); });
    update();
}

// The show outlives its window, and undoes or forgets without it.
Menus::~Menus() {
    window_.show().application().undo.setChangeHandler(nullptr);
}

QAction* Menus::add(QMenu* menu, const QString& title, const QKeySequence& shortcut,
                    std::function<void()> run) {
    QAction* action = menu->addAction(title);
    action->setShortcut(shortcut);
    QObject::connect(action, &QAction::triggered, &window_, [this, run = std::move(run)] {
        {
            const UndoStack::EventGroup step(window_.show().application().undo);
            run();
        }
        window_.follow();
        update();
    });
    return action;
}

QAction* Menus::addForComposition(QMenu* menu, const QString& title, const QKeySequence& shortcut,
                                  std::function<void()> run) {
    QAction* action = add(menu, title, shortcut, [this, run = std::move(run)] {
        // The composition may have gone since the entries were last looked through.
        window_.follow();
        if (window_.compositionView()) run();
    });
    forComposition_.push_back(action);
    return action;
}

QAction* Menus::addEditing(QMenu* menu, const QString& title, const QKeySequence& shortcut,
                           std::function<void()> run) {
    QAction* action = addForComposition(menu, title, shortcut, [this, run = std::move(run)] {
        AppDelegate& application = window_.show().application();
        if (application.isProjectLocked())
            application.beep();
        else
            run();
    });
    edits_.push_back(action);
    return action;
}

void Menus::addFile() {
    QMenu* menu = window_.menuBar()->addMenu(QStringLiteral("&File"));
    AppDelegate& application = window_.show().application();
    ProjectCommands& commands = window_.commands();
    add(menu, QStringLiteral("New Project"), QKeySequence::New, [&commands] { commands.clearProject(); });
    add(menu, QStringLiteral("Open\u2026"), QKeySequence::Open, [&commands] { commands.openProject(); });
    add(menu, QStringLiteral("Open Last Project"), QKeySequence(QStringLiteral("Ctrl+Alt+O")),
        [&commands] { commands.openLastProject(); });
    add(menu, QStringLiteral("Start Window"), QKeySequence(QStringLiteral("Ctrl+Alt+S")), [this] {
        if (window_.onStartWindow) window_.onStartWindow();
    });
    menu->addSeparator();
    add(menu, QStringLiteral("Save"), QKeySequence::Save, [&commands] { commands.saveProject(); });
    add(menu, QStringLiteral("Save As\u2026"), QKeySequence(QStringLiteral("Ctrl+Shift+S")),
        [&commands] { commands.saveProjectAs(); });
    menu->addSeparator();
    lock_ = add(menu, QStringLiteral("Lock Project"), QKeySequence(QStringLiteral("Ctrl+Shift+L")),
                [this, &application] {
                    window_.takeWhatIsTyped();
                    application.lockProject();
                });
    forProject_.push_back(lock_);
    menu->addSeparator();
    QAction* quit = menu->addAction(QStringLiteral("Quit"));
    quit->setShortcut(QKeySequence(QStringLiteral("Ctrl+Q"))); // not every desktop has one for it
    QObject::connect(quit, &QAction::triggered, &window_, [this] { window_.close(); });
}

void Menus::addEdit() {
    QMenu* menu = window_.menuBar()->addMenu(QStringLiteral("&Edit"));
    AppDelegate& application = window_.show().application();
    undo_ = menu->addAction(QStringLiteral("Undo"));
    undo_->setShortcut(QKeySequence::Undo);
    QObject::connect(undo_, &QAction::triggered, &window_, [this, &application] {
        if (application.isProjectLocked()) return application.beep();
        application.undo.undo();
        window_.refreshAll();
    });
    redo_ = menu->addAction(QStringLiteral("Redo"));
    redo_->setShortcuts(
        {QKeySequence(QStringLiteral("Ctrl+Shift+Z")), QKeySequence(QStringLiteral("Ctrl+Y"))});
    QObject::connect(redo_, &QAction::triggered, &window_, [this, &application] {
        if (application.isProjectLocked()) return application.beep();
        application.undo.redo();
        window_.refreshAll();
    });
    menu->addSeparator();
    learn_ =
        add(menu, QStringLiteral("MIDI Learn"), QKeySequence(QStringLiteral("Ctrl+M")), [this, &application] {
            application.midiLearnToggle();
            window_.refreshAll();
        });
    learn_->setCheckable(true);
    addresses_ = add(menu, QStringLiteral("Show OSC Addresses"), QKeySequence(QStringLiteral("Ctrl+Shift+O")),
                     [this, &application] {
                         application.toggleShowOSCNamespace();
                         window_.refreshAll();
                     });
    addresses_->setCheckable(true);
}

void Menus::addComposition() {
    QMenu* menu = window_.menuBar()->addMenu(QStringLiteral("&Composition"));
    AppDelegate& application = window_.show().application();
    newComposition_ =
        add(menu, QStringLiteral("New Composition"), QKeySequence(QStringLiteral("Ctrl+Shift+N")),
            [&application] { application.master.addCompositionButton.performClick(); });
    addEditing(menu, QStringLiteral("Duplicate Composition"), QKeySequence(QStringLiteral("Ctrl+Shift+D")),
               [&application] {
                   application.compositions.duplicateComposition(
                       application.compositions.selectedCompositionIndex());
                   application.validateMasterControls();
               });
    addEditing(menu, QStringLiteral("Rename Composition"), QKeySequence(Qt::Key_F2),
               [this] { window_.panel().renameSelected(); });
    menu->addSeparator();
    // Also when none is selected: they lead back to one.
    forProject_.push_back(add(menu, QStringLiteral("Previous Composition"),
                              QKeySequence(QStringLiteral("Ctrl+Up")),
                              [&application] { application.compositions.selectPreviousComposition(); }));
    forProject_.push_back(add(menu, QStringLiteral("Next Composition"),
                              QKeySequence(QStringLiteral("Ctrl+Down")),
                              [&application] { application.compositions.selectNextComposition(); }));
    moveUp_ =
        addForComposition(menu, QStringLiteral("Move Composition Up"),
                          QKeySequence(QStringLiteral("Ctrl+Shift+Up")), [this] { moveComposition(-1); });
    moveDown_ =
        addForComposition(menu, QStringLiteral("Move Composition Down"),
                          QKeySequence(QStringLiteral("Ctrl+Shift+Down")), [this] { moveComposition(1); });
    menu->addSeparator();
    addEditing(menu, QStringLiteral("Set Working Area Beginning to Playhead"), QKeySequence(Qt::Key_I),
               [this] { window_.selected()->markerController.setWorkingAreaBeginningToCurrent(); });
    addEditing(menu, QStringLiteral("Set Working Area End to Playhead"), QKeySequence(Qt::Key_O),
               [this] { window_.selected()->markerController.setWorkingAreaEndToCurrent(); });
    addEditing(menu, QStringLiteral("Trim Composition to Work Area"),
               QKeySequence(QStringLiteral("Ctrl+Shift+T")),
               [this] { window_.selected()->settings.trimToWorkArea(); });
    addForComposition(menu, QStringLiteral("Select Keyframes within the Work Area on All Tracks"),
                      QKeySequence(QStringLiteral("Ctrl+Alt+A")), [this] {
                          window_.selected()->keyframeSelection.selectKeyframesInWorkArea();
                          window_.refreshAll();
                      });
    addForComposition(menu, QStringLiteral("Select Keyframes within the Work Area on Selected Tracks"),
                      QKeySequence(QStringLiteral("Ctrl+Alt+Shift+A")), [this] {
                          window_.selected()->keyframeSelection.selectKeyframesInWorkAreaOnSelectedTracks();
                          window_.refreshAll();
                      });
    menu->addSeparator();
    addEditing(menu, QStringLiteral("Composition Settings\u2026"), QKeySequence(QStringLiteral("Ctrl+K")),
               [this] { window_.showCompositionSettings(); });
    addEditing(menu, QStringLiteral("Remove Composition"),
               QKeySequence(QStringLiteral("Ctrl+Shift+Backspace")),
               [this] { window_.commands().removeComposition(); });
    menu->addSeparator();
    addEditing(menu, QStringLiteral("Place Cue at Playhead"), QKeySequence(Qt::Key_C), [this, &application] {
        application.services().compQueue.sync([this] { window_.selected()->cueEdits.placeCueAtPlayhead(); });
        window_.refreshAll();
    });
}

void Menus::moveComposition(std::int64_t by) {
    CompositionSet& compositions = window_.show().application().compositions;
    const std::int64_t from = compositions.selectedCompositionIndex();
    const std::int64_t to = from + by;
    if (compositions.isProjectLocked() || to < 0 || to >= static_cast<std::int64_t>(compositions.count()))
        window_.show().application().beep();
    else
        compositions.moveComposition(from, to);
}

void Menus::addTrack() {
    QMenu* menu = window_.menuBar()->addMenu(QStringLiteral("&Track"));
    AppDelegate& application = window_.show().application();
    addTrackMenu_ = menu->addMenu(QStringLiteral("Add Track"));
    fillAddTrackMenu(*addTrackMenu_, window_.show().application());
    addEditing(menu, QStringLiteral("Rename Track"), QKeySequence(QStringLiteral("Shift+F2")),
               [this] { window_.compositionView()->editNameOfSelectedTrack(); });
    addEditing(menu, QStringLiteral("Remove Tracks"), QKeySequence(QStringLiteral("Ctrl+Backspace")), [this] {
        std::vector<std::int64_t> positions;
        for (const MarvoTimelineTrackProtocol* track : window_.selected()->tracks.selectedTracks())
            positions.push_back(track->trackPosition());
        if (!positions.empty()) window_.selected()->tracks.undoRemoveTracksWithPositions(positions);
    });
    addEditing(menu, QStringLiteral("Duplicate Tracks"), QKeySequence(QStringLiteral("Ctrl+D")),
               [this] { window_.selected()->trackEdits.duplicateTracks(); });
    addEditing(menu, QStringLiteral("Sort Tracks\u2026"), QKeySequence(QStringLiteral("Ctrl+Alt+T")),
               [this] { window_.showSortTracks(); });
    menu->addSeparator();
    addForComposition(menu, QStringLiteral("Track Settings"), QKeySequence(QStringLiteral("Ctrl+T")),
                      [this] { window_.compositionView()->showFieldsOfSelectedTrack(); });
    addForComposition(menu, QStringLiteral("Switch Tracks On or Off"), QKeySequence(QStringLiteral("Ctrl+E")),
                      [this, &application] {
                          if (!toggleEnabled(window_.selected()->tracks.selectedTracks())) application.beep();
                          window_.refreshAll();
                      });
    addEditing(menu, QStringLiteral("Lock or Unlock Tracks"), QKeySequence(QStringLiteral("Ctrl+Alt+K")),
               [this, &application] {
                   if (!toggleLocked(window_.selected()->tracks.selectedTracks())) application.beep();
                   window_.refreshAll();
               });
    addForComposition(menu, QStringLiteral("Collapse or Expand Tracks"),
                      QKeySequence(QStringLiteral("Ctrl+Alt+C")),
                      [this] { window_.compositionView()->collapseSelectedTracks(); });
    menu->addSeparator();
    addForComposition(menu, QStringLiteral("Select All Tracks"), QKeySequence(QStringLiteral("Ctrl+Shift+A")),
                      [this] { window_.compositionView()->selectAllTracks(); });
    addForComposition(menu, QStringLiteral("Select Track Above"), QKeySequence(QStringLiteral("Alt+Up")),
                      [this] { window_.compositionView()->selectNeighbour(-1); });
    addForComposition(menu, QStringLiteral("Select Track Below"), QKeySequence(QStringLiteral("Alt+Down")),
                      [this] { window_.compositionView()->selectNeighbour(1); });
}

void Menus::addKeyframe() {
    QMenu* menu = window_.menuBar()->addMenu(QStringLiteral("&Keyframe"));
    AppDelegate& application = window_.show().application();
    addEditing(menu, QStringLiteral("Add Keyframe at Playhead"), QKeySequence(Qt::Key_K),
               [this, &application] {
                   if (!KeyframesAtPlayhead(*window_.selected()).add()) application.beep();
               });
    addEditing(menu, QStringLiteral("Remove Keyframe at Playhead"), QKeySequence(QStringLiteral("Shift+K")),
               [this, &application] {
                   if (!KeyframesAtPlayhead(*window_.selected()).remove()) application.beep();
               });
    QAction* value = menu->addAction(QStringLiteral("Set Value at Playhead\u2026"));
    value->setShortcut(QKeySequence(Qt::Key_V));
    QObject::connect(value, &QAction::triggered, &window_, [this] { askForValue(); });
    forComposition_.push_back(value);
    edits_.push_back(value);
    addRange(menu);
}

// The panel never takes the keyboard; these are its keys, whether it is shown or not.
void Menus::addRange(QMenu* menu) {
    RangePanel& panel = window_.rangePanel();
    menu->addSeparator();
    addForComposition(menu, QStringLiteral("Set Range Start to Playhead"),
                      QKeySequence(QStringLiteral("Shift+I")),
                      [&panel] { panel.setRangeStartFromPlayhead(); });
    addForComposition(menu, QStringLiteral("Set Range End to Playhead"),
                      QKeySequence(QStringLiteral("Shift+O")), [&panel] { panel.setRangeEndFromPlayhead(); });
    addForComposition(menu, QStringLiteral("Select Keyframes in Range"),
                      QKeySequence(QStringLiteral("Ctrl+Alt+R")), [&panel] { panel.selectRange(); });
}

void Menus::askForValue() {
    AppDelegate& application = window_.show().application();
    const ShownComposition composition(application, *window_.selected());
    const QString before = KeyframesAtPlayhead(*window_.selected()).value();
    if (before.isEmpty()) {
        application.beep();
        return;
    }
    bool typed = false;
    const QString text = QInputDialog::getText(&window_, QStringLiteral("Marvo"),
                                               QStringLiteral("Value of the keyframe at the playhead"),
                                               QLineEdit::Normal, before, &typed);
    MarvoTimelineController* now = composition.get();
    if (!typed || text == before || !now) return;
    {
        const UndoStack::EventGroup step(application.undo);
        KeyframesAtPlayhead(*now).setValue(text.toStdString());
    }
    window_.follow();
    update();
}

void Menus::addPlayback() {
    QMenu* menu = window_.menuBar()->addMenu(QStringLiteral("&Playback"));
    AppDelegate& application = window_.show().application();
    addForComposition(menu, QStringLiteral("Play or Stop"), QKeySequence(Qt::Key_Space),
                      [this] { window_.selected()->controls.playButton.performClick(); });
    addForComposition(menu, QStringLiteral("Rewind"), QKeySequence(Qt::Key_Home),
                      [this] { window_.selected()->controls.rewindButton.performClick(); });
    addForComposition(menu, QStringLiteral("Loop"), QKeySequence(QStringLiteral("Ctrl+L")),
                      [this] { window_.selected()->controls.loopButton.performClick(); });
    addForComposition(menu, QStringLiteral("Record"), QKeySequence(QStringLiteral("Ctrl+R")),
                      [this] { window_.selected()->controls.recButton.performClick(); });
    addForComposition(menu, QStringLiteral("Previous Cue"), QKeySequence(QStringLiteral("Ctrl+Left")),
                      [this] { window_.selected()->cueControls.prevCueButton.performClick(); });
    addForComposition(menu, QStringLiteral("Next Cue"), QKeySequence(QStringLiteral("Ctrl+Right")),
                      [this] { window_.selected()->cueControls.nextCueButton.performClick(); });
    addJumps(menu);
    menu->addSeparator();
    add(menu, QStringLiteral("Play or Stop All"), QKeySequence(QStringLiteral("Ctrl+Space")),
        [&application] { application.master.togglePlayAllButton.performClick(); });
    add(menu, QStringLiteral("Rewind All"), QKeySequence(QStringLiteral("Ctrl+Home")),
        [&application] { application.master.rewindAllButton.performClick(); });
    playPrevious_ =
        add(menu, QStringLiteral("Play Previous Composition"), QKeySequence(QStringLiteral("Ctrl+PgUp")),
            [&application] { application.master.triggerPrevButton.performClick(); });
    playNext_ =
        add(menu, QStringLiteral("Play Next Composition"), QKeySequence(QStringLiteral("Ctrl+PgDown")),
            [&application] { application.master.triggerNextButton.performClick(); });
    const auto addMode = [&](const QString& title, const QKeySequence& shortcut, MarvoButton& button) {
        QAction* action = add(menu, title, shortcut, [&button] { button.performClick(); });
        action->setCheckable(true);
        return action;
    };
    queued_ = addMode(QStringLiteral("Queue Compositions"), QKeySequence(QStringLiteral("Ctrl+Alt+1")),
                      application.master.queuedModeButton);
    queuedLoop_ = addMode(QStringLiteral("Loop the Queue"), QKeySequence(QStringLiteral("Ctrl+Alt+2")),
                          application.master.queuedLoopButton);
    solo_ = addMode(QStringLiteral("Play One Composition at a Time"),
                    QKeySequence(QStringLiteral("Ctrl+Alt+3")), application.master.soloModeButton);
    menu->addSeparator();
    add(menu, QStringLiteral("Blackout"), QKeySequence(QStringLiteral("Ctrl+Shift+B")),
        [&application] { application.master.blackoutButton.performClick(); });
}

void Menus::addJumps(QMenu* menu) {
    addForComposition(menu, QStringLiteral("Go to Working Area Beginning"),
                      QKeySequence(QStringLiteral("Shift+Home")),
                      [this] { window_.selected()->transport.jumpToWorkingAreaBeginning(); });
    addForComposition(menu, QStringLiteral("Go to Working Area End"),
                      QKeySequence(QStringLiteral("Shift+End")),
                      [this] { window_.selected()->transport.jumpToWorkingAreaEnd(); });
    addForComposition(menu, QStringLiteral("Previous Keyframe"), QKeySequence(QStringLiteral("Alt+Left")),
                      [this] { window_.selected()->transport.jumpToPrevKeyframe(); });
    addForComposition(menu, QStringLiteral("Next Keyframe"), QKeySequence(QStringLiteral("Alt+Right")),
                      [this] { window_.selected()->transport.jumpToNextKeyframe(); });
    addForComposition(menu, QStringLiteral("Go to Active Keyframe or Cue"), QKeySequence(Qt::Key_J),
                      [this] { window_.selected()->transport.setPlayheadToActiveKeyframeOrCue(); });
}

void Menus::addView() {
    QMenu* menu = window_.menuBar()->addMenu(QStringLiteral("&View"));
    addForComposition(menu, QStringLiteral("Zoom In"), QKeySequence(QStringLiteral("Ctrl++")), [this] {
        window_.selected()->controls.zoomInButton.performClick();
    })->setShortcuts({QKeySequence(QStringLiteral("Ctrl++")), QKeySequence(QStringLiteral("Ctrl+="))});
    addForComposition(menu, QStringLiteral("Zoom Out"), QKeySequence(QStringLiteral("Ctrl+-")),
                      [this] { window_.selected()->controls.zoomOutButton.performClick(); });
    menu->addSeparator();
    AppDelegate& application = window_.show().application();
    QAction* indexes =
        add(menu, QStringLiteral("Show Column Indexes"), QKeySequence(QStringLiteral("Ctrl+Shift+I")), [] {});
    indexes->setCheckable(true);
    indexes->setChecked(application.prefs.flag("ShowColumnIndexes"));
    window_.panel().setShowsIndexes(indexes->isChecked());
    QObject::connect(indexes, &QAction::toggled, &window_, [this, &application](bool shows) {
        application.prefs.change("ShowColumnIndexes", shows);
        window_.panel().setShowsIndexes(shows);
    });
    range_ = add(menu, QStringLiteral("Range Selection"), QKeySequence(QStringLiteral("Ctrl+Shift+R")),
                 [this] { window_.rangePanel().setVisible(!window_.rangePanel().isVisible()); });
    range_->setCheckable(true);
    followPlayhead_ = add(menu, QStringLiteral("Follow Playhead"), QKeySequence(QStringLiteral("Ctrl+Alt+F")),
                          [this, &application] {
                              application.prefs.changeFollowPlayhead();
                              window_.refreshAll();
                          });
    followPlayhead_->setCheckable(true);
    outputs_ = add(menu, QStringLiteral("Show Track Outputs"), QKeySequence(QStringLiteral("Ctrl+Alt+V")),
                   [this, &application] {
                       application.prefs.changeDisplayTrackOutputs();
                       application.projectChanged();
                       window_.refreshAll();
                   });
    outputs_->setCheckable(true);
    QAction* light =
        add(menu, QStringLiteral("Daylight Colours"), QKeySequence(QStringLiteral("Ctrl+Alt+D")), [] {});
    light->setCheckable(true);
    const PropertyList* chosen = window_.show().preferences().find(daylightKey);
    light->setChecked(chosen && chosen->boolOr(false));
    if (light->isChecked()) applyLook(*qApp, Variant::light);
    QObject::connect(light, &QAction::toggled, &window_, [this](bool on) {
        window_.show().preferences().set(daylightKey, on);
        applyLook(*qApp, on ? Variant::light : Variant::dark);
        window_.refreshAll();
    });
}

void Menus::update() {
    const AppDelegate& application = window_.show().application();
    undo_->setText(withName(QStringLiteral("Undo"), application.undo.undoActionName()));
    const bool locked = application.isProjectLocked();
    undo_->setEnabled(application.undo.canUndo() && !locked);
    redo_->setText(withName(QStringLiteral("Redo"), application.undo.redoActionName()));
    redo_->setEnabled(application.undo.canRedo() && !locked);
    lock_->setText(locked ? QStringLiteral("Unlock Project") : QStringLiteral("Lock Project"));
    learn_->setChecked(application.prefs.number("midiLearn") != 0);
    addresses_->setChecked(application.prefs.number("needsShowOSC") != 0);
    followPlayhead_->setChecked(application.prefs.flag("followPlayheadDuringPlayback"));
    outputs_->setChecked(application.prefs.shouldDisplayOutValue());
    const bool has = window_.selected() != nullptr;
    for (QAction* action : forComposition_) action->setEnabled(has);
    for (QAction* action : forProject_) action->setEnabled(application.compositions.count() > 0);
    const CompositionSet& compositions = application.compositions;
    for (QAction* action : edits_) action->setEnabled(has && !locked);
    newComposition_->setEnabled(!locked);
    const bool moves = has && !locked;
    const std::int64_t row = compositions.selectedCompositionIndex();
    moveUp_->setEnabled(moves && row > 0);
    moveDown_->setEnabled(moves && row + 1 < static_cast<std::int64_t>(compositions.count()));
    for (QAction* action : addTrackMenu_->actions()) action->setEnabled(has && !locked);
    playPrevious_->setEnabled(application.master.triggerPrevButton.isEnabled());
    playNext_->setEnabled(application.master.triggerNextButton.isEnabled());
    const auto show = [](QAction* action, const MarvoButton& button) {
        action->setChecked(button.state());
        action->setEnabled(button.isEnabled());
    };
    show(queued_, application.master.queuedModeButton);
    show(queuedLoop_, application.master.queuedLoopButton);
    show(solo_, application.master.soloModeButton);
}

void Menus::rangePanelShown(bool shown) {
    range_->setChecked(shown);
}

void Menus::showAddTrackMenu(const QPoint& global) {
    if (!window_.show().application().compositions.isProjectLocked()) addTrackMenu_->popup(global);
}

} // namespace marvo::ui
