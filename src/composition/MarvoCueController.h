// The cues of one composition: what they do to playback, the jumps between them, and the rules of adding,
// removing and selecting them. Undoable edits of single cues are in CueEdits.
//
// Owned by its composition. The caller holds the composition queue for every call, also where it reads: the
// tick walks the same list. The exceptions are isEnabled and jumpedToCue, single atomic flags that any thread
// may read, and what nobody but the main thread writes, so that it may read it at any time: the list itself,
// the times and the selection.
//
// A pass: a cue is unprocessed, then processed once it fired. markCuesAsNonProcessed starts a new pass; the
// composition calls it at a loop wrap, at any stop other than one by a cue, and at any jump that is not made
// by a cue.
#pragma once

#include "composition/CueComposition.h"
#include "composition/CueList.h"

#include <atomic>
#include <optional>
#include <string_view>
#include <vector>

namespace marvo {

// What the tick does after its cue step.
enum class CueStepResult {
    processTracks, // go on; the playhead may stand elsewhere now, so currentTime has to be read again
    endTick        // a pause cue fired: the tracks do not process its frame
};

class MarvoCueController {
public:
    // composition must outlive the controller.
    explicit MarvoCueController(CueComposition& composition) : composition_(composition) {}

    // --- Tick. Realtime-safe: neither allocates nor waits, provided the composition's callbacks do not.

    CueStepResult stepAt(Frame currentTime);
    MarvoCue* cueAtTime(Frame time) const { return list_.cueAtTime(time); }
    void markCuesAsNonProcessed();
    void markCueAsProccesedAtCurrentTime();
    // Jumps to the start of the section and counts the jump.
    void jumpBackToCue(MarvoCue& cue);

    bool isEnabled() const { return isEnabled_.load(std::memory_order_relaxed); }
    void cueEnableStateChanged(bool enabled) { isEnabled_.store(enabled, std::memory_order_relaxed); }
    // A jump made by a cue is under way; the composition sets and clears it.
    bool jumpedToCue() const { return jumpedToCue_.load(std::memory_order_relaxed); }
    void setJumpedToCue(bool jumped) { jumpedToCue_.store(jumped, std::memory_order_relaxed); }

    // --- Jumps, from controls and messages.

    void jumpToNextCue();
    void jumpToPrevCue();
    // Numbers count from 1. False when there is no such cue, and then nothing moves.
    bool jumpToCueAtIndex(std::int64_t number);
    bool jumpToCueWithName(std::string_view displayName);
    // The same, then starts a stopped composition; a pause cue that is jumped to does not stop it again.
    bool playCueAtIndex(std::int64_t number);
    bool playCueWithName(std::string_view displayName);
    void resetCueStates();

    // --- List.

    const CueList& cues() const { return list_; }
    std::string displayNameOf(const MarvoCue& cue) const;
    // As appendCueDisplayName; nothing of a cue that is not in the list.
    void appendDisplayNameOf(const MarvoCue& cue, std::string& text) const;
    bool isLocked() const { return isLocked_; }
    void setLocked(bool locked) { isLocked_ = locked; }
    // The cue row as a whole. Main thread; needs no queue.
    bool isSelected() const { return isSelected_; }
    void setSelected(bool selected) { isSelected_ = selected; }

    // New cue at x pixels of a row of viewWidth pixels, selected and active; undoable. Returns its index.
    std::size_t addNewCueAtLocation(float x, float viewWidth);
    std::size_t addNewCueAtTime(Frame time);
    // Undoable, and each the inverse of the other; the removal does not rebuild the list.
    void undoRemoveCueAtIndex(std::size_t index);
    std::size_t addNewKeyCueWithData(const CueRecord& record);
    // One undoable removal for each selected cue; the caller opens the undo group.
    void removeSelectedCues();
    // With undo as undoRemoveCueAtIndex, otherwise as removeCue. False when no cue stands there.
    bool removeCueAtTime(Frame time, bool withUndo = true);
    // Neither selects nor registers an undo.
    std::size_t addNewCueWithData(const CueRecord& record);
    // A pasted cue; nothing when record time + padding lies outside the composition. A selected cue at the
    // target goes. The list is not rebuilt: the caller does that once, after the last one.
    std::optional<CueId> addNewCueWithDataByCopy(const CueRecord& record, FrameCount padding);
    // Without undo and without a rebuild; the cue after it has no predecessor until one happens.
    void removeCue(CueId id);
    void rebuildCuesWithRefresh(bool refresh);

    // Not empty, and shown by no cue; ignoreCurrent makes no difference, a rename asks for the cue's own name
    // itself.
    bool isAvailableCueName(std::string_view name, bool ignoreCurrent) const;
    Frame maxPossibleTimeForTime(Frame time) const;
    // The frame under x pixels, rounded, inside the composition.
    Frame timeAtLocation(float x, float viewWidth) const;
    // A cue dragged to x; does not rebuild.
    void updateCue(MarvoCue& cue, float x, float viewWidth);

    void refreshKeyFramesWithRatio(float ratio);
    // Removes the cues past the end of the composition and returns what brings them back.
    std::vector<CueRecord> trimmedCues();

    std::vector<CueRecord> saveData() const;
    // Takes the place of the present list; a cue past the end is dropped.
    void loadData(const std::vector<CueRecord>& records);

    // --- Selection and editor state, main thread.

    std::vector<MarvoCue*> selectedCues() const;
    std::vector<CueRecord> selectedCuesData() const;
    bool hasCuesSelected() const;
    bool multiCuesSelected() const;
    // Adds the cues from start to start + length, both ends inclusive.
    void selectCuesInRange(Frame start, FrameCount length);
    void selectAllCues();
    void deselectCues();
    void selectOnly(CueId id);

    MarvoCue* activeCue() const { return list_.cueWithId(activeCue_); }
    void setActiveCue(CueId id);
    MarvoCue* lastClickedCue() const { return list_.cueWithId(lastClickedCue_); }
    void setLastClickedCue(CueId id) { lastClickedCue_ = id; }

private:
    std::size_t addAndSelect(Frame time, bool refresh);
    void registerRemoval(std::size_t index);
    void jumpToCue(MarvoCue& target);
    bool playAfterJump(bool jumped);

    CueComposition& composition_;
    CueList list_;
    std::atomic<bool> isEnabled_{true};
    std::atomic<bool> jumpedToCue_{false};
    bool isLocked_ = false;
    bool isSelected_ = false;
    CueId activeCue_;
    CueId lastClickedCue_;
};

} // namespace marvo
