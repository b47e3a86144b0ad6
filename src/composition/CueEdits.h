// The undoable edits of cues that are there already: name, type, loops, time.
//
// Each edit captures the old value, sets the new one and registers the same edit with the old value. Cues are
// named by list index, so that an undo still finds a cue that went and came back. Main thread, with the
// composition queue held.
#pragma once

#include "composition/MarvoCueController.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace marvo {

// Where a cue stands.
struct CueTime {
    CueId id;
    Frame time;
    bool operator==(const CueTime&) const = default;
};

class CueEdits {
public:
    // Both must outlive the edits and their undo entries.
    CueEdits(MarvoCueController& cues, CueComposition& composition)
        : cues_(cues), composition_(composition) {}

    // An index that names no cue makes these do nothing.
    void undoRenameCueWithName(std::size_t index, const std::string& name);
    void undoChangeCueToTypeToRepeat(std::size_t index, CueType type, CueRepeat repeat);
    void undoChangeCueToLoopNumberNeeded(std::size_t index, std::uint64_t needed);
    // Returns where the cue stands in the list now.
    std::size_t moveCueAtIndex(std::size_t index, Frame time, bool needsRefresh, bool needsRebuild,
                               bool undoSupport);

    // The name field of the popover. A pattern with "<$>" is taken as it is; another name must be free or the
    // cue's own. False, with a beep, when it is refused or no cue is active.
    bool changeActiveCueName(const std::string& name);
    // The count field shows how often the section plays, one more than it jumps back.
    std::uint64_t shownLoopCount(std::size_t index) const;
    void loopCounterChanged(std::size_t index, std::int64_t shownCount);

    // A cue at the playhead, or a beep if there is one already.
    void placeCueAtPlayhead();

    // The delta of all selected cues together that keeps each inside the composition.
    FrameCount maxDeltaForMoveMultiCuesWithTimeDelta(FrameCount delta) const;
    // Moves the selected cues, and no keyframes: see CueGroupEdits for those. The undo selects the same cues
    // again.
    void moveMultiCuesWithTimeDelta(FrameCount delta);
    void undoInvertSelectedCues();
    // What was typed into the time field of a cue that stands at `time`; text as in CueTimeInput. The delta
    // that it asks for, or nothing when it was refused with a beep or has mirrored the selection.
    std::optional<FrameCount> deltaOfTimeText(std::string_view text, Frame time);

    // In time order. Needs no queue.
    std::vector<CueTime> selectedTimes() const;
    // Each of the cues that is there to its time; "Move Cue".
    void placeCues(const std::vector<CueTime>& times);

private:
    std::vector<std::size_t> selectedIndexes() const;
    void selectIndexes(const std::vector<std::size_t>& indexes);

    MarvoCueController& cues_;
    CueComposition& composition_;
};

} // namespace marvo
