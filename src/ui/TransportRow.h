// The controls of the selected composition in one row: transport, playhead, tempo, zoom. Main thread.
#pragma once

#include "composition/MarvoTimelineController.h"
#include "ui/ControlButton.h"

#include <QWidget>

#include <vector>

namespace marvo::ui {

class PlayheadFields;
class TempoField;

class TransportRow : public QWidget {
public:
    TransportRow(MarvoTimelineController& composition, QWidget* parent);

    void follow();
    std::function<void(const QPoint& global)> onAddTrack;
    std::function<void(const QPoint& global)> onEnableMenu;
    // What was typed into a field cannot be.
    std::function<void()> onRefused;

private:
    ControlButton* add(MarvoButton& control, Icon icon, const QString& name, const QString& shortcut = {});

    PlayheadFields* playhead_;
    TempoField* tempo_;
    std::vector<ControlButton*> buttons_;
};

} // namespace marvo::ui
