#include "tracks/FieldInput.h"

#include "controls/NumberText.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <limits>

namespace marvo {

namespace {

using Limits = std::numeric_limits<std::int64_t>;

std::int64_t saturatedProduct(std::int64_t a, std::int64_t b) {
    std::int64_t result = 0;
    if (!__builtin_mul_overflow(a, b, &result)) return result;
    return (a < 0) == (b < 0) ? Limits::max() : Limits::min();
}

std::int64_t saturatedSum(std::int64_t a, std::int64_t b) {
    std::int64_t result = 0;
    if (!__builtin_add_overflow(a, b, &result)) return result;
    return a < 0 ? Limits::min() : Limits::max();
}

std::int64_t framesOfTimeText(std::string_view text, std::int64_t compFPS) {
    constexpr std::size_t most = 4;
    std::array<std::int64_t, most> parts{};
    std::size_t count = 0;
    while (true) {
        const std::size_t colon = text.find(':');
        if (count == most) return 0;
        parts[count++] = numbertext::leadingInteger(text.substr(0, colon));
        if (colon == std::string_view::npos) break;
        text.remove_prefix(colon + 1);
    }
    // Seconds in the last unit but frames: 1, 60, 3600, from the back.
    std::int64_t frames = parts[count - 1];
    std::int64_t seconds = 1;
    for (std::size_t back = 2; back <= count; ++back, seconds *= 60) {
        const std::int64_t unit = saturatedProduct(seconds, compFPS);
        frames = saturatedSum(frames, saturatedProduct(unit, parts[count - back]));
    }
    return frames;
}

bool startsWithSign(std::string_view text) {
    return text.starts_with('+') || text.starts_with('-');
}

} // namespace

TimeInput parseTimeInput(std::string_view text, std::int64_t compFPS) {
    const std::string_view typed = numbertext::trimmed(text);
    if (typed.empty()) return RefusedInput{};
    if (typed == "i") return InvertSelection{};
    const std::int64_t frames = framesOfTimeText(typed, compFPS);
    if (startsWithSign(typed)) return RelativeFrames{frames};
    return AbsoluteFrame{frames};
}

ValueInput parseValueInput(std::string_view text, MarvoNumberFormatter& formatter, float multiplier) {
    const std::string_view typed = numbertext::trimmed(text);
    const std::optional<float> number = formatter.numberFromString(typed);
    if (!number) return RefusedInput{};
    if (std::isinf(*number)) return InvertSelection{};
    const float stored = *number * multiplier;
    if (!std::isfinite(stored)) return RefusedInput{};
    // A negative in brackets starts with no sign.
    if (startsWithSign(typed)) return RelativeValue{stored};
    formatter.specialFormat = 0;
    return AbsoluteValue{stored};
}

} // namespace marvo
