#include "ui/ProjectDrop.h"

#include "ui/ProjectCommands.h"

#include <QDropEvent>
#include <QMimeData>
#include <QTimer>
#include <QUrl>
#include <QWidget>

namespace marvo::ui {

ProjectDrop::ProjectDrop(ProjectCommands& commands, QWidget& window) : QObject(&window), commands_(commands) {
    window.setAcceptDrops(true);
    window.installEventFilter(this);
}

QString ProjectDrop::projectIn(const QMimeData& data) {
    const QList<QUrl> files = data.urls();
    if (files.size() != 1 || !files.first().isLocalFile()) return {};
    const QString path = files.first().toLocalFile();
    return path.endsWith(QStringLiteral(".mrv")) ? path : QString();
}

bool ProjectDrop::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::DragEnter && event->type() != QEvent::DragMove &&
        event->type() != QEvent::Drop)
        return QObject::eventFilter(watched, event);
    auto* drop = static_cast<QDropEvent*>(event);
    const QString path = projectIn(*drop->mimeData());
    if (path.isEmpty() || !(drop->possibleActions() & Qt::CopyAction)) {
        event->ignore();
        return true;
    }
    // The file stays where it is, whatever the file manager would rather do with it.
    drop->setDropAction(Qt::CopyAction);
    event->accept();
    if (event->type() == QEvent::Drop) {
        // The file manager waits until the drop is over, and a question may stand for long.
        QTimer::singleShot(0, this, [this, path] { commands_.openFile(path.toStdString()); });
    }
    return true;
}

} // namespace marvo::ui
