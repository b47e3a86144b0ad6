#include "ui/NumberField.h"

#include "ui/Look.h"

#include <QKeyEvent>
#include <QWheelEvent>

#include <algorithm>
#include <charconv>

namespace marvo::ui {

NumberField::NumberField(const QString& name, QWidget* parent) : QLineEdit(parent) {
    setAccessibleName(name);
    setFont(digitFont(13));
    setAlignment(Qt::AlignRight);
    setMaxLength(10);
    connect(this, &QLineEdit::editingFinished, this, [this] {
        if (!isModified()) return;
        setModified(false);
        if (onNumber) onNumber();
    });
}

void NumberField::setRange(std::int64_t least, std::int64_t most) {
    least_ = least;
    most_ = most;
}

void NumberField::lowerToMaximum() {
    const std::optional<std::int64_t> present = number();
    if (present && *present > most_) setNumber(most_);
}

void NumberField::setNumber(std::int64_t number) {
    setText(QString::number(number));
}

std::optional<std::int64_t> NumberField::number() const {
    const std::string typed = text().trimmed().toStdString();
    if (typed.empty()) return 0;
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(typed.data(), typed.data() + typed.size(), value);
    if (error != std::errc() || end != typed.data() + typed.size()) return std::nullopt;
    return value;
}

void NumberField::step(std::int64_t by) {
    const std::optional<std::int64_t> present = number();
    if (!present || isReadOnly()) return;
    const std::int64_t stepped = std::clamp(*present + by, least_, most_);
    if (stepped == *present) return;
    setNumber(stepped);
    setModified(false);
    if (onNumber) onNumber();
}

void NumberField::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Up) {
        step(1);
    } else if (event->key() == Qt::Key_Down) {
        step(-1);
    } else {
        QLineEdit::keyPressEvent(event);
    }
}

void NumberField::wheelEvent(QWheelEvent* event) {
    // Only where the keyboard is, lest a number changes while something else is scrolled.
    if (!hasFocus() || event->angleDelta().y() == 0) {
        event->ignore();
        return;
    }
    step(event->angleDelta().y() > 0 ? 1 : -1);
    event->accept();
}

} // namespace marvo::ui
