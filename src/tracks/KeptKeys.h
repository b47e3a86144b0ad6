// Keys of a record that nobody reads, kept and written back. See docs/decisions.
#pragma once

#include "platform/PropertyList.h"

#include <algorithm>
#include <span>
#include <string_view>

namespace marvo {

// The entries of record whose key is not among known, in their order; an empty dictionary for anything but a
// dictionary.
inline PropertyList keptKeysOf(const PropertyList& record, std::span<const std::string_view> known) {
    PropertyList kept = PropertyList::dictionary();
    if (!record.isDictionary()) return kept;
    for (const auto& [key, value] : record.entries()) {
        if (std::find(known.begin(), known.end(), std::string_view(key)) == known.end()) kept.set(key, value);
    }
    return kept;
}

inline void appendKeptKeys(PropertyList& record, const PropertyList& kept) {
    if (!kept.isDictionary()) return;
    for (const auto& [key, value] : kept.entries()) record.set(key, value);
}

} // namespace marvo
