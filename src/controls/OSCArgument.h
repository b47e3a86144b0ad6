#pragma once

#include <cstdint>
#include <string>

namespace marvo {

// The first value of a received OSC message, as a control sees it. Kinds: 1 32-bit integer, 2 float, 3
// string, 5 64-bit integer, 6 double, 10 and 11 as the OSC layer numbers them. The router fills both numbers,
// the integer truncated from a float. The text is that of
// a string.
struct OSCArgument {
    int type = 1;
    std::int64_t intValue = 0;
    float floatValue = 0.0F;
    std::string text = {};
};

} // namespace marvo
