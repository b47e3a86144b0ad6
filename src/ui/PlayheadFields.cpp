#include "ui/PlayheadFields.h"

#include "ui/InlineEditor.h"
#include "ui/Look.h"

#include <QMouseEvent>
#include <QPainter>

#include <algorithm>

namespace marvo::ui {
namespace {

constexpr int fieldCount = 4;
constexpr int framesField = 3;
constexpr int fieldWidth = 38;
constexpr int digits = 20;
constexpr const char* fieldNames[fieldCount] = {"Hours", "Minutes", "Seconds", "Frames"};

std::int64_t& valueOf(TimeFields& fields, int which) {
    std::int64_t* const values[fieldCount] = {&fields.hours, &fields.minutes, &fields.seconds,
                                              &fields.frames};
    return *values[which];
}

} // namespace

PlayheadFields::PlayheadFields(MarvoTimelineController& composition, QWidget* parent)
    : QWidget(parent), composition_(composition) {
    setFocusPolicy(Qt::TabFocus);
    setAccessibleName(QStringLiteral("Playhead"));
    setToolTip(QStringLiteral("Playhead: hours, minutes, seconds, frames; click to type"));
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize PlayheadFields::sizeHint() const {
    return {fieldCount * fieldWidth + 12, 30};
}

QRectF PlayheadFields::fieldRect(int field) const {
    return {6.0 + field * fieldWidth, 1.0, fieldWidth, height() - 2.0};
}

void PlayheadFields::follow() {
    TimeFields now = splitTime(composition_.state.currentTime, composition_.state.compFPS);
    if (shownRunning_) now.frames = shown_.frames;
    if (now == shown_ && composition_.state.isRunning == shownRunning_) return;
    update();
}

void PlayheadFields::paintEvent(QPaintEvent*) {
    const Look& look = Look::current();
    shown_ = splitTime(composition_.state.currentTime, composition_.state.compFPS);
    shownRunning_ = composition_.state.isRunning;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(hasFocus() ? look.focus : look.line, hasFocus() ? 2 : 1));
    painter.setBrush(look.window);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 4, 4);
    painter.setFont(digitFont(digits));
    for (int i = 0; i < fieldCount; ++i) {
        // Digits that change with every frame are not read while it runs.
        const QString text = shownRunning_ && i == framesField
                                 ? QStringLiteral("*")
                                 : QStringLiteral("%1").arg(valueOf(shown_, i), 2, 10, QLatin1Char('0'));
        painter.setPen(shownRunning_ ? look.plays : look.text);
        painter.drawText(fieldRect(i).adjusted(0, 0, -10, 0), Qt::AlignCenter, text);
        if (i + 1 == fieldCount) continue;
        painter.setPen(look.faintText);
        painter.drawText(QRectF(fieldRect(i).right() - 11, 1, 12, height() - 2), Qt::AlignCenter,
                         QStringLiteral(":"));
    }
}

void PlayheadFields::mousePressEvent(QMouseEvent* event) {
    for (int i = 0; i < fieldCount; ++i) {
        if (fieldRect(i).contains(event->position())) edit(i);
    }
}

void PlayheadFields::keyPressEvent(QKeyEvent* event) {
    // The Return that ends the typing comes here, too.
    if (hasFocus() && (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter))
        edit(0);
    else
        QWidget::keyPressEvent(event);
}

void PlayheadFields::edit(int field) {
    if (editor_) editor_->leave();
    TimeFields now = splitTime(composition_.state.currentTime, composition_.state.compFPS);
    editor_ = new InlineEditor(QString::number(valueOf(now, field)), fieldRect(field),
                               QString::fromLatin1(fieldNames[field]), this);
    editor_->setFont(digitFont(14));
    editor_->onTake = [this, field](const QString& text) { return take(field, text); };
    editor_->onEnd = [this] {
        editor_ = nullptr;
        update();
    };
}

bool PlayheadFields::take(int field, const QString& text) {
    bool isNumber = false;
    const int typed = text.toInt(&isNumber);
    if (!isNumber || typed < 0) {
        if (onRefused) onRefused();
        return false;
    }
    // The show may have gone on while it was typed: the other three are those of now.
    TimeFields fields = splitTime(composition_.state.currentTime, composition_.state.compFPS);
    // A frame more than there are in a second is the next second, and not several.
    valueOf(fields, field) =
        field == framesField ? std::min<std::int64_t>(typed, composition_.state.compFPS) : typed;
    composition_.transport.actualTimeEdited(fields);
    return true;
}

} // namespace marvo::ui
