// What the program is called, which version it is, and whose terms it comes under. Main thread.
#pragma once

#include <QDialog>

namespace marvo::ui {

class AboutDialog : public QDialog {
public:
    explicit AboutDialog(QWidget* parent);
};

} // namespace marvo::ui
