// What each keyframe has been through in the present run: passed or not, its note reached by interpolation or
// not.
//
// The state lives beside the plan, addressed by a slot that belongs to the keyframe for its life, so it
// survives any number of edits. A word is stamped with a generation: "all not passed" is a new generation,
// and "all before this frame passed" a watermark, so both cost the same for any number of keyframes. A word
// of an older generation stands for the default: passed when its keyframe lies before the watermark, and not
// skipped.
//
// Reading and setting belong to the evaluating side (composition queue); slots to the editing side (the
// track's queue). Words are relaxed atomics, so the two may run at once: a value that is one tick stale is
// harmless.
#pragma once

#include "platform/Relaxed.h"
#include "platform/TimelineTime.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <limits>
#include <vector>

namespace marvo {

class KeyframeRunStates {
public:
    KeyframeRunStates() = default;
    ~KeyframeRunStates();
    KeyframeRunStates(const KeyframeRunStates&) = delete;
    KeyframeRunStates& operator=(const KeyframeRunStates&) = delete;

    // Evaluating side; realtime-safe.
    void markAllNonProcessed() {
        watermark_ = std::numeric_limits<std::int64_t>::min();
        generation_ = (generation_ + 1) & generationMask;
    }
    // After markAllNonProcessed: whatever lies before the frame counts as passed.
    void markProcessedBefore(Frame frame) { watermark_ = frame.value; }

    bool isProcessed(std::uint32_t slot, std::int64_t time) const {
        const std::uint32_t state = word(slot).load(std::memory_order_relaxed);
        if ((state >> 2) == generation_) return state & processedBit;
        return time < watermark_;
    }
    bool shouldSkip(std::uint32_t slot) const {
        const std::uint32_t state = word(slot).load(std::memory_order_relaxed);
        return (state >> 2) == generation_ && (state & skipBit);
    }
    void set(std::uint32_t slot, bool processed, bool skip) {
        word(slot).store(generation_ << 2 | (processed ? processedBit : 0u) | (skip ? skipBit : 0u),
                         std::memory_order_relaxed);
    }
    void setProcessed(std::uint32_t slot, bool processed) { set(slot, processed, shouldSkip(slot)); }

    // Editing side. A slot starts as not passed. Slots of removed keyframes are not used again while older
    // plans may still name them: the next allocation after `reuseAfter` publications takes them.
    std::uint32_t allocateSlot();
    void releaseSlot(std::uint32_t slot);
    void planPublished() { ++publications_; }
    // Makes the present default explicit before the keyframe's time changes.
    void pin(std::uint32_t slot, std::int64_t time);

private:
    static constexpr std::uint32_t processedBit = 1;
    static constexpr std::uint32_t skipBit = 2;
    static constexpr std::uint32_t generationMask = 0x3fffffff;
    static constexpr std::uint32_t firstSegmentSize = 16;
    static constexpr std::uint64_t reuseAfter = 2;
    using Word = std::atomic<std::uint32_t>;

    struct Released {
        std::uint32_t slot;
        std::uint64_t publication;
    };

    // Segments double in size and never move, so the evaluating side needs no lock to find a word.
    Word& word(std::uint32_t slot) const;

    Relaxed<std::uint32_t> generation_ = 1;
    Relaxed<std::int64_t> watermark_ = std::numeric_limits<std::int64_t>::min();
    mutable std::array<std::atomic<Word*>, 28> segments_{};
    std::uint32_t allocated_ = 0;
    std::uint64_t publications_ = 0;
    std::vector<Released> released_;
};

} // namespace marvo
