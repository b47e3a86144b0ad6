// Writes the log of this run, with what the user has to say, into a file. Nothing is sent. Main thread.
#pragma once

#include "app/Reports.h"

#include <QDialog>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>

namespace marvo::ui {

class ReportDialog : public QDialog {
public:
    // The reports outlive the dialog.
    ReportDialog(const Reports& reports, QWidget* parent);

    QPlainTextEdit& words() { return *words_; }
    QPushButton& writeButton() { return *write_; }
    QLabel& outcome() { return *outcome_; }

private:
    void write();

    const Reports& reports_;
    QPlainTextEdit* words_;
    QLabel* outcome_;
    QPushButton* write_;
    QPushButton* close_;
};

} // namespace marvo::ui
