// The row of cues under the ruler. A double press makes a cue, a press selects one; what else can be done
// with them hangs on the popover and on drags. Main thread.
#pragma once

#include "ui/AreaView.h"

namespace marvo::ui {

class CueRowView final : public AreaView {
public:
    CueRowView(MarvoTimelineController& composition, SerialQueue& compQueue, QWidget* parent);

    // A cue was pressed twice.
    std::function<void(CueId cue, const QPoint& global)> onOpenCue;

protected:
    void paintContent(QPainter& painter, const QRectF& dirty) override;
    void paintMarker(QPainter& painter, const QRectF& column) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    bool event(QEvent* event) override;

private:
    CueId cueAt(QPointF point) const;

    MarvoTimelineController& composition_;
    SerialQueue& compQueue_;
};

} // namespace marvo::ui
