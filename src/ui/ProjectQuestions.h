// The questions and panels of ProjectCommands as windows of the toolkit.
//
// A question stands in front of the main window; the toolkit's loop, and with it everything posted to the
// main thread, goes on meanwhile. Main thread.
#pragma once

#include "ui/ProjectQuestion.h"

#include <QPointer>
#include <QWidget>

namespace marvo::ui {

class ProjectQuestions final : public ProjectDialogs {
public:
    // window: in front of which to ask; may be null, and may go.
    explicit ProjectQuestions(QWidget* window) : window_(window) {}
    void setWindow(QWidget* window) { window_ = window; }

    Answer ask(const ProjectQuestion& question) override;
    std::optional<std::string> chooseProjectToOpen() override;
    std::optional<std::string> chooseFileToSave(const std::string& suggestion) override;
    void tell(const std::string& title, const std::string& text) override;

    // Closes what stands open, as a cancel: the process ends.
    void closeAll();

private:
    QPointer<QWidget> window_;
    QPointer<QWidget> open_;
    QString folder_; // where the last panel was
};

} // namespace marvo::ui
