// The named curves between two keyframes.
//
// A curve is known everywhere by its label: in files, menus and preferences. The code is only this program's
// short form. Thread-safe; realtime-safe but for the functions that return text.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace marvo {

// In the order of the menu. `unknown` is any label that is not in it, and steps like "No Interpolation".
enum class Curve : std::uint8_t {
    none,
    linear,
    quadraticIn,
    quadraticOut,
    quadraticInOut,
    cubicIn,
    cubicOut,
    cubicInOut,
    quarticIn,
    quarticOut,
    quarticInOut,
    quinticIn,
    quinticOut,
    quinticInOut,
    sineIn,
    sineOut,
    sineInOut,
    circularIn,
    circularOut,
    circularInOut,
    exponentialIn,
    exponentialOut,
    exponentialInOut,
    elasticIn,
    elasticOut,
    elasticInOut,
    backIn,
    backOut,
    backInOut,
    bounceIn,
    bounceOut,
    bounceInOut,
    unknown,
};

inline constexpr std::size_t curveCount = 32; // with "No Interpolation"

Curve curveWithLabel(std::string_view label);
// Empty for `unknown`.
std::string_view labelOfCurve(Curve curve);
std::array<std::string_view, curveCount> allCurveLabels();

// The outside name of a label ("cubic-in"), and back. What is not known gives "none" and "No Interpolation".
std::string_view safeNameOfEasing(std::string_view label);
std::string_view easingFromSafeName(std::string_view name);

// Eased progress for p from 0 to 1; positive infinity for a stepped segment. Elastic and back curves leave 0
// to 1. Computed in 32-bit float, in double inside sin, cos, exp2, sqrt and the bounce family.
float easedProgress(Curve curve, float p);

constexpr bool isStepped(Curve curve) {
    return curve == Curve::none || curve == Curve::unknown;
}

} // namespace marvo
