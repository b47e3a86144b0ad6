#include "composition/CueTimeInput.h"

#include "composition/CompositionTimeMath.h"

#include <array>
#include <charconv>
#include <limits>

namespace marvo {

namespace {

std::int64_t leadingInteger(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
    if (!text.empty() && text.front() == '+') {
        text.remove_prefix(1);
        if (!text.empty() && text.front() == '-') return 0;
    }
    std::int64_t value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec == std::errc::result_out_of_range) {
        using Limits = std::numeric_limits<std::int64_t>;
        return text.front() == '-' ? Limits::min() : Limits::max();
    }
    return value;
}

} // namespace

CueTimeInput parseCueTimeInput(std::string_view text, std::int64_t fps) {
    if (text.empty()) return {};
    if (text == "i") return {CueTimeInput::Kind::invert, 0};

    const bool relative = text.front() == '+' || text.front() == '-';
    std::array<std::int64_t, 4> parts{}; // hours, minutes, seconds, frames
    std::size_t count = 0;
    for (std::string_view rest = text;;) {
        if (count == parts.size()) return {};
        const std::size_t colon = rest.find(':');
        for (std::size_t i = 0; i + 1 < parts.size(); ++i) parts[i] = parts[i + 1];
        parts.back() = leadingInteger(rest.substr(0, colon));
        ++count;
        if (colon == std::string_view::npos) break;
        rest.remove_prefix(colon + 1);
    }
    const Frame frame = joinTime(TimeFields{parts[0], parts[1], parts[2], parts[3]}, fps);
    return {relative ? CueTimeInput::Kind::relative : CueTimeInput::Kind::absolute, frame.value};
}

} // namespace marvo
