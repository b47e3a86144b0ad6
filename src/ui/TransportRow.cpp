#include "ui/TransportRow.h"

#include "ui/Look.h"
#include "ui/PlayheadFields.h"
#include "ui/TempoField.h"

#include <QHBoxLayout>

namespace marvo::ui {

TransportRow::TransportRow(MarvoTimelineController& composition, QWidget* parent) : QWidget(parent) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(size::margin, size::gap, size::margin, size::gap);
    row->setSpacing(size::gap - 2);
    CompositionControls& controls = composition.controls;
    ControlButton* on = add(controls.compStateButton, Icon::power, QStringLiteral("Composition on"));
    on->onMenu = [this](const QPoint& at) {
        if (onEnableMenu) onEnableMenu(at);
    };
    row->addSpacing(size::gap);
    add(controls.rewindButton, Icon::rewind, QStringLiteral("Rewind"), QStringLiteral("Home"));
    ControlButton* play =
        add(controls.playButton, Icon::play, QStringLiteral("Play"), QStringLiteral("Space"));
    play->setAccent(Accent::plays);
    play->setOnIcon(Icon::stop);
    add(controls.recButton, Icon::record, QStringLiteral("Record"), QStringLiteral("Ctrl+R"))
        ->setAccent(Accent::records);
    add(controls.loopButton, Icon::loop, QStringLiteral("Loop"), QStringLiteral("Ctrl+L"));
    playhead_ = new PlayheadFields(composition, this);
    playhead_->onRefused = [this] {
        if (onRefused) onRefused();
    };
    row->addWidget(playhead_);
    tempo_ = new TempoField(controls.compSpeed, this);
    row->addWidget(tempo_);
    add(controls.syncOutButton, Icon::syncOut, QStringLiteral("Send timecode"));
    row->addSpacing(size::gap);
    CueControls& cues = composition.cueControls;
    add(cues.enableButton, Icon::cue, QStringLiteral("Cues on"));
    add(cues.prevCueButton, Icon::previous, QStringLiteral("Previous cue"), QStringLiteral("Ctrl+Left"));
    add(cues.nextCueButton, Icon::next, QStringLiteral("Next cue"), QStringLiteral("Ctrl+Right"));
    row->addStretch(1);
    add(controls.zoomOutButton, Icon::zoomOut, QStringLiteral("Zoom out"), QStringLiteral("Ctrl+-"));
    add(controls.zoomInButton, Icon::zoomIn, QStringLiteral("Zoom in"), QStringLiteral("Ctrl++"));
    ControlButton* more = add(controls.trackAddButton, Icon::plus, QStringLiteral("Add track"));
    more->setLabel(QStringLiteral("Track"));
    more->onAct = [this](const QPoint& at) {
        if (onAddTrack) onAddTrack(at);
    };
}

ControlButton* TransportRow::add(MarvoButton& control, Icon icon, const QString& name,
                                 const QString& shortcut) {
    auto* button = new ControlButton(control, icon, name, this);
    button->setShortcutText(shortcut);
    layout()->addWidget(button);
    buttons_.push_back(button);
    return button;
}

void TransportRow::follow() {
    for (ControlButton* button : buttons_) button->follow();
    playhead_->follow();
    tempo_->follow();
}

} // namespace marvo::ui
