// Every command of the program as a menu entry with its shortcut. Main thread.
#pragma once

#include <QKeySequence>
#include <QPoint>
#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

class QAction;
class QMenu;

namespace marvo::ui {

class HelpMenu;
class MainWindow;

class Menus {
public:
    explicit Menus(MainWindow& window);
    ~Menus();
    Menus(const Menus&) = delete;
    Menus& operator=(const Menus&) = delete;

    // What can be done now, and how it is called.
    void update();
    void rangePanelShown(bool shown);
    void showAddTrackMenu(const QPoint& global);

private:
    QAction* add(QMenu* menu, const QString& title, const QKeySequence& shortcut, std::function<void()> run);
    // Enabled while a composition is selected.
    QAction* addForComposition(QMenu* menu, const QString& title, const QKeySequence& shortcut,
                               std::function<void()> run);
    // The same, and not in a locked project.
    QAction* addEditing(QMenu* menu, const QString& title, const QKeySequence& shortcut,
                        std::function<void()> run);
    // The selected composition one row up or down; beeps where it cannot go.
    void moveComposition(std::int64_t by);
    void addFile();
    void addEdit();
    void addComposition();
    void addTrack();
    void addKeyframe();
    void askForValue();
    void addPlayback();
    void addJumps(QMenu* menu);
    void addRange(QMenu* menu);
    void addView();

    MainWindow& window_;
    std::unique_ptr<HelpMenu> help_;
    QMenu* addTrackMenu_ = nullptr;
    QAction* undo_ = nullptr;
    QAction* redo_ = nullptr;
    QAction* lock_ = nullptr;
    QAction* learn_ = nullptr;
    QAction* addresses_ = nullptr;
    QAction* moveUp_ = nullptr;
    QAction* moveDown_ = nullptr;
    QAction* range_ = nullptr;
    QAction* followPlayhead_ = nullptr;
    QAction* outputs_ = nullptr;
    QAction* newComposition_ = nullptr;
    QAction* playPrevious_ = nullptr;
    QAction* playNext_ = nullptr;
    QAction* queued_ = nullptr;
    QAction* queuedLoop_ = nullptr;
    QAction* solo_ = nullptr;
    std::vector<QAction*> forComposition_; // need a selected one
    std::vector<QAction*> edits_;          // of these, what a locked project refuses
    std::vector<QAction*> forProject_;     // need any
};

} // namespace marvo::ui
