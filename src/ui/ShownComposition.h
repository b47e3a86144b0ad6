// A composition that a window shows and that may be gone the next time it is asked for: a remote load or an
// undo can remove it while the window stands. Main thread.
#pragma once

#include "app/AppDelegate.h"

#include <string>

namespace marvo::ui {

class ShownComposition {
public:
    ShownComposition(AppDelegate& application, const MarvoTimelineController& composition)
        : application_(application), identifier_(composition.identifier()) {}

    // Null when it is gone. To be asked for anew after every turn of the loop.
    MarvoTimelineController* get() const {
        return application_.compositions.compositionWithIdentifier(identifier_);
    }

private:
    AppDelegate& application_;
    std::string identifier_; // never given twice
};

} // namespace marvo::ui
