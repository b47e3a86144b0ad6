// A MIDI message of up to three bytes, as tracks and controls build it.
#pragma once

#include <cstdint>

namespace marvo {

struct MIDIMessage {
    static constexpr std::uint8_t noteOff = 128;
    static constexpr std::uint8_t noteOn = 144;
    static constexpr std::uint8_t controlChange = 176;
    static constexpr std::uint8_t timecodeQuarterFrame = 241;

    std::uint8_t type = 0;    // status without channel; from 240 upward the whole status
    std::uint8_t channel = 0; // 0 to 15
    std::uint8_t data1 = 0;
    std::uint8_t data2 = 0;

    friend bool operator==(const MIDIMessage&, const MIDIMessage&) = default;
};

} // namespace marvo
