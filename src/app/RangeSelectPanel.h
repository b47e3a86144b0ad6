// The panel that selects keyframes between two times of the selected composition.
//
// Holds nothing of its own: the range belongs to the composition. Without a selected composition each
// operation beeps and does nothing else. Main thread.
#pragma once

#include "composition/CompositionApplication.h"
#include "platform/TimelineTime.h"

#include <array>
#include <string>

namespace marvo {

class RangeSelectPanel {
public:
    // Hours, minutes, seconds and frames, each as its number without leading zeros.
    using TimeTexts = std::array<std::string, 4>;

    explicit RangeSelectPanel(CompositionApplication& application) : application_(application) {}

    void setRangeStartFromPlayhead();
    void setRangeEndFromPlayhead();
    // Beeps as well unless the start lies before the end.
    void selectRange();

    // Brings what is shown up to the selected composition.
    void updateRangeDisplays();
    const TimeTexts& displayRangeStartTime() const { return start_; }
    const TimeTexts& displayRangeEndTime() const { return end_; }

private:
    MarvoTimelineController* composition();
    void setRange(bool isStart);

    CompositionApplication& application_;
    TimeTexts start_{"0", "0", "0", "0"};
    TimeTexts end_{"0", "0", "0", "0"};
};

} // namespace marvo
