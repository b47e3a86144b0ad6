#include "ui/HelpMenu.h"

#include "ui/AboutDialog.h"
#include "ui/ReportDialog.h"
#include "ui/ShortcutsWindow.h"

#include <QMenu>
#include <QMenuBar>

#include <utility>

namespace marvo::ui {

template <class Window, class... Arguments>
void HelpMenu::show(QPointer<QWidget>& present, Arguments&&... arguments) {
    if (!present) {
        present = new Window(std::forward<Arguments>(arguments)..., &window_);
        present->setAttribute(Qt::WA_DeleteOnClose);
    }
    present->show();
    present->raise();
    present->activateWindow();
}

HelpMenu::HelpMenu(QMenuBar& menus, const Reports& reports, QWidget& window) : window_(window) {
    QMenu* menu = menus.addMenu(QStringLiteral("&Help"));
    QAction* shortcuts = menu->addAction(QStringLiteral("Keyboard Shortcuts"));
    shortcuts->setShortcut(QKeySequence(Qt::Key_F1));
    QObject::connect(shortcuts, &QAction::triggered, &window,
                     [this, &menus] { show<ShortcutsWindow>(shortcuts_, menus); });
    QAction* report = menu->addAction(QStringLiteral("Report a Problem\u2026"));
    report->setShortcut(QKeySequence(QStringLiteral("Shift+F1")));
    QObject::connect(report, &QAction::triggered, &window,
                     [this, &reports] { show<ReportDialog>(report_, reports); });
    menu->addSeparator();
    QAction* about = menu->addAction(QStringLiteral("About Marvo"));
    about->setShortcut(QKeySequence(QStringLiteral("Ctrl+F1")));
    QObject::connect(about, &QAction::triggered, &window, [this] { show<AboutDialog>(about_); });
}

} // namespace marvo::ui
