#include "ui/Icons.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace marvo::ui {
namespace {

QPainterPath polygon(std::initializer_list<QPointF> points) {
    QPainterPath path;
    bool first = true;
    for (const QPointF& point : points) {
        if (first)
            path.moveTo(point);
        else
            path.lineTo(point);
        first = false;
    }
    path.closeSubpath();
    return path;
}

QPainterPath rightward(double left, double right) {
    return polygon({{left, 0.18}, {right, 0.5}, {left, 0.82}});
}

QPainterPath leftward(double right, double left) {
    return polygon({{right, 0.18}, {left, 0.5}, {right, 0.82}});
}

void bar(QPainterPath& path, double x, double y, double width, double height) {
    path.addRect(QRectF(x, y, width, height));
}

QPainterPath filled(Icon icon) {
    QPainterPath path;
    path.setFillRule(Qt::WindingFill);
    switch (icon) {
    case Icon::play:
        return rightward(0.24, 0.84);
    case Icon::stop:
        bar(path, 0.22, 0.22, 0.56, 0.56);
        break;
    case Icon::record:
        path.addEllipse(QRectF(0.2, 0.2, 0.6, 0.6));
        break;
    case Icon::rewind:
        path = leftward(0.84, 0.34);
        bar(path, 0.18, 0.18, 0.11, 0.64);
        break;
    case Icon::previous:
        path = leftward(0.52, 0.14);
        path.addPath(leftward(0.88, 0.5));
        break;
    case Icon::next:
        path = rightward(0.12, 0.5);
        path.addPath(rightward(0.48, 0.86));
        break;
    case Icon::plus:
        bar(path, 0.43, 0.16, 0.14, 0.68);
        bar(path, 0.16, 0.43, 0.68, 0.14);
        break;
    case Icon::queue:
    case Icon::queueLoop:
        bar(path, 0.12, 0.2, 0.4, 0.12);
        bar(path, 0.12, 0.44, 0.4, 0.12);
        bar(path, 0.12, 0.68, 0.4, 0.12);
        if (icon == Icon::queue) path.addPath(rightward(0.6, 0.92));
        break;
    case Icon::bang:
        return polygon({{0.58, 0.06}, {0.2, 0.56}, {0.46, 0.56}, {0.38, 0.94}, {0.8, 0.4}, {0.52, 0.4}});
    case Icon::cue:
        return polygon({{0.2, 0.1}, {0.8, 0.1}, {0.8, 0.58}, {0.5, 0.9}, {0.2, 0.58}});
    case Icon::collapse:
        return polygon({{0.2, 0.66}, {0.5, 0.3}, {0.8, 0.66}});
    case Icon::expand:
        return polygon({{0.2, 0.34}, {0.5, 0.7}, {0.8, 0.34}});
    case Icon::lock:
    case Icon::lockOpen:
        bar(path, 0.22, 0.46, 0.56, 0.42);
        break;
    case Icon::good:
        path.addEllipse(QRectF(0.22, 0.22, 0.56, 0.56));
        break;
    default:
        break;
    }
    return path;
}

QPainterPath stroked(Icon icon) {
    QPainterPath path;
    switch (icon) {
    case Icon::loop:
        path.arcMoveTo(QRectF(0.16, 0.16, 0.68, 0.68), 60);
        path.arcTo(QRectF(0.16, 0.16, 0.68, 0.68), 60, 290);
        path.moveTo(0.66, 0.03);
        path.lineTo(0.68, 0.24);
        path.lineTo(0.9, 0.24);
        break;
    case Icon::queueLoop:
        path.arcMoveTo(QRectF(0.56, 0.3, 0.36, 0.4), 60);
        path.arcTo(QRectF(0.56, 0.3, 0.36, 0.4), 60, 290);
        break;
    case Icon::zoomIn:
    case Icon::zoomOut:
        path.addEllipse(QRectF(0.12, 0.12, 0.54, 0.54));
        path.moveTo(0.6, 0.6);
        path.lineTo(0.88, 0.88);
        path.moveTo(0.27, 0.39);
        path.lineTo(0.51, 0.39);
        if (icon == Icon::zoomIn) {
            path.moveTo(0.39, 0.27);
            path.lineTo(0.39, 0.51);
        }
        break;
    case Icon::syncOut:
        path.addEllipse(QRectF(0.1, 0.26, 0.48, 0.48));
        path.moveTo(0.34, 0.36);
        path.lineTo(0.34, 0.5);
        path.lineTo(0.44, 0.5);
        path.moveTo(0.66, 0.5);
        path.lineTo(0.94, 0.5);
        path.moveTo(0.82, 0.36);
        path.lineTo(0.95, 0.5);
        path.lineTo(0.82, 0.64);
        break;
    case Icon::power:
        path.arcMoveTo(QRectF(0.16, 0.18, 0.68, 0.68), 125);
        path.arcTo(QRectF(0.16, 0.18, 0.68, 0.68), 125, 290);
        path.moveTo(0.5, 0.08);
        path.lineTo(0.5, 0.48);
        break;
    case Icon::solo:
        path.moveTo(0.72, 0.28);
        path.cubicTo(0.62, 0.12, 0.28, 0.14, 0.28, 0.34);
        path.cubicTo(0.28, 0.54, 0.74, 0.44, 0.74, 0.67);
        path.cubicTo(0.74, 0.9, 0.34, 0.9, 0.25, 0.71);
        break;
    case Icon::lock:
        path.arcMoveTo(QRectF(0.32, 0.16, 0.36, 0.5), 0);
        path.arcTo(QRectF(0.32, 0.16, 0.36, 0.5), 0, 180);
        break;
    case Icon::lockOpen: // the shackle is up and hangs by one leg
        path.arcMoveTo(QRectF(0.32, 0.03, 0.36, 0.44), 0);
        path.arcTo(QRectF(0.32, 0.03, 0.36, 0.44), 0, 180);
        path.lineTo(0.32, 0.46);
        break;
    case Icon::trouble:
        path = polygon({{0.5, 0.1}, {0.93, 0.86}, {0.07, 0.86}});
        path.moveTo(0.5, 0.38);
        path.lineTo(0.5, 0.6);
        path.moveTo(0.5, 0.72);
        path.lineTo(0.5, 0.74);
        break;
    case Icon::away:
        path.addEllipse(QRectF(0.24, 0.24, 0.52, 0.52));
        break;
    default:
        break;
    }
    return path;
}

} // namespace

void drawIcon(QPainter& painter, Icon icon, const QRectF& where, const QColor& color) {
    if (icon == Icon::none) return;
    const double side = std::min(where.width(), where.height());
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(where.center() - QPointF(side / 2, side / 2));
    painter.scale(side, side);
    painter.fillPath(filled(icon), color);
    const QPainterPath lines = stroked(icon);
    if (!lines.isEmpty()) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(color, 0.1, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.drawPath(lines);
    }
    painter.restore();
}

} // namespace marvo::ui
