// Rules for the names of a composition's tracks, over the list of names in row order.
//
// Thread-safe: pure functions. Realtime-safe: no.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace marvo {

// Whether a track may take `name`. `own` is its row in `names`, or nothing for a track not yet among them. An
// empty name is never available. With `ignoreCurrent` false a track may keep its own name; with true not even
// that.
bool isAvailableTrackName(std::string_view name, std::span<const std::string> names,
                          std::optional<std::size_t> own, bool ignoreCurrent);

// The name a restored or pasted track gets: `name` with " (copy)" appended until it is available.
std::string availableTrackName(std::string_view name, std::span<const std::string> names,
                               std::optional<std::size_t> own);

} // namespace marvo
