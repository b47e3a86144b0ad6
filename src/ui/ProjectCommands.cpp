#include "ui/ProjectCommands.h"

#include <filesystem>
#include <memory>
#include <utility>

namespace marvo::ui {
namespace {

bool fileExists(const std::string& path) {
    std::error_code error;
    return std::filesystem::exists(path, error);
}

} // namespace

ProjectCommands::ProjectCommands(AppDelegate& application, ProjectDialogs& dialogs, RecentProjects& recents,
                                 const RescueCopies& rescues)
    : application_(application), dialogs_(dialogs), recents_(recents), rescues_(rescues),
      keeper_(application, rescues, [&application](const std::string& line) { application.logLine(line); }) {
    application_.projectFile.projectGoes = [this] { keeper_.leave(); };
    application_.projectFile.loadBegins = [this] {
        if (onProjectComes) onProjectComes();
    };
    application_.projectFile.becameProject = [this](const std::string& path) {
        keeper_.forget();
        if (!rescues_.holds(path)) log(recents_.add(path));
        if (onRecentsChanged) onRecentsChanged();
        if (onTitle) onTitle();
    };
}

ProjectCommands::~ProjectCommands() {
    application_.projectFile.projectGoes = nullptr;
    application_.projectFile.loadBegins = nullptr;
    application_.projectFile.becameProject = nullptr;
}

Answer ProjectCommands::ask(const ProjectQuestion& question) {
    // A second command while a question stands (a remote one, a session that ends) must not stack another.
    if (asking_) return Answer::cancel;
    asking_ = true;
    const Answer answer = dialogs_.ask(question);
    asking_ = false;
    return answer;
}

bool ProjectCommands::mayLeave(const ProjectQuestion& question) {
    if (application_.compositions.count() == 0) {
        keeper_.giveUp();
        return true;
    }
    switch (ask(question)) {
    case Answer::ok:
        keeper_.giveUp();
        return true;
    case Answer::third:
        return saveProject();
    case Answer::cancel:
        break;
    }
    return false;
}

bool ProjectCommands::saved(const ProjectResult& result) {
    if (onTitle) onTitle();
    if (result.done) return true;
    application_.logLine(result.error);
    dialogs_.tell("The project could not be saved",
                  result.error +
                      "\n\nNothing is lost: the project is still open with all its changes. Save it "
                      "again, or to another place.");
    return false;
}

bool ProjectCommands::saveProject() {
    if (!application_.projectFile.projectURL()) return saveProjectAs();
    return saved(application_.saveProject());
}

bool ProjectCommands::saveProjectAs() {
    const ProjectFile& file = application_.projectFile;
    const std::optional<std::string> path =
        dialogs_.chooseFileToSave(file.projectURL().value_or(file.projectName() + ".mrv"));
    if (!path) {
        application_.displayProjectName();
        if (onTitle) onTitle();
        return false;
    }
    return saved(application_.projectFile.processSaveWithURL(*path));
}

void ProjectCommands::clearProject() {
    if (!mayLeave(newProjectQuestion())) return;
    if (onProjectComes) onProjectComes();
    application_.newProject();
    keeper_.forget();
    if (onTitle) onTitle();
}

bool ProjectCommands::askForNewProjectBeforeLoading(bool forNewProject) {
    return mayLeave(forNewProject ? newProjectBeforeLoadingQuestion() : openProjectQuestion());
}

bool ProjectCommands::load(const std::string& path) {
    LoadReport report;
    const ProjectResult result = application_.openProject(path, &report);
    if (onTitle) onTitle();
    if (!result.done) {
        keeper_.keepOn();
        application_.logLine(result.error);
        application_.beep();
        dialogs_.tell("The project could not be opened", result.error);
        return false;
    }
    for (const std::string& line : report.lines()) application_.logLine(line);
    if (!report.empty() && onRepairs) onRepairs(report);
    return true;
}

void ProjectCommands::openProject() {
    if (!askForNewProject()) return;
    application_.projectFile.removeProject();
    keeper_.forget();
    if (onTitle) onTitle();
    if (const std::optional<std::string> path = dialogs_.chooseProjectToOpen()) load(*path);
}

void ProjectCommands::openLastProject() {
    const std::optional<std::string> path = recents_.first();
    if (!path || !fileExists(*path)) {
        application_.beep();
        return;
    }
    if (askForNewProject()) load(*path);
}

void ProjectCommands::openProjectAtURL(const std::string& path) {
    if (!fileExists(path)) {
        application_.beep();
        if (onRecentsChanged) onRecentsChanged();
        return;
    }
    if (askForNewProject()) load(path);
}

bool ProjectCommands::openFile(const std::string& path) {
    if (std::filesystem::path(path).extension() != ".mrv") return false;
    if (askForNewProject()) load(path);
    return true;
}

void ProjectCommands::removeComposition() {
    CompositionSet& compositions = application_.compositions;
    if (compositions.isProjectLocked()) return;
    if (const MarvoTimelineController* selected = compositions.selectedComposition()) {
        const std::string identifier = selected->identifier();
        if (ask(deleteCompositionQuestion()) == Answer::ok) {
            // The list may have changed while the question stood.
            for (std::size_t i = 0; i < compositions.count(); ++i) {
                if (compositions.at(i).identifier() != identifier) continue;
                application_.removeCompositionAtIndex(static_cast<std::int64_t>(i));
                break;
            }
        }
    } else {
        application_.beep();
    }
    application_.validateMasterControls();
}

bool ProjectCommands::applicationShouldTerminate() {
    if (application_.prefs.disableConfirmOnQuit()) {
        application_.logLine("::: Quit without confirmation, so bye-bye!");
        keeper_.giveUp();
        keeper_.forget();
        return true;
    }
    if (!askForQuit()) return false;
    keeper_.forget();
    application_.logLine("::: Quit, so bye-bye!");
    return true;
}

bool ProjectCommands::askForQuit() {
    return mayLeave(quitQuestion());
}

void ProjectCommands::offerRescuedCopies() {
    rescues_.tidy();
    for (const RescueCopy& copy : rescues_.all()) {
        if (RescueCopies::isInUse(copy.file)) continue; // while another question stood
        switch (ask(rescueQuestion(copy.name, copy.when))) {
        case Answer::ok:
            openRescued(copy);
            return;
        case Answer::third:
            log(rescues_.remove(copy.file));
            break;
        case Answer::cancel:
            break;
        }
    }
}

void ProjectCommands::openRescued(const RescueCopy& copy) {
    auto taken = std::make_shared<RescueKeeper::Copy>();
    if (!RescueCopies::use(copy.file, taken->held)) {
        dialogs_.tell("The copy could not be opened", copy.file + ": another program works on it");
        return;
    }
    if (application_.hasUnsavedChanges() && !mayLeave(openProjectQuestion())) return;
    if (!load(copy.file)) return;
    keeper_.takeUp(std::move(taken));
    application_.projectFile.setProjectURL(copy.original);
    application_.projectChanged();
    if (onTitle) onTitle();
}

void ProjectCommands::log(const std::string& error) const {
    if (!error.empty()) application_.logLine(error);
}

} // namespace marvo::ui
