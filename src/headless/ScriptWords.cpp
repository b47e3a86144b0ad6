#include "headless/ScriptWords.h"

#include <algorithm>

namespace marvo {
namespace {

constexpr std::string_view blanks = " \t";

bool isBlank(char c) {
    return blanks.find(c) != std::string_view::npos;
}

} // namespace

void ScriptWords::skipBlanks() {
    rest_.remove_prefix(std::min(rest_.find_first_not_of(blanks), rest_.size()));
}

std::string_view ScriptWords::plain() {
    const std::string_view word = rest_.substr(0, rest_.find_first_of(blanks));
    rest_.remove_prefix(word.size());
    skipBlanks();
    return word;
}

bool ScriptWords::quotable(std::string_view marker, std::string& word) {
    rest_.remove_prefix(marker.size());
    if (rest_.empty() || rest_.front() != '"') {
        // Not plain(): nothing behind the marker is an empty word, whatever follows the blank.
        word = rest_.substr(0, rest_.find_first_of(blanks));
        rest_.remove_prefix(word.size());
        skipBlanks();
        return true;
    }
    rest_.remove_prefix(1);
    word.clear();
    while (!rest_.empty() && rest_.front() != '"') {
        if (rest_.front() == '\\') {
            rest_.remove_prefix(1);
            if (rest_.empty() || (rest_.front() != '"' && rest_.front() != '\\')) {
                reason_ = R"(inside quotes, \ stands only before " and \)";
                return false;
            }
        }
        word.push_back(rest_.front());
        rest_.remove_prefix(1);
    }
    if (rest_.empty()) {
        reason_ = "a double quote is not closed";
        return false;
    }
    rest_.remove_prefix(1);
    if (!rest_.empty() && !isBlank(rest_.front())) {
        reason_ = "a closing quote is followed by something else than a blank";
        return false;
    }
    skipBlanks();
    return true;
}

} // namespace marvo
