// All commands of the menus with their keys, to be read beside the show. Main thread.
#pragma once

#include <QDialog>
#include <QLineEdit>
#include <QTreeWidget>

class QMenu;
class QMenuBar;

namespace marvo::ui {

class ShortcutsWindow : public QDialog {
public:
    // Takes the menus as they are now.
    ShortcutsWindow(const QMenuBar& menus, QWidget* parent);

    QLineEdit& filter() { return *filter_; }
    QTreeWidget& list() { return *list_; }

private:
    void addEntries(const QMenu& menu, const QString& path, QTreeWidgetItem* group);
    // Keeps what has all the words in its name, menu or keys.
    void showMatching(const QString& text);

    QLineEdit* filter_;
    QTreeWidget* list_;
};

} // namespace marvo::ui
