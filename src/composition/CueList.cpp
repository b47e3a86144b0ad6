#include "composition/CueList.h"

#include <algorithm>

namespace marvo {

namespace {

template <typename Cues, typename Test>
MarvoCue* firstWhere(const Cues& cues, Test test) {
    const auto found = std::find_if(cues.begin(), cues.end(), [&](const auto& cue) { return test(*cue); });
    return found == cues.end() ? nullptr : found->get();
}

} // namespace

MarvoCue* CueList::cueAtIndex(std::size_t index) const {
    return index < cues_.size() ? cues_[index].get() : nullptr;
}

MarvoCue* CueList::cueAtTime(Frame time) const {
    return firstWhere(cues_, [time](const MarvoCue& cue) { return cue.time == time; });
}

MarvoCue* CueList::cueWithId(CueId id) const {
    if (!id) return nullptr;
    return firstWhere(cues_, [id](const MarvoCue& cue) { return cue.id == id; });
}

MarvoCue* CueList::firstCueAfter(Frame time) const {
    return firstWhere(cues_, [time](const MarvoCue& cue) { return cue.time > time; });
}

MarvoCue* CueList::lastCueBefore(Frame time) const {
    const auto found =
        std::find_if(cues_.rbegin(), cues_.rend(), [time](const auto& cue) { return cue->time < time; });
    return found == cues_.rend() ? nullptr : found->get();
}

std::optional<std::size_t> CueList::indexOf(CueId id) const {
    for (std::size_t i = 0; i < cues_.size(); ++i)
        if (cues_[i]->id == id) return i;
    return std::nullopt;
}

std::string CueList::displayName(std::size_t index) const {
    return index < cues_.size() ? cueDisplayName(cues_[index]->cueName, index + 1) : std::string();
}

MarvoCue* CueList::cueWithDisplayName(std::string_view name) const {
    for (std::size_t i = 0; i < cues_.size(); ++i)
        if (displayName(i) == name) return cues_[i].get();
    return nullptr;
}

std::vector<CueId> CueList::ids() const {
    std::vector<CueId> ids;
    ids.reserve(cues_.size());
    for (const auto& cue : cues_) ids.push_back(cue->id);
    return ids;
}

MarvoCue& CueList::insert(const CueRecord& record) {
    auto cue = std::make_unique<MarvoCue>();
    cue->id = record.id && !indexOf(record.id) ? record.id : CueId{++lastId_};
    cue->restoreWithData(record);
    cues_.push_back(std::move(cue));
    return *cues_.back();
}

bool CueList::remove(CueId id) {
    const auto index = indexOf(id);
    if (!index) return false;
    cues_.erase(cues_.begin() + static_cast<std::ptrdiff_t>(*index));
    return true;
}

void CueList::rebuild() {
    std::sort(cues_.begin(), cues_.end(), [](const auto& a, const auto& b) {
        return a->time < b->time || (a->time == b->time && a->id.value < b->id.value);
    });
    CueId previous;
    for (const auto& cue : cues_) {
        cue->previousCue = previous;
        previous = cue->id;
    }
}

} // namespace marvo
