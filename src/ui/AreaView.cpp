#include "ui/AreaView.h"

#include "ui/Look.h"

#include <QNativeGestureEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace marvo::ui {

QRectF toQt(const SurfaceRect& rect) {
    return {rect.x, rect.y, rect.width, rect.height};
}

AreaView::AreaView(SurfaceArea which, QWidget* parent) : QWidget(parent), which_(which) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMouseTracking(true);
}

void AreaView::setSurface(TimelineSurface* surface) {
    surface_ = surface;
    contentChanged();
}

SurfacePoint AreaView::origin() const {
    return surface_ ? surface_->area(which_).origin() : SurfacePoint{};
}

SurfacePoint AreaView::inDocument(QPointF point) const {
    const SurfacePoint from = origin();
    return {point.x() + std::round(from.x), point.y() + std::round(from.y)};
}

double AreaView::markerLine(const QRectF& column) const {
    return std::min(column.center().x(), surface_->laneWidth() - std::round(origin().x) - 1.0);
}

void AreaView::needsDisplay(const SurfaceRect& rect) {
    if (!surface_) return;
    const bool isMarker = rect.width <= surface_->markerColumn(which_).width + 1.0;
    if (isMarker) update(markerShown_); // also where a zoom or another size has put it
    const SurfacePoint from = origin();
    // Cut first: far down a long composition a rectangle lies further away than an int can count.
    const QRect shown =
        QRectF(rect.x - std::round(from.x), rect.y - std::round(from.y), rect.width, rect.height)
            .intersected(QRectF(this->rect()).adjusted(-1, -1, 1, 1))
            .toAlignedRect()
            .adjusted(-1, -1, 1, 1)
            .intersected(this->rect());
    if (shown.isEmpty()) return;
    if (!isMarker) stale_ += shown;
    update(shown);
}

void AreaView::contentChanged() {
    stale_ = QRegion(rect());
    update();
}

void AreaView::scrolled() {
    const SurfacePoint now = origin();
    if (std::round(now.x) == std::round(shownOrigin_.x) && std::round(now.y) == std::round(shownOrigin_.y))
        return;
    shownOrigin_ = now;
    contentChanged();
}

void AreaView::resizeEvent(QResizeEvent*) {
    contentChanged();
}

void AreaView::renderStale(double ratio) {
    const QSize wanted = (QSizeF(size()) * ratio).toSize();
    if (picture_.size() != wanted) {
        picture_ = QImage(wanted, QImage::Format_RGB32);
        picture_.setDevicePixelRatio(ratio);
        stale_ = QRegion(rect());
    }
    if (stale_.isEmpty()) return;
    QPainter painter(&picture_);
    const SurfacePoint from = origin();
    for (const QRect& dirty : stale_) {
        painter.save();
        painter.setClipRect(dirty);
        painter.fillRect(dirty, Look::current().panel);
        painter.translate(-std::round(from.x), -std::round(from.y));
        if (surface_) paintContent(painter, QRectF(dirty).translated(std::round(from.x), std::round(from.y)));
        painter.restore();
    }
    stale_ = QRegion();
}

void AreaView::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    // Of what is painted on, which need not be the screen.
    const double ratio = painter.deviceTransform().m11();
    renderStale(ratio);
    // Whole, though only what is dirty reaches the screen: parts of it would not meet the pixels of a screen
    // whose scale is no whole number.
    painter.drawImage(QPointF(0, 0), picture_);
    markerShown_ -= event->region();
    if (!surface_) return;
    const SurfacePoint from = origin();
    const QRectF column =
        toQt(surface_->markerColumn(which_)).translated(-std::round(from.x), -std::round(from.y));
    if (!QRectF(event->rect()).intersects(column)) return;
    paintMarker(painter, column);
    const QRectF near = column.intersected(QRectF(rect()).adjusted(-1, -1, 1, 1));
    markerShown_ += event->region() & near.toAlignedRect().adjusted(-1, -1, 1, 1);
}

void AreaView::wheelEvent(QWheelEvent* event) {
    if (!surface_) return;
    if (surface_->scrollWheel(event->angleDelta().y(), event->modifiers() & Qt::ControlModifier)) {
        event->accept();
        return;
    }
    QPointF step =
        event->pixelDelta().isNull() ? QPointF(event->angleDelta()) / 2.0 : QPointF(event->pixelDelta());
    // A wheel has one axis; shift turns it.
    if (event->modifiers() & Qt::ShiftModifier && step.x() == 0.0) step = QPointF(step.y(), 0.0);
    const SurfacePoint from = surface_->area(SurfaceArea::lanes).origin();
    surface_->scrollTo(SurfaceArea::lanes, {from.x - step.x(), from.y - step.y()});
    event->accept();
}

bool AreaView::event(QEvent* event) {
    if (event->type() == QEvent::PaletteChange) contentChanged();
    if (event->type() == QEvent::NativeGesture && surface_) {
        const auto* gesture = static_cast<QNativeGestureEvent*>(event);
        if (gesture->gestureType() == Qt::ZoomNativeGesture) {
            surface_->magnifyWithEvent(gesture->value());
            return true;
        }
    }
    return QWidget::event(event);
}

} // namespace marvo::ui
