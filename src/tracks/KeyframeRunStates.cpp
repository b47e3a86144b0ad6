#include "tracks/KeyframeRunStates.h"

#include <bit>

namespace marvo {

KeyframeRunStates::~KeyframeRunStates() {
    for (auto& segment : segments_) delete[] segment.load(std::memory_order_relaxed);
}

// Segment k holds firstSegmentSize << k words.
KeyframeRunStates::Word& KeyframeRunStates::word(std::uint32_t slot) const {
    const std::uint32_t shifted = slot / firstSegmentSize + 1;
    const auto segment = static_cast<std::uint32_t>(std::bit_width(shifted) - 1);
    const std::uint32_t first = ((1u << segment) - 1) * firstSegmentSize;
    return segments_[segment].load(std::memory_order_acquire)[slot - first];
}

std::uint32_t KeyframeRunStates::allocateSlot() {
    std::uint32_t slot;
    if (!released_.empty() && released_.front().publication + reuseAfter < publications_) {
        slot = released_.front().slot;
        released_.erase(released_.begin());
    } else {
        slot = allocated_++;
        const auto segment = static_cast<std::uint32_t>(std::bit_width(slot / firstSegmentSize + 1) - 1);
        if (!segments_[segment].load(std::memory_order_relaxed)) {
            segments_[segment].store(new Word[std::size_t{firstSegmentSize} << segment](),
                                     std::memory_order_release);
        }
    }
    word(slot).store(generation_ << 2, std::memory_order_relaxed);
    return slot;
}

void KeyframeRunStates::releaseSlot(std::uint32_t slot) {
    released_.push_back({slot, publications_});
}

void KeyframeRunStates::pin(std::uint32_t slot, std::int64_t time) {
    const std::uint32_t generation = generation_;
    if ((word(slot).load(std::memory_order_relaxed) >> 2) == generation) return;
    word(slot).store(generation << 2 | (time < watermark_ ? processedBit : 0u), std::memory_order_relaxed);
}

} // namespace marvo
