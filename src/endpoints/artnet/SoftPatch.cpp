#include "endpoints/artnet/SoftPatch.h"

#include "endpoints/artnet/DMXChannelExpression.h"
#include "platform/Numbers.h"

#include <algorithm>
#include <bitset>
#include <memory>

namespace marvo {
namespace {

bool isUniverse(std::int64_t universe) {
    return universe >= 0 && universe < universeCount;
}

bool isChannel(std::int64_t channel) {
    return channel >= 1 && channel <= channelsOfAUniverse;
}

} // namespace

SoftPatch::SoftPatch() = default;

SoftPatch::Batch::~Batch() {
    if (--patch_.batches_ == 0) patch_.rearrangeSoftPatchItems();
}

void SoftPatch::setEnabled(bool enabled) {
    enabled_.store(enabled, std::memory_order_relaxed);
    if (onChanged) onChanged();
}

std::optional<SoftPatch::Destination> SoftPatch::softPatchForChannel(std::int32_t channel,
                                                                     std::int32_t universe) const {
    if (!isEnabled()) return std::nullopt;
    return queue_.sync([&]() -> std::optional<Destination> {
        for (const SoftPatchItem& item : items_) {
            if (item.sourceUniverse != universe || item.sourceChannel != channel) continue;
            return Destination{static_cast<std::int32_t>(item.destinationUniverse),
                               dmxChannelsOf(item.destinationChannels)};
        }
        return std::nullopt;
    });
}

UniverseSet SoftPatch::destinationUniverses() const {
    UniverseSet universes;
    if (!isEnabled()) return universes;
    queue_.sync([&] {
        for (const SoftPatchItem& item : items_) {
            if (isUniverse(item.destinationUniverse))
                universes.insert(static_cast<int>(item.destinationUniverse));
        }
    });
    return universes;
}

std::uint64_t SoftPatch::createSoftPatchItem(std::int64_t sourceUniverse, std::int64_t sourceChannel,
                                             std::int64_t destinationUniverse,
                                             std::string destinationChannels, std::int64_t position) {
    const std::uint64_t identity = nextIdentity_++;
    queue_.sync([&] {
        items_.push_back(SoftPatchItem{identity, position, sourceUniverse, sourceChannel, destinationUniverse,
                                       std::move(destinationChannels), false});
    });
    if (batches_ == 0) {
        rearrangeSoftPatchItems();
        selectOnly(identity);
    }
    return identity;
}

std::uint64_t SoftPatch::addNewSoftPatchItem() {
    const auto next = static_cast<std::int64_t>(count()) + 1;
    return createSoftPatchItem(0, next, 0, std::string(formatInteger(next).view()), -1);
}

void SoftPatch::removeSoftPatchItems(std::span<const std::uint64_t> identities) {
    queue_.sync([&] {
        std::erase_if(items_, [&](const SoftPatchItem& item) {
            return std::find(identities.begin(), identities.end(), item.identity) != identities.end();
        });
    });
    rearrangeSoftPatchItems();
}

void SoftPatch::removeAllSoftPatchItems() {
    queue_.sync([&] { items_.clear(); });
    rearrangeSoftPatchItems();
}

void SoftPatch::settingsChanged(const SoftPatchItem& edited) {
    queue_.sync([&] {
        for (SoftPatchItem& item : items_) {
            if (item.identity != edited.identity) continue;
            if (isUniverse(edited.sourceUniverse)) item.sourceUniverse = edited.sourceUniverse;
            if (isChannel(edited.sourceChannel)) item.sourceChannel = edited.sourceChannel;
            if (isUniverse(edited.destinationUniverse)) item.destinationUniverse = edited.destinationUniverse;
            item.destinationChannels = cleanedDMXChannels(edited.destinationChannels);
        }
    });
    publish();
}

void SoftPatch::rearrangeSoftPatchItems() {
    if (batches_ != 0) return;
    queue_.sync([&] {
        std::stable_sort(items_.begin(), items_.end(), [](const SoftPatchItem& a, const SoftPatchItem& b) {
            return a.itemPosition < b.itemPosition;
        });
        arrange();
    });
    publish();
}

void SoftPatch::sortSoftPatchItems() {
    queue_.sync([&] {
        const auto key = [](const SoftPatchItem& item) {
            return static_cast<double>(item.sourceUniverse) * channelsOfAUniverse +
                   static_cast<double>(item.sourceChannel);
        };
        std::stable_sort(items_.begin(), items_.end(),
                         [&](const SoftPatchItem& a, const SoftPatchItem& b) { return key(a) < key(b); });
        arrange();
    });
    rearrangeSoftPatchItems();
    if (const auto first = firstSoftPatchItem()) selectOnly(first->identity);
}

std::optional<SoftPatchItem> SoftPatch::firstSoftPatchItem() const {
    return queue_.sync([&]() -> std::optional<SoftPatchItem> {
        for (const SoftPatchItem& item : items_) {
            if (item.itemPosition == 0) return item;
        }
        return std::nullopt;
    });
}

void SoftPatch::arrange() {
    std::int64_t position = 0;
    for (SoftPatchItem& item : items_) item.itemPosition = position++;
}

void SoftPatch::publish() {
    if (batches_ != 0) return;
    auto table = std::make_unique<Table>();
    queue_.sync([&] {
        if (!items_.empty()) table->index.assign(std::size_t{universeCount} * channelsOfAUniverse, 0);
        for (const SoftPatchItem& item : items_) {
            if (!isUniverse(item.sourceUniverse) || !isChannel(item.sourceChannel)) continue;
            std::uint32_t& row = table->index[Table::placeOf(static_cast<std::int32_t>(item.sourceChannel),
                                                             static_cast<std::int32_t>(item.sourceUniverse))];
            if (row != 0) continue;
            Run run{0, static_cast<std::uint32_t>(table->channels.size()), 0};
            if (isUniverse(item.destinationUniverse)) {
                run.universe = static_cast<std::int32_t>(item.destinationUniverse);
                std::bitset<channelsOfAUniverse + 1> seen; // so that a run never outgrows a universe
                for (const std::int32_t channel : dmxChannelsOf(item.destinationChannels)) {
                    if (!isChannel(channel) || seen.test(static_cast<std::size_t>(channel))) continue;
                    seen.set(static_cast<std::size_t>(channel));
                    table->channels.push_back(static_cast<std::uint16_t>(channel));
                }
            }
            run.end = static_cast<std::uint32_t>(table->channels.size());
            table->runs.push_back(run);
            row = static_cast<std::uint32_t>(table->runs.size());
        }
    });
    table_.publish(std::move(table));
    if (onChanged) onChanged();
}

void SoftPatch::selectOnly(std::uint64_t identity) {
    queue_.sync([&] {
        for (SoftPatchItem& item : items_) item.isSelected = item.identity == identity;
    });
}

void SoftPatch::clickSoftPatchItem(std::uint64_t identity, bool shiftPressed) {
    if (!shiftPressed) {
        selectOnly(identity);
        return;
    }
    queue_.sync([&] {
        for (SoftPatchItem& item : items_) item.isSelected = item.isSelected || item.identity == identity;
    });
}

void SoftPatch::selectAllSoftPatchItems() {
    queue_.sync([&] {
        for (SoftPatchItem& item : items_) item.isSelected = true;
    });
}

void SoftPatch::deselectAllSoftPatchItems() {
    queue_.sync([&] {
        for (SoftPatchItem& item : items_) item.isSelected = false;
    });
}

void SoftPatch::removeSelectedSoftPatchItems() {
    queue_.sync([&] { std::erase_if(items_, [](const SoftPatchItem& item) { return item.isSelected; }); });
    rearrangeSoftPatchItems();
}

std::vector<SoftPatchItem> SoftPatch::softPatchItems() const {
    return queue_.sync([&] { return items_; });
}

std::size_t SoftPatch::count() const {
    return queue_.sync([&] { return items_.size(); });
}

bool SoftPatch::hasItemFor(std::int64_t channel, std::int64_t universe) const {
    return queue_.sync([&] {
        return std::any_of(items_.begin(), items_.end(), [&](const SoftPatchItem& item) {
            return item.sourceUniverse == universe && item.sourceChannel == channel;
        });
    });
}

} // namespace marvo
