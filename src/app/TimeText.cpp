#include "app/TimeText.h"

#include "platform/Saturate.h"

#include <algorithm>
#include <charconv>

namespace marvo {
namespace {

// Beyond this many frames per second the products below would leave 64 bits.
constexpr std::int64_t fastestRate = 1'000'000;
constexpr std::int64_t secondsPerHour = 3600;

std::string padded(std::int64_t value, char with) {
    char digits[24];
    const auto [end, error] = std::to_chars(digits, digits + sizeof digits, value);
    std::string text(digits, end);
    if (text.size() < 2) text.insert(text.begin(), with);
    return text;
}

std::string twoDigits(std::int64_t value) {
    return padded(value, '0');
}

} // namespace

std::string timeWithSeconds(float seconds, std::int64_t andFrames) {
    const std::int64_t fps = std::clamp<std::int64_t>(andFrames, 1, fastestRate);
    const std::int64_t frames =
        std::max<std::int64_t>(truncatedToInt64(static_cast<double>(static_cast<float>(fps) * seconds)), 0);
    const std::int64_t wholeMinutes = frames / (fps * 60);
    const std::int64_t hours = wholeMinutes / 60;
    const std::int64_t withoutHours = frames - fps * hours * secondsPerHour;
    const std::int64_t minutes = withoutHours / (fps * 60);
    const std::int64_t withoutMinutes = withoutHours - fps * 60 * minutes;
    const std::int64_t wholeSeconds = withoutMinutes / fps;
    const std::int64_t leftOver = withoutMinutes % fps;
    const std::string suffix = leftOver == 0 ? std::string() : padded(leftOver, ' ');
    if (wholeMinutes >= 60) {
        return twoDigits(hours) + ":" + twoDigits(minutes) + ":" + twoDigits(wholeSeconds) + suffix;
    }
    if (minutes >= 1) return twoDigits(minutes) + ":" + twoDigits(wholeSeconds) + suffix;
    return twoDigits(wholeSeconds) + "s" + suffix;
}

std::string totalLength(std::span<const float> seconds) {
    float sum = 0.0F;
    for (const float one : seconds) sum += one;
    const std::int64_t hours = truncatedToInt64(static_cast<double>(sum / 60.0F / 60.0F));
    const float withoutHours = sum - static_cast<float>(hours) * 3600.0F;
    const std::int64_t minutes = truncatedToInt64(static_cast<double>(withoutHours / 60.0F));
    const std::int64_t rest =
        truncatedToInt64(static_cast<double>(withoutHours - static_cast<float>(minutes) * 60.0F));
    if (hours > 0) return twoDigits(hours) + ":" + twoDigits(minutes) + ":" + twoDigits(rest);
    if (minutes > 0) return twoDigits(minutes) + ":" + twoDigits(rest);
    return twoDigits(rest) + "s";
}

} // namespace marvo
