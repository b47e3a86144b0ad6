#include "endpoints/artnet/MarvoDIPSWitchManager.h"

#include "platform/Numbers.h"

#include <algorithm>
#include <cstdint>

namespace marvo {

MarvoDIPSWitchManager::MarvoDIPSWitchManager(int switchCount)
    : matrix_(static_cast<std::size_t>(std::clamp(switchCount, 0, 63)), false) {}

void MarvoDIPSWitchManager::switchChanged(int index, bool on) {
    if (index < 0 || index >= switchCount()) return;
    matrix_[static_cast<std::size_t>(index)] = on;
    std::int64_t sum = 0;
    for (std::size_t column = 0; column < matrix_.size(); ++column) {
        if (matrix_[column]) sum += std::int64_t{1} << column;
    }
    calculatedChannel_ = sum == 0 ? "-" : std::string(formatInteger(sum).view());
}

} // namespace marvo
