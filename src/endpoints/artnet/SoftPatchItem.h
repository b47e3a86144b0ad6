// One row of the soft patch. A plain value.
#pragma once

#include <cstdint>
#include <string>

namespace marvo {

struct SoftPatchItem {
    std::uint64_t identity = 0;     // names the row for as long as it exists; never saved
    std::int64_t itemPosition = -1; // row from 0; -1 until the rows are arranged
    std::int64_t sourceUniverse = 0;
    std::int64_t sourceChannel = 1;
    std::int64_t destinationUniverse = 0;
    std::string destinationChannels = "1";
    bool isSelected = false;

    bool operator==(const SoftPatchItem&) const = default;
};

} // namespace marvo
