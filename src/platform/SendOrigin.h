// Who sends a message, for those who write down what leaves.
#pragma once

#include <cstdint>
#include <string>

namespace marvo {

// Null names are left out of a trace. The texts must live for the length of the call.
struct SendOrigin {
    const std::string* composition = nullptr;
    const std::string* track = nullptr;
    std::int64_t frame = 0;
    bool feedback = false;
};

} // namespace marvo
