#include "ui/TimeFieldsRow.h"

#include "ui/Look.h"

#include <QGridLayout>
#include <QLabel>

namespace marvo::ui {

TimeFieldsRow::TimeFieldsRow(const QString& name, QWidget* parent) : QWidget(parent) {
    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(size::gap);
    grid->setVerticalSpacing(2);
    int column = 0;
    const auto add = [&](const QString& part, const QString& letter) {
        auto* field = new NumberField(name + QStringLiteral(" ") + part, this);
        field->setFixedWidth(58);
        field->setToolTip(part);
        auto* label = new QLabel(letter, this);
        label->setFont(typeFont(Type::small));
        label->setForegroundRole(captionRole);
        label->setAlignment(Qt::AlignHCenter);
        grid->addWidget(field, 0, column);
        grid->addWidget(label, 1, column++);
        return field;
    };
    hours_ = add(QStringLiteral("hours"), QStringLiteral("H"));
    minutes_ = add(QStringLiteral("minutes"), QStringLiteral("M"));
    seconds_ = add(QStringLiteral("seconds"), QStringLiteral("S"));
    frames_ = add(QStringLiteral("frames"), QStringLiteral("F"));
}

void TimeFieldsRow::setFields(const TimeFields& fields) {
    hours_->setNumber(fields.hours);
    minutes_->setNumber(fields.minutes);
    seconds_->setNumber(fields.seconds);
    frames_->setNumber(fields.frames);
}

std::optional<TimeFields> TimeFieldsRow::fields() const {
    const auto h = hours_->number();
    const auto m = minutes_->number();
    const auto s = seconds_->number();
    const auto f = frames_->number();
    if (!h || !m || !s || !f) return std::nullopt;
    return TimeFields{*h, *m, *s, *f};
}

void TimeFieldsRow::setFramesMaximum(std::int64_t most) {
    frames_->setRange(0, most);
    frames_->lowerToMaximum();
}

} // namespace marvo::ui
