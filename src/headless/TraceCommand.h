// Rehearses a show on a virtual clock and writes down every message.
#pragma once

#include "headless/CommandLine.h"

namespace marvo {

// Returns the exit status.
int runTrace(const TraceOptions& options);

} // namespace marvo
