// The menu of those who look for something: keys, a report of a problem, the version. Main thread.
#pragma once

#include <QPointer>
#include <QWidget>

class QMenuBar;

namespace marvo {
class Reports;
}

namespace marvo::ui {

class HelpMenu {
public:
    // Its windows wait for nobody; each stands once. All outlive the menu.
    HelpMenu(QMenuBar& menus, const Reports& reports, QWidget& window);

private:
    template <class Window, class... Arguments>
    void show(QPointer<QWidget>& present, Arguments&&... arguments);

    QWidget& window_;
    QPointer<QWidget> shortcuts_;
    QPointer<QWidget> report_;
    QPointer<QWidget> about_;
};

} // namespace marvo::ui
