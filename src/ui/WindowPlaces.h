// Where each window stood and how large it was, by name, remembered over runs.
//
// One file in the state folder. A place on a screen that is gone is brought back onto one that is there.
// Main thread; blocks on the disk when a window is hidden.
#pragma once

#include "platform/PropertyList.h"

#include <QObject>

#include <map>
#include <string>

class QWidget;

namespace marvo::ui {

class WindowPlaces : public QObject {
public:
    // stateFolder: Paths::state; made when it is needed.
    explicit WindowPlaces(const std::string& stateFolder);

    // Puts the window where it was last, if it was ever anywhere, and remembers from now on; it is written
    // when the window hides. Call before it is shown.
    void follow(QWidget& window, const std::string& name);
    // Notes where all windows stand now and writes. An error text, empty when it is on the disk.
    std::string save();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void note(const QWidget& window, const std::string& name);
    std::string write();

    std::string folder_;
    PropertyList places_ = PropertyList::dictionary();
    std::map<const QObject*, std::string> followed_;
    bool changed_ = false;
};

} // namespace marvo::ui
