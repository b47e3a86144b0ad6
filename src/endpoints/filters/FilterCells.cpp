#include "endpoints/filters/MarvoArtNetFilterManager.h"
#include "endpoints/filters/MarvoMIDIFilterManager.h"
#include "endpoints/filters/MarvoOSCFilterManager.h"

#include "platform/Numbers.h"

namespace marvo {
namespace {

constexpr std::string_view controllerLabel = "CC:";
constexpr std::string_view channelLabel = "CH:";
constexpr int lastDMXChannel = 512;

// The number behind the last label, or nothing when the label is not there.
std::optional<int> numberBehind(std::string_view key, std::string_view label) {
    const std::size_t at = key.rfind(label);
    if (at == std::string_view::npos) return std::nullopt;
    return parseLeadingInt(key.substr(at + label.size()));
}

bool isHighResolution(const FilterTable& table, const std::string& key) {
    const std::optional<FilterEntry> entry = table.find(key);
    return entry && entry->highResolution;
}

FilterCell stored(const std::optional<FilterEntry>& entry, bool FilterEntry::*field) {
    return {entry && (*entry).*field, true};
}

// A controller from 32 to 63 whose partner 32 below is a coarse half.
bool isFineController(const FilterTable& table, std::string_view key, int number) {
    return number >= 32 && number < 64 && isHighResolution(table, partnerKey(key, number, number - 32));
}

bool isFineChannel(const FilterTable& table, std::string_view key) {
    const std::optional<int> channel = numberBehind(key, channelLabel);
    return channel && isHighResolution(table, partnerKey(key, *channel, *channel - 1));
}

} // namespace

FilterCell MarvoOSCFilterManager::allowCell(std::string_view key) const {
    return stored(find(key), &FilterEntry::allowed);
}

std::string MarvoMIDIFilterManager::keyOf(std::uint8_t type, std::uint8_t channel, std::uint8_t data1) {
    const bool isNote = type == 144 || type == 128;
    return "Ch:" + std::to_string(channel + 1) + (isNote ? " Note:" : " CC:") + std::to_string(data1);
}

FilterCell MarvoMIDIFilterManager::resolutionCell(std::string_view key) const {
    const std::optional<int> number = numberBehind(key, controllerLabel);
    if (!number) return {false, false};
    if (*number < 32) return stored(find(key), &FilterEntry::highResolution);
    return {isFineController(*this, key, *number), false};
}

FilterCell MarvoMIDIFilterManager::allowCell(std::string_view key) const {
    const std::optional<int> number = numberBehind(key, controllerLabel);
    if (number && isFineController(*this, key, *number)) return {true, false};
    return stored(find(key), &FilterEntry::allowed);
}

std::string MarvoArtNetFilterManager::keyOf(std::int64_t universe, std::int64_t channel) {
    return "U:" + std::to_string(universe) + " CH:" + std::to_string(channel);
}

FilterCell MarvoArtNetFilterManager::resolutionCell(std::string_view key) const {
    const std::optional<int> channel = numberBehind(key, channelLabel);
    if (!channel || *channel >= lastDMXChannel) return {false, false};
    if (isHighResolution(*this, std::string(key))) return {true, true};
    if (isFineChannel(*this, key)) return {true, false};
    return {false, true};
}

FilterCell MarvoArtNetFilterManager::allowCell(std::string_view key) const {
    if (isFineChannel(*this, key)) return {true, false};
    return stored(find(key), &FilterEntry::allowed);
}

} // namespace marvo
