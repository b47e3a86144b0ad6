// Hours, minutes, seconds and frames beside one another, each named beneath. Main thread.
#pragma once

#include "composition/CompositionTimeMath.h"
#include "ui/NumberField.h"

#include <QWidget>

#include <optional>

namespace marvo::ui {

class TimeFieldsRow : public QWidget {
public:
    // name: read out before each field's own.
    TimeFieldsRow(const QString& name, QWidget* parent);

    void setFields(const TimeFields& fields);
    // Nothing when one of them holds no whole number.
    std::optional<TimeFields> fields() const;
    void setFramesMaximum(std::int64_t most);

    NumberField& hours() { return *hours_; }
    NumberField& minutes() { return *minutes_; }
    NumberField& seconds() { return *seconds_; }
    NumberField& frames() { return *frames_; }

private:
    NumberField* hours_;
    NumberField* minutes_;
    NumberField* seconds_;
    NumberField* frames_;
};

} // namespace marvo::ui
