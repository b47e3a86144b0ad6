// Identity of the calling thread as one word, cheaper than a thread id and free of system calls.
#pragma once

#include <cstdint>

namespace marvo {

// Unique among the threads that are alive; 0 is never returned and stands for "no thread". Realtime-safe.
inline std::uintptr_t currentThreadToken() {
    static thread_local char mark;
    return reinterpret_cast<std::uintptr_t>(&mark);
}

} // namespace marvo
