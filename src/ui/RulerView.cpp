#include "ui/RulerView.h"

#include "ui/Look.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace marvo::ui {

RulerView::RulerView(MarvoTimelineController& composition, QWidget* parent)
    : AreaView(SurfaceArea::ruler, parent), composition_(composition) {
    setFixedHeight(size::ruler);
    setAccessibleName(QStringLiteral("Ruler"));
    setToolTip(QStringLiteral("Press to move the playhead; drag the bar or its ends for the working area"));
}

void RulerView::paintContent(QPainter& painter, const QRectF& dirty) {
    const Look& look = Look::current();
    const double tall = height();
    painter.fillRect(dirty, look.panel);
    const QRectF bar = toQt(
        turnedOver(surface()->ruler().workingAreaBar(composition_.inTime(), composition_.outTime()), tall));
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(look.selection);
    painter.drawRoundedRect(bar.adjusted(0, 1, 0, -1), 3, 3);
    painter.setBrush(look.dimText);
    painter.drawRect(QRectF(bar.left(), bar.top() + 1, 3, bar.height() - 2));
    painter.drawRect(QRectF(bar.right() - 3, bar.top() + 1, 3, bar.height() - 2));
    painter.setRenderHint(QPainter::Antialiasing, false);

    const QFont font = digitFont(11);
    const QFontMetricsF metrics(font);
    painter.setFont(font);
    const RulerTicks ruler(composition_.compTime(), composition_.compFPS(), surface()->rulerWidth());
    const auto labelSize = [&metrics](std::string_view label) {
        const QString text = QString::fromUtf8(label.data(), static_cast<qsizetype>(label.size()));
        return SurfaceSize{metrics.horizontalAdvance(text), metrics.height()};
    };
    ruler.ticksIn({dirty.x(), 0.0, dirty.width(), tall}, labelSize, ticks_);
    // Labels that would run into each other give way: every second one stays, or every third.
    const TimelineGeometry geometry = surface()->geometry();
    const double secondsApart = geometry.hasLength()
                                    ? static_cast<double>(ruler.everyNthSecond() * composition_.compFPS()) *
                                          surface()->laneWidth() / static_cast<double>(geometry.length())
                                    : 0.0;
    const auto eachLabel = static_cast<std::int64_t>(
        std::ceil((metrics.horizontalAdvance(QStringLiteral("59s")) + 6.0) / std::max(secondsApart, 1.0)));
    for (const RulerTick& tick : ticks_) {
        const QColor ink = tick.kind == RulerTick::Kind::frame    ? look.line
                           : tick.kind == RulerTick::Kind::second ? look.faintText
                                                                  : look.dimText;
        painter.fillRect(QRectF(tick.x, tall - tick.height, 1, tick.height), ink);
        if (tick.label.empty()) continue;
        if (tick.kind == RulerTick::Kind::second &&
            std::atoll(tick.label.c_str()) / ruler.everyNthSecond() % eachLabel != 0)
            continue;
        painter.setPen(tick.kind == RulerTick::Kind::minute ? look.text : look.dimText);
        painter.drawText(QPointF(tick.labelOrigin.x, tall - tick.labelOrigin.y - metrics.descent()),
                         QString::fromStdString(tick.label));
    }
    painter.fillRect(QRectF(dirty.x(), tall - 1, dirty.width(), 1), look.line);
}

void RulerView::paintMarker(QPainter& painter, const QRectF& column) {
    const Look& look = Look::current();
    const QColor ink = composition_.isRunning() ? look.plays : look.text;
    const double x = column.center().x();
    const double tall = height();
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath handle;
    handle.moveTo(x - 7, tall - 20);
    handle.lineTo(x + 7, tall - 20);
    handle.lineTo(x + 7, tall - 11);
    handle.lineTo(x, tall - 2);
    handle.lineTo(x - 7, tall - 11);
    handle.closeSubpath();
    painter.fillPath(handle, ink);
}

void RulerView::mousePressEvent(QMouseEvent* event) {
    if (!surface()) return;
    if (isDragging()) {
        // Another button joins in; without the left one the release has gone astray.
        if (event->button() != Qt::LeftButton && event->buttons() & Qt::LeftButton) return;
        endDrag();
    }
    const bool asMenu = event->button() == Qt::RightButton ||
                        (event->button() == Qt::LeftButton && event->modifiers() & Qt::ControlModifier);
    if (asMenu) {
        if (onMenu) onMenu(event->globalPosition().toPoint());
        return;
    }
    if (event->button() != Qt::LeftButton) return;
    const SurfacePoint point = turnedOver(inDocument(event->position()), height());
    part_ = surface()->ruler().throttlerPartAtPoint(point, composition_.inTime(), composition_.outTime());
    if (part_ && composition_.isProjectLocked()) {
        part_.reset();
        return composition_.beep();
    }
    dragsMarker_ = !part_;
    if (part_) composition_.markerController.setHelperXForThrottlerDragMe(point.x);
    if (dragsMarker_) dragTo(point.x, event->modifiers());
}

void RulerView::mouseMoveEvent(QMouseEvent* event) {
    if (!surface()) return;
    // A window that comes in between swallows the release.
    if (!(event->buttons() & Qt::LeftButton)) endDrag();
    const SurfacePoint point = inDocument(event->position());
    if (!isDragging()) {
        const auto over = surface()->ruler().throttlerPartAtPoint(
            turnedOver(point, height()), composition_.inTime(), composition_.outTime());
        setCursor(!over                          ? Qt::ArrowCursor
                  : *over == ThrottlerPart::body ? Qt::OpenHandCursor
                                                 : Qt::SizeHorCursor);
        return;
    }
    surface()->handleScrollAtLocation(SurfaceArea::ruler, {event->position().x(), event->position().y()});
    dragTo(inDocument(event->position()).x, event->modifiers());
}

void RulerView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) endDrag();
}

void RulerView::endDrag() {
    part_.reset();
    dragsMarker_ = false;
}

void RulerView::dragTo(double x, Qt::KeyboardModifiers modifiers) {
    MarvoTimelineMarkerController& marker = composition_.markerController;
    if (part_) {
        marker.throttlerMovedToPoint(x, *part_, modifiers & Qt::ShiftModifier);
        contentChanged();
    } else {
        marker.moveMarkerToPos(static_cast<float>(x));
    }
}

} // namespace marvo::ui
