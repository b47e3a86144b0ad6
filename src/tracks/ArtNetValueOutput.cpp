#include "tracks/ArtNetValueOutput.h"

#include "controls/NumberText.h"

#include <algorithm>

namespace marvo {

ArtNetValueOutput::ArtNetValueOutput(const ArtNetValueSettings& settings, DMXWriter& dmx)
    : ValueOutput(settings.compositionName, settings.trackName), dmx_(dmx), universe_(settings.universe),
      is16Bit_(settings.is16Bit), writes_(dmxWritesOf(settings.channels, 1, settings.is16Bit)) {}

void ArtNetValueOutput::send(float value, Frame frame) {
    const SendOrigin origin = originAt(frame);
    const std::int32_t level = std::clamp(numbertext::roundedInt32(value), 0, is16Bit_ ? 65535 : 255);
    const std::int32_t coarse = is16Bit_ ? level / 256 : level;
    for (const DMXWrite& write : writes_)
        dmx_.setValue(write.isFine ? level % 256 : coarse, write.channel, universe_, origin);
}

} // namespace marvo
