// What an operator typed into the time and value fields of a track's header, as the change it asks for.
//
// The caller applies the change to the active keyframe and moves the other selected ones along; it beeps for
// a RefusedInput. Thread-safe: plain values and functions. Realtime-safe: no.
#pragma once

#include <cstdint>
#include <string_view>
#include <variant>

#include "tracks/MarvoNumberFormatter.h"

namespace marvo {

// The text is empty or is no number: nothing changes.
struct RefusedInput {
    bool operator==(const RefusedInput&) const = default;
};
// The text "i": mirror the selection in time or in value.
struct InvertSelection {
    bool operator==(const InvertSelection&) const = default;
};
struct RelativeFrames {
    std::int64_t delta = 0;
    bool operator==(const RelativeFrames&) const = default;
};
struct AbsoluteFrame {
    std::int64_t frame = 0;
    bool operator==(const AbsoluteFrame&) const = default;
};
using TimeInput = std::variant<RefusedInput, InvertSelection, RelativeFrames, AbsoluteFrame>;

// In stored scale: a float OSC track's number is already multiplied.
struct RelativeValue {
    float delta = 0.0F;
    bool operator==(const RelativeValue&) const = default;
};
struct AbsoluteValue {
    float value = 0.0F;
    bool operator==(const AbsoluteValue&) const = default;
};
using ValueInput = std::variant<RefusedInput, InvertSelection, RelativeValue, AbsoluteValue>;

// Reads "i", F, S:F, M:S:F or H:M:S:F; any other count of parts is frame 0. A leading "+" or "-" makes the
// number a distance, and belongs to the first part alone: -1:10 at 25 frames a second is -15. Held to the
// 64-bit range.
TimeInput parseTimeInput(std::string_view text, std::int64_t compFPS);

// Reads a value through the field's formatter. `multiplier` is the stored scale of a float OSC track, 1 on
// all others. A leading sign makes the number a distance, unless the formatter took it in brackets; an
// absolute number resets the formatter's specialFormat.
ValueInput parseValueInput(std::string_view text, MarvoNumberFormatter& formatter, float multiplier);

} // namespace marvo
