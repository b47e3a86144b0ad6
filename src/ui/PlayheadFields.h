// Where the playhead stands, as hours, minutes, seconds and frames, large enough to be read from a step away;
// typed into, it moves. Main thread.
#pragma once

#include "composition/MarvoTimelineController.h"

#include <QWidget>

#include <functional>

namespace marvo::ui {

class InlineEditor;

class PlayheadFields : public QWidget {
public:
    PlayheadFields(MarvoTimelineController& composition, QWidget* parent);

    // Repaints when the playhead has moved.
    void follow();
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }
    // What was typed is no time.
    std::function<void()> onRefused;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void edit(int field);
    bool take(int field, const QString& text);
    QRectF fieldRect(int field) const;

    MarvoTimelineController& composition_;
    TimeFields shown_;
    bool shownRunning_ = false;
    InlineEditor* editor_ = nullptr;
};

} // namespace marvo::ui
