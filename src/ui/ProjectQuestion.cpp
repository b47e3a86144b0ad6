#include "ui/ProjectQuestion.h"

namespace marvo::ui {
namespace {

const char* const loseChanges = "You will lose any unsaved changes.";
const char* const loseChangesInCurrent = "You will lose any unsaved changes in your current project.";

} // namespace

const ProjectQuestion& quitQuestion() {
    static const ProjectQuestion question{
        "Are you sure you want to quit?", loseChanges, {"OK", "Cancel", "Save & Quit"}, Answer::third};
    return question;
}

const ProjectQuestion& newProjectQuestion() {
    static const ProjectQuestion question{"Are you sure you want to create a new project?",
                                          loseChanges,
                                          {"OK", "Cancel", "Save & New"},
                                          Answer::third};
    return question;
}

const ProjectQuestion& newProjectBeforeLoadingQuestion() {
    static const ProjectQuestion question{"Are you sure you want to create a new project?",
                                          loseChangesInCurrent,
                                          {"OK", "Cancel", "Save & New"},
                                          Answer::third};
    return question;
}

const ProjectQuestion& openProjectQuestion() {
    static const ProjectQuestion question{"Are you sure you want to open a project?",
                                          loseChangesInCurrent,
                                          {"OK", "Cancel", "Save & Open the Project"},
                                          Answer::third};
    return question;
}

const ProjectQuestion& deleteCompositionQuestion() {
    static const ProjectQuestion question{
        "Delete the composition?", "This action cannot be undone.", {"OK", "Cancel"}, Answer::cancel};
    return question;
}

ProjectQuestion rescueQuestion(const std::string& name, const std::string& when) {
    return {"Open the rescued copy of \"" + name + "\"?",
            "The project was left with unsaved changes. This copy of it was kept on " + when +
                ". The project's own file is as it was last saved.",
            {"Open the Copy", "Later", "Delete the Copy"},
            Answer::ok};
}

} // namespace marvo::ui
