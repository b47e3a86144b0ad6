#include "endpoints/artnet/ArtNetOutputs.h"

#include "platform/Numbers.h"
#include "platform/Text.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace marvo {
namespace {

// A whole number from 0 to 15, as the columns take it.
std::optional<int> nibbleOf(std::string_view text) {
    text = trim(text);
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number < 0 || number > 15)
        return std::nullopt;
    return number;
}

} // namespace

std::string ArtNetOutput::displayedName() const {
    std::string text = name;
    text += " (";
    text += formatInteger(subnetNumber()).view();
    text += '-';
    text += formatInteger(universeNumber()).view();
    text += ')';
    return text;
}

ArtNetOutputs::ArtNetOutputs() {
    set({nextAvailableArtNetOutNameWithStart(1), 0, {}});
}

const ArtNetOutput* ArtNetOutputs::find(std::string_view name) const {
    const auto found = std::find_if(rows_.begin(), rows_.end(),
                                    [&](const ArtNetOutput& output) { return output.name == name; });
    return found == rows_.end() ? nullptr : &*found;
}

std::vector<std::string> ArtNetOutputs::displayedNames() const {
    std::vector<const ArtNetOutput*> sorted;
    for (const ArtNetOutput& output : rows_) sorted.push_back(&output);
    std::stable_sort(sorted.begin(), sorted.end(), [](const ArtNetOutput* a, const ArtNetOutput* b) {
        return localizedCaseInsensitiveCompare(a->name, b->name) < 0;
    });
    std::vector<std::string> names;
    for (const ArtNetOutput* output : sorted) names.push_back(output->displayedName());
    return names;
}

std::int64_t ArtNetOutputs::universeOfDisplayedName(std::string_view displayedName) const {
    for (const ArtNetOutput& output : rows_) {
        if (output.displayedName() == displayedName) return output.universe;
    }
    return 0;
}

std::string ArtNetOutputs::nextAvailableArtNetOutNameWithStart(std::int64_t number) const {
    while (true) {
        std::string name(namePrefix);
        name += formatInteger(number++).view();
        if (isAvailableOutputName(name)) return name;
    }
}

void ArtNetOutputs::set(ArtNetOutput output) {
    std::erase_if(rows_, [&](const ArtNetOutput& other) { return other.name == output.name; });
    rows_.push_back(std::move(output));
    sort();
}

bool ArtNetOutputs::add() {
    std::int64_t universe = 1;
    while (std::any_of(rows_.begin(), rows_.end(),
                       [&](const ArtNetOutput& output) { return output.universe == universe; }))
        ++universe;
    if (universe >= universeCount) return false;
    set({nextAvailableArtNetOutNameWithStart(static_cast<std::int64_t>(count()) + 1), universe, {}});
    return true;
}

bool ArtNetOutputs::remove(std::size_t row) {
    if (row >= rows_.size() || rows_.size() < 2) return false;
    rows_.erase(rows_.begin() + static_cast<std::ptrdiff_t>(row));
    return true;
}

ArtNetOutputs::Edit ArtNetOutputs::rename(std::size_t row, const std::string& name) {
    if (row >= rows_.size()) return {};
    if (rows_[row].name == name) return {true, false};
    if (!isAvailableOutputName(name)) return {};
    rows_[row].name = name;
    sort();
    return {true, true};
}

ArtNetOutputs::Edit ArtNetOutputs::editSubnet(std::size_t row, std::string_view text) {
    const std::optional<int> number = nibbleOf(text);
    if (row >= rows_.size() || !number) return {};
    std::int64_t& universe = rows_[row].universe;
    const std::int64_t before = std::exchange(universe, *number * 16 + universe % 16);
    return {true, universe != before};
}

ArtNetOutputs::Edit ArtNetOutputs::editUniverse(std::size_t row, std::string_view text) {
    const std::optional<int> number = nibbleOf(text);
    if (row >= rows_.size() || !number) return {};
    std::int64_t& universe = rows_[row].universe;
    const std::int64_t before = std::exchange(universe, universe / 16 * 16 + *number);
    return {true, universe != before};
}

bool ArtNetOutputs::setSending(std::size_t row, const ArtNetSending& sending) {
    if (row >= rows_.size()) return false;
    rows_[row].sending = {sending.broadcast, std::clamp(sending.constantRate, 0, ArtNetSending::highestRate)};
    return true;
}

void ArtNetOutputs::sort() {
    std::stable_sort(rows_.begin(), rows_.end(), [](const ArtNetOutput& a, const ArtNetOutput& b) {
        const int order = localizedStandardCompare(a.name, b.name);
        return order != 0 ? order < 0 : a.name < b.name;
    });
}

} // namespace marvo
