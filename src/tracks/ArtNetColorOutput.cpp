#include "tracks/ArtNetColorOutput.h"

#include "tracks/ColorLevels.h"

#include <cstddef>

namespace marvo {

std::int32_t channelsOfColorFormat(std::string_view format, bool is16Bit) {
    return static_cast<std::int32_t>(format.size()) * (is16Bit ? 2 : 1);
}

ArtNetColorOutput::ArtNetColorOutput(const ArtNetColorSettings& settings, DMXWriter& dmx)
    : ColorOutput(settings.compositionName, settings.trackName), dmx_(dmx),
      writes_(dmxWritesOf(settings.channels, static_cast<std::int32_t>(settings.format.size()),
                          settings.is16Bit)),
      levels_(settings.format.size()), format_(settings.format), universe_(settings.universe),
      is16Bit_(settings.is16Bit) {}

void ArtNetColorOutput::send(const Colour& color, Frame frame, std::optional<ColorComponent>) {
    const SendOrigin origin = originAt(frame);
    colorLevels(color, format_, is16Bit_ ? 65535 : 255, levels_);
    for (const DMXWrite& write : writes_) {
        const std::int32_t level = levels_[static_cast<std::size_t>(write.value)];
        if (!is16Bit_) {
            dmx_.setValueByColorTrack(level, write.channel, universe_, origin);
        } else {
            dmx_.setValue(write.isFine ? level % 256 : level / 256, write.channel, universe_, origin);
        }
    }
}

} // namespace marvo
