// The panel that selects everything between two times of the selected composition, as it stands on the
// screen.
//
// Floats above normal windows and never takes the keyboard from the timeline; its commands are in the menus,
// too. The times are the composition's; the panel shows them. Main thread.
#pragma once

#include "app/AppDelegate.h"
#include "app/RangeSelectPanel.h"

#include <QLabel>
#include <QPushButton>
#include <QWidget>

#include <array>
#include <functional>

namespace marvo::ui {

class RangePanel : public QWidget {
public:
    RangePanel(AppDelegate& application, QWidget* parent);

    // It has come or gone, by its own close button as well.
    std::function<void(bool visible)> onVisible;
    // Keyframes or cues may be selected now that were not.
    std::function<void()> onSelected;

    void setRangeStartFromPlayhead();
    void setRangeEndFromPlayhead();
    void selectRange();
    // Once a frame: the range of the composition that is selected now.
    void follow();

    // Hours, minutes, seconds, frames.
    const std::array<QLabel*, 4>& startDisplays() const { return start_; }
    const std::array<QLabel*, 4>& endDisplays() const { return end_; }
    QPushButton& startButton() { return *startButton_; }
    QPushButton& endButton() { return *endButton_; }
    QPushButton& selectButton() { return *selectButton_; }

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    AppDelegate& application_;
    RangeSelectPanel model_;
    std::array<QLabel*, 4> start_{};
    std::array<QLabel*, 4> end_{};
    QPushButton* startButton_;
    QPushButton* endButton_;
    QPushButton* selectButton_;
};

} // namespace marvo::ui
