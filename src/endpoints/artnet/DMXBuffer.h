// The DMX values of all universes, laid end to end: 256 blocks of 512 bytes.
//
// Any number of threads write and read without a lock; a byte is never torn, a block may be caught between
// two writes. Which universes changed is kept beside the bytes, so that nobody has to compare them.
// Thread-safe and realtime-safe throughout.
#pragma once

#include "endpoints/artnet/UniverseSet.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>

namespace marvo {

class DMXBuffer {
public:
    // Channel from 1 to 512 and universe from 0 to 255, which the caller has checked.
    void store(std::uint8_t value, int channel, int universe) {
        std::uint8_t* const place = &bytes_[offsetOf(universe) + static_cast<std::size_t>(channel - 1)];
        if (__atomic_load_n(place, __ATOMIC_RELAXED) == value) return;
        __atomic_store_n(place, value, __ATOMIC_RELAXED);
        markChanged(universe);
    }

    // The 512 bytes of a universe. They change while they are read: read each with valueAt.
    const std::uint8_t* universe(int index) const { return &bytes_[offsetOf(index)]; }
    static std::uint8_t valueAt(const std::uint8_t* place) {
        return __atomic_load_n(place, __ATOMIC_RELAXED);
    }

    void copyUniverse(int index, std::span<std::byte, channelsOfAUniverse> to) const {
        // Eight bytes at a time: the block is aligned, and what is torn between bytes is so anyway.
        using Word [[gnu::may_alias]] = std::uint64_t;
        const auto* const words = reinterpret_cast<const Word*>(universe(index));
        for (std::size_t word = 0; word < channelsOfAUniverse / sizeof(Word); ++word) {
            const std::uint64_t value = __atomic_load_n(words + word, __ATOMIC_RELAXED);
            __builtin_memcpy(&to[word * sizeof(Word)], &value, sizeof value);
        }
    }

    void markChanged(int universe) {
        changed_[UniverseSet::wordOf(universe)].fetch_or(UniverseSet::bitOf(universe),
                                                         std::memory_order_release);
    }
    bool hasChanged(std::size_t word, std::uint64_t mask) const {
        return (changed_[word].load(std::memory_order_relaxed) & mask) != 0;
    }
    // Takes the marks within the mask away. A write that comes afterwards sets its mark again, so whoever
    // copies after taking misses nothing.
    std::uint64_t takeChanged(std::size_t word, std::uint64_t mask) {
        return changed_[word].fetch_and(~mask, std::memory_order_acquire) & mask;
    }

private:
    static constexpr std::size_t offsetOf(int universe) {
        return static_cast<std::size_t>(universe) * channelsOfAUniverse;
    }

    alignas(64) std::uint8_t bytes_[universeCount * channelsOfAUniverse]{};
    alignas(64) std::atomic<std::uint64_t> changed_[UniverseSet::wordCount]{};
};

} // namespace marvo
