// Joins what is registered while it stands into one step under one name. Main thread.
//
// Taking a step back or bringing it again keeps the name the step has.
#pragma once

#include "platform/UndoStack.h"

#include <string>
#include <utility>

namespace marvo {

class UndoGroup {
public:
    UndoGroup(UndoStack& undo, std::string actionName) : undo_(undo), actionName_(std::move(actionName)) {
        undo_.beginUndoGrouping();
    }
    ~UndoGroup() {
        if (!undo_.isUndoing() && !undo_.isRedoing()) undo_.setActionName(std::move(actionName_));
        undo_.endUndoGrouping();
    }
    UndoGroup(const UndoGroup&) = delete;
    UndoGroup& operator=(const UndoGroup&) = delete;

private:
    UndoStack& undo_;
    std::string actionName_;
};

} // namespace marvo
