// What the program asks before a project is left, in the words that operators know, and how it asks.
//
// Toolkit-free: the commands are tested without a display.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace marvo::ui {

// By place, from the left. Closing a question without a button is a cancel.
enum class Answer { ok, cancel, third };

struct ProjectQuestion {
    std::string message;
    std::string text;
    std::vector<std::string> buttons; // two or three, in the order of Answer
    Answer byReturnKey = Answer::cancel;
};

const ProjectQuestion& quitQuestion();
const ProjectQuestion& newProjectQuestion();
// Before a project is put in place of the present one: by a new one, or by one that is opened.
const ProjectQuestion& newProjectBeforeLoadingQuestion();
const ProjectQuestion& openProjectQuestion();
const ProjectQuestion& deleteCompositionQuestion();
// name: of the project; when: as a person reads it.
ProjectQuestion rescueQuestion(const std::string& name, const std::string& when);

// Main thread. The show plays on while one of the asking calls waits.
class ProjectDialogs {
public:
    virtual ~ProjectDialogs() = default;

    virtual Answer ask(const ProjectQuestion& question) = 0;
    // Panels that take ".mrv" alone; nothing when cancelled.
    virtual std::optional<std::string> chooseProjectToOpen() = 0;
    // suggestion: where the panel starts, a folder or a file; may be empty.
    virtual std::optional<std::string> chooseFileToSave(const std::string& suggestion) = 0;
    // Returns at once and takes no keyboard away.
    virtual void tell(const std::string& title, const std::string& text) = 0;
};

} // namespace marvo::ui
