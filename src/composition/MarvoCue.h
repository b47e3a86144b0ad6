// One cue: a named marker on a timeline that pauses the composition when the playhead reaches it, makes the
// section that begins at it loop, or both.
//
// Owned by a CueList and told apart by its CueId, which is never given twice within one list. The repeat of a
// cue takes effect when the playhead reaches the next cue. Run state (numberOfLoopsDone, isProcessed) belongs
// to the tick; all access needs the composition queue.
#pragma once

#include "platform/PropertyList.h"
#include "platform/TimelineTime.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace marvo {

enum class CueType : std::int64_t { passes = 0, pauses = 1 };
enum class CueRepeat : std::int64_t { none = 0, counted = 1, forEver = 2 };

// Names one cue of a list; the default one names none.
struct CueId {
    std::uint64_t value = 0;
    bool operator==(const CueId&) const = default;
    explicit operator bool() const { return value != 0; }
};

// A cue as saved, copied and kept for undo. Numbers are as found in a file: restoreWithData brings them into
// range.
struct CueRecord {
    std::int64_t time = 0;
    std::optional<std::string> cueName;
    std::optional<std::int64_t> type;
    std::optional<std::int64_t> repeat;
    std::optional<std::uint64_t> numberOfLoopsNeeded;
    std::optional<float> ratio; // only for the clipboard: where in the row the cue was drawn, 0 ... 1
    PropertyList kept;          // keys of a saved record that nothing here reads
    CueId id;                   // only for undo: the cue comes back as the one it was
    bool operator==(const CueRecord&) const = default;
};

struct MarvoCue {
    static constexpr float minValue = 0.0f;
    static constexpr float maxValue = 2.0f;

    CueId id;
    Frame time;
    std::string cueName = "Cue<$>"; // "<$>" stands for the number of the cue
    CueType type = CueType::pauses;
    CueRepeat repeat = CueRepeat::none;
    std::uint64_t numberOfLoopsNeeded = 1; // jump-backs wanted; a saved 0 is read as 1
    std::uint64_t numberOfLoopsDone = 0;
    bool isProcessed = false; // has fired in the present pass
    CueId previousCue;        // neighbour in time order as of the last rebuild; may name a cue that is gone

    bool selected = false;
    bool isActiveCue = false;
    bool isLeftSided = false;
    bool isShowAligned = false;
    std::optional<Frame> cachedTimeForStretch; // time at the start of a stretch
    std::int64_t draggingOrder = 0;
    std::int64_t draggingCache = 0;
    PropertyList kept; // comes back with the record

    void markAsNonProcessed();
    void increaseNumberOfLoopsDone() { ++numberOfLoopsDone; }
    // As after a section that has looped all it should: it does not pull the playhead back.
    void markSectionAsDone();
    // Done and needed as "1/3".
    std::string loopNumberInfo() const;

    CueRecord backupData() const;
    CueRecord backupDataForUndo() const;
    // y and rowHeight in pixels of the cue row.
    CueRecord backupDataForCopy(float y, float rowHeight) const;
    // A negative time becomes 0, type and repeat go to the nearest known value, no loops becomes one.
    void restoreWithData(const CueRecord& record);
};

// The name pattern with the cue's number, counted from 1, in place of every "<$>".
std::string cueDisplayName(std::string_view cueName, std::size_t number);
// The same behind what stands in `text`; allocates only where that has no room for it.
void appendCueDisplayName(std::string& text, std::string_view cueName, std::size_t number);

} // namespace marvo
