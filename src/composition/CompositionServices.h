// The shared objects that a composition works with, handed down by the application.
//
// All outlive every composition.
#pragma once

#include "composition/CompositionApplication.h"
#include "composition/OSCCommands.h"
#include "platform/UndoStack.h"
#include "tracks/TrackServices.h"

#include <cstdint>

namespace marvo {

// What a new composition starts with.
struct CompositionDefaults {
    std::int64_t compFPS = 30;
    std::int64_t durationMinutes = 0;
    std::int64_t durationSeconds = 10;
    bool loop = true;
};

struct CompositionServices : TrackServices {
    CompositionServices(const TrackServices& shared, CompositionApplication& application_, UndoStack& undo_,
                        OSCCommands& commands_)
        : TrackServices(shared), application(application_), undo(undo_), commands(commands_) {}

    CompositionApplication& application;
    UndoStack& undo;
    OSCCommands& commands;
};

// Undo entries are dropped by the object that they change.
inline UndoTarget undoTargetOf(const void* object) {
    return static_cast<UndoTarget>(reinterpret_cast<std::uintptr_t>(object));
}

} // namespace marvo
