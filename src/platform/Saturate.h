// Whole numbers that stop at the ends of their range: floating point to integers without the undefined
// behaviour of a plain cast (not-a-number is 0), and sums of what may come from a damaged file.
//
// Thread-safe; realtime-safe.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

namespace marvo {

// Towards zero. 2^63 is exact in both precisions, the largest integer is not: hence the comparisons with it.
inline std::int64_t truncatedToInt64(double value) {
    if (std::isnan(value)) return 0;
    if (value >= 9223372036854775808.0) return std::numeric_limits<std::int64_t>::max();
    if (value < -9223372036854775808.0) return std::numeric_limits<std::int64_t>::min();
    return static_cast<std::int64_t>(value);
}

inline std::int32_t truncatedToInt32(double value) {
    if (std::isnan(value)) return 0;
    if (value >= 2147483647.0) return std::numeric_limits<std::int32_t>::max();
    if (value <= -2147483648.0) return std::numeric_limits<std::int32_t>::min();
    return static_cast<std::int32_t>(value);
}

constexpr std::int64_t saturatingAdd(std::int64_t a, std::int64_t b) {
    std::int64_t sum = 0;
    if (!__builtin_add_overflow(a, b, &sum)) return sum;
    return b > 0 ? std::numeric_limits<std::int64_t>::max() : std::numeric_limits<std::int64_t>::min();
}

constexpr std::int64_t saturatingSubtract(std::int64_t a, std::int64_t b) {
    std::int64_t difference = 0;
    if (!__builtin_sub_overflow(a, b, &difference)) return difference;
    return b < 0 ? std::numeric_limits<std::int64_t>::max() : std::numeric_limits<std::int64_t>::min();
}

constexpr std::int64_t saturatingMultiply(std::int64_t a, std::int64_t b) {
    std::int64_t product = 0;
    if (!__builtin_mul_overflow(a, b, &product)) return product;
    return (a < 0) == (b < 0) ? std::numeric_limits<std::int64_t>::max()
                              : std::numeric_limits<std::int64_t>::min();
}

} // namespace marvo
