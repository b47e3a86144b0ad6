#include "tracks/TrackNames.h"

namespace marvo {

bool isAvailableTrackName(std::string_view name, std::span<const std::string> names,
                          std::optional<std::size_t> own, bool ignoreCurrent) {
    if (name.empty()) return false;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (names[i] == name && (ignoreCurrent || own != i)) return false;
    }
    return true;
}

std::string availableTrackName(std::string_view name, std::span<const std::string> names,
                               std::optional<std::size_t> own) {
    std::string candidate(name);
    while (!isAvailableTrackName(candidate, names, own, false)) candidate += " (copy)";
    return candidate;
}

} // namespace marvo
