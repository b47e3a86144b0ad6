#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace marvo {

// Formatter of a header's value field: text to number and back, with two tricks of its own. "i" is positive
// infinity and asks to invert the selection; a negative may stand in brackets, so that it is told from a
// relative change.
//
// Owner thread: main. Numbers use the point in every locale.
class MarvoNumberFormatter {
public:
    int specialFormat = 0;         // 1 after a negative in brackets was read
    int maximumFractionDigits = 0; // 0 on integer tracks, 2 or 5 on float OSC tracks; held to 0..9

    // Nothing for text that is no number as a whole, or beyond single precision. Any text but a bracketed
    // negative that reads as a number sets specialFormat to 0, so that an edit given up earlier has no effect
    // on this one.
    std::optional<float> numberFromString(std::string_view text);

    // At most maximumFractionDigits, without trailing zeros. A focused field shows a negative in brackets:
    // leaving the field unchanged must not lower the value once more.
    std::string stringFromNumber(float number, bool focused) const;
};

} // namespace marvo
