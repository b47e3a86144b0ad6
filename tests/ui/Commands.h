// A show with its project commands, and an operator who answers from a list.
#pragma once

#include "ui/ProjectCommands.h"

#include "Show.h"

#include <deque>
#include <filesystem>
#include <functional>

namespace marvo::ui::testing {

using marvo::testing::Show;

class Operator final : public ProjectDialogs {
public:
    Answer ask(const ProjectQuestion& question) override {
        asked.push_back(question);
        if (whileAsked) whileAsked();
        if (answers.empty()) return Answer::cancel;
        const Answer answer = answers.front();
        answers.pop_front();
        return answer;
    }
    std::optional<std::string> chooseProjectToOpen() override {
        ++openPanels;
        if (whileAsked) whileAsked();
        return fileToOpen;
    }
    std::optional<std::string> chooseFileToSave(const std::string& suggestion) override {
        ++savePanels;
        suggested = suggestion;
        return fileToSave;
    }
    void tell(const std::string& title, const std::string& text) override {
        told.push_back(title + "\n" + text);
    }

    std::deque<Answer> answers;
    std::function<void()> whileAsked;
    std::optional<std::string> fileToOpen;
    std::optional<std::string> fileToSave;
    std::vector<ProjectQuestion> asked;
    std::vector<std::string> told;
    std::string suggested;
    int openPanels = 0;
    int savePanels = 0;
};

struct Commands {
    Commands() {
        show.application.onBeep = [this] { ++beeps; };
    }

    AppDelegate& application() { return show.application; }
    std::size_t compositions() { return show.application.compositions.count(); }
    // A project of one composition of that name in a file.
    std::string projectFile(const std::string& name) {
        const std::string path = show.file(name + ".mrv");
        writePropertyList(path,
                          marvo::testing::projectOf({marvo::testing::compositionOf(name, 30, 1.0f, {})}));
        return path;
    }
    // Rescue copies on the disk, also those that are worked on.
    std::vector<std::string> keptCopies() {
        std::vector<std::string> files;
        std::error_code error;
        for (const auto& each : std::filesystem::directory_iterator(show.file("state/Rescue"), error)) {
            if (each.path().extension() == ".mrv") files.push_back(each.path().string());
        }
        return files;
    }
    bool titleHasAsterisk() { return show.application.windowTitle().find("* (") != std::string::npos; }

    Show show;
    Operator person;
    RecentProjects recents{show.file("state")};
    RescueCopies rescues{show.file("state")};
    ProjectCommands commands{show.application, person, recents, rescues};
    int beeps = 0;
};

} // namespace marvo::ui::testing
