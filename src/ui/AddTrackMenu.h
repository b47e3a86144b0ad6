// The kinds of track an operator can add, and the menu that offers them. Main thread.
#pragma once

#include <QKeySequence>
#include <QString>

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>

class QMenu;
class QPoint;
class QWidget;

namespace marvo {
class AppDelegate;
}

namespace marvo::ui {

struct AddableTrack {
    const char* title;
    std::string_view trackType;
    int key; // digit, together with Control
};

// In the order of the menu.
std::span<const AddableTrack> addableTracks();

// Adds one entry per kind; a choice adds such a track to the selected composition.
void fillAddTrackMenu(QMenu& menu, AppDelegate& application);
// Null, so that nothing opens, while the project is locked or there is no composition.
std::unique_ptr<QMenu> makeAddTrackMenu(AppDelegate& application, QWidget* parent);

} // namespace marvo::ui
