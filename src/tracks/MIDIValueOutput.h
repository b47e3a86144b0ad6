// Sends the value of a controller track: one control change, or a pair of them for 14 bits.
#pragma once

#include "endpoints/midi/MarvoMIDINode.h"
#include "tracks/TrackOutput.h"

#include <cstdint>
#include <memory>
#include <string_view>

namespace marvo {

struct MIDIValueSettings {
    std::string_view compositionName;
    std::string_view trackName;
    std::shared_ptr<MarvoMIDINode> node; // null sends nothing
    std::uint8_t channel = 0;            // 0 to 15
    std::uint8_t controller = 0;         // with 14 bits of the coarse half; the fine half is 32 above
    bool is14Bit = false;
};

class MIDIValueOutput final : public ValueOutput {
public:
    explicit MIDIValueOutput(const MIDIValueSettings& settings);

    // The rounded value's lowest byte; with 14 bits the coarse half first, both in one go. A value out of
    // range is not held to it.
    void send(float value, Frame frame) override;

    // A test value, on the controller named and without its fine half. Realtime-safe.
    void shotOnController(std::uint8_t number, std::uint8_t value);

private:
    std::shared_ptr<MarvoMIDINode> node_;
    MIDIMessage coarse_;
    MIDIMessage fine_;
    bool is14Bit_;
};

} // namespace marvo
