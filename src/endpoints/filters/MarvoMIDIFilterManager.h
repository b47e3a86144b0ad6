// The MIDI notes and controllers that were heard.
#pragma once

#include "endpoints/filters/FilterTable.h"

#include <cstdint>

namespace marvo {

// Keys are "Ch:1 CC:7" and "Ch:1 Note:60", channels from 1. Only the controllers 0 to 31 can be the coarse
// half of a pair; the fine half is the one 32 above, whose row then shows that it is taken.
class MarvoMIDIFilterManager final : public PairFilterTable {
public:
    // channel from 0; type 144 and 128 are notes, everything else a controller.
    static std::string keyOf(std::uint8_t type, std::uint8_t channel, std::uint8_t data1);

    FilterCell allowCell(std::string_view key) const override;
    FilterCell resolutionCell(std::string_view key) const override;
};

} // namespace marvo
