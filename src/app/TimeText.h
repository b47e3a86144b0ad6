// Lengths as text, for the info display and the title.
//
// Single precision where a length is a 32-bit float: the last digit shown depends on it. Thread-safe;
// allocates.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace marvo {

// A length in seconds at a whole number of frames per second, cut to whole frames: "12s", "01:05" from a
// minute on, "01:02:03" from an hour on. Frames left over follow directly, two wide and padded with a blank:
// "12s 5". A rate below 1 counts as 1; not-a-number is no time, and what is beyond 64 bits is held to them.
std::string timeWithSeconds(float seconds, std::int64_t andFrames);

// The sum of lengths in seconds, cut to whole seconds: "03s", "02:03" from a minute on, "01:02:03" from an
// hour on.
std::string totalLength(std::span<const float> seconds);

} // namespace marvo
