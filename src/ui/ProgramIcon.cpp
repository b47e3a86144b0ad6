#include "ui/ProgramIcon.h"

#include "ui/Look.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

namespace marvo::ui {
namespace {

QPixmap drawn(int size) {
    QPixmap picture(size, size);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(size, size);
    const Look& look = Look::dark(); // the desktop's ground is not known: it brings its own
    painter.setPen(Qt::NoPen);
    painter.setBrush(look.lane);
    painter.drawRoundedRect(QRectF(0.03, 0.03, 0.94, 0.94), 0.18, 0.18);

    QPainterPath curve(QPointF(0.14, 0.74));
    curve.cubicTo(QPointF(0.42, 0.74), QPointF(0.44, 0.30), QPointF(0.86, 0.26));
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(look.text, 0.09, Qt::SolidLine, Qt::RoundCap));
    painter.drawPath(curve);

    constexpr double x = 0.52; // of the playhead
    painter.setPen(QPen(look.plays, 0.07));
    painter.drawLine(QPointF(x, 0.16), QPointF(x, 0.88));
    painter.setPen(Qt::NoPen);
    painter.setBrush(look.plays);
    painter.drawPolygon(
        QPolygonF{{x - 0.13, 0.12}, {x + 0.13, 0.12}, {x + 0.13, 0.22}, {x, 0.34}, {x - 0.13, 0.22}});
    return picture;
}

} // namespace

QIcon programIcon() {
    QIcon icon;
    for (const int size : {16, 22, 24, 32, 48, 64, 128, 256}) icon.addPixmap(drawn(size));
    return icon;
}

} // namespace marvo::ui
