// The cues of one composition in list order, and the neighbour each had at the last rebuild.
//
// No lock of its own: the caller holds the composition queue for every call, so the tick never sees a
// half-made change. References stay good until the cue they name is removed. Inserting puts a cue last; only
// rebuild() brings the list into time order and links the neighbours, so after a removal the next cue has no
// predecessor until then.
//
// The finding operations are realtime-safe: they walk the list and neither allocate nor wait.
#pragma once

#include "composition/MarvoCue.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace marvo {

class CueList {
public:
    std::size_t size() const { return cues_.size(); }
    bool empty() const { return cues_.empty(); }

    // By list index; null out of range.
    MarvoCue* cueAtIndex(std::size_t index) const;
    // The first cue with exactly that time, or null.
    MarvoCue* cueAtTime(Frame time) const;
    // Null for a cue that is gone and for the empty id.
    MarvoCue* cueWithId(CueId id) const;
    MarvoCue* previousCueOf(const MarvoCue& cue) const { return cueWithId(cue.previousCue); }
    // First with time after, last with time before; null if there is none.
    MarvoCue* firstCueAfter(Frame time) const;
    MarvoCue* lastCueBefore(Frame time) const;
    std::optional<std::size_t> indexOf(CueId id) const;

    std::string displayName(std::size_t index) const;
    // The first cue shown under this name, or null.
    MarvoCue* cueWithDisplayName(std::string_view name) const;
    std::vector<CueId> ids() const;

    // Under the id of the record when that is free, else under a new one.
    MarvoCue& insert(const CueRecord& record);
    // False when there is no such cue.
    bool remove(CueId id);
    void clear() { cues_.clear(); }
    // Orders by time, cues at one time in the order in which they were made, and links every cue to its
    // predecessor. Where the cues came from does not show in the order, so an edit that is taken back leaves
    // no trace.
    void rebuild();

    template <typename Action>
    void forEach(Action&& action) const {
        for (const auto& cue : cues_) action(*cue);
    }

private:
    std::vector<std::unique_ptr<MarvoCue>> cues_;
    std::uint64_t lastId_ = 0;
};

} // namespace marvo
