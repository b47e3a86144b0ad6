// Reports a broken rule of the program itself, never bad input.
//
// Debug builds stop at once, so that the rule is mended where it is broken. Release builds count and go on: a
// show is worth more than a rule. A test installs its own handler to see the report.
#pragma once

#include <cstdint>

namespace marvo {

// `rule` and `detail` are valid during the call only.
using InvariantHandler = void (*)(const char* rule, const char* detail);

// Returns the handler that stood there; null stands for the build's own behaviour. Thread-safe.
InvariantHandler setInvariantHandler(InvariantHandler handler);

// Thread-safe. Realtime-safe in release builds unless a handler is installed.
void invariantFailed(const char* rule, const char* detail);

// Number of reports since the start of the process. Thread-safe, realtime-safe.
std::uint64_t invariantFailureCount();

} // namespace marvo
