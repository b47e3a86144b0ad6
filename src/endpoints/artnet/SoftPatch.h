// Redirects DMX writes: one source channel to a list of channels of another universe.
//
// The table is edited on the main thread, inside "com.selkar.softpatchqueue", and published whole as an index
// from source to parsed channels, so that a write costs the same with two thousand rows as with one and waits
// for no edit. With the patch off a write costs one flag test.
//
// Main thread, except where marked.
#pragma once

#include "endpoints/artnet/SoftPatchItem.h"
#include "endpoints/artnet/UniverseSet.h"
#include "platform/Published.h"
#include "platform/SerialQueue.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace marvo {

class SoftPatch {
public:
    static constexpr int rowPitch = 31; // display units

    struct Destination {
        std::int32_t universe = 0;
        std::vector<std::int32_t> channels;
        bool operator==(const Destination&) const = default;
    };

    SoftPatch();

    // Called on the main thread when what applies has changed: rows, or on and off.
    std::function<void()> onChanged;

    void setEnabled(bool enabled);
    // Thread-safe, realtime-safe.
    bool isEnabled() const { return enabled_.load(std::memory_order_relaxed); }

    // Calls function(channel, universe) for each place that a write to this one goes to: the place itself
    // where no row applies. Channels outside 1 to 512 and universes outside 0 to 255 are left out.
    // Thread-safe and realtime-safe as far as the function is.
    template <class Function>
    void forEachDestination(std::int32_t channel, std::int32_t universe, Function&& function) const {
        if (channel < 1 || channel > channelsOfAUniverse || universe < 0 || universe >= universeCount) return;
        if (isEnabled()) {
            const auto table = table_.read();
            const std::uint32_t row = table->rowOf(channel, universe);
            if (row != 0) {
                const Run& run = table->runs[row - 1];
                for (std::uint32_t at = run.first; at < run.end; ++at)
                    function(static_cast<std::int32_t>(table->channels[at]), run.universe);
                return;
            }
        }
        function(channel, universe);
    }

    // None while the patch is off or no row applies. Of two rows with one source the upper one applies.
    // Thread-safe; waits for the queue and allocates.
    std::optional<Destination> softPatchForChannel(std::int32_t channel, std::int32_t universe) const;

    // The destination universes of the rows while the patch is on.
    UniverseSet destinationUniverses() const;

    // The row gets its place when the rows are arranged; a new row of position -1 comes to the top. Selects
    // the new row alone. Returns its identity.
    std::uint64_t createSoftPatchItem(std::int64_t sourceUniverse, std::int64_t sourceChannel,
                                      std::int64_t destinationUniverse, std::string destinationChannels,
                                      std::int64_t position);
    std::uint64_t addNewSoftPatchItem();
    void removeSoftPatchItems(std::span<const std::uint64_t> identities);
    void removeAllSoftPatchItems();
    // Takes the edited fields over: numbers out of range leave the old ones, the expression is cleaned.
    void settingsChanged(const SoftPatchItem& edited);

    void rearrangeSoftPatchItems();
    void sortSoftPatchItems();
    std::optional<SoftPatchItem> firstSoftPatchItem() const;

    // A click on a row, or its text field taking the focus.
    void clickSoftPatchItem(std::uint64_t identity, bool shiftPressed);
    void selectAllSoftPatchItems();
    void deselectAllSoftPatchItems();
    void removeSelectedSoftPatchItems();

    // While it stands, edits are neither published nor arranged: for those who make many rows at once. At its
    // end they are.
    class Batch {
    public:
        explicit Batch(SoftPatch& patch) : patch_(patch) { ++patch_.batches_; }
        ~Batch();
        Batch(const Batch&) = delete;
        Batch& operator=(const Batch&) = delete;

    private:
        SoftPatch& patch_;
    };

    // In table order.
    std::vector<SoftPatchItem> softPatchItems() const;
    std::size_t count() const;
    // Whether a row with this source stands in the table, whether the patch is on or not.
    bool hasItemFor(std::int64_t channel, std::int64_t universe) const;

private:
    struct Run {
        std::int32_t universe = 0;
        std::uint32_t first = 0; // in channels
        std::uint32_t end = 0;
    };
    struct Table {
        // Source to row, from 1; 0 is no row. Empty without rows.
        std::vector<std::uint32_t> index;
        std::vector<Run> runs;
        std::vector<std::uint16_t> channels;

        static std::size_t placeOf(std::int32_t channel, std::int32_t universe) {
            return static_cast<std::size_t>(universe) * channelsOfAUniverse +
                   static_cast<std::size_t>(channel - 1);
        }
        std::uint32_t rowOf(std::int32_t channel, std::int32_t universe) const {
            return index.empty() ? 0 : index[placeOf(channel, universe)];
        }
    };

    void arrange();
    void publish();
    void selectOnly(std::uint64_t identity);

    mutable SerialQueue queue_{"com.selkar.softpatchqueue", QueueRank::softPatch};
    std::vector<SoftPatchItem> items_; // under queue_
    std::uint64_t nextIdentity_ = 1;
    int batches_ = 0;
    std::atomic<bool> enabled_{false};
    Published<Table> table_;
};

} // namespace marvo
