#include "headless/StatusRow.h"

#include "headless/TerminalText.h"

#include <algorithm>

namespace marvo {
namespace {

std::string_view attributeOf(StatusInk ink) {
    switch (ink) {
    case StatusInk::strong:
        return "\x1b[1m";
    case StatusInk::good:
        return "\x1b[32m";
    case StatusInk::bad:
        return "\x1b[31m";
    case StatusInk::faint:
        return "\x1b[2m";
    case StatusInk::plain:
        break;
    }
    return {};
}

} // namespace

StatusRow& StatusRow::add(std::string_view text, StatusInk ink) {
    put(cutForTerminal(text, left_), ink);
    return *this;
}

StatusRow& StatusRow::field(std::string_view text, int columns, StatusInk ink) {
    put(padForTerminal(text, std::min(columns, left_)), ink);
    return *this;
}

void StatusRow::put(std::string_view text, StatusInk ink) {
    if (text.empty()) return;
    const std::string_view attribute = attributeOf(ink);
    text_.append(attribute).append(text);
    if (!attribute.empty()) text_.append("\x1b[0m");
    left_ -= terminalWidth(text);
}

} // namespace marvo
