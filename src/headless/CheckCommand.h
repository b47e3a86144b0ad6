// Reads a project and says what is in it and what had to be repaired.
#pragma once

#include "headless/CommandLine.h"

namespace marvo {

// Returns the exit status.
int runCheck(const CheckOptions& options);

} // namespace marvo
