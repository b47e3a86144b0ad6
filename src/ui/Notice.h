// Something the operator should know, in a window that waits for nobody: it takes neither the keyboard nor
// the mouse from the show, and stays until it is closed. Main thread.
#pragma once

#include <QDialog>
#include <QPointer>

class QLabel;

namespace marvo::ui {

class Notice : public QDialog {
public:
    // Deletes itself when closed. A text that already stands there is not shown a second time.
    static Notice* show(const QString& title, const QString& text, QWidget* parent);

private:
    Notice(const QString& title, const QString& text, QWidget* parent);
};

} // namespace marvo::ui
