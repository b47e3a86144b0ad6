// The window a run begins with: the last projects as pictures, and New, Open, Open Last.
//
// Shows the model and calls it: the list is RecentProjects, the commands are ProjectCommands. Pictures come
// out of the project files on a thread of their own, so that the window stands at once. Main thread.
#pragma once

#include "ui/ProjectCommands.h"
#include "ui/RecentProjects.h"
#include "ui/RecentView.h"

#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QWidget>

#include <array>
#include <functional>

namespace marvo {
class MarvoPreferencesController;
class PreferenceStore;
} // namespace marvo

namespace marvo::ui {

class QuicklookLoader;

class StartWindow : public QWidget {
public:
    // Everything outlives the window.
    StartWindow(ProjectCommands& commands, RecentProjects& recents, MarvoPreferencesController& preferences,
                const PreferenceStore& store);
    ~StartWindow() override;

    // What "showStartupWindow" says: absent or true opens the window at the start.
    static bool isWanted(const PreferenceStore& store);
    // Fills the four views anew; to be called before the window is shown and when the list has changed.
    void buildRecentsViews();

    RecentView& recentView(std::size_t index) { return *recentViews_[index]; }
    QPushButton& newButton() { return *new_; }
    QPushButton& openButton() { return *open_; }
    QPushButton& openLastButton() { return *openLast_; }
    QCheckBox& showAtStart() { return *showAtStart_; }

private:
    ProjectCommands& commands_;
    RecentProjects& recents_;
    MarvoPreferencesController& preferences_;
    QLabel* heading_ = nullptr;
    std::array<RecentView*, 4> recentViews_{};
    QPushButton* new_ = nullptr;
    QPushButton* open_ = nullptr;
    QPushButton* openLast_ = nullptr;
    QCheckBox* showAtStart_ = nullptr;
    std::unique_ptr<QuicklookLoader> loader_;
};

} // namespace marvo::ui
