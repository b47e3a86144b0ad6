#include "ui/CompositionSettingsDialog.h"

#include "ui/Fields.h"
#include "ui/Look.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace marvo::ui {
namespace {

// By index of the list of rates.
constexpr std::array<const char*, mtcRates.size()> rateTitles{"24 fps", "25 fps", "30 fps",
                                                              "29.97 fps, drop frame"};

// Nearest frame: a stored time is a sum of parts, and may lie a hair below the frame it stands for.
TimeFields startTimeFields(double seconds, std::size_t rate) {
    const auto fps = static_cast<std::int64_t>(mtcRates[rate].framesPerSecond);
    const double most = 1e9; // hours that no field shows any more
    return splitTime(Frame(std::llround(std::clamp(seconds, 0.0, most) * static_cast<double>(fps))), fps);
}

QLabel* heading(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setFont(typeFont(Type::strong));
    return label;
}

// Both groups line up at one edge.
QLabel* caption(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    label->setMinimumWidth(128);
    return label;
}

QFormLayout* makeForm() {
    auto* form = new QFormLayout;
    form->setLabelAlignment(Qt::AlignRight);
    form->setFieldGrowthPolicy(QFormLayout::FieldsStayAtSizeHint);
    form->setHorizontalSpacing(size::margin);
    form->setVerticalSpacing(size::gap);
    return form;
}

} // namespace

CompositionSettingsDialog::CompositionSettingsDialog(AppDelegate& application, ProjectDialogs& dialogs,
                                                     MarvoTimelineController& composition, QWidget* parent)
    : QDialog(parent), application_(application), dialogs_(dialogs), composition_(application, composition) {
    setWindowTitle(
        QStringLiteral("Composition Settings: %1").arg(QString::fromStdString(composition.compName())));
    build();
    const CompositionSettings present = composition.settings.present();
    shown_ = shownFields(
        present, startTimeFields(present.mtcOutStartTime, mtcRateIndex(present.mtcOutFPS).value_or(0)));
    show(shown_);
    MarvoButton& syncOut = composition.controls.syncOutButton;
    if (syncOut.state()) {
        syncOutRests_ = true;
        syncOut.performClick();
    }
}

CompositionSettingsDialog::~CompositionSettingsDialog() {
    restoreSyncOut();
}

void CompositionSettingsDialog::build() {
    length_ = new TimeFieldsRow(QStringLiteral("Length"), this);
    fps_ = new NumberField(QStringLiteral("Frames per second"), this);
    fps_->setRange(1, largestFps);
    fps_->setFixedWidth(58);
    auto* form = makeForm();
    form->addRow(caption(QStringLiteral("Length"), this), length_);
    form->addRow(caption(QStringLiteral("Frames per second"), this), fps_);

    transmitsMTC_ = new CheckBox(QStringLiteral("Send MIDI time code"), this);
    transmitsMMC_ = new CheckBox(QStringLiteral("Send MIDI machine control"), this);
    useCompIDWithMMC_ = new CheckBox(QStringLiteral("With the composition's number as device"), this);
    destination_ = new ChoiceField(this);
    destination_->setPlaceholderText(QStringLiteral("No output"));
    destination_->setMinimumWidth(240);
    destination_->setAccessibleName(QStringLiteral("MIDI output for sync"));
    rate_ = new ChoiceField(this);
    rate_->setAccessibleName(QStringLiteral("Time code rate"));
    for (const char* title : rateTitles) rate_->addItem(QString::fromUtf8(title));
    rate_->setMinimumWidth(240);
    startTime_ = new TimeFieldsRow(QStringLiteral("Start time"), this);
    auto* sync = makeForm();
    sync->addRow(caption(QString(), this), transmitsMTC_);
    sync->addRow(caption(QString(), this), transmitsMMC_);
    sync->addRow(caption(QString(), this), useCompIDWithMMC_);
    sync->addRow(caption(QStringLiteral("MIDI output"), this), destination_);
    sync->addRow(caption(QStringLiteral("Time code rate"), this), rate_);
    sync->addRow(caption(QStringLiteral("Start time"), this), startTime_);
    connect(rate_, &QComboBox::currentIndexChanged, this, [this] { mtcOutFramerateChanged(); });

    ok_ = new QPushButton(QStringLiteral("OK"), this);
    ok_->setDefault(true);
    cancel_ = new QPushButton(QStringLiteral("Cancel"), this);
    connect(ok_, &QPushButton::clicked, this, [this] { accept(); });
    connect(cancel_, &QPushButton::clicked, this, [this] { reject(); });
    auto* row = new QHBoxLayout;
    row->setSpacing(size::gap);
    row->addStretch();
    row->addWidget(ok_);
    row->addWidget(cancel_);

    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(2 * size::margin, 2 * size::margin, 2 * size::margin, 2 * size::margin);
    all->setSpacing(size::margin);
    all->addWidget(heading(QStringLiteral("Composition"), this));
    all->addLayout(form);
    all->addSpacing(size::margin);
    all->addWidget(heading(QStringLiteral("Sync out"), this));
    all->addLayout(sync);
    all->addSpacing(size::margin);
    all->addLayout(row);
    all->setSizeConstraint(QLayout::SetFixedSize);
}

