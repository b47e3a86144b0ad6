// A mark in a folder for as long as the program runs, by which a later run sees that it ended without
// warning.
//
// A locked file for each run; the file of one that ends by itself goes. Runs beside each other have a mark
// each. Main thread; blocks on the disk.
#pragma once

#include "platform/FileLock.h"

#include <optional>
#include <string>

namespace marvo {

class RunMarker {
public:
    // Takes away the marks of the dead. Where the folder cannot be written, no run is missed later.
    explicit RunMarker(const std::string& folder);
    ~RunMarker();
    RunMarker(const RunMarker&) = delete;
    RunMarker& operator=(const RunMarker&) = delete;

    // A run of before has died since the last start.
    bool earlierRunDied() const { return earlierRunDied_; }
    // The program ends by itself. May be called again.
    void end();

private:
    std::optional<FileLock> lock_;
    bool earlierRunDied_ = false;
};

} // namespace marvo
