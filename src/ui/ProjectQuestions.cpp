#include "ui/ProjectQuestions.h"

#include "ui/Notice.h"
#include "ui/QuestionBox.h"

#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>

namespace marvo::ui {
namespace {

const QString projectSuffix = QStringLiteral(".mrv");

void preparePanel(QFileDialog& panel) {
    panel.setNameFilter(QStringLiteral("Marvo projects (*.mrv)"));
    panel.setDefaultSuffix(QStringLiteral("mrv"));
    panel.setWindowModality(Qt::ApplicationModal);
    panel.resize(860, 520);
}

// Without one the toolkit would take what any panel has looked at last.
QString startOf(const QString& folder) {
    return folder.isEmpty() ? QDir::currentPath() : folder;
}

QString chosenIn(QFileDialog& panel) {
    return panel.exec() == QDialog::Accepted ? panel.selectedFiles().value(0) : QString();
}

} // namespace

Answer ProjectQuestions::ask(const ProjectQuestion& question) {
    QuestionBox box(question, window_);
    box.setWindowModality(Qt::ApplicationModal);
    open_ = &box;
    box.exec();
    return box.answer();
}

std::optional<std::string> ProjectQuestions::chooseProjectToOpen() {
    QFileDialog panel(window_, QStringLiteral("Open Project"), startOf(folder_));
    preparePanel(panel);
    panel.setAcceptMode(QFileDialog::AcceptOpen);
    panel.setFileMode(QFileDialog::ExistingFile);
    open_ = &panel;
    const QString path = chosenIn(panel);
    if (path.isEmpty()) return std::nullopt;
    if (!path.endsWith(projectSuffix)) {
        QApplication::beep();
        return std::nullopt;
    }
    folder_ = QFileInfo(path).absolutePath();
    return path.toStdString();
}

std::optional<std::string> ProjectQuestions::chooseFileToSave(const std::string& suggestion) {
    const QFileInfo suggested(QString::fromStdString(suggestion));
    QFileDialog panel(window_, QStringLiteral("Save Project As"),
                      suggested.isAbsolute() ? suggested.absolutePath() : startOf(folder_));
    preparePanel(panel);
    panel.setAcceptMode(QFileDialog::AcceptSave);
    panel.setFileMode(QFileDialog::AnyFile);
    panel.selectFile(suggested.fileName());
    open_ = &panel;
    QString path = chosenIn(panel);
    if (path.isEmpty()) return std::nullopt;
    if (!path.endsWith(projectSuffix)) {
        path += projectSuffix;
        // The panel asked about the name without it.
        if (QFileInfo::exists(path)) {
            const ProjectQuestion replace{"\"" + QFileInfo(path).fileName().toStdString() +
                                              "\" is there already. Replace it?",
                                          "The project in it will be lost.",
                                          {"OK", "Cancel"},
                                          Answer::cancel};
            if (ask(replace) != Answer::ok) return std::nullopt;
        }
    }
    folder_ = QFileInfo(path).absolutePath();
    return path.toStdString();
}

void ProjectQuestions::tell(const std::string& title, const std::string& text) {
    Notice::show(QString::fromStdString(title), QString::fromStdString(text), window_);
}

void ProjectQuestions::closeAll() {
    if (open_) open_->close();
}

} // namespace marvo::ui
