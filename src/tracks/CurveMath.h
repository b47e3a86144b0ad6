// The arithmetic of the curves, in place for the loop that evaluates every track of a show. Everybody else
// calls easedProgress of Curves.h, which is the same.
#pragma once

#include "tracks/Curves.h"

#include <cmath>
#include <limits>

namespace marvo::curvemath {

inline constexpr double pi = 3.14159265358979323846;
inline constexpr double halfPi = 1.57079632679489661923;
inline constexpr double thirteenHalfPi = 20.420352248333657;

inline double power2(float x) {
    return std::exp2(static_cast<double>(x));
}

inline double bounce(double p) {
    if (p < 0.36363636363636365) return (121.0 * p * p) / 16.0;
    if (p < 0.7272727272727273) return 9.075 * p * p - 9.9 * p + 3.4;
    if (p < 0.9) return 12.066481994459833 * p * p - 19.63545706371191 * p + 8.898060941828255;
    return 10.8 * p * p - 20.52 * p + 10.72;
}

inline float back(float f) {
    return static_cast<float>(static_cast<double>(f * f * f) -
                              static_cast<double>(f) * std::sin(static_cast<double>(f) * pi));
}

inline float circularInOut(float p) {
    if (p < 0.5f)
        return static_cast<float>(0.5 * (1.0 - std::sqrt(static_cast<double>(1.0f - 4.0f * (p * p)))));
    const float under = -((2.0f * p - 3.0f) * (2.0f * p - 1.0f));
    return static_cast<float>(0.5 * (std::sqrt(static_cast<double>(under)) + 1.0));
}

inline float exponentialInOut(float p) {
    if (p == 0.0f || p == 1.0f) return p;
    if (p < 0.5f) return static_cast<float>(0.5 * power2(20.0f * p - 10.0f));
    return static_cast<float>(-0.5 * power2(-20.0f * p + 10.0f) + 1.0);
}

inline float elasticIn(float p) {
    return static_cast<float>(std::sin(thirteenHalfPi * static_cast<double>(p)) * power2(10.0f * (p - 1.0f)));
}

inline float elasticOut(float p) {
    return static_cast<float>(std::sin(-thirteenHalfPi * static_cast<double>(p + 1.0f)) * power2(-10.0f * p) +
                              1.0);
}

inline float elasticInOut(float p) {
    if (p < 0.5f) {
        return static_cast<float>(0.5 * std::sin(thirteenHalfPi * static_cast<double>(2.0f * p)) *
                                  power2(10.0f * (2.0f * p - 1.0f)));
    }
    const float f = 2.0f * p - 1.0f;
    return static_cast<float>(
        0.5 * (std::sin(-thirteenHalfPi * static_cast<double>(f + 1.0f)) * power2(-10.0f * f) + 2.0));
}

inline float backInOut(float p) {
    if (p < 0.5f) return 0.5f * back(2.0f * p);
    return 0.5f * (1.0f - back(1.0f - (2.0f * p - 1.0f))) + 0.5f;
}

inline float bounceInOut(float p) {
    const double wide = static_cast<double>(p);
    if (p < 0.5f) return static_cast<float>(0.5 * (1.0 - bounce(1.0 - 2.0 * wide)));
    return static_cast<float>(0.5 * bounce(2.0 * wide - 1.0) + 0.5);
}

// In place even though it is long: the call would cost as much as most curves.
[[gnu::always_inline]] inline float easedProgress(Curve curve, float p) {
    switch (curve) {
    case Curve::linear:
        return p;
    case Curve::quadraticIn:
        return p * p;
    case Curve::quadraticOut:
        return -(p * (p - 2.0f));
    case Curve::quadraticInOut:
        return p < 0.5f ? 2.0f * p * p : (4.0f * p - 2.0f * p * p) - 1.0f;
    case Curve::cubicIn:
        return p * p * p;
    case Curve::cubicOut: {
        const float f = p - 1.0f;
        return f * f * f + 1.0f;
    }
    case Curve::cubicInOut: {
        if (p < 0.5f) return 4.0f * p * p * p;
        const float f = 2.0f * p - 2.0f;
        return 0.5f * f * f * f + 1.0f;
    }
    case Curve::quarticIn:
        return p * p * p * p;
    case Curve::quarticOut: {
        const float f = p - 1.0f;
        return f * f * f * (1.0f - p) + 1.0f;
    }
    case Curve::quarticInOut: {
        if (p < 0.5f) return 8.0f * p * p * p * p;
        const float f = p - 1.0f;
        return -8.0f * f * f * f * f + 1.0f;
    }
    case Curve::quinticIn:
        return p * p * p * p * p;
    case Curve::quinticOut: {
        const float f = p - 1.0f;
        return f * f * f * f * f + 1.0f;
    }
    case Curve::quinticInOut: {
        if (p < 0.5f) return 16.0f * p * p * p * p * p;
        const float f = 2.0f * p - 2.0f;
        return 0.5f * f * f * f * f * f + 1.0f;
    }
    case Curve::sineIn:
        return static_cast<float>(std::sin(static_cast<double>(p - 1.0f) * halfPi) + 1.0);
    case Curve::sineOut:
        return static_cast<float>(std::sin(static_cast<double>(p) * halfPi));
    case Curve::sineInOut:
        return static_cast<float>(0.5 * (1.0 - std::cos(static_cast<double>(p) * pi)));
    case Curve::circularIn:
        return static_cast<float>(1.0 - std::sqrt(static_cast<double>(1.0f - p * p)));
    case Curve::circularOut:
        return static_cast<float>(std::sqrt(static_cast<double>((2.0f - p) * p)));
    case Curve::circularInOut:
        return circularInOut(p);
    case Curve::exponentialIn:
        return p == 0.0f ? p : static_cast<float>(power2(10.0f * (p - 1.0f)));
    case Curve::exponentialOut:
        return p == 1.0f ? 1.0f : static_cast<float>(1.0 - power2(-10.0f * p));
    case Curve::exponentialInOut:
        return exponentialInOut(p);
    case Curve::elasticIn:
        return elasticIn(p);
    case Curve::elasticOut:
        return elasticOut(p);
    case Curve::elasticInOut:
        return elasticInOut(p);
    case Curve::backIn:
        return back(p);
    case Curve::backOut:
        return 1.0f - back(1.0f - p);
    case Curve::backInOut:
        return backInOut(p);
    case Curve::bounceIn:
        return static_cast<float>(1.0 - bounce(1.0 - static_cast<double>(p)));
    case Curve::bounceOut:
        return static_cast<float>(bounce(static_cast<double>(p)));
    case Curve::bounceInOut:
        return bounceInOut(p);
    case Curve::none:
    case Curve::unknown:
        break;
    }
    return std::numeric_limits<float>::infinity();
}

} // namespace marvo::curvemath
