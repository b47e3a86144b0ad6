// What had to be repaired, or looked odd, while a project was read: one line each, in order.
//
// Bounded, so that a damaged file of a million keyframes does not become a million lines: beyond the bound
// only the number of further lines is kept. Main thread.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace marvo {

class LoadReport {
public:
    static constexpr std::size_t bound = 10'000;

    void add(std::string line) {
        if (lines_.size() < bound) {
            lines_.push_back(std::move(line));
        } else {
            ++further_;
        }
    }
    const std::vector<std::string>& lines() const { return lines_; }
    std::size_t further() const { return further_; }
    bool empty() const { return lines_.empty(); }

private:
    std::vector<std::string> lines_;
    std::size_t further_ = 0;
};

} // namespace marvo
