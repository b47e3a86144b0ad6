// The DMX channels that changed on the input universe.
#pragma once

#include "endpoints/filters/FilterTable.h"

#include <cstdint>

namespace marvo {

// Keys are "U:0 CH:1", channels from 1. Every channel but the last can be the coarse half of a pair; the fine
// half is the next channel, whose row then shows that it is taken. The row of the channel before is found by
// replacing the digits of the number wherever they stand in the key, so for universe 12 and channel 12 it is
// that of universe 11, channel 11: saved filters count on it.
class MarvoArtNetFilterManager final : public PairFilterTable {
public:
    // channel from 1, the way it is shown.
    static std::string keyOf(std::int64_t universe, std::int64_t channel);

    FilterCell allowCell(std::string_view key) const override;
    FilterCell resolutionCell(std::string_view key) const override;
};

} // namespace marvo
