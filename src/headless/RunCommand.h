// Plays for real: sockets, real time, until told to stop.
#pragma once

#include "headless/CommandLine.h"

namespace marvo {

// Returns the exit status. Called before any other thread exists: it blocks the signals that end the run, so
// that every thread inherits the mask.
int runShow(const RunOptions& options);

} // namespace marvo
