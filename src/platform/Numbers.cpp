#include "platform/Numbers.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace marvo {
namespace {

bool isBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// Drops blanks and a plus sign, which from_chars does not take.
std::string_view atNumber(std::string_view text) {
    while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
    return text;
}

template <class Integer>
Integer leadingInteger(std::string_view text) {
    text = atNumber(text);
    Integer value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::result_out_of_range) {
        return text.front() == '-' ? std::numeric_limits<Integer>::min()
                                   : std::numeric_limits<Integer>::max();
    }
    return error == std::errc() ? value : 0;
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// Whether a decimal number is too large rather than too small: the power of ten of its first digit that is
// not zero.
bool isLarge(std::string_view number) {
    std::int64_t exponent = 0;
    if (const std::size_t e = number.find_first_of("eE"); e != std::string_view::npos) {
        exponent = parseLeadingInt(number.substr(e + 1));
        number = number.substr(0, e);
    }
    const std::size_t point = std::min(number.find('.'), number.size());
    const std::size_t significant = number.find_first_of("123456789");
    return static_cast<std::int64_t>(point) - static_cast<std::int64_t>(significant) + exponent > 0;
}

struct Read {
    double value;
    std::size_t length;
};

std::optional<Read> read(std::string_view text) {
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::invalid_argument) return std::nullopt;
    const auto length = static_cast<std::size_t>(end - text.data());
    if (error == std::errc::result_out_of_range) {
        const double magnitude =
            isLarge(text.substr(0, length)) ? std::numeric_limits<double>::infinity() : 0.0;
        value = text.front() == '-' ? -magnitude : magnitude;
    }
    return Read{value, length};
}

std::string_view nameOfNonNumber(double value) {
    if (std::isnan(value)) return "nan";
    return value < 0 ? "-inf" : "inf";
}

template <class Number>
NumberText shortest(Number value) {
    NumberText result;
    result.take(std::to_chars(result.first(), result.last(), value).ptr);
    return result;
}

} // namespace

std::int32_t parseLeadingInt(std::string_view text) {
    return leadingInteger<std::int32_t>(text);
}

std::int64_t parseLeadingInt64(std::string_view text) {
    return leadingInteger<std::int64_t>(text);
}

double parseLeadingFloat(std::string_view text) {
    text = atNumber(text);
    const std::size_t first = text.starts_with('-') ? 1 : 0;
    if (text.size() <= first || (text[first] != '.' && !isDigit(text[first]))) return 0.0;
    return read(text).value_or(Read{0.0, 0}).value;
}

std::optional<double> parseWholeFloat(std::string_view text) {
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
    const std::optional<Read> number = read(text);
    if (!number || number->length != text.size()) return std::nullopt;
    return number->value;
}

NumberText formatFixed(double value, int digits) {
    if (!std::isfinite(value)) return NumberText(nameOfNonNumber(value));
    constexpr int most = 40;
    NumberText result;
    result.take(std::to_chars(result.first(), result.last(), value, std::chars_format::fixed,
                              std::clamp(digits, 0, most))
                    .ptr);
    return result;
}

NumberText shortestReal(double value) {
    return shortest(value);
}
NumberText shortestFloat(float value) {
    return shortest(value);
}
NumberText formatInteger(std::int64_t value) {
    return shortest(value);
}
NumberText formatUnsigned(std::uint64_t value) {
    return shortest(value);
}

} // namespace marvo
