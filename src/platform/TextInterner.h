// Hands out one shared text for equal short texts, so that a million records do not hold a million copies of
// the same key or curve name.
//
// Bounded: long texts, and any beyond the first 65536 different ones, are made afresh each time. One user at
// a time; not realtime-safe.
#pragma once

#include "platform/SharedText.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace marvo {

class TextInterner {
public:
    static constexpr std::size_t longestText = 48; // bytes
    static constexpr std::size_t mostTexts = 65'536;

    SharedText intern(std::string_view text);

private:
    struct Slot {
        std::size_t hash = 0;
        SharedText text; // empty: the slot is free
    };
    void grow();

    std::vector<Slot> slots_; // a power of two, at most half full
    std::size_t used_ = 0;
};

// The calling thread's shared text for a dictionary key. Forgets keys as others come: for keys that recur at
// once.
SharedText internedKey(std::string_view key);

} // namespace marvo
