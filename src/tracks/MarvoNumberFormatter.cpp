#include "tracks/MarvoNumberFormatter.h"

#include "controls/NumberText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <limits>

namespace marvo {

namespace {

std::optional<float> wholeNumber(std::string_view text) {
    if (text.empty() || numbertext::numberLength(text) != text.size()) return std::nullopt;
    const float number = numbertext::leadingFloat(text);
    if (!std::isfinite(number)) return std::nullopt;
    return number;
}

} // namespace

std::optional<float> MarvoNumberFormatter::numberFromString(std::string_view text) {
    text = numbertext::trimmed(text);
    if (text == "i") {
        specialFormat = 0;
        return std::numeric_limits<float>::infinity();
    }
    if (text.starts_with("(-") && text.ends_with(')')) {
        const std::optional<float> number = wholeNumber(text.substr(1, text.size() - 2));
        if (number) specialFormat = 1;
        return number;
    }
    const std::optional<float> number = wholeNumber(text);
    if (number) specialFormat = 0;
    return number;
}

std::string MarvoNumberFormatter::stringFromNumber(float number, bool focused) const {
    if (!std::isfinite(number)) return std::isnan(number) ? "nan" : (number < 0 ? "-inf" : "inf");
    constexpr std::size_t room = 64;
    char buffer[room];
    const int digits = std::clamp(maximumFractionDigits, 0, 9);
    const auto wide = static_cast<double>(number);
    const auto end = std::to_chars(buffer, buffer + room, wide, std::chars_format::fixed, digits);
    std::string text(buffer, end.ptr);
    if (text.find('.') != std::string::npos) {
        while (text.back() == '0') text.pop_back();
        if (text.back() == '.') text.pop_back();
    }
    if (text == "-0") text.erase(0, 1);
    if (focused && text.front() == '-') text.insert(0, 1, '(').push_back(')');
    return text;
}

} // namespace marvo
