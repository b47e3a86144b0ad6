// Name, type, repeat and count of the active cue, beside the cue. A click elsewhere closes it. Main thread.
#pragma once

#include "composition/CueEdits.h"
#include "ui/NumberField.h"
#include "ui/ShownComposition.h"

#include <QComboBox>
#include <QFrame>
#include <QLineEdit>
#include <QToolButton>

namespace marvo::ui {

class CuePopover : public QFrame {
public:
    // Edits go through `edits`, which belongs to the composition and lasts as long as it does.
    CuePopover(AppDelegate& application, MarvoTimelineController& composition, CueEdits& edits,
               QWidget* parent);
    ~CuePopover() override;

    // Beneath the place (global pixels), within its screen. Nothing without an active cue.
    void showNumberOfLoopsPopoverForActiveCue(const QPoint& beneath);
    // To be called when posted work has run: shows what an undo has changed, and closes when the cue or its
    // composition is gone.
    void follow();

    QLineEdit& name() { return *name_; }
    QComboBox& type() { return *type_; }
    QComboBox& repeat() { return *repeat_; }
    NumberField& count() { return *count_; }
    QToolButton& more() { return *more_; }
    QToolButton& less() { return *less_; }

protected:
    void hideEvent(QHideEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    // What the model says of the cue.
    struct Shown {
        QString name;
        CueType type = CueType::pauses;
        CueRepeat repeat = CueRepeat::none;
        std::uint64_t count = 1;
        bool operator==(const Shown&) const = default;
    };
    void build();
    void placeBeneath(const QPoint& beneath);
    std::optional<Shown> read() const;
    void display(const Shown& shown);
    void updateLoopNumberControls();
    void changeActiveCueName();
    void undoChangeCueToType();
    void loopCounterChanged(std::int64_t count);
    void popoverWillClose();
    // Runs the work with the composition queue held and the index of the cue shown.
    template <class Work>
    void withCue(Work work);

    AppDelegate& application_;
    ShownComposition composition_;
    CueEdits& edits_;
    CueId cue_;
    Shown shown_;
    QLineEdit* name_ = nullptr;
    QComboBox* type_ = nullptr;
    QComboBox* repeat_ = nullptr;
    NumberField* count_ = nullptr;
    QToolButton* more_ = nullptr;
    QToolButton* less_ = nullptr;
};

} // namespace marvo::ui
