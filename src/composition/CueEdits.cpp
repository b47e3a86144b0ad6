#include "composition/CueEdits.h"

#include "composition/CompositionTimeMath.h"
#include "composition/CueTimeInput.h"
#include "platform/Saturate.h"

#include <algorithm>
#include <limits>

namespace marvo {

void CueEdits::undoRenameCueWithName(std::size_t index, const std::string& name) {
    MarvoCue* cue = cues_.cues().cueAtIndex(index);
    if (cue == nullptr) return;
    const std::string oldName = cue->cueName;
    cue->cueName = name;
    composition_.registerUndo("Change Cue Name",
                              [this, index, oldName] { undoRenameCueWithName(index, oldName); });
    composition_.redrawCues();
    composition_.projectChanged();
}

void CueEdits::undoChangeCueToTypeToRepeat(std::size_t index, CueType type, CueRepeat repeat) {
    MarvoCue* cue = cues_.cues().cueAtIndex(index);
    if (cue == nullptr) return;
    const CueType oldType = cue->type;
    const CueRepeat oldRepeat = cue->repeat;
    cue->type = type;
    cue->repeat = repeat;
    composition_.registerUndo("Change Cue Type", [this, index, oldType, oldRepeat] {
        undoChangeCueToTypeToRepeat(index, oldType, oldRepeat);
    });
    composition_.redrawCues();
    composition_.projectChanged();
}

void CueEdits::undoChangeCueToLoopNumberNeeded(std::size_t index, std::uint64_t needed) {
    MarvoCue* cue = cues_.cues().cueAtIndex(index);
    if (cue == nullptr) return;
    const std::uint64_t oldNeeded = cue->numberOfLoopsNeeded;
    cue->numberOfLoopsNeeded = needed;
    composition_.registerUndo("Change Cue Loop Number", [this, index, oldNeeded] {
        undoChangeCueToLoopNumberNeeded(index, oldNeeded);
    });
    composition_.redrawCues();
    composition_.projectChanged();
}

std::size_t CueEdits::moveCueAtIndex(std::size_t index, Frame time, bool needsRefresh, bool needsRebuild,
                                     bool undoSupport) {
    MarvoCue* cue = cues_.cues().cueAtIndex(index);
    if (cue == nullptr) return index;
    const Frame oldTime = cue->time;
    cue->time = time;
    if (needsRebuild) cues_.rebuildCuesWithRefresh(false);
    if (needsRefresh) composition_.redrawCues();
    const std::size_t newIndex = *cues_.cues().indexOf(cue->id);
    if (undoSupport) {
        composition_.registerUndo("Move Cue", [this, newIndex, oldTime, needsRefresh, needsRebuild] {
            moveCueAtIndex(newIndex, oldTime, needsRefresh, needsRebuild, true);
        });
    }
    composition_.projectChanged();
    return newIndex;
}

bool CueEdits::changeActiveCueName(const std::string& name) {
    const MarvoCue* cue = cues_.activeCue();
    // A pattern is never shown as it stands, so one with "<$>" in it is always free.
    const bool accepted =
        cue != nullptr && (cues_.isAvailableCueName(name, true) || (!name.empty() && name == cue->cueName));
    if (!accepted) {
        composition_.beep();
        return false;
    }
    undoRenameCueWithName(*cues_.cues().indexOf(cue->id), name);
    return true;
}

std::uint64_t CueEdits::shownLoopCount(std::size_t index) const {
    const MarvoCue* cue = cues_.cues().cueAtIndex(index);
    if (cue == nullptr) return 1;
    constexpr auto most = std::numeric_limits<std::uint64_t>::max();
    return cue->numberOfLoopsNeeded == most ? most : cue->numberOfLoopsNeeded + 1;
}

void CueEdits::loopCounterChanged(std::size_t index, std::int64_t shownCount) {
    const std::int64_t needed = std::max<std::int64_t>(saturatingSubtract(shownCount, 1), 0);
    undoChangeCueToLoopNumberNeeded(index, static_cast<std::uint64_t>(needed));
}

void CueEdits::placeCueAtPlayhead() {
    const Frame now = composition_.currentTime();
    if (cues_.cueAtTime(now) != nullptr)
        composition_.beep();
    else
        cues_.addNewCueAtTime(now);
}

FrameCount CueEdits::maxDeltaForMoveMultiCuesWithTimeDelta(FrameCount delta) const {
    const auto selected = cues_.selectedCues();
    FrameCount tightest = delta;
    for (auto cue = selected.rbegin(); cue != selected.rend(); ++cue) {
        const Frame time = (*cue)->time;
        tightest = cues_.maxPossibleTimeForTime(time + tightest) - time;
    }
    return tightest;
}

void CueEdits::moveMultiCuesWithTimeDelta(FrameCount wanted) {
    const FrameCount delta = maxDeltaForMoveMultiCuesWithTimeDelta(wanted);
    std::vector<CueId> moved;
    for (const MarvoCue* cue : cues_.selectedCues()) moved.push_back(cue->id);
    std::reverse(moved.begin(), moved.end());
    for (const CueId id : moved) {
        const Frame target = cues_.cues().cueWithId(id)->time + delta;
        moveCueAtIndex(*cues_.cues().indexOf(id), target, true, true, false);
    }

    const FrameCount inverse = -delta;
    composition_.registerUndo("Move Cue", [this, inverse, indexes = selectedIndexes()] {
        selectIndexes(indexes);
        moveMultiCuesWithTimeDelta(inverse);
    });
    composition_.projectChanged();
}

void CueEdits::undoInvertSelectedCues() {
    const Frame total = endFrame(composition_.compTime(), composition_.compFPS());
    for (MarvoCue* cue : cues_.selectedCues()) cue->time = Frame((total - cue->time).value);
    cues_.rebuildCuesWithRefresh(true);
    composition_.registerUndo("Invert Cues Time", [this, indexes = selectedIndexes()] {
        selectIndexes(indexes);
        undoInvertSelectedCues();
    });
    composition_.projectChanged();
}

std::optional<FrameCount> CueEdits::deltaOfTimeText(std::string_view text, Frame time) {
    const CueTimeInput input = parseCueTimeInput(text, composition_.compFPS());
    switch (input.kind) {
    case CueTimeInput::Kind::refused:
        composition_.beep();
        return std::nullopt;
    case CueTimeInput::Kind::invert:
        undoInvertSelectedCues();
        return std::nullopt;
    case CueTimeInput::Kind::relative:
        return FrameCount(input.frames);
    case CueTimeInput::Kind::absolute:
        break;
    }
    return cues_.maxPossibleTimeForTime(Frame(input.frames)) - time;
}

std::vector<CueTime> CueEdits::selectedTimes() const {
    std::vector<CueTime> times;
    for (const MarvoCue* cue : cues_.selectedCues()) times.push_back({cue->id, cue->time});
    return times;
}

void CueEdits::placeCues(const std::vector<CueTime>& times) {
    std::vector<CueTime> before;
    for (const CueTime& place : times) {
        MarvoCue* cue = cues_.cues().cueWithId(place.id);
        if (cue == nullptr || cue->time == place.time) continue;
        before.push_back({cue->id, cue->time});
        cue->time = place.time;
    }
    if (before.empty()) return;
    cues_.rebuildCuesWithRefresh(true);
    composition_.registerUndo("Move Cue", [this, before] { placeCues(before); });
    composition_.projectChanged();
}

std::vector<std::size_t> CueEdits::selectedIndexes() const {
    std::vector<std::size_t> indexes;
    for (std::size_t i = 0; i < cues_.cues().size(); ++i)
        if (cues_.cues().cueAtIndex(i)->selected) indexes.push_back(i);
    return indexes;
}

void CueEdits::selectIndexes(const std::vector<std::size_t>& indexes) {
    cues_.deselectCues();
    for (const std::size_t index : indexes)
        if (MarvoCue* cue = cues_.cues().cueAtIndex(index)) cue->selected = true;
}

} // namespace marvo
