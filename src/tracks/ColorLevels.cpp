#include "tracks/ColorLevels.h"

#include "platform/Saturate.h"

#include <algorithm>
#include <cmath>

namespace marvo {
namespace {

std::int32_t scaled(std::int32_t full, double component) {
    return truncatedToInt32(static_cast<double>(full) * component);
}

// Single precision throughout, which decides where the cuts fall.
std::int32_t whiteBesideColor(const Colour& color, std::int32_t full) {
    const std::int32_t r = scaled(full, color.red);
    const std::int32_t g = scaled(full, color.green);
    const std::int32_t b = scaled(full, color.blue);
    const auto largest = static_cast<float>(std::max({r, g, b}));
    const auto smallest = static_cast<float>(std::min({r, g, b}));
    float saturation = std::roundf((largest - smallest) / largest * 100.0f);
    if (std::isnan(saturation)) saturation = 100.0f; // black
    const auto scale = static_cast<float>(full);
    return truncatedToInt32(
        static_cast<double>(static_cast<float>(r + g + b) * ((scale - saturation) / scale) / 3.0f));
}

} // namespace

std::array<std::int32_t, 4> convertToRGBW(const Colour& color) {
    const auto r = static_cast<float>(scaled(255, color.red));
    const auto g = static_cast<float>(scaled(255, color.green));
    const auto b = static_cast<float>(scaled(255, color.blue));
    const float largest = std::max({r, g, b});
    if (!(largest > 0.0f)) return {0, 0, 0, 0};
    const float k = 255.0f / largest;
    const float high = std::max({r * k, g * k, b * k});
    const float low = std::min({r * k, g * k, b * k});
    const float white = ((low + high) * 0.5f - 127.5f) * 2.0f / k;
    const auto level = [](float value) {
        return std::clamp(truncatedToInt32(static_cast<double>(value)), 0, 255);
    };
    return {level(r - white), level(g - white), level(b - white), level(white)};
}

void colorLevels(const Colour& color, std::string_view format, std::int32_t full,
                 std::span<std::int32_t> levels) {
    const bool hasWhite = format.find("RGBW") != std::string_view::npos;
    const std::array<std::int32_t, 4> rgbw = hasWhite ? convertToRGBW(color) : std::array<std::int32_t, 4>{};
    const CMYK ink = color.cmyk();
    const auto withWhite = [&](std::size_t i) { return scaled(full, rgbw[i] / 255.0); };
    for (std::size_t i = 0; i < format.size(); ++i) {
        std::int32_t level = 0;
        switch (format[i]) {
        case 'R':
            level = hasWhite ? withWhite(0) : scaled(full, color.red);
            break;
        case 'G':
            level = hasWhite ? withWhite(1) : scaled(full, color.green);
            break;
        case 'B':
            level = hasWhite ? withWhite(2) : scaled(full, color.blue);
            break;
        case 'W':
            level = hasWhite ? withWhite(3) : whiteBesideColor(color, full);
            break;
        case 'A':
            level = std::min(scaled(full, color.green), scaled(full, color.red));
            break;
        case 'C':
            level = scaled(full, ink.cyan);
            break;
        case 'M':
            level = scaled(full, ink.magenta);
            break;
        case 'Y':
            level = scaled(full, ink.yellow);
            break;
        case 'L':
            level = scaled(full, color.grey());
            break;
        default:
            break;
        }
        levels[i] = std::clamp(level, 0, full);
    }
}

} // namespace marvo
