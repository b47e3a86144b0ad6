// Strong types for positions on a timeline.
//
// A Frame is a position, a FrameCount the distance between two positions; both count frames of one
// composition's compFPS. Position minus position is a distance, position plus position does not compile, and
// neither mixes with seconds. Where the rules ask for single precision the caller converts explicitly.
// Positions may come from a damaged file: sums stop at the ends of the number range.
//
// Thread-safe: plain values. Realtime-safe: yes.
#pragma once

#include "platform/Saturate.h"

#include <compare>
#include <cstdint>

namespace marvo {

struct FrameCount {
    std::int64_t value = 0;

    constexpr FrameCount() = default;
    constexpr explicit FrameCount(std::int64_t count) : value(count) {}
    constexpr auto operator<=>(const FrameCount&) const = default;
};

struct Frame {
    std::int64_t value = 0;

    constexpr Frame() = default;
    constexpr explicit Frame(std::int64_t position) : value(position) {}
    constexpr auto operator<=>(const Frame&) const = default;
};

constexpr FrameCount operator-(Frame a, Frame b) {
    return FrameCount(saturatingSubtract(a.value, b.value));
}
constexpr Frame operator+(Frame a, FrameCount d) {
    return Frame(saturatingAdd(a.value, d.value));
}
constexpr Frame operator-(Frame a, FrameCount d) {
    return Frame(saturatingSubtract(a.value, d.value));
}
constexpr FrameCount operator+(FrameCount a, FrameCount b) {
    return FrameCount(saturatingAdd(a.value, b.value));
}
constexpr FrameCount operator-(FrameCount a, FrameCount b) {
    return FrameCount(saturatingSubtract(a.value, b.value));
}
constexpr FrameCount operator-(FrameCount a) {
    return FrameCount(saturatingSubtract(0, a.value));
}

// Forces the next tick to process its frame when it stands in lastProcessedTime.
inline constexpr Frame noFrame{-1};

} // namespace marvo
