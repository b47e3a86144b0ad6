// Cuts a line of a trace script into words.
//
// A word in double quotes may hold blanks; only its quotes and backslashes are escaped. Views into the line,
// one thread.
#pragma once

#include <string>
#include <string_view>

namespace marvo {

class ScriptWords {
public:
    explicit ScriptWords(std::string_view line) : rest_(line) { skipBlanks(); }

    bool atEnd() const { return rest_.empty(); }
    // The next word up to a blank, taken as it is. Empty at the end.
    std::string_view plain();
    // The next word, of which `marker` ("s:" or nothing) was seen to be the beginning; what follows the
    // marker may stand in quotes. False, with a reason, when the quotes are not as they should be.
    bool quotable(std::string_view marker, std::string& word);
    bool beginsWith(std::string_view marker) const { return rest_.starts_with(marker); }

    const std::string& reason() const { return reason_; }

private:
    void skipBlanks();

    std::string_view rest_;
    std::string reason_;
};

} // namespace marvo
