#include "ui/InlineEditor.h"

#include <QApplication>
#include <QFocusEvent>
#include <QKeyEvent>

namespace marvo::ui {

InlineEditor::InlineEditor(const QString& text, const QRectF& where, const QString& accessibleName,
                           QWidget* parent)
    : QLineEdit(text, parent), before_(text), cameFrom_(QApplication::focusWidget()) {
    setAccessibleName(accessibleName);
    setGeometry(where.toAlignedRect());
    setTextMargins(-3, -3, -3, -3); // a painted field has less room around its text than one of a dialog
    selectAll();
    show();
    setFocus();
}

bool InlineEditor::take() {
    return text() == before_ || !onTake || onTake(text());
}

void InlineEditor::confirm() {
    if (take())
        end();
    else
        selectAll();
}

void InlineEditor::leave() {
    if (ended_) return;
    take();
    end();
}

void InlineEditor::end() {
    if (ended_) return;
    ended_ = true;
    if (hasFocus() && cameFrom_ && cameFrom_->isVisible()) cameFrom_->setFocus();
    hide();
    deleteLater();
    if (onEnd) onEnd();
}

bool InlineEditor::event(QEvent* event) {
    // A line of text leaves Alt and an arrow to the window, where they are commands.
    if (event->type() == QEvent::ShortcutOverride &&
        static_cast<QKeyEvent*>(event)->modifiers() & Qt::AltModifier) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Left || key == Qt::Key_Right || key == Qt::Key_Up || key == Qt::Key_Down)
            event->accept();
    }
    return QLineEdit::event(event);
}

void InlineEditor::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        end();
    } else if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        confirm();
    } else {
        QLineEdit::keyPressEvent(event);
    }
}

void InlineEditor::focusOutEvent(QFocusEvent* event) {
    QLineEdit::focusOutEvent(event);
    // Its own menu, or another window in front, leaves what is being typed alone.
    if (event->reason() != Qt::PopupFocusReason && event->reason() != Qt::ActiveWindowFocusReason) leave();
}

} // namespace marvo::ui
