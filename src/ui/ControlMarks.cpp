#include "ui/ControlMarks.h"

#include "controls/LearnableControl.h"
#include "ui/Look.h"

#include <QPainter>
#include <QPainterPath>

namespace marvo::ui {

void drawControlMarks(QPainter& painter, const QRectF& where, const LearnableControl& control, bool lit) {
    const Look& look = Look::current();
    const QColor& mark = lit ? look.onAccent : look.focus;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    if (control.learnsMidi() && !control.ignoresMIDI()) {
        QColor ground = mark;
        ground.setAlpha(110);
        painter.fillRect(where, QBrush(ground, Qt::BDiagPattern));
        if (control.midiChannel() >= 0 && control.midiControl() >= 0) {
            QPainterPath corner(where.topRight());
            corner.lineTo(where.right() - 9, where.top());
            corner.lineTo(where.right(), where.top() + 9);
            corner.closeSubpath();
            painter.fillPath(corner, mark);
        }
    }
    if (control.needsShowOSC() && !control.oscAddress().empty()) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(mark, 1.2, Qt::DotLine));
        painter.drawRoundedRect(where.adjusted(1, 1, -1, -1), 3, 3);
    }
    if (control.needsHighlight()) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(mark, 2));
        painter.drawRoundedRect(where.adjusted(1, 1, -1, -1), 3, 3);
        painter.setPen(QPen(lit ? look.onAccent : look.text, 1));
        painter.drawRoundedRect(where.adjusted(3.5, 3.5, -3.5, -3.5), 2, 2);
    }
    painter.restore();
}

} // namespace marvo::ui
