// Writes the value of an Art-Net value track to every channel of its list.
#pragma once

#include "endpoints/artnet/DMXWriter.h"
#include "tracks/DMXWrites.h"
#include "tracks/TrackOutput.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace marvo {

struct ArtNetValueSettings {
    std::string_view compositionName;
    std::string_view trackName;
    const DMXChannelList& channels;
    std::int32_t universe = 0;
    bool is16Bit = false; // a value takes two channels, the coarse byte first
};

class ArtNetValueOutput final : public ValueOutput {
public:
    ArtNetValueOutput(const ArtNetValueSettings& settings, DMXWriter& dmx);

    // Rounded, and held to what the channels can carry: a curve that overshoots stays at full. Channels above
    // 512 are left out.
    void send(float value, Frame frame) override;

private:
    DMXWriter& dmx_;
    std::int32_t universe_;
    bool is16Bit_;
    std::vector<DMXWrite> writes_;
};

} // namespace marvo
