// The one universe that is listened to: what of it has changed. One thread at a time.
//
// One sender at a time is heard, until it has been silent for two and a half seconds, so that two desks on
// one universe do not flicker. Packets that arrive late are dropped by their sequence number.
#pragma once

#include "endpoints/artnet/ArtNetPacket.h"
#include "endpoints/artnet/ArtNetTypes.h"
#include "endpoints/artnet/UniverseSet.h"
#include "platform/Clock.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>

namespace marvo {

class ArtNetInput {
public:
    static constexpr Duration silence = Duration::ofMilliseconds(2500);

    // A universe index; none listens to nothing. What was known is forgotten.
    void listenTo(std::optional<int> universe);

    // The channels that changed; with the first packet all that are in it. Valid until the next call.
    std::span<const DMXPair> received(const ArtDmx& dmx, IPv4Address from, MonotonicTime now);

private:
    std::optional<int> universe_;
    std::optional<IPv4Address> source_;
    MonotonicTime heard_;
    std::uint8_t sequence_ = 0;
    std::array<std::int16_t, channelsOfAUniverse> values_{}; // -1 is not known
    std::array<DMXPair, channelsOfAUniverse> changes_{};
};

} // namespace marvo
