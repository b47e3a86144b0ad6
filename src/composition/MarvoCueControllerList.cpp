// List side of the cues: adding, removing, saving and selecting. Playback is in MarvoCueController.cpp.
#include "composition/MarvoCueController.h"

#include "composition/CompositionTimeMath.h"

#include <algorithm>
#include <cmath>

namespace marvo {

std::string MarvoCueController::displayNameOf(const MarvoCue& cue) const {
    std::string name;
    appendDisplayNameOf(cue, name);
    return name;
}

void MarvoCueController::appendDisplayNameOf(const MarvoCue& cue, std::string& text) const {
    if (const auto index = list_.indexOf(cue.id)) appendCueDisplayName(text, cue.cueName, *index + 1);
}

Frame MarvoCueController::timeAtLocation(float x, float viewWidth) const {
    const float fps = static_cast<float>(usableFps(composition_.compFPS()));
    const float frames = fps * (x / viewWidth * composition_.compTime());
    // Rounding may step over a fractional end, and loading drops a cue that stands there.
    return maxPossibleTimeForTime(truncateToFrame(std::round(frames)));
}

void MarvoCueController::updateCue(MarvoCue& cue, float x, float viewWidth) {
    cue.time = timeAtLocation(x, viewWidth);
    composition_.projectChanged();
}

std::size_t MarvoCueController::addAndSelect(Frame time, bool refresh) {
    CueRecord record;
    record.time = time.value;
    const CueId id = list_.insert(record).id;
    rebuildCuesWithRefresh(refresh);
    selectOnly(id);
    setActiveCue(id);
    const std::size_t index = *list_.indexOf(id);
    registerRemoval(index);
    composition_.projectChanged();
    return index;
}

std::size_t MarvoCueController::addNewCueAtLocation(float x, float viewWidth) {
    const std::size_t index = addAndSelect(timeAtLocation(x, viewWidth), false);
    markCuesAsNonProcessed();
    return index;
}

std::size_t MarvoCueController::addNewCueAtTime(Frame time) {
    return addAndSelect(time, true);
}

void MarvoCueController::registerRemoval(std::size_t index) {
    composition_.registerUndo("Add Cue", [this, index] { undoRemoveCueAtIndex(index); });
}

void MarvoCueController::undoRemoveCueAtIndex(std::size_t index) {
    const MarvoCue* cue = list_.cueAtIndex(index);
    if (cue == nullptr) return;
    const CueRecord backup = cue->backupDataForUndo();
    removeCue(cue->id);
    composition_.registerUndo("Remove Cue", [this, backup] { addNewKeyCueWithData(backup); });
    composition_.redrawCues();
    composition_.projectChanged();
}

std::size_t MarvoCueController::addNewKeyCueWithData(const CueRecord& record) {
    const std::size_t index = addNewCueWithData(record);
    registerRemoval(index);
    composition_.projectChanged();
    return index;
}

void MarvoCueController::removeSelectedCues() {
    for (const CueId id : list_.ids()) {
        const MarvoCue* cue = list_.cueWithId(id);
        if (cue->selected) undoRemoveCueAtIndex(*list_.indexOf(id));
    }
}

bool MarvoCueController::removeCueAtTime(Frame time, bool withUndo) {
    const MarvoCue* cue = list_.cueAtTime(time);
    if (cue == nullptr) return false;
    if (withUndo)
        undoRemoveCueAtIndex(*list_.indexOf(cue->id));
    else
        removeCue(cue->id);
    return true;
}

std::size_t MarvoCueController::addNewCueWithData(const CueRecord& record) {
    const CueId id = list_.insert(record).id;
    rebuildCuesWithRefresh(true);
    return *list_.indexOf(id);
}

std::optional<CueId> MarvoCueController::addNewCueWithDataByCopy(const CueRecord& record,
                                                                 FrameCount padding) {
    const Frame target = Frame(record.time) + padding;
    if (target < Frame(0)) return std::nullopt;
    if (!isInsideComposition(target, composition_.compTime(), composition_.compFPS())) return std::nullopt;

    for (MarvoCue* cue : selectedCues()) {
        if (cue->time != target) continue;
        removeCue(cue->id);
        break;
    }
    CueRecord pasted = record;
    pasted.time = target.value;
    if (pasted.cueName && !isAvailableCueName(*pasted.cueName, false)) *pasted.cueName += "<$>";
    MarvoCue& cue = list_.insert(pasted);
    cue.selected = true;
    return cue.id;
}

void MarvoCueController::removeCue(CueId id) {
    if (activeCue_ == id) activeCue_ = CueId();
    lastClickedCue_ = CueId();
    list_.remove(id);
}

void MarvoCueController::rebuildCuesWithRefresh(bool refresh) {
    list_.rebuild();
    if (refresh) composition_.redrawCues();
}

bool MarvoCueController::isAvailableCueName(std::string_view name,
                                            [[maybe_unused]] bool ignoreCurrent) const {
    return !name.empty() && list_.cueWithDisplayName(name) == nullptr;
}

Frame MarvoCueController::maxPossibleTimeForTime(Frame time) const {
    return clampToComposition(time, composition_.compTime(), composition_.compFPS());
}

void MarvoCueController::refreshKeyFramesWithRatio(float ratio) {
    list_.forEach(
        [ratio](MarvoCue& cue) { cue.time = truncateToFrame(static_cast<float>(cue.time.value) * ratio); });
    rebuildCuesWithRefresh(true);
}

std::vector<CueRecord> MarvoCueController::trimmedCues() {
    std::vector<CueRecord> trimmed;
    for (const CueId id : list_.ids()) {
        const MarvoCue& cue = *list_.cueWithId(id);
        if (isInsideComposition(cue.time, composition_.compTime(), composition_.compFPS())) continue;
        trimmed.push_back(cue.backupDataForUndo());
        removeCue(id);
    }
    return trimmed;
}

std::vector<CueRecord> MarvoCueController::saveData() const {
    std::vector<CueRecord> records;
    records.reserve(list_.size());
    list_.forEach([&records](const MarvoCue& cue) { records.push_back(cue.backupData()); });
    return records;
}

void MarvoCueController::loadData(const std::vector<CueRecord>& records) {
    list_.clear();
    activeCue_ = lastClickedCue_ = CueId();
    const Frame end = endFrame(composition_.compTime(), composition_.compFPS());
    for (const CueRecord& record : records)
        if (Frame(record.time) <= end) list_.insert(record);
    rebuildCuesWithRefresh(true);
}

std::vector<MarvoCue*> MarvoCueController::selectedCues() const {
    std::vector<MarvoCue*> selected;
    list_.forEach([&selected](MarvoCue& cue) {
        if (cue.selected) selected.push_back(&cue);
    });
    return selected;
}

std::vector<CueRecord> MarvoCueController::selectedCuesData() const {
    std::vector<CueRecord> records;
    for (const MarvoCue* cue : selectedCues()) records.push_back(cue->backupData());
    return records;
}

bool MarvoCueController::hasCuesSelected() const {
    return !selectedCues().empty();
}
bool MarvoCueController::multiCuesSelected() const {
    return selectedCues().size() > 1;
}

void MarvoCueController::selectCuesInRange(Frame start, FrameCount length) {
    const Frame end = start + length;
    list_.forEach([start, end](MarvoCue& cue) {
        if (cue.time >= start && cue.time <= end) cue.selected = true;
    });
}

void MarvoCueController::selectAllCues() {
    list_.forEach([](MarvoCue& cue) { cue.selected = true; });
}

void MarvoCueController::deselectCues() {
    list_.forEach([](MarvoCue& cue) { cue.selected = false; });
}

void MarvoCueController::selectOnly(CueId id) {
    list_.forEach([id](MarvoCue& cue) { cue.selected = cue.id == id; });
}

void MarvoCueController::setActiveCue(CueId id) {
    activeCue_ = id;
    list_.forEach([id](MarvoCue& cue) { cue.isActiveCue = cue.id == id; });
}

} // namespace marvo
