#include "endpoints/artnet/ArtNetInput.h"

namespace marvo {

void ArtNetInput::listenTo(std::optional<int> universe) {
    universe_ = universe;
    source_.reset();
    values_.fill(-1);
}

std::span<const DMXPair> ArtNetInput::received(const ArtDmx& dmx, IPv4Address from, MonotonicTime now) {
    if (!universe_ || dmx.portAddress != *universe_) return {};
    if (source_ && now - heard_ < silence) {
        if (*source_ != from) return {};
        // Up to this many packets behind counts as late; further behind, the sender has begun anew.
        constexpr int lateness = 20;
        const int ahead = static_cast<std::int8_t>(dmx.sequence - sequence_);
        if (dmx.sequence != 0 && sequence_ != 0 && ahead < 0 && ahead > -lateness) return {};
    }
    source_ = from;
    heard_ = now;
    sequence_ = dmx.sequence;
    std::size_t count = 0;
    for (std::size_t index = 0; index < dmx.data.size(); ++index) {
        const auto value = static_cast<std::int16_t>(dmx.data[index]);
        if (values_[index] == value) continue;
        values_[index] = value;
        changes_[count++] = {static_cast<std::int32_t>(index), value};
    }
    return std::span<const DMXPair>(changes_).first(count);
}

} // namespace marvo
