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
    // programName: for whoever finds the mark.
    RunMarker(const std::string& folder, const std::string& programName);
    ~RunMarker();
    RunMarker(const RunMarker&) = delete;
    RunMarker& operator=(const RunMarker&) = delete;

    // The program of a run that has died since the last start; none when none did.
    const std::optional<std::string>& deadProgram() const { return deadProgram_; }
    // The program ends by itself. May be called again.
    void end();

private:
    std::optional<FileLock> lock_;
    std::optional<std::string> deadProgram_;
};

} // namespace marvo
