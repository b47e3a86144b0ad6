#include "ui/LookStyle.h"

#include "ui/Look.h"

#include <QAbstractItemView>
#include <QPainter>
#include <QStyleOption>

#include <algorithm>

namespace marvo::ui {
namespace {

void drawTick(QPainter& painter, const QRectF& where) {
    const QPointF middle = where.center();
    const QPointF points[]{middle + QPointF(-4.5, 0), middle + QPointF(-1.5, 3), middle + QPointF(4.5, -3.5)};
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Look::current().text, 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(points, 3);
    painter.restore();
}

} // namespace

LookStyle::LookStyle() : QProxyStyle(QStringLiteral("Fusion")) {}

void LookStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                              const QWidget* widget) const {
    if (element == PE_IndicatorMenuCheckMark) {
        const auto* entry = qstyleoption_cast<const QStyleOptionMenuItem*>(option);
        if (entry ? entry->checked : bool(option->state & State_On)) drawTick(*painter, option->rect);
        return;
    }
    if (element == PE_IndicatorItemViewItemDrop) {
        // Of a list of rows: as wide as they are, and not only below the pointer. Nothing of it falls on an
        // item, so there is no frame to draw.
        const auto* view = qobject_cast<const QAbstractItemView*>(widget);
        if (!view || option->rect.isNull()) return;
        constexpr int thickness = 2;
        const int y = std::max(0, option->rect.top() - thickness / 2);
        painter->fillRect(QRect(0, y, view->viewport()->width(), thickness), Look::current().text);
        return;
    }
    QProxyStyle::drawPrimitive(element, option, painter, widget);
}

int LookStyle::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                         QStyleHintReturn* returned) const {
    // As a list below its field; as a menu over it, it would not show what is chosen.
    if (hint == SH_ComboBox_Popup) return 0;
    return QProxyStyle::styleHint(hint, option, widget, returned);
}

} // namespace marvo::ui
