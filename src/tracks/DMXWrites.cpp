#include "tracks/DMXWrites.h"

#include <algorithm>
#include <bitset>
#include <cstddef>

namespace marvo {

std::vector<DMXWrite> dmxWritesOf(const DMXChannelList& channels, std::int32_t values, bool is16Bit) {
    const int bytes = is16Bit ? 2 : 1;
    const std::int64_t width = std::int64_t{values} * bytes;
    std::vector<DMXWrite> writes;
    if (width < 1) return writes;
    std::bitset<lastDMXChannel + 1> taken;
    const auto& entries = channels.entries();
    // From the last write to the first, so that the first one met on a channel is the one that stands.
    for (auto entry = entries.rbegin(); entry != entries.rend() && writes.size() < lastDMXChannel; ++entry) {
        const std::int64_t end =
            std::min<std::int64_t>(entry->start + width * entry->count, lastDMXChannel + 1);
        for (std::int64_t channel = end - 1; channel >= entry->start; --channel) {
            if (taken.test(static_cast<std::size_t>(channel))) continue;
            taken.set(static_cast<std::size_t>(channel));
            const std::int64_t byte = (channel - entry->start) % width;
            writes.push_back({static_cast<std::int32_t>(channel), static_cast<std::int32_t>(byte / bytes),
                              byte % bytes == 1});
        }
    }
    std::reverse(writes.begin(), writes.end());
    return writes;
}

} // namespace marvo