void CompositionSettingsDialog::show(const CompositionSettingsFields& fields) {
    length_->setFields(fields.length);
    fps_->setNumber(fields.compFPS);
    transmitsMTC_->setChecked(fields.transmitsMTC);
    transmitsMMC_->setChecked(fields.transmitsMMC);
    useCompIDWithMMC_->setChecked(fields.useCompIDWithMMC);
    std::vector<std::string> names = application_.midiManager().midiOutNodeNames();
    for (std::string& name : application_.midiManager().detectedMidiOutNodeNames())
        names.push_back(std::move(name));
    // A device that is away keeps its place.
    if (fields.mtcOutDestination &&
        std::find(names.begin(), names.end(), *fields.mtcOutDestination) == names.end()) {
        names.push_back(*fields.mtcOutDestination);
    }
    for (const std::string& name : names) destination_->addItem(QString::fromStdString(name));
    destination_->setCurrentIndex(
        fields.mtcOutDestination ? destination_->findText(QString::fromStdString(*fields.mtcOutDestination))
                                 : -1);
    rate_->setCurrentIndex(static_cast<int>(fields.mtcRateIndex));
    startTime_->setFields(fields.startTime);
    mtcOutFramerateChanged();
    length_->hours().setFocus();
    length_->hours().selectAll();
}

void CompositionSettingsDialog::mtcOutFramerateChanged() {
    startTime_->setFramesMaximum(mtcRates[static_cast<std::size_t>(rate_->currentIndex())].framesMaximum);
}

std::optional<CompositionSettingsFields> CompositionSettingsDialog::entered() const {
    const auto length = length_->fields();
    const auto fps = fps_->number();
    const auto startTime = startTime_->fields();
    if (!length || !fps || !startTime) return std::nullopt;
    CompositionSettingsFields fields;
    fields.length = *length;
    fields.compFPS = *fps;
    fields.startTime = *startTime;
    fields.mtcRateIndex = static_cast<std::size_t>(rate_->currentIndex());
    if (destination_->currentIndex() >= 0)
        fields.mtcOutDestination = destination_->currentText().toStdString();
    fields.transmitsMMC = transmitsMMC_->isChecked();
    fields.transmitsMTC = transmitsMTC_->isChecked();
    fields.useCompIDWithMMC = useCompIDWithMMC_->isChecked();
    return fields;
}

MidiLoopbackState CompositionSettingsDialog::loopbackState(const CompositionSettingsFields& fields) const {
    MidiLoopbackState state;
    state.listenToMMC = application_.prefs.flag("listenToMMC");
    if (fields.mtcOutDestination) {
        const auto source = application_.midiManager().findSourceNodeNamed(*fields.mtcOutDestination);
        state.sourceOfSameNameEnabled = source && source->enabled();
    }
    return state;
}

bool CompositionSettingsDialog::passesLoopback(MarvoTimelineController& composition,
                                               const CompositionSettingsFields& fields) {
    const CompositionSettingsResult result =
        confirmCompositionSettings(composition.settings.present(), shown_, fields, loopbackState(fields));
    if (result.outcome != CompositionSettingsResult::Outcome::loopback) return true;
    const ProjectQuestion question{
        std::string(midiLoopbackTitle),
        std::string(midiLoopbackText),
        {std::string(midiLoopbackDisableSource), std::string(midiLoopbackChooseOther)},
        Answer::cancel};
    if (dialogs_.ask(question) != Answer::ok) return false;
    MarvoMIDIManager& midi = application_.midiManager();
    const auto rows = midi.inputRows();
    for (std::size_t row = 0; row < rows.size(); ++row) {
        if (rows[row].name == fields.mtcOutDestination && rows[row].enabled) midi.toggleMidiPort(row);
    }
    return true;
}

void CompositionSettingsDialog::accept() {
    const std::optional<CompositionSettingsFields> fields = entered();
    if (!fields) {
        application_.beep();
        return;
    }
    if (MarvoTimelineController* composition = composition_.get()) {
        if (!passesLoopback(*composition, *fields)) return;
    }
    if (application_.isProjectLocked()) return application_.beep();
    // Asked for anew: the question may have stood for a while.
    MarvoTimelineController* composition = composition_.get();
    if (composition && !composition->settings.setNewCompSettings(shown_, *fields, loopbackState(*fields)))
        return;
    QDialog::accept();
}

void CompositionSettingsDialog::done(int result) {
    restoreSyncOut();
    QDialog::done(result);
}

void CompositionSettingsDialog::restoreSyncOut() {
    if (!syncOutRests_) return;
    syncOutRests_ = false;
    MarvoTimelineController* composition = composition_.get();
    if (composition && !composition->controls.syncOutButton.state())
        composition->controls.syncOutButton.performClick();
}

void CompositionSettingsDialog::follow() {
    if (!composition_.get() && isVisible()) reject();
}

} // namespace marvo::ui
