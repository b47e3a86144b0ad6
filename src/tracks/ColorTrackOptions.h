// What the operator has chosen for values that are pasted on colour tracks.
#pragma once

#include <string>

namespace marvo {

// The letters of the components that take the value's height, of "RGBA" or of "HSBA"; the first text that is
// not empty counts. Main thread.
struct ColorTrackOptions {
    std::string convertToColorOptionsRGB;
    std::string convertToColorOptionsHSB;
};

} // namespace marvo
