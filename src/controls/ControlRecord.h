#pragma once

#include <cstdint>
#include <optional>

namespace marvo {

// A control in a project file, one field a key of the same name. A key that is missing there is empty here.
struct ControlRecord {
    std::optional<std::int64_t> midiChannel;
    std::optional<std::int64_t> midiControl;
    std::optional<bool> state;   // buttons
    std::optional<float> volume; // sliders

    bool operator==(const ControlRecord&) const = default;
};

// A learned channel (from 0) and note or controller number; -1 means not assigned.
struct MidiAssignment {
    std::int64_t midiChannel = -1;
    std::int64_t midiControl = -1;

    bool isAssigned() const { return midiChannel >= 0 && midiControl >= 0; }
    bool operator==(const MidiAssignment&) const = default;
};

} // namespace marvo
