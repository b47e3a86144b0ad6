// The program on a desktop: the show, its windows, and what lies between them and the machine.
//
// The show runs whether or not a window stands; the windows are made after it and go before it. One in a
// process. Main thread, after the application object of the toolkit.
#pragma once

#include "headless/RunningShow.h"
#include "platform/RealtimeThread.h"
#include "ui/DisplayLoss.h"
#include "ui/EndOfProcess.h"
#include "ui/MainThreadPump.h"
#include "ui/MainWindow.h"
#include "ui/ProjectCommands.h"
#include "ui/ProjectQuestions.h"
#include "ui/RangePanel.h"
#include "ui/RecentProjects.h"
#include "ui/RescueCopies.h"
#include "ui/StartWindow.h"
#include "ui/WindowPlaces.h"

#include <QTimer>

#include <optional>

namespace marvo::ui {

class Desktop {
public:
    // The show is launched and renders. It outlives the desktop.
    Desktop(RunningShow& show, const RealtimeResult& granted);
    ~Desktop();
    Desktop(const Desktop&) = delete;
    Desktop& operator=(const Desktop&) = delete;

    // Shows the main window, and the start window where the preferences say so and nothing is open.
    void open();

    MainWindow& window() { return window_; }
    StartWindow& startWindow() { return start_; }
    ProjectCommands& commands() { return commands_; }

private:
    void follow();
    // As a project keeps the frame; text that says nothing leaves the window where it is.
    void placeWindow(const std::string& text);
    void endNow();
    void displayLost();

    RunningShow& show_;
    AppDelegate& application_;
    RecentProjects recents_;
    RescueCopies rescues_;
    ProjectQuestions questions_{nullptr};
    ProjectCommands commands_;
    WindowPlaces places_;
    MainWindow window_;
    RangePanel range_;
    StartWindow start_;
    EndOfProcess end_;
    DisplayLoss displayLoss_;
    MainThreadPump pump_;
    QTimer keepRescueCopy_;
};

} // namespace marvo::ui
