// Where each universe goes: what the sending thread reads, replaced whole.
#pragma once

#include "endpoints/artnet/ArtNetTransport.h"
#include "endpoints/artnet/UniverseSet.h"
#include "platform/Clock.h"

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace marvo {

struct ArtNetRoutes {
    struct Universe {
        std::uint32_t first = 0; // in destinations
        std::uint32_t end = 0;
        Duration repeat; // an unchanged universe leaves again after this
    };

    std::shared_ptr<ArtNetPort> port; // null: nothing leaves
    UniverseSet leaving;
    bool sync = false;
    std::array<Universe, universeCount> universes{};
    std::vector<IPv4Address> destinations;

    std::span<const IPv4Address> destinationsOf(int universe) const {
        const Universe& one = universes[static_cast<std::size_t>(universe)];
        return std::span(destinations).subspan(one.first, one.end - one.first);
    }
};

} // namespace marvo
