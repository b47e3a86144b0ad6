// Numbers read from and written as text, the same in every locale.
//
// Text that operators type or files hold is read leniently: the number at its front counts, the rest is
// dropped, and text without a number is 0. Nothing here allocates or throws.
//
// Thread-safe: plain functions. Realtime-safe: yes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace marvo::numbertext {

// White space is the blank and the control characters from tab to carriage return.
bool isWhiteSpace(char c);
std::string_view trimmed(std::string_view text);

// The integer at the front: blanks, a sign, digits. Held to the 64-bit (32-bit) range.
std::int64_t leadingInteger(std::string_view text);
std::int32_t leadingInt32(std::string_view text);

// The number at the front: blanks, a sign, digits with an optional point and exponent. Beyond the range it is
// an infinity or zero. Words such as "inf" are no numbers.
float leadingFloat(std::string_view text);

// Length of the number leadingFloat would read at the front of `text`, without leading blanks; 0 when there
// is none.
std::size_t numberLength(std::string_view text);

// Half away from zero, held to the 32-bit range; NaN is 0. A plain cast would be undefined outside the range.
std::int32_t roundedInt32(float value);

// Room for any result of the writers below: sign, 39 digits of the largest float, point, 6 digits.
inline constexpr std::size_t maxNumberLength = 48;

// Six fraction digits, never an exponent; "inf", "-inf" or "nan". `value` is a widened float. `out` has
// maxNumberLength bytes; the result is the length written.
std::size_t writeFixed6(float value, char* out);
std::size_t writeInteger(std::int64_t value, char* out);

} // namespace marvo::numbertext
