// A line of text over a painted field, for as long as somebody types into it.
//
// Return confirms: what cannot be taken leaves the editor with the text as typed. Leaving it takes what can
// be taken and drops the rest; Escape gives up. The keyboard then goes back to where it was. Deletes itself.
// Main thread.
#pragma once

#include <QLineEdit>
#include <QPointer>

#include <functional>

namespace marvo::ui {

class InlineEditor final : public QLineEdit {
public:
    // Stands over that part of the parent and has the keyboard from now on.
    InlineEditor(const QString& text, const QRectF& where, const QString& accessibleName, QWidget* parent);

    // Asked once with a text that differs from the first one. False: it cannot be, and nothing has changed.
    std::function<bool(const QString& text)> onTake;
    // It is over, whichever way; the editor may not be used any more.
    std::function<void()> onEnd;

    // As if the keyboard went elsewhere.
    void leave();
    // As Escape.
    void giveUp() { end(); }

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    bool take();
    void confirm();
    void end();

    const QString before_;
    const QPointer<QWidget> cameFrom_;
    bool ended_ = false;
};

} // namespace marvo::ui
