// Numbers to text and back, the same under every locale.
//
// Thread-safe. Realtime-safe: nothing here allocates.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace marvo {

// The number at the beginning of the text: blanks are skipped, a sign is taken, reading ends at the first
// character that does not belong. No number is 0; a number out of range is the nearest that fits.
std::int32_t parseLeadingInt(std::string_view text);
std::int64_t parseLeadingInt64(std::string_view text);
// As above with fraction and exponent. Out of range gives infinity or 0; "inf" and "nan" are no numbers here.
double parseLeadingFloat(std::string_view text);
// The text as a whole, without blanks; also "nan", "inf" and "infinity" in any case, with a sign. None when
// anything else is in it. Out of range gives infinity or 0.
std::optional<double> parseWholeFloat(std::string_view text);

// Text of a number in its own storage.
class NumberText {
public:
    NumberText() = default;
    explicit NumberText(std::string_view text) { size_ = text.copy(text_.data(), text_.size()); }

    std::string_view view() const { return {text_.data(), size_}; }
    operator std::string_view() const { return view(); }

    // The storage, for the functions that fill it: write from first() on, then take() the end.
    char* first() { return text_.data(); }
    char* last() { return text_.data() + text_.size(); }
    void take(const char* end) { size_ = static_cast<std::size_t>(end - text_.data()); }

private:
    // A sign, 309 digits before the point, the point and 40 digits behind it.
    std::array<char, 360> text_;
    std::size_t size_ = 0;
};

// With exactly `digits` (held to 0 to 40) behind the point; "inf", "-inf" and "nan" for what is no number.
NumberText formatFixed(double value, int digits);
// The shortest text that reads back to the same value.
NumberText shortestReal(double value);
NumberText shortestFloat(float value);
NumberText formatInteger(std::int64_t value);
NumberText formatUnsigned(std::uint64_t value);

} // namespace marvo
