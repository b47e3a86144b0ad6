#include "ui/MainWindow.h"

#include "ui/CompositionSettingsDialog.h"
#include "ui/CompositionView.h"
#include "ui/CompositionsPanel.h"
#include "ui/CuePopover.h"
#include "ui/CueRowView.h"
#include "ui/InlineEditor.h"
#include "ui/Look.h"
#include "ui/Menus.h"
#include "ui/ProjectCommands.h"
#include "ui/RangePanel.h"
#include "ui/ShownComposition.h"
#include "ui/SortTracksDialog.h"
#include "ui/StatusLine.h"
#include "ui/TransportRow.h"

#include <QApplication>
#include <QCloseEvent>
#include <QLabel>
#include <QMenu>
#include <QScreen>
#include <QSplitter>
#include <QVBoxLayout>

#include <utility>

namespace marvo::ui {
namespace {

constexpr int frameInterval = 16;   // ms: a frame of most screens
constexpr int statusInterval = 250; // ms

} // namespace

MainWindow::MainWindow(RunningShow& show, const RealtimeResult& granted, ProjectCommands& commands,
                       ProjectDialogs& dialogs, RangePanel& range)
    : show_(show), application_(show.application()), commands_(commands), dialogs_(dialogs), range_(range) {
    setMinimumHeight(520); // the width is that of the rows of controls
    // Nobody tells how much of a screen the desktop keeps for its bars and frames.
    resize(QSize(1600, 900).boundedTo(screen()->availableSize() * 9 / 10));
    panel_ = new CompositionsPanel(application_, this);
    empty_ = new QLabel(QStringLiteral("No composition is selected"), this);
    static_cast<QLabel*>(empty_)->setAlignment(Qt::AlignCenter);
    splitter_ = new QSplitter(this);
    splitter_->addWidget(panel_);
    splitter_->addWidget(empty_);
    splitter_->setHandleWidth(1);
    splitter_->setChildrenCollapsible(false);
    splitter_->setStretchFactor(0, 0);
    splitter_->setStretchFactor(1, 1);
    splitter_->setSizes({size::listWidth, 1280});
    status_ = new StatusLine(show, granted, this);
    auto* middle = new QWidget(this);
    auto* column = new QVBoxLayout(middle);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(splitter_, 1);
    column->addWidget(status_);
    setCentralWidget(middle);
    menus_ = std::make_unique<Menus>(*this);

    panel_->onEnableMenu = [this](const QPoint& at) { showCompositionMenu(at); };
    panel_->onRemove = [this] { commands_.removeComposition(); };
    panel_->onSelected = [this] { follow(); };
    application_.compositions.onCompositionGoes = [this](MarvoTimelineController& composition) {
        letGo(composition);
    };
    application_.onUpdateTable = [this] { panel_->updateTable(); };
    for (const auto& [name, reason] : show_.troubles().present()) status_->setTrouble(name, reason);
    show_.onTrouble = [this](const std::string& name, const std::string& reason) {
        status_->setTrouble(name, reason);
    };
    show_.onOutputTrouble = [this](const OutputTrouble& trouble) {
        if (trouble.kind == OutputTrouble::Kind::tooLarge) {
            // Of one message: nothing will ever tell that it is over.
            status_->say(QString::fromStdString(trouble.label + ": " + trouble.reason), true);
            return;
        }
        const std::string reason = trouble.began ? trouble.reason : "";
        status_->setTrouble(trouble.label, reason);
    };
    projectChanged_ = application_.notifications().observe(
        application_.names().ProjectChanged, [this](const auto&) { everythingChanged_ = true; });
    redraw_ = application_.notifications().observe(application_.names().RedrawViews,
                                                   [this](const auto&) { everythingChanged_ = true; });

    frame_.setTimerType(Qt::PreciseTimer);
    connect(&frame_, &QTimer::timeout, this, [this] { follow(); });
    frame_.start(frameInterval);
    connect(&slow_, &QTimer::timeout, this, [this] { status_->refresh(); });
    slow_.start(statusInterval);
    panel_->takeKeyboard();
    follow();
}

MainWindow::~MainWindow() {
    application_.compositions.onCompositionGoes = nullptr;
    application_.onUpdateTable = nullptr;
    application_.infoDisplay.onChange = nullptr;
    show_.onTrouble = nullptr;
    show_.onOutputTrouble = nullptr;
    settingsDialog_.reset();
    sortDialog_.reset();
    cuePopover_.reset();
    delete view_;
}

MarvoTimelineController* MainWindow::selected() const {
    return application_.compositions.selectedComposition();
}

void MainWindow::readPreferences() {
    surfacePreferences_.zoomToPlayhead = application_.prefs.flag("zoomToPlayhead");
    surfacePreferences_.followPlayheadDuringPlayback =
        application_.prefs.flag("followPlayheadDuringPlayback");
}

void MainWindow::follow() {
    std::vector<std::string> list = application_.compositions.compositionNames();
    const std::int64_t row = application_.compositions.selectedCompositionIndex();
    const bool isOtherList = list != shownList_;
    if (isOtherList || row != shownRow_) {
        shownList_ = std::move(list);
        shownRow_ = row;
        if (isOtherList)
            panel_->reload();
        else
            panel_->showSelection();
        menus_->update();
    }
    if ((view_ ? &view_->composition() : nullptr) != selected()) showSelected();
    if (application_.windowTitle() != shownTitle_) {
        shownTitle_ = application_.windowTitle();
        setWindowTitle(QString::fromStdString(shownTitle_));
    }
    if (everythingChanged_.exchange(false)) {
        refreshAll();
    }
    panel_->follow();
    if (view_) view_->follow();
    if (cuePopover_) cuePopover_->follow();
    if (onFollowed) onFollowed();
    if (settingsDialog_) settingsDialog_->follow();
    if (sortDialog_) sortDialog_->follow();
}

void MainWindow::refreshAll() {
    readPreferences();
    application_.updateInfoDisplay(); // an undo changes lengths without a word to it
    if (view_) view_->contentChanged();
    menus_->update();
}

void MainWindow::dropView() {
    // The keyboard goes to the table and not to whatever comes next: that would be a button.
    if (view_ && view_->isAncestorOf(QApplication::focusWidget())) {
        keyboardWasInView_ = true;
        panel_->takeKeyboard();
    }
    cuePopover_.reset();
    delete view_;
    view_ = nullptr;
}

void MainWindow::takeWhatIsTyped() {
    if (cuePopover_) cuePopover_->close();
    if (!view_) return;
    for (QWidget* field : view_->findChildren<QWidget*>()) {
        if (auto* typing = dynamic_cast<InlineEditor*>(field)) typing->leave();
    }
}

void MainWindow::showSelected() {
    takeWhatIsTyped();
    dropView();
    readPreferences();
    MarvoTimelineController* composition = selected();
    empty_->setVisible(!composition); // first, so that the view is made in the size that it keeps
    if (composition) {
        view_ = new CompositionView(*composition, application_.services(), surfacePreferences_, splitter_);
        view_->transport().onAddTrack = [this](const QPoint& at) { showAddTrackMenu(at); };
        view_->transport().onRefused = [this] { application_.beep(); };
        view_->transport().onEnableMenu = [this](const QPoint& at) { showCompositionMenu(at); };
        cuePopover_ = std::make_unique<CuePopover>(application_, *composition, composition->cueEdits, view_);
        view_->cues().onOpenCue = [this](CueId cue, const QPoint& at) {
            application_.services().compQueue.sync([&] {
                MarvoCueController& cues = view_->composition().cueController;
                cues.selectOnly(cue);
                cues.setActiveCue(cue);
            });
            cuePopover_->showNumberOfLoopsPopoverForActiveCue(at);
        };
        view_->onSelectionChanged = [this] { menus_->update(); };
        view_->onDelete = [this] {
            if (!application_.controlHub().midiLearn()) return false;
            application_.controlHub().removeCurrentMidi();
            return true;
        };
        splitter_->insertWidget(1, view_);
        splitter_->setStretchFactor(1, 1);
        view_->show();
        splitter_->refresh();
        if (std::exchange(keyboardWasInView_, false)) view_->takeKeyboard();
    }
    menus_->update();
}

void MainWindow::letGo(const MarvoTimelineController& composition) {
    if (!view_ || &view_->composition() != &composition) return;
    // What goes is not edited any more.
    for (QWidget* field : view_->findChildren<QWidget*>()) {
        if (auto* typing = dynamic_cast<InlineEditor*>(field)) typing->giveUp();
    }
    dropView();
    empty_->show();
}

void MainWindow::showAddTrackMenu(const QPoint& global) {
    menus_->showAddTrackMenu(global);
}

void MainWindow::showCompositionMenu(const QPoint& global) {
    MarvoTimelineController* composition = selected();
    if (!composition) return;
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    MasterTransport& master = application_.master;
    menu->addAction(QStringLiteral("Solo"), this,
                    [&master, opened = ShownComposition(application_, *composition)] {
                        if (MarvoTimelineController* still = opened.get()) master.doSoloComp(*still);
                    })
        ->setEnabled(composition->state.compState);
    menu->addSeparator();
    menu->addAction(QStringLiteral("Mute All"), this, [&master] { master.doMuteComps(); })
        ->setEnabled(application_.compositions.hasEnabledComps());
    menu->addAction(QStringLiteral("Unmute All"), this, [&master] { master.doUnmuteComps(); })
        ->setEnabled(application_.compositions.hasMutedComps());
    menu->popup(global);
}

// Beside the main window and not in front of it: whoever sets a length must still be able to stop the show.
template <class Dialog, class Make>
void MainWindow::showDialog(std::unique_ptr<Dialog>& dialog, Make make) {
    MarvoTimelineController* composition = selected();
    if (!composition) return;
    if (dialog && dialog->isVisible() && dialog->isOf(*composition)) {
        dialog->raise();
        dialog->activateWindow();
        return;
    }
    if (dialog && dialog->isVisible()) dialog->reject();
    dialog = make(*composition);
    connect(dialog.get(), &QDialog::finished, this, [this] { refreshAll(); });
    QWidget& shown = *dialog;
    shown.show();
    shown.activateWindow();
}

void MainWindow::showCompositionSettings() {
    showDialog(settingsDialog_, [this](MarvoTimelineController& composition) {
        return std::make_unique<CompositionSettingsDialog>(application_, dialogs_, composition, this);
    });
}

void MainWindow::showSortTracks() {
    showDialog(sortDialog_, [this](MarvoTimelineController& composition) {
        return std::make_unique<SortTracksDialog>(application_, composition, this);
    });
}

void MainWindow::keepPanels() {
    application_.prefs.change("rangeSelectPanelVisible", std::int64_t{range_.isVisible()});
}

void MainWindow::rangePanelShown(bool shown) {
    menus_->rangePanelShown(shown);
}

void MainWindow::closeEvent(QCloseEvent* event) {
    if (!commands_.applicationShouldTerminate()) {
        event->ignore();
        return;
    }
    keepPanels(); // before the toolkit closes them all
    event->accept();
    QApplication::quit();
}

} // namespace marvo::ui
