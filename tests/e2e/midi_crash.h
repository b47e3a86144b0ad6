#pragma once

#include <string>

namespace marvo::e2e {

// A process that plays a note until its standard input ends, and then dies of the signal.
int playUntilCrash(const std::string& system, const std::string& signal);

} // namespace marvo::e2e
