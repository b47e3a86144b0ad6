// Which channels one send of an Art-Net track writes, and in which order.
#pragma once

#include "tracks/DMXChannelList.h"

#include <cstdint>
#include <vector>

namespace marvo {

struct DMXWrite {
    std::int32_t channel = 1; // 1 to 512
    std::int32_t value = 0;   // which of the values of a lamp it is, from 0
    bool isFine = false;      // the second byte of a value of 16 bits

    bool operator==(const DMXWrite&) const = default;
};

// A lamp is `values` values one behind the other, of two channels each with 16 bits; an entry AxB is B lamps.
// Channels above 512 are left out. Where a list names a channel more than once the last write alone stands,
// in its place among the others: whatever a list says, a send is 512 writes at most.
std::vector<DMXWrite> dmxWritesOf(const DMXChannelList& channels, std::int32_t values, bool is16Bit);

} // namespace marvo
