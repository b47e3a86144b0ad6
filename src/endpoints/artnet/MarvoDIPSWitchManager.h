// Works out the address that a row of DIP switches stands for. Main thread.
#pragma once

#include <string>
#include <vector>

namespace marvo {

class MarvoDIPSWitchManager {
public:
    // As many switches as fit into a whole number; what lies beyond the 63rd is left out.
    explicit MarvoDIPSWitchManager(int switchCount = 9);

    int switchCount() const { return static_cast<int>(matrix_.size()); }
    bool isOn(int index) const { return matrix_.at(static_cast<std::size_t>(index)); }
    // Nothing for a switch that is not there.
    void switchChanged(int index, bool on);
    // The first switch counts 1, the next 2, then 4; "-" when all are off.
    const std::string& calculatedChannel() const { return calculatedChannel_; }

private:
    std::vector<bool> matrix_;
    std::string calculatedChannel_ = "-";
};

} // namespace marvo
