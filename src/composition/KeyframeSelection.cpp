#include "composition/KeyframeSelection.h"

#include "composition/CompositionTimeMath.h"
#include "composition/MarvoTimelineController.h"
#include "platform/SerialQueue.h"
#include "tracks/MarvoTimelineTrack.h"

#include <utility>
#include <vector>

namespace marvo {

void KeyframeSelection::selectCues(Frame start, FrameCount length) {
    MarvoCueController& cues = composition_.cueController;
    services_.compQueue.sync([&] {
        if (!cues.isLocked()) cues.selectCuesInRange(start, length);
    });
}

void KeyframeSelection::deselectAllKeyframes() {
    for (MarvoTimelineTrack* track : composition_.tracks.plainTracks()) track->keyframes().deselectFrames();
}

void KeyframeSelection::selectKeyframesInRange() {
    const Frame start = composition_.state.rangeSelectStart;
    const Frame end = composition_.state.rangeSelectEnd;
    if (start >= end) return;
    if (composition_.cueController.isSelected()) {
        selectCues(start, end - start);
        return;
    }
    deselectAllKeyframes();
    if (composition_.tracks.selectedTracks().empty()) selectCues(start, end - start);
    for (MarvoTimelineTrack* track : composition_.tracks.plainTracks()) {
        if (track->isSelected() && !track->isLocked())
            track->keyframes().selectKeyframesInRange(start, end - start);
    }
}

void KeyframeSelection::selectKeyframesInWorkArea() {
    for (const auto& track : composition_.tracks.all()) track->setSelected(true);
    selectKeyframesInWorkAreaOnSelectedTracks();
}

void KeyframeSelection::selectKeyframesInWorkAreaOnSelectedTracks() {
    composition_.state.rangeSelectStart = composition_.inTime();
    composition_.state.rangeSelectEnd = composition_.outTime();
    selectKeyframesInRange();
}

void KeyframeSelection::selectKeyframesBySelectedCues(bool selects) {
    if (!selects) {
        deselectAllKeyframes();
        return;
    }
    std::vector<std::pair<Frame, Frame>> runs;
    services_.compQueue.sync([&] {
        bool isOpen = false;
        composition_.cueController.cues().forEach([&](const MarvoCue& cue) {
            if (cue.selected && !isOpen) runs.push_back({cue.time, cue.time});
            if (isOpen || cue.selected) runs.back().second = cue.time;
            isOpen = cue.selected;
        });
        if (isOpen) runs.back().second = endFrame(composition_.compTime(), composition_.compFPS());
    });
    for (MarvoTimelineTrack* track : composition_.tracks.plainTracks()) {
        if (track->isLocked()) continue;
        for (const auto& [start, end] : runs) track->keyframes().selectKeyframesInRange(start, end - start);
    }
}

} // namespace marvo
