#include "tracks/CurveMath.h"

namespace marvo {
namespace {

struct CurveName {
    std::string_view label;
    std::string_view safeName;
};

constexpr std::array<CurveName, curveCount> names = {{
    {"No Interpolation", "none"},
    {"Linear Interpolation", "linear"},
    {"Quadratic Ease-In", "quadratic-in"},
    {"Quadratic Ease-Out", "quadratic-out"},
    {"Quadratic Ease-In-Out", "quadratic-in-out"},
    {"Cubic Ease-In", "cubic-in"},
    {"Cubic Ease-Out", "cubic-out"},
    {"Cubic Ease-In-Out", "cubic-in-out"},
    {"Quartic Ease-In", "quartic-in"},
    {"Quartic Ease-Out", "quartic-out"},
    {"Quartic Ease-In-Out", "quartic-in-out"},
    {"Quintic Ease-In", "quintic-in"},
    {"Quintic Ease-Out", "quintic-out"},
    {"Quintic Ease-In-Out", "quintic-in-out"},
    {"Sine Ease-In", "sine-in"},
    {"Sine Ease-Out", "sine-out"},
    {"Sine Ease-In-Out", "sine-in-out"},
    {"Circular Ease-In", "circular-in"},
    {"Circular Ease-Out", "circular-out"},
    {"Circular Ease-In-Out", "circular-in-out"},
    {"Exponential Ease-In", "exponential-in"},
    {"Exponential Ease-Out", "exponential-out"},
    {"Exponential Ease-In-Out", "exponential-in-out"},
    {"Elastic Ease-In", "elastic-in"},
    {"Elastic Ease-Out", "elastic-out"},
    {"Elastic Ease-In-Out", "elastic-in-out"},
    {"Back Ease-In", "back-in"},
    {"Back Ease-Out", "back-out"},
    {"Back Ease-In-Out", "back-in-out"},
    {"Bounce Ease-In", "bounce-in"},
    {"Bounce Ease-Out", "bounce-out"},
    {"Bounce Ease-In-Out", "bounce-in-out"},
}};

} // namespace

Curve curveWithLabel(std::string_view label) {
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (names[i].label == label) return static_cast<Curve>(i);
    }
    return Curve::unknown;
}

std::string_view labelOfCurve(Curve curve) {
    const auto index = static_cast<std::size_t>(curve);
    return index < names.size() ? names[index].label : std::string_view();
}

std::array<std::string_view, curveCount> allCurveLabels() {
    std::array<std::string_view, curveCount> labels;
    for (std::size_t i = 0; i < names.size(); ++i) labels[i] = names[i].label;
    return labels;
}

std::string_view safeNameOfEasing(std::string_view label) {
    for (const CurveName& name : names) {
        if (name.label == label) return name.safeName;
    }
    return "none";
}

std::string_view easingFromSafeName(std::string_view safeName) {
    for (const CurveName& name : names) {
        if (name.safeName == safeName) return name.label;
    }
    return "No Interpolation";
}

float easedProgress(Curve curve, float p) {
    return curvemath::easedProgress(curve, p);
}

} // namespace marvo
