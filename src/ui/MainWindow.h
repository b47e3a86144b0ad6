// The window: compositions on the left, the selected one on the right, the status below.
//
// A view of the model that exists: it holds no state of the show, and the show does not notice whether it is
// open, busy or gone. It follows the model once a frame of the screen and lets go of a composition before
// that goes. Main thread.
#pragma once

#include "headless/RunningShow.h"
#include "platform/RealtimeThread.h"
#include "surface/SurfacePreferences.h"

#include <QMainWindow>
#include <QTimer>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class QSplitter;

namespace marvo::ui {

class CompositionView;
class CompositionSettingsDialog;
class CompositionsPanel;
class CuePopover;
class Menus;
class ProjectCommands;
class ProjectDialogs;
class RangePanel;
class SortTracksDialog;
class StatusLine;

class MainWindow : public QMainWindow {
public:
    // All outlive the window but the panel, which belongs to it and is made right after it.
    MainWindow(RunningShow& show, const RealtimeResult& granted, ProjectCommands& commands,
               ProjectDialogs& dialogs, RangePanel& range);
    ~MainWindow() override;

    // What posted work has changed is noticed here, before anything is painted.
    void follow();
    CompositionView* compositionView() const { return view_; }
    CompositionsPanel& panel() const { return *panel_; }
    StatusLine& status() const { return *status_; }
    RunningShow& show() const { return show_; }
    MarvoTimelineController* selected() const;
    // Everything may look different now.
    void refreshAll();
    void showAddTrackMenu(const QPoint& global);
    void showCompositionMenu(const QPoint& global);
    void showCompositionSettings();
    void showSortTracks();
    ProjectCommands& commands() const { return commands_; }
    RangePanel& rangePanel() const { return range_; }
    // Which panels stand open, for the next start.
    void keepPanels();
    void rangePanelShown(bool shown);
    std::function<void()> onStartWindow;
    // As if the user had gone on to something else.
    void takeWhatIsTyped();
    // Everything here is up to the model now.
    std::function<void()> onFollowed;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void showSelected();
    void dropView();
    void letGo(const MarvoTimelineController& composition);
    void readPreferences();
    template <class Dialog, class Make>
    void showDialog(std::unique_ptr<Dialog>& dialog, Make make);

    RunningShow& show_;
    AppDelegate& application_;
    ProjectCommands& commands_;
    ProjectDialogs& dialogs_;
    RangePanel& range_;
    SurfacePreferences surfacePreferences_;
    CompositionsPanel* panel_;
    QSplitter* splitter_;
    QWidget* empty_;
    CompositionView* view_ = nullptr;
    std::unique_ptr<CuePopover> cuePopover_;
    std::unique_ptr<CompositionSettingsDialog> settingsDialog_;
    std::unique_ptr<SortTracksDialog> sortDialog_;
    StatusLine* status_;
    std::unique_ptr<Menus> menus_;
    QTimer frame_;
    QTimer slow_;
    std::vector<std::string> shownList_;
    std::int64_t shownRow_ = -2;
    std::string shownTitle_;
    Observation projectChanged_;
    Observation redraw_;
    std::atomic<bool> everythingChanged_ = false; // a tempo over OSC sets it on its own thread
    bool keyboardWasInView_ = false;
};

} // namespace marvo::ui
