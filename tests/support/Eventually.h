// Waits for another thread without trusting its speed.
#pragma once

#include <chrono>
#include <thread>

namespace marvo {

// True as soon as the condition holds; false when it does not within the bound, which only a broken program
// reaches.
template <class Condition>
bool eventually(Condition condition, std::chrono::milliseconds bound = std::chrono::milliseconds(5000)) {
    const auto end = std::chrono::steady_clock::now() + bound;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return condition();
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return true;
}

} // namespace marvo
