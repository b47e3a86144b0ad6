// One row of the status screen under construction.
//
// Counts what shows, not the attributes, and stops at the right edge. One thread.
#pragma once

#include <string>
#include <string_view>

namespace marvo {

enum class StatusInk { plain, strong, good, bad, faint };

class StatusRow {
public:
    explicit StatusRow(int columns) : left_(columns) {}

    // The text as it is, cut at the edge.
    StatusRow& add(std::string_view text, StatusInk ink = StatusInk::plain);
    // Cut or filled to exactly that many columns, as far as there are so many.
    StatusRow& field(std::string_view text, int columns, StatusInk ink = StatusInk::plain);

    int left() const { return left_; }
    const std::string& text() const { return text_; }

private:
    void put(std::string_view text, StatusInk ink);

    std::string text_;
    int left_; // columns up to the edge
};

} // namespace marvo
