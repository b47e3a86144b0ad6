#include "app/RangeSelectPanel.h"

#include "composition/CompositionTimeMath.h"
#include "composition/MarvoTimelineController.h"

namespace marvo {
namespace {

RangeSelectPanel::TimeTexts textsOf(Frame frame, std::int64_t fps) {
    const TimeFields fields = splitTime(frame, fps);
    return {std::to_string(fields.hours), std::to_string(fields.minutes), std::to_string(fields.seconds),
            std::to_string(fields.frames)};
}

} // namespace

MarvoTimelineController* RangeSelectPanel::composition() {
    MarvoTimelineController* selected = application_.selectedComposition();
    if (!selected) application_.beep();
    return selected;
}

void RangeSelectPanel::setRange(bool isStart) {
    MarvoTimelineController* selected = composition();
    if (!selected) return;
    (isStart ? selected->state.rangeSelectStart : selected->state.rangeSelectEnd) = selected->currentTime();
    updateRangeDisplays();
}

void RangeSelectPanel::setRangeStartFromPlayhead() {
    setRange(true);
}

void RangeSelectPanel::setRangeEndFromPlayhead() {
    setRange(false);
}

void RangeSelectPanel::updateRangeDisplays() {
    MarvoTimelineController* selected = composition();
    if (!selected) return;
    start_ = textsOf(selected->state.rangeSelectStart, selected->compFPS());
    end_ = textsOf(selected->state.rangeSelectEnd, selected->compFPS());
}

void RangeSelectPanel::selectRange() {
    MarvoTimelineController* selected = composition();
    if (!selected) return;
    if (selected->state.rangeSelectEnd.get() <= selected->state.rangeSelectStart.get())
        application_.beep();
    else
        selected->keyframeSelection.selectKeyframesInRange();
}

} // namespace marvo
