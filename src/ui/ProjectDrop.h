// Opens a project file that is dropped on a window, as one that was opened from outside.
//
// Only a single file that is named as a project is taken; over anything else the pointer says that it cannot
// be dropped. Main thread.
#pragma once

#include <QObject>

class QMimeData;
class QWidget;

namespace marvo::ui {

class ProjectCommands;

class ProjectDrop : public QObject {
public:
    // The commands outlive the window's last event.
    ProjectDrop(ProjectCommands& commands, QWidget& window);

    // The path of the one project file in it; empty when there is none, or more than one file.
    static QString projectIn(const QMimeData& data);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    ProjectCommands& commands_;
};

} // namespace marvo::ui
