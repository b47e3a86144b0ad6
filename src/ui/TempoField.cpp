#include "ui/TempoField.h"

#include "ui/ControlMarks.h"
#include "ui/InlineEditor.h"
#include "ui/Look.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>

namespace marvo::ui {

TempoField::TempoField(MarvoControlTextField& control, QWidget* parent) : QWidget(parent), control_(control) {
    setFocusPolicy(Qt::TabFocus);
    setAccessibleName(QStringLiteral("Tempo"));
    setToolTip(
        QStringLiteral("Tempo in beats a minute, 120 is real time: drag sideways, double-click to type"));
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize TempoField::sizeHint() const {
    return {84, size::control};
}

QString TempoField::text() const {
    if (control_.isWaitingForClock()) return QStringLiteral("Waiting");
    return QString::fromStdString(control_.title());
}

void TempoField::follow() {
    const unsigned modes = (control_.learnsMidi() ? 1u : 0u) | (control_.needsHighlight() ? 2u : 0u) |
                           (control_.needsShowOSC() ? 4u : 0u) | (control_.ignored() ? 8u : 0u);
    QString now = text();
    if (now == shown_ && modes == shownModes_) return;
    shown_ = std::move(now);
    shownModes_ = modes;
    update();
}

void TempoField::paintEvent(QPaintEvent*) {
    const Look& look = Look::current();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF area = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(QPen(hasFocus() ? look.focus : look.line, hasFocus() ? 2 : 1));
    painter.setBrush(look.panel);
    painter.drawRoundedRect(area, 3, 3);
    painter.setPen(look.faintText);
    painter.setFont(typeFont(Type::small));
    painter.drawText(area.adjusted(6, 0, 0, 0), Qt::AlignVCenter | Qt::AlignLeft, QStringLiteral("BPM"));
    painter.setPen(control_.ignored() ? look.dimText : look.text);
    painter.setFont(digitFont(13));
    painter.drawText(area.adjusted(0, 0, -6, 0), Qt::AlignVCenter | Qt::AlignRight, text());
    drawControlMarks(painter, area, control_, false);
}

float TempoField::onScreen(const QMouseEvent& event) const {
    return static_cast<float>(event.globalPosition().x() - screen()->geometry().x());
}

void TempoField::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !control_.mouseDown()) {
        update();
        return;
    }
    dragging_ = true;
    control_.mouseDownAt(onScreen(*event));
}

void TempoField::mouseMoveEvent(QMouseEvent* event) {
    // A window that comes in between swallows the release.
    if (dragging_ && !(event->buttons() & Qt::LeftButton)) endDrag();
    if (!dragging_) return;
    setCursor(Qt::ClosedHandCursor);
    control_.mouseDraggedTo(onScreen(*event), static_cast<float>(screen()->geometry().width()));
    follow();
}

void TempoField::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) endDrag();
}

void TempoField::endDrag() {
    dragging_ = false;
    unsetCursor();
}

void TempoField::mouseDoubleClickEvent(QMouseEvent*) {
    dragging_ = false;
    if (control_.doubleClick()) startTyping();
}

void TempoField::keyPressEvent(QKeyEvent* event) {
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && control_.doubleClick()) {
        startTyping();
    } else {
        QWidget::keyPressEvent(event);
    }
}

void TempoField::startTyping() {
    if (editor_) return;
    control_.setEnabled(true);
    editor_ = new InlineEditor(text(), rect(), accessibleName(), this);
    editor_->setFont(digitFont(13));
    editor_->onTake = [this](const QString& text) {
        control_.setTitle(text.toStdString());
        control_.sendAction();
        return true;
    };
    editor_->onEnd = [this] {
        editor_ = nullptr;
        control_.setEnabled(false);
        follow();
    };
}

} // namespace marvo::ui
