// By what, and in which direction, the tracks of a composition are sorted. Main thread.
#pragma once

#include "ui/ShownComposition.h"

#include <QComboBox>
#include <QDialog>
#include <QPushButton>
#include <QRadioButton>

namespace marvo::ui {

class SortTracksDialog : public QDialog {
public:
    SortTracksDialog(AppDelegate& application, MarvoTimelineController& composition, QWidget* parent);

    // To be called when posted work has run: closes the dialog of a composition that is gone.
    void follow();
    bool isOf(const MarvoTimelineController& composition) const { return composition_.get() == &composition; }
    void accept() override;

    QComboBox& sortBy() { return *sortBy_; }
    QRadioButton& ascending() { return *ascending_; }
    QRadioButton& descending() { return *descending_; }
    QPushButton& sortButton() { return *sort_; }

private:
    ShownComposition composition_;
    QComboBox* sortBy_;
    QRadioButton* ascending_;
    QRadioButton* descending_;
    QPushButton* sort_;
};

} // namespace marvo::ui
