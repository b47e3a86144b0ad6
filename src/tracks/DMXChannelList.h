#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace marvo {

// A universe ends here.
inline constexpr int lastDMXChannel = 512;

// One entry of a DMX channel list. A range AxB is B consecutive values that start at channel A, not the
// channels from A to B. Both numbers are 1..512; a range may run past channel 512.
struct DMXChannelEntry {
    int start = 1;
    int count = 1;
    bool isRange = false; // "7x1" and "7" send alike but are written differently

    bool operator==(const DMXChannelEntry&) const = default;
};

// The channels an Art-Net track writes to, as typed into its header: "1, 3x4".
//
// Invariant: never empty, a track always has a channel; a text without one valid entry is channel 1.
// A plain value; const calls from several threads are safe. Only `entries` is realtime-safe.
class DMXChannelList {
public:
    DMXChannelList() : entries_{DMXChannelEntry{}} {}

    // Pieces out of range or out of shape are dropped without a report.
    static DMXChannelList createDMXChannelsWithString(std::string_view text);

    const std::vector<DMXChannelEntry>& entries() const { return entries_; }

    // The normalised text, which reads back as the same list.
    std::string stringValueOfDMXChannels() const;

    // Every channel the list takes, in entry order. With 16 bits each value takes two: a single channel names
    // its coarse channel first, a range names the fine channel of each value first.
    std::vector<int> dmxChannelsInUse(bool is16Bit) const;

    bool operator==(const DMXChannelList&) const = default;

private:
    std::vector<DMXChannelEntry> entries_;
};

} // namespace marvo
