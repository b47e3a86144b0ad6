// Length, frame rate and outgoing timecode of one composition.
//
// Sync out rests while the dialog stands and comes back when it closes. What cannot be beeps, and the dialog
// stays. Closes by itself when its composition is removed (see follow). Main thread.
#pragma once

#include "composition/CompositionSettingsInput.h"
#include "ui/NumberField.h"
#include "ui/ProjectQuestion.h"
#include "ui/ShownComposition.h"
#include "ui/TimeFieldsRow.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QPushButton>

namespace marvo::ui {

class CompositionSettingsDialog : public QDialog {
public:
    // dialogs: asks what to do about a loop of machine control messages. Both outlive the dialog.
    CompositionSettingsDialog(AppDelegate& application, ProjectDialogs& dialogs,
                              MarvoTimelineController& composition, QWidget* parent);
    ~CompositionSettingsDialog() override;

    // To be called when posted work has run: closes the dialog of a composition that is gone.
    void follow();
    bool isOf(const MarvoTimelineController& composition) const { return composition_.get() == &composition; }
    // As OK is clicked.
    void accept() override;
    void done(int result) override;

    TimeFieldsRow& length() { return *length_; }
    NumberField& fps() { return *fps_; }
    TimeFieldsRow& startTime() { return *startTime_; }
    QComboBox& rate() { return *rate_; }
    QComboBox& destination() { return *destination_; }
    QCheckBox& transmitsMTC() { return *transmitsMTC_; }
    QCheckBox& transmitsMMC() { return *transmitsMMC_; }
    QCheckBox& useCompIDWithMMC() { return *useCompIDWithMMC_; }
    QPushButton& okButton() { return *ok_; }
    QPushButton& cancelButton() { return *cancel_; }

private:
    void build();
    void show(const CompositionSettingsFields& fields);
    void mtcOutFramerateChanged();
    std::optional<CompositionSettingsFields> entered() const;
    bool passesLoopback(MarvoTimelineController& composition, const CompositionSettingsFields& fields);
    MidiLoopbackState loopbackState(const CompositionSettingsFields& fields) const;
    void restoreSyncOut();

    AppDelegate& application_;
    ProjectDialogs& dialogs_;
    ShownComposition composition_;
    CompositionSettingsFields shown_;
    bool syncOutRests_ = false;
    TimeFieldsRow* length_ = nullptr;
    NumberField* fps_ = nullptr;
    TimeFieldsRow* startTime_ = nullptr;
    QComboBox* rate_ = nullptr;
    QComboBox* destination_ = nullptr;
    QCheckBox* transmitsMTC_ = nullptr;
    QCheckBox* transmitsMMC_ = nullptr;
    QCheckBox* useCompIDWithMMC_ = nullptr;
    QPushButton* ok_ = nullptr;
    QPushButton* cancel_ = nullptr;
};

} // namespace marvo::ui
