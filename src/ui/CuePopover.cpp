#include "ui/CuePopover.h"

#include "ui/Fields.h"
#include "ui/Look.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QScreen>
#include <QSignalBlocker>

#include <algorithm>
#include <limits>

namespace marvo::ui {
namespace {

constexpr std::int64_t mostPlays = 999'999;

QToolButton* makeStep(const QString& sign, const QString& name, QWidget* parent) {
    auto* button = new QToolButton(parent);
    button->setText(sign);
    button->setAccessibleName(name);
    button->setAutoRepeat(true);
    button->setFixedSize(size::control, size::control);
    return button;
}

template <class Value>
void select(QComboBox& popup, Value value) {
    popup.setCurrentIndex(popup.findData(static_cast<int>(value)));
}

} // namespace

CuePopover::CuePopover(AppDelegate& application, MarvoTimelineController& composition, CueEdits& edits,
                       QWidget* parent)
    : QFrame(parent, Qt::Popup), application_(application), composition_(application, composition),
      edits_(edits) {
    build();
}

void CuePopover::build() {
    setProperty("popover", true); // for its border
    name_ = new QLineEdit(this);
    name_->setAccessibleName(QStringLiteral("Cue name"));
    name_->setToolTip(QStringLiteral("<$> stands for the number of the cue"));
    name_->setMinimumWidth(190);
    type_ = new ChoiceField(this);
    type_->setAccessibleName(QStringLiteral("What the cue does"));
    type_->addItem(QStringLiteral("Passes through"), static_cast<int>(CueType::passes));
    type_->addItem(QStringLiteral("Pauses"), static_cast<int>(CueType::pauses));
    repeat_ = new ChoiceField(this);
    repeat_->setAccessibleName(QStringLiteral("How the section repeats"));
    repeat_->addItem(QStringLiteral("Plays once"), static_cast<int>(CueRepeat::none));
    repeat_->addItem(QStringLiteral("Plays several times"), static_cast<int>(CueRepeat::counted));
    repeat_->addItem(QStringLiteral("Loops for ever"), static_cast<int>(CueRepeat::forEver));
    count_ = new NumberField(QStringLiteral("How often the section plays"), this);
    count_->setRange(1, mostPlays);
    count_->setFixedWidth(72);
    less_ = makeStep(QStringLiteral("\u2212"), QStringLiteral("Once less"), this);
    more_ = makeStep(QStringLiteral("+"), QStringLiteral("Once more"), this);
    auto* times = new QHBoxLayout;
    times->setSpacing(size::gap);
    times->addWidget(count_);
    times->addWidget(less_);
    times->addWidget(more_);
    times->addStretch();
    auto* form = new QFormLayout(this);
    form->setContentsMargins(size::margin, size::margin, size::margin, size::margin);
    form->setLabelAlignment(Qt::AlignRight);
    form->setHorizontalSpacing(size::margin);
    form->setVerticalSpacing(size::gap);
    form->addRow(QStringLiteral("Name"), name_);
    form->addRow(QStringLiteral("At the cue"), type_);
    form->addRow(QStringLiteral("Section"), repeat_);
    form->addRow(QStringLiteral("Times"), times);

    connect(name_, &QLineEdit::editingFinished, this, [this] { changeActiveCueName(); });
    connect(type_, &QComboBox::activated, this, [this] { undoChangeCueToType(); });
    connect(repeat_, &QComboBox::activated, this, [this] { undoChangeCueToType(); });
    count_->onNumber = [this] {
        if (const auto number = count_->number(); number && *number >= 1) {
            loopCounterChanged(std::min(*number, mostPlays));
        } else {
            application_.beep();
            display(shown_);
        }
    };
    connect(less_, &QToolButton::clicked, this, [this] {
        if (shown_.count > 1) loopCounterChanged(static_cast<std::int64_t>(shown_.count) - 1);
    });
    connect(more_, &QToolButton::clicked, this,
            [this] { loopCounterChanged(static_cast<std::int64_t>(shown_.count) + 1); });
}

template <class Work>
void CuePopover::withCue(Work work) {
    MarvoTimelineController* composition = composition_.get();
    if (!composition) return;
    application_.services().compQueue.sync([&] {
        if (const auto index = composition->cueController.cues().indexOf(cue_)) work(*composition, *index);
    });
}

std::optional<CuePopover::Shown> CuePopover::read() const {
    MarvoTimelineController* composition = composition_.get();
    if (!composition) return std::nullopt;
    return application_.services().compQueue.sync([&]() -> std::optional<Shown> {
        const MarvoCueController& cues = composition->cueController;
        const auto index = cues.cues().indexOf(cue_);
        const MarvoCue* cue = cues.activeCue();
        if (!index || !cue || cue->id != cue_) return std::nullopt;
        return Shown{QString::fromStdString(cue->cueName), cue->type, cue->repeat,
                     edits_.shownLoopCount(*index)};
    });
}

void CuePopover::showNumberOfLoopsPopoverForActiveCue(const QPoint& beneath) {
    MarvoTimelineController* composition = composition_.get();
    if (!composition) return;
    bool locked = false;
    application_.services().compQueue.sync([&] {
        const MarvoCue* active = composition->cueController.activeCue();
        cue_ = active ? active->id : CueId();
        locked = composition->cueController.isLocked();
    });
    const std::optional<Shown> shown = read();
    if (!shown) return;
    display(*shown);
    setEnabled(!locked && !application_.compositions.isProjectLocked());
    placeBeneath(beneath);
    show();
    // Shown for the first time it takes its final size.
    placeBeneath(beneath);
    name_->setFocus();
    name_->selectAll();
}

void CuePopover::placeBeneath(const QPoint& beneath) {
    adjustSize();
    QPoint corner(beneath.x() - width() / 2, beneath.y());
    if (const QScreen* on = screen()) {
        const QRect room = on->availableGeometry();
        corner.setX(std::clamp(corner.x(), room.left(), std::max(room.left(), room.right() - width())));
        corner.setY(std::clamp(corner.y(), room.top(), std::max(room.top(), room.bottom() - height())));
    }
    move(corner);
}

void CuePopover::display(const Shown& shown) {
    shown_ = shown;
    name_->setText(shown.name);
    select(*type_, shown.type);
    select(*repeat_, shown.repeat);
    count_->setText(QString::number(shown.count));
    updateLoopNumberControls();
}

void CuePopover::updateLoopNumberControls() {
    const bool counted = shown_.repeat == CueRepeat::counted;
    for (QWidget* control :
         {static_cast<QWidget*>(count_), static_cast<QWidget*>(less_), static_cast<QWidget*>(more_)})
        control->setEnabled(counted);
}

CuePopover::~CuePopover() {
    // A field that has the keyboard says that it is finished when its window goes; nobody is left to hear it.
    name_->disconnect(this);
    count_->onNumber = nullptr;
}

void CuePopover::follow() {
    if (!isVisible()) return;
    const std::optional<Shown> now = read();
    if (!now) {
        name_->setModified(false);
        count_->setModified(false);
        close();
    } else if (*now != shown_) {
        display(*now);
    }
}

void CuePopover::changeActiveCueName() {
    if (!name_->isModified()) return;
    name_->setModified(false);
    bool taken = false;
    withCue([&](MarvoTimelineController&, std::size_t) {
        taken = edits_.changeActiveCueName(name_->text().toStdString());
    });
    if (taken) {
        shown_.name = name_->text();
    } else if (isVisible()) {
        name_->setFocus();
        name_->selectAll();
    }
}

void CuePopover::undoChangeCueToType() {
    const auto type = static_cast<CueType>(type_->currentData().toInt());
    const auto repeat = static_cast<CueRepeat>(repeat_->currentData().toInt());
    if (type == shown_.type && repeat == shown_.repeat) return;
    withCue([&](MarvoTimelineController&, std::size_t index) {
        edits_.undoChangeCueToTypeToRepeat(index, type, repeat);
    });
    shown_.type = type;
    shown_.repeat = repeat;
    updateLoopNumberControls();
}

void CuePopover::loopCounterChanged(std::int64_t count) {
    withCue([&](MarvoTimelineController&, std::size_t index) { edits_.loopCounterChanged(index, count); });
    shown_.count = static_cast<std::uint64_t>(count);
    count_->setText(QString::number(count));
}

void CuePopover::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        // What was typed is not meant.
        display(shown_);
        close();
    } else if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        // The field has taken it already.
        event->accept();
    } else {
        QFrame::keyPressEvent(event);
    }
}

void CuePopover::hideEvent(QHideEvent* event) {
    popoverWillClose();
    QFrame::hideEvent(event);
}

void CuePopover::popoverWillClose() {
    // A click elsewhere ends typing without telling the fields.
    changeActiveCueName();
    if (count_->isModified() && count_->isEnabled()) {
        count_->setModified(false);
        if (count_->onNumber) count_->onNumber();
    }
    count_->setNumber(1);
    withCue([](MarvoTimelineController& composition, std::size_t) {
        composition.cueController.setLastClickedCue({});
    });
    cue_ = {};
}

} // namespace marvo::ui
