// From a colour to the levels of a lamp, letter by letter of its format:
//
//     R G B    the components; with "RGBW" in the word, what is left of them beside the white
//     W        white; without "RGBW", as far as the colour is not saturated
//     A        amber, the smaller of red and green
//     C M Y    ink
//     L        grey
//
// Any other letter is 0. Thread-safe: plain functions; realtime-safe.
#pragma once

#include "platform/Colour.h"

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

namespace marvo {

// Red, green, blue and white, 0 to 255: as much of the colour as white can give is taken out of the others.
std::array<std::int32_t, 4> convertToRGBW(const Colour& color);

// One level a letter, 0 to full (255 or 65535), cut rather than rounded. levels is as long as the format.
void colorLevels(const Colour& color, std::string_view format, std::int32_t full,
                 std::span<std::int32_t> levels);

} // namespace marvo
