#include "platform/Colour.h"

#include <algorithm>
#include <cmath>

namespace marvo {
namespace {

double limitedComponent(double component) {
    return component > 0.0 ? std::min(component, 1.0) : 0.0;
}

} // namespace

Colour Colour::fromHSB(const HSB& hsb, double alpha) {
    const double value = hsb.brightness;
    // A hue a hair below 0 is a whole turn once it is rounded.
    const double hue = std::isfinite(hsb.hue) ? hsb.hue - std::floor(hsb.hue) : 0.0;
    const double turn = hue < 1.0 ? hue * 6.0 : 0.0;
    const int sector = static_cast<int>(turn);
    const double part = turn - sector;
    const double low = value * (1.0 - hsb.saturation);
    const double falling = value * (1.0 - hsb.saturation * part);
    const double rising = value * (1.0 - hsb.saturation * (1.0 - part));
    switch (sector) {
    case 0:
        return {value, rising, low, alpha};
    case 1:
        return {falling, value, low, alpha};
    case 2:
        return {low, value, rising, alpha};
    case 3:
        return {low, falling, value, alpha};
    case 4:
        return {rising, low, value, alpha};
    default:
        return {value, low, falling, alpha};
    }
}

Colour Colour::fromCMYK(const CMYK& cmyk, double alpha) {
    const double light = 1.0 - cmyk.black;
    return {(1.0 - cmyk.cyan) * light, (1.0 - cmyk.magenta) * light, (1.0 - cmyk.yellow) * light, alpha};
}

HSB Colour::hsb() const {
    const double largest = std::max({red, green, blue});
    const double range = largest - std::min({red, green, blue});
    HSB result{0.0, 0.0, largest};
    if (!(range > 0.0)) return result;
    result.saturation = range / largest;
    if (largest == red) {
        result.hue = (green - blue) / range;
    } else if (largest == green) {
        result.hue = 2.0 + (blue - red) / range;
    } else {
        result.hue = 4.0 + (red - green) / range;
    }
    result.hue /= 6.0;
    if (result.hue < 0.0) result.hue += 1.0;
    return result;
}

CMYK Colour::cmyk() const {
    const double black = 1.0 - std::max({red, green, blue});
    const double light = 1.0 - black;
    if (!(light > 0.0)) return {0.0, 0.0, 0.0, black};
    return {(1.0 - red - black) / light, (1.0 - green - black) / light, (1.0 - blue - black) / light, black};
}

Colour Colour::limited() const {
    return {limitedComponent(red), limitedComponent(green), limitedComponent(blue), limitedComponent(alpha)};
}

} // namespace marvo
