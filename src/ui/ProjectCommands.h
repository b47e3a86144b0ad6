// New, open, save, quit and delete as the operator gives them, with the questions they ask before something
// is left behind.
//
// Nothing unsaved goes without a word: a save that fails, or whose panel is cancelled, ends the command that
// asked for it, and a rescue copy of what is unsaved is kept and offered at the next start. Holds no
// state of the show. Main thread.
#pragma once

#include "app/AppDelegate.h"
#include "ui/ProjectQuestion.h"
#include "ui/RecentProjects.h"
#include "ui/RescueCopies.h"
#include "ui/RescueKeeper.h"

#include <functional>
#include <string>

namespace marvo::ui {

class ProjectCommands {
public:
    // Everything outlives the commands. Loads and saves from now on enter the recent projects, whoever asks
    // for them.
    ProjectCommands(AppDelegate& application, ProjectDialogs& dialogs, RecentProjects& recents,
                    const RescueCopies& rescues);
    ~ProjectCommands();
    ProjectCommands(const ProjectCommands&) = delete;
    ProjectCommands& operator=(const ProjectCommands&) = delete;

    // A project is about to be shown: close the start window and bring the main window forward.
    std::function<void()> onProjectComes;
    // The title may have changed.
    std::function<void()> onTitle;
    // Repairs of a load that worked.
    std::function<void(const LoadReport&)> onRepairs;
    // A recent project turned out to be gone.
    std::function<void()> onRecentsChanged;

    // True when the project is on the disk. Without a file of its own it asks for one.
    bool saveProject();
    bool saveProjectAs();
    // A new project with one composition.
    void clearProject();
    // May the present project be left? A question unless there is nothing to lose.
    bool askForNewProjectBeforeLoading(bool forNewProject);
    bool askForNewProject() { return askForNewProjectBeforeLoading(false); }
    // The present project goes before the panel opens: cancelling that leaves an empty one.
    void openProject();
    void openLastProject();
    void openProjectAtURL(const std::string& path);
    // A document given from outside; false for one that is not a project.
    bool openFile(const std::string& path);
    void removeComposition();

    // True when the program may end; asks where the preferences say so.
    bool applicationShouldTerminate();
    bool askForQuit();

    // The program is being ended and nobody can be asked: keeps what is unsaved as a rescue copy. May be
    // called again. Without a file and without an error there was nothing to keep.
    RescueKeeper::Written endWithoutAsking() { return keeper_.keepNow(); }
    // Keeps what is unsaved against an end that nobody foresees. Call it every few seconds. False while the
    // disk still takes what was kept before.
    bool keepRescueCopy(const Clock& clock) { return keeper_.follow(clock); }
    // Asks what to do with each copy that a run of before has left; ends with the first that is opened.
    void offerRescuedCopies();

private:
    Answer ask(const ProjectQuestion& question);
    bool mayLeave(const ProjectQuestion& question);
    bool saved(const ProjectResult& result);
    bool load(const std::string& path);
    void openRescued(const RescueCopy& copy);
    void log(const std::string& error) const;

    AppDelegate& application_;
    ProjectDialogs& dialogs_;
    RecentProjects& recents_;
    const RescueCopies& rescues_;
    RescueKeeper keeper_;
    bool asking_ = false;
};

} // namespace marvo::ui
