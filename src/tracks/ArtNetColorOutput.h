// Writes the colour of an Art-Net colour track to the channels of its lamps.
#pragma once

#include "endpoints/artnet/DMXWriter.h"
#include "tracks/ColorOutput.h"
#include "tracks/DMXWrites.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace marvo {

struct ArtNetColorSettings {
    std::string_view compositionName;
    std::string_view trackName;
    const DMXChannelList& channels; // of an entry AxB: B lamps, one behind the other
    std::int32_t universe = 0;
    std::string_view format; // each letter takes the next channel, see ColorLevels.h
    bool is16Bit = false;    // a letter takes two channels, the coarse byte first
};

class ArtNetColorOutput final : public ColorOutput {
public:
    ArtNetColorOutput(const ArtNetColorSettings& settings, DMXWriter& dmx);

    // Bytes pass the master fader; pairs of bytes do not, for it would tear them apart. Channels above 512
    // are left out.
    void send(const Colour& color, Frame frame, std::optional<ColorComponent> only) override;

private:
    DMXWriter& dmx_;
    std::vector<DMXWrite> writes_;
    std::vector<std::int32_t> levels_; // one a letter, of the colour that is being sent
    std::string format_;
    std::int32_t universe_;
    bool is16Bit_;
};

// Channels that one lamp of the format takes.
std::int32_t channelsOfColorFormat(std::string_view format, bool is16Bit);

} // namespace marvo
