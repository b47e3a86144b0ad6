// Counts what the calling thread asks of operator new.
#pragma once

#include <cstddef>

namespace marvo {

struct AllocationCount {
    std::size_t blocks = 0;
    std::size_t bytes = 0;
};

// Since the thread began; what is given back is not taken off.
AllocationCount allocationsOfThisThread();

} // namespace marvo
