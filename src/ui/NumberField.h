// A small field for a whole number, as in hours, minutes, seconds and frames.
//
// Takes any text, so that what cannot be is refused where it is confirmed and not silently bent; the arrow
// keys and the wheel count up and down. Main thread.
#pragma once

#include <QLineEdit>

#include <cstdint>
#include <functional>
#include <optional>

namespace marvo::ui {

class NumberField : public QLineEdit {
public:
    NumberField(const QString& name, QWidget* parent);

    // The arrow keys stay within; typed text need not.
    void setRange(std::int64_t least, std::int64_t most);
    // Brings a number above the range down to it; other text stays.
    void lowerToMaximum();
    void setNumber(std::int64_t number);
    // An empty field is 0; nothing for text that is no whole number.
    std::optional<std::int64_t> number() const;

    // Return was pressed, the field was left after a change, or a step was made.
    std::function<void()> onNumber;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    void step(std::int64_t by);

    std::int64_t least_ = 0;
    std::int64_t most_ = 999'999'999;
};

} // namespace marvo::ui
