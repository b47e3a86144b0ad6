#include "ui/Fields.h"

#include "ui/Icons.h"
#include "ui/Look.h"

#include <QAbstractItemView>
#include <QPainter>
#include <QPainterPath>
#include <QStyledItemDelegate>
#include <QWheelEvent>

namespace marvo::ui {
namespace {

constexpr int box = 16;
constexpr int troubleSize = 36;

QSize sizeWithText(const QAbstractButton& button) {
    const int text = button.fontMetrics().horizontalAdvance(button.text());
    return {box + size::gap + text + 2, size::control};
}

QRectF boxOf(const QWidget& widget) {
    return QRectF(0.5, (widget.height() - box) / 2 + 0.5, box - 1, box - 1);
}

// Ground and frame of a box, and the text beside it.
void drawBeside(QPainter& painter, const QAbstractButton& button, const QPainterPath& outline) {
    const Look& look = Look::current();
    const bool on = button.isChecked();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(outline, on && button.isEnabled() ? look.focus : look.panel);
    const bool marked = button.hasFocus() || button.underMouse();
    painter.setPen(
        QPen(button.isEnabled() ? (marked ? look.focus : look.dimText) : look.line, marked ? 2 : 1));
    painter.drawPath(outline);
    painter.setPen(button.isEnabled() ? look.text : look.faintText);
    painter.setFont(button.font());
    painter.drawText(button.rect().adjusted(box + size::gap, 0, 0, 0), Qt::AlignLeft | Qt::AlignVCenter,
                     button.text());
}

} // namespace

QSize CheckBox::sizeHint() const {
    return sizeWithText(*this);
}

void CheckBox::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QRectF where = boxOf(*this);
    QPainterPath outline;
    outline.addRoundedRect(where, 3, 3);
    drawBeside(painter, *this, outline);
    if (!isChecked()) return;
    QPainterPath tick;
    tick.moveTo(where.left() + 3.5, where.top() + 8);
    tick.lineTo(where.left() + 6.5, where.top() + 11);
    tick.lineTo(where.left() + 11.5, where.top() + 4.5);
    const Look& look = Look::current();
    painter.setPen(
        QPen(isEnabled() ? look.onAccent : look.faintText, 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(tick);
}

QSize RadioButton::sizeHint() const {
    return sizeWithText(*this);
}

void RadioButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QRectF where = boxOf(*this);
    QPainterPath outline;
    outline.addEllipse(where);
    drawBeside(painter, *this, outline);
    if (!isChecked()) return;
    painter.setPen(Qt::NoPen);
    painter.setBrush(isEnabled() ? Look::current().onAccent : Look::current().faintText);
    painter.drawEllipse(where.center(), 3.5, 3.5);
}

ChoiceField::ChoiceField(QWidget* parent) : QComboBox(parent) {
    setItemDelegate(new QStyledItemDelegate(this)); // the one that follows the style sheet
}

void ChoiceField::showPopup() {
    view()->setAccessibleName(accessibleName());
    QComboBox::showPopup();
}

void ChoiceField::paintEvent(QPaintEvent*) {
    const Look& look = Look::current();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double ring = hasFocus() ? 2 : 1;
    const QRectF frame = QRectF(rect()).adjusted(ring / 2, ring / 2, -ring / 2, -ring / 2);
    painter.setBrush(underMouse() && isEnabled() ? look.control : look.panel);
    painter.setPen(QPen(hasFocus() ? look.focus : look.line, ring));
    painter.drawRoundedRect(frame, 3, 3);
    constexpr int markWidth = 22;
    const bool chosen = currentIndex() >= 0;
    painter.setPen(isEnabled() && chosen ? look.text : look.faintText);
    painter.setFont(font());
    const QRect where = rect().adjusted(7, 0, -markWidth, 0);
    painter.drawText(
        where, Qt::AlignLeft | Qt::AlignVCenter,
        fontMetrics().elidedText(chosen ? currentText() : placeholderText(), Qt::ElideRight, where.width()));
    const QPointF middle(width() - 0.5 - markWidth / 2.0, frame.center().y());
    QPainterPath mark;
    mark.moveTo(middle + QPointF(-4, -2));
    mark.lineTo(middle + QPointF(0, 2));
    mark.lineTo(middle + QPointF(4, -2));
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(isEnabled() ? look.dimText : look.faintText, 1.6, Qt::SolidLine, Qt::RoundCap));
    painter.drawPath(mark);
}

void ChoiceField::wheelEvent(QWheelEvent* event) {
    if (hasFocus()) {
        QComboBox::wheelEvent(event);
    } else {
        event->ignore();
    }
}

TroublePicture::TroublePicture(QWidget* parent) : QWidget(parent) {
    setFixedSize(troubleSize, troubleSize);
}

void TroublePicture::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    drawIcon(painter, Icon::trouble, rect(), Look::current().trouble);
}

} // namespace marvo::ui
