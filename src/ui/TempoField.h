// The tempo of a composition: dragged sideways, typed after a double click, learnable. Main thread.
#pragma once

#include "controls/MarvoControlTextField.h"

#include <QWidget>

namespace marvo::ui {

class InlineEditor;

class TempoField : public QWidget {
public:
    TempoField(MarvoControlTextField& control, QWidget* parent);

    // Repaints when what is shown has changed.
    void follow();
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    QString text() const;
    void startTyping();
    void endDrag();
    // x of the pointer within its screen.
    float onScreen(const QMouseEvent& event) const;

    MarvoControlTextField& control_;
    InlineEditor* editor_ = nullptr;
    QString shown_;
    unsigned shownModes_ = 0;
    bool dragging_ = false;
};

} // namespace marvo::ui
