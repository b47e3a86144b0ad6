#include "ui/ControlButton.h"

#include "ui/ControlMarks.h"
#include "ui/Look.h"

#include <QContextMenuEvent>
#include <QMouseEvent>
#include <QPainter>

namespace marvo::ui {
namespace {

const QColor& accentColor(Accent accent) {
    const Look& look = Look::current();
    switch (accent) {
    case Accent::plays:
        return look.plays;
    case Accent::records:
        return look.records;
    case Accent::trouble:
        return look.trouble;
    case Accent::none:
        break;
    }
    return look.text;
}

} // namespace

ControlButton::ControlButton(MarvoButton& control, Icon icon, const QString& name, QWidget* parent)
    : QWidget(parent), control_(control), icon_(icon), onIcon_(icon), name_(name), shown_(look()) {
    setFocusPolicy(Qt::TabFocus);
    setAccessibleName(name);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    updateToolTip();
}

void ControlButton::setAccent(Accent accent) {
    accent_ = accent;
}

void ControlButton::setOnIcon(Icon icon) {
    onIcon_ = icon;
}

void ControlButton::setLabel(const QString& label) {
    label_ = label;
    updateGeometry();
}

void ControlButton::setShortcutText(const QString& shortcut) {
    shortcut_ = shortcut;
    updateToolTip();
}

void ControlButton::updateToolTip() {
    setToolTip(shortcut_.isEmpty() ? name_ : QStringLiteral("%1 (%2)").arg(name_, shortcut_));
}

ControlButton::Shown ControlButton::look() const {
    return {control_.state(),
            control_.isEnabled(),
            control_.learnsMidi() && !control_.ignoresMIDI(),
            control_.midiChannel() >= 0 && control_.midiControl() >= 0,
            control_.needsShowOSC() && !control_.oscAddress().empty(),
            control_.needsHighlight()};
}

void ControlButton::follow() {
    const Shown now = look();
    if (now == shown_) return;
    shown_ = now;
    update();
}

QSize ControlButton::sizeHint() const {
    int width = icon_ == Icon::none ? size::gap * 2 : size::control + 4;
    if (!label_.isEmpty())
        width += QFontMetrics(typeFont(Type::normal)).horizontalAdvance(label_) + size::gap;
    return {width, size::control};
}

void ControlButton::paintEvent(QPaintEvent*) {
    const Look& colors = Look::current();
    shown_ = look();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const bool lit = shown_.on && control_.cachedButtonType() == toggleButtonType;
    QColor ground = pressed_ ? colors.pressed : hovered_ ? colors.hover : colors.control;
    QColor ink = shown_.enabled ? colors.text : colors.faintText;
    if (lit && shown_.enabled) {
        ground = accent_ == Accent::none ? colors.dimText : accentColor(accent_);
        ink = colors.onAccent;
    }
    const QRectF area = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(QPen(hasFocus() ? colors.focus : colors.line, hasFocus() ? 2 : 1));
    painter.setBrush(ground);
    painter.drawRoundedRect(area, 4, 4);
    // A lit toggle also bears a bar, for eyes that do not tell the colours apart.
    if (lit) painter.fillRect(QRectF(area.left() + 4, area.bottom() - 3, area.width() - 8, 2), ink);

    QRectF inside = area.adjusted(6, 5, -6, -5);
    if (icon_ != Icon::none) {
        const QRectF picture =
            label_.isEmpty() ? inside : QRectF(inside.topLeft(), QSizeF(inside.height(), inside.height()));
        drawIcon(painter, lit ? onIcon_ : icon_, picture, ink);
        inside.setLeft(picture.right() + size::gap);
    }
    if (!label_.isEmpty()) {
        painter.setFont(typeFont(Type::normal));
        painter.setPen(ink);
        painter.drawText(inside, Qt::AlignVCenter | (icon_ == Icon::none ? Qt::AlignHCenter : Qt::AlignLeft),
                         label_);
    }
    drawControlMarks(painter, area, control_, lit);
}

void ControlButton::click() {
    if (!onAct) {
        control_.click();
    } else if (control_.mouseDown() && control_.isEnabled()) {
        onAct(mapToGlobal(rect().bottomLeft()));
    }
}

void ControlButton::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    if (event->modifiers() & Qt::ControlModifier && onMenu) {
        onMenu(event->globalPosition().toPoint());
        return;
    }
    pressed_ = true;
    update();
}

void ControlButton::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !pressed_) return;
    pressed_ = false;
    update();
    if (rect().contains(event->position().toPoint())) click();
}

void ControlButton::keyPressEvent(QKeyEvent* event) {
    // Not by Space, which plays and stops wherever the keyboard is.
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        click();
        update();
    } else {
        QWidget::keyPressEvent(event);
    }
}

void ControlButton::enterEvent(QEnterEvent*) {
    hovered_ = true;
    update();
}

void ControlButton::leaveEvent(QEvent*) {
    hovered_ = false;
    update();
}

void ControlButton::contextMenuEvent(QContextMenuEvent* event) {
    if (onMenu) onMenu(event->globalPos());
}

bool ControlButton::event(QEvent* event) {
    if (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut) update();
    return QWidget::event(event);
}

} // namespace marvo::ui
