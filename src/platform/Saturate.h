// Floating point to whole numbers, without the undefined behaviour of a plain cast: too large saturates, NaN
// is 0.
//
// Thread-safe; realtime-safe.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

namespace marvo {

// Towards zero.
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

} // namespace marvo
