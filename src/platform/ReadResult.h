// What reading a property list brings: a value, or one line that says what was refused and where.
#pragma once

#include "platform/PropertyList.h"

#include <string>

namespace marvo {

struct ReadResult {
    PropertyList value;
    std::string error; // empty when the value was read
    bool ok() const { return error.empty(); }
};

} // namespace marvo
