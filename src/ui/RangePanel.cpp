#include "ui/RangePanel.h"

#include "ui/Look.h"

#include <QGridLayout>

namespace marvo::ui {
namespace {

struct Unit {
    const char* letter;
    const char* name;
};
constexpr std::array<Unit, 4> units{{{"H", "hours"}, {"M", "minutes"}, {"S", "seconds"}, {"F", "frames"}}};

QLabel* makeDisplay(const QString& name, QWidget* parent) {
    auto* label = new QLabel(parent);
    label->setFont(digitFont(15));
    label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    label->setFixedSize(46, size::control);
    label->setContentsMargins(4, 0, 6, 0);
    label->setAutoFillBackground(true);
    label->setBackgroundRole(QPalette::Base);
    label->setAccessibleName(name);
    return label;
}

QPushButton* makeButton(const QString& title, QWidget* parent) {
    auto* button = new QPushButton(title, parent);
    // The timeline keeps the keyboard.
    button->setFocusPolicy(Qt::NoFocus);
    return button;
}

void display(const std::array<QLabel*, 4>& labels, const RangeSelectPanel::TimeTexts& texts) {
    for (std::size_t i = 0; i < labels.size(); ++i) labels[i]->setText(QString::fromStdString(texts[i]));
}

} // namespace

RangePanel::RangePanel(AppDelegate& application, QWidget* parent)
    : QWidget(parent, Qt::Tool | Qt::WindowStaysOnTopHint), application_(application), model_(application) {
    setAttribute(Qt::WA_ShowWithoutActivating);
    setWindowTitle(QStringLiteral("Select Range"));
    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(size::margin, size::margin, size::margin, size::margin);
    grid->setHorizontalSpacing(size::gap);
    grid->setVerticalSpacing(size::gap);
    for (std::size_t i = 0; i < units.size(); ++i) {
        auto* letter = new QLabel(QString::fromUtf8(units[i].letter), this);
        letter->setToolTip(QString::fromUtf8(units[i].name));
        letter->setFont(typeFont(Type::small));
        letter->setForegroundRole(captionRole);
        letter->setAlignment(Qt::AlignHCenter);
        grid->addWidget(letter, 0, static_cast<int>(i) + 1);
    }
    const auto addRow = [&](int row, const QString& name, std::array<QLabel*, 4>& labels) {
        grid->addWidget(new QLabel(name, this), row, 0, Qt::AlignRight);
        for (std::size_t i = 0; i < labels.size(); ++i) {
            labels[i] = makeDisplay(name + QStringLiteral(" ") + QString::fromUtf8(units[i].name), this);
            grid->addWidget(labels[i], row, static_cast<int>(i) + 1);
        }
        auto* button = makeButton(QStringLiteral("From Playhead"), this);
        button->setAccessibleName(name + QStringLiteral(" from the playhead"));
        grid->addWidget(button, row, 5);
        return button;
    };
    startButton_ = addRow(1, QStringLiteral("Start"), start_);
    endButton_ = addRow(2, QStringLiteral("End"), end_);
    selectButton_ = makeButton(QStringLiteral("Select"), this);
    grid->addWidget(selectButton_, 3, 5);
    grid->setSizeConstraint(QLayout::SetFixedSize);
    startButton_->setToolTip(QStringLiteral("Set Range Start to Playhead (Shift+I)"));
    endButton_->setToolTip(QStringLiteral("Set Range End to Playhead (Shift+O)"));
    selectButton_->setToolTip(QStringLiteral("Select Keyframes in Range (Ctrl+Alt+R)"));
    connect(startButton_, &QPushButton::clicked, this, [this] { setRangeStartFromPlayhead(); });
    connect(endButton_, &QPushButton::clicked, this, [this] { setRangeEndFromPlayhead(); });
    connect(selectButton_, &QPushButton::clicked, this, [this] { selectRange(); });
    follow();
}

void RangePanel::setRangeStartFromPlayhead() {
    model_.setRangeStartFromPlayhead();
    follow();
}

void RangePanel::setRangeEndFromPlayhead() {
    model_.setRangeEndFromPlayhead();
    follow();
}

void RangePanel::selectRange() {
    model_.selectRange();
    if (onSelected) onSelected();
}

void RangePanel::follow() {
    // Asked without a composition, the model would beep.
    if (application_.compositions.selectedComposition()) {
        model_.updateRangeDisplays();
        display(start_, model_.displayRangeStartTime());
        display(end_, model_.displayRangeEndTime());
    } else {
        const RangeSelectPanel::TimeTexts none{"0", "0", "0", "0"};
        display(start_, none);
        display(end_, none);
    }
}

void RangePanel::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    follow();
    if (onVisible) onVisible(isVisible());
}

void RangePanel::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    if (onVisible) onVisible(isVisible());
}

} // namespace marvo::ui
