#include "tracks/DMXChannelList.h"

#include "controls/NumberText.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace marvo {

namespace {

std::optional<int> channelNumber(std::string_view text) {
    const std::int64_t number = numbertext::leadingInteger(text);
    if (number < 1 || number > lastDMXChannel) return std::nullopt;
    return static_cast<int>(number);
}

std::optional<DMXChannelEntry> parseEntry(std::string_view piece) {
    const std::size_t cross = piece.find('x');
    const std::optional<int> start = channelNumber(piece.substr(0, cross));
    if (!start) return std::nullopt;
    if (cross == std::string_view::npos) return DMXChannelEntry{*start, 1, false};
    const std::string_view rest = piece.substr(cross + 1);
    if (rest.find('x') != std::string_view::npos) return std::nullopt;
    const std::optional<int> count = channelNumber(rest);
    if (!count) return std::nullopt;
    return DMXChannelEntry{*start, *count, true};
}

} // namespace

DMXChannelList DMXChannelList::createDMXChannelsWithString(std::string_view text) {
    DMXChannelList list;
    list.entries_.clear();
    while (true) {
        const std::size_t comma = text.find(',');
        if (const auto entry = parseEntry(numbertext::trimmed(text.substr(0, comma)))) {
            list.entries_.push_back(*entry);
        }
        if (comma == std::string_view::npos) break;
        text.remove_prefix(comma + 1);
    }
    if (list.entries_.empty()) list.entries_.push_back(DMXChannelEntry{});
    return list;
}

std::string DMXChannelList::stringValueOfDMXChannels() const {
    std::string text;
    for (const DMXChannelEntry& entry : entries_) {
        if (!text.empty()) text += ',';
        text += std::to_string(entry.start);
        if (entry.isRange) {
            text += 'x';
            text += std::to_string(entry.count);
        }
    }
    return text;
}

std::vector<int> DMXChannelList::dmxChannelsInUse(bool is16Bit) const {
    std::vector<int> channels;
    for (const DMXChannelEntry& entry : entries_) {
        if (!entry.isRange) {
            channels.push_back(entry.start);
            if (is16Bit) channels.push_back(entry.start + 1);
            continue;
        }
        for (int i = 0; i < entry.count; ++i) {
            if (is16Bit) {
                channels.push_back(entry.start + 2 * i + 1);
                channels.push_back(entry.start + 2 * i);
            } else {
                channels.push_back(entry.start + i);
            }
        }
    }
    return channels;
}

} // namespace marvo
