#include "controls/NumberText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace marvo::numbertext {

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

std::size_t skipWhiteSpace(std::string_view text) {
    std::size_t i = 0;
    while (i < text.size() && isWhiteSpace(text[i])) ++i;
    return i;
}

// Whether a number too long for a double is too large (and not too small): the decimal position of its first
// digit that is not zero, moved by its exponent.
bool isLarge(std::string_view number) {
    constexpr std::int64_t limit = 1'000'000'000;
    std::int64_t position = 0;
    bool pointSeen = false;
    bool found = false;
    std::size_t i = 0;
    for (; i < number.size() && (isDigit(number[i]) || number[i] == '.'); ++i) {
        if (number[i] == '.') {
            pointSeen = true;
        } else if (!pointSeen) {
            found = found || number[i] != '0';
            if (found) ++position;
        } else if (!found) {
            if (number[i] != '0')
                found = true;
            else
                --position;
        }
    }
    std::int64_t exponent = 0;
    if (i < number.size()) exponent = std::clamp(leadingInteger(number.substr(i + 1)), -limit, limit);
    return found && position + exponent > 0;
}

} // namespace

bool isWhiteSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

std::string_view trimmed(std::string_view text) {
    text.remove_prefix(skipWhiteSpace(text));
    while (!text.empty() && isWhiteSpace(text.back())) text.remove_suffix(1);
    return text;
}

std::int64_t leadingInteger(std::string_view text) {
    text.remove_prefix(skipWhiteSpace(text));
    const bool negative = !text.empty() && text.front() == '-';
    if (negative || (!text.empty() && text.front() == '+')) text.remove_prefix(1);
    if (text.empty() || !isDigit(text.front())) return 0;
    std::uint64_t magnitude = 0;
    constexpr auto largest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    const auto read = std::from_chars(text.data(), text.data() + text.size(), magnitude);
    if (read.ec == std::errc::result_out_of_range || magnitude > largest) {
        return negative ? std::numeric_limits<std::int64_t>::min() : std::numeric_limits<std::int64_t>::max();
    }
    const auto value = static_cast<std::int64_t>(magnitude);
    return negative ? -value : value;
}

std::int32_t leadingInt32(std::string_view text) {
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(
        std::clamp<std::int64_t>(leadingInteger(text), Limits::min(), Limits::max()));
}

std::size_t numberLength(std::string_view text) {
    std::size_t i = 0;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
    std::size_t digits = 0;
    for (; i < text.size() && isDigit(text[i]); ++i) ++digits;
    if (i < text.size() && text[i] == '.') {
        std::size_t end = i + 1;
        for (; end < text.size() && isDigit(text[end]); ++end) ++digits;
        if (digits > 0) i = end;
    }
    if (digits == 0) return 0;
    if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
        std::size_t end = i + 1;
        if (end < text.size() && (text[end] == '+' || text[end] == '-')) ++end;
        if (end < text.size() && isDigit(text[end])) {
            while (end < text.size() && isDigit(text[end])) ++end;
            i = end;
        }
    }
    return i;
}

float leadingFloat(std::string_view text) {
    text.remove_prefix(skipWhiteSpace(text));
    std::string_view number = text.substr(0, numberLength(text));
    if (number.empty()) return 0.0F;
    const bool negative = number.front() == '-';
    if (negative || number.front() == '+') number.remove_prefix(1);
    float value = 0.0F;
    const auto read = std::from_chars(number.data(), number.data() + number.size(), value);
    if (read.ec == std::errc::result_out_of_range) {
        value = isLarge(number) ? std::numeric_limits<float>::infinity() : 0.0F;
    }
    return negative ? -value : value;
}

std::int32_t roundedInt32(float value) {
    if (std::isnan(value)) return 0;
    const float rounded = std::round(value);
    // 2^31 is exact in single precision, the largest 32-bit integer is not.
    if (rounded >= 2147483648.0F) return std::numeric_limits<std::int32_t>::max();
    if (rounded <= -2147483648.0F) return std::numeric_limits<std::int32_t>::min();
    return static_cast<std::int32_t>(rounded);
}

std::size_t writeFixed6(float value, char* out) {
    // The sign of a NaN differs between machines; it is never shown.
    if (std::isnan(value)) value = std::numeric_limits<float>::quiet_NaN();
    const auto wide = static_cast<double>(value);
    const auto end = std::to_chars(out, out + maxNumberLength, wide, std::chars_format::fixed, 6);
    return static_cast<std::size_t>(end.ptr - out);
}

std::size_t writeInteger(std::int64_t value, char* out) {
    return static_cast<std::size_t>(std::to_chars(out, out + maxNumberLength, value).ptr - out);
}

} // namespace marvo::numbertext
