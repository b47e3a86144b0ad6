// The toolkit's boxes, drawn in the look of the program: a state is told by a mark, not by colour alone.
// Main thread.
#pragma once

#include <QCheckBox>
#include <QComboBox>
#include <QRadioButton>

namespace marvo::ui {

class CheckBox : public QCheckBox {
public:
    using QCheckBox::QCheckBox;
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    bool hitButton(const QPoint& place) const override { return rect().contains(place); }
};

class RadioButton : public QRadioButton {
public:
    using QRadioButton::QRadioButton;
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    bool hitButton(const QPoint& place) const override { return rect().contains(place); }
};

// A list that opens on a click.
class ChoiceField : public QComboBox {
public:
    explicit ChoiceField(QWidget* parent);
    void showPopup() override;

protected:
    void paintEvent(QPaintEvent* event) override;
    // Not while something else is scrolled over it.
    void wheelEvent(QWheelEvent* event) override;
};

// The picture beside a question or bad news.
class TroublePicture : public QWidget {
public:
    explicit TroublePicture(QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace marvo::ui
