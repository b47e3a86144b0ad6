// The ruler: time, playhead and working area. A press on the bar along the upper edge takes the working area
// or one of its ends, a press elsewhere moves the playhead. Main thread.
#pragma once

#include "surface/RulerTicks.h"
#include "ui/AreaView.h"

#include <optional>

namespace marvo::ui {

class RulerView final : public AreaView {
public:
    RulerView(MarvoTimelineController& composition, QWidget* parent);

    // The right button, or control with the left one.
    std::function<void(const QPoint& global)> onMenu;

protected:
    void paintContent(QPainter& painter, const QRectF& dirty) override;
    void paintMarker(QPainter& painter, const QRectF& column) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    bool isDragging() const { return part_ || dragsMarker_; }
    void endDrag();
    void dragTo(double x, Qt::KeyboardModifiers modifiers);

    MarvoTimelineController& composition_;
    std::optional<ThrottlerPart> part_;
    bool dragsMarker_ = false;
    std::vector<RulerTick> ticks_;
};

} // namespace marvo::ui
