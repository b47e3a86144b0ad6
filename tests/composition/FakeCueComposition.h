// A composition as its cues see it: a playhead that a test moves frame by frame, and a record of what was
// asked of it.
#pragma once

#include "composition/CueEdits.h"
#include "composition/MarvoCueController.h"

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace marvo::testing_support {

class FakeCueComposition : public CueComposition {
public:
    std::int64_t fps = 30;
    float length = 100.0f;
    Frame now{0};
    bool running = false;
    // Stands for a move that starts a new pass in the middle of a jump.
    bool newPassOnJump = false;
    // Leaves jumpedToCue set, as during the evaluation of a frame that a cue jumped to.
    bool keepJumpedToCue = false;

    std::vector<std::int64_t> jumps;
    std::vector<std::int64_t> feedback;  // times of the cues
    std::vector<std::int64_t> processed; // frames the tracks saw
    std::vector<std::string> calls;
    int beeps = 0;
    int projectChanges = 0;
    int redraws = 0;
    std::vector<std::pair<std::string, std::function<void()>>> undoStack;

    MarvoCueController cues{*this};
    CueEdits edits{cues, *this};

    std::int64_t compFPS() const override { return fps; }
    float compTime() const override { return length; }
    Frame currentTime() const override { return now; }
    bool isRunning() const override { return running; }
    void markerDraggedToTimeByCue(Frame target) override {
        jumps.push_back(target.value);
        now = target;
        if (newPassOnJump) cues.markCuesAsNonProcessed();
        cues.setJumpedToCue(keepJumpedToCue);
    }
    void togglePlay() override {
        calls.push_back("togglePlay");
        cues.markCueAsProccesedAtCurrentTime();
        running = !running;
    }
    void stopByCue() override {
        calls.push_back("stopByCue");
        running = false;
    }
    void processOSCFeedbackByCue(const MarvoCue& cue) override { feedback.push_back(cue.time.value); }
    void updateMarkerDuringPlaybackIfNeeded() override { calls.push_back("updateMarker"); }
    void beep() override { ++beeps; }
    void projectChanged() override { ++projectChanges; }
    void redrawCues() override { ++redraws; }
    void registerUndo(const std::string& name, std::function<void()> inverse) override {
        undoStack.emplace_back(name, std::move(inverse));
    }

    // A cue that passes, with no repeat unless told.
    MarvoCue& add(std::int64_t time, CueType type = CueType::passes, CueRepeat repeat = CueRepeat::none,
                  std::uint64_t loops = 1) {
        CueRecord record;
        record.time = time;
        record.type = static_cast<std::int64_t>(type);
        record.repeat = static_cast<std::int64_t>(repeat);
        record.numberOfLoopsNeeded = loops;
        return *cues.cues().cueAtIndex(cues.addNewCueWithData(record));
    }
    MarvoCue& cue(std::size_t index) { return *cues.cues().cueAtIndex(index); }

    // Plays on until the frame after `last`, at most `bound` frames; true when it got there.
    bool playUntil(std::int64_t last, int bound = 2000) {
        if (!running) togglePlay();
        for (int i = 0; i < bound && running && now.value <= last; ++i) {
            const CueStepResult result = cues.stepAt(now);
            if (result == CueStepResult::processTracks) processed.push_back(now.value);
            if (running) now = now + FrameCount(1);
        }
        return now.value > last;
    }
    int timesProcessed(std::int64_t frame) const {
        int count = 0;
        for (const std::int64_t seen : processed) count += seen == frame ? 1 : 0;
        return count;
    }
    // Undoes the newest entry and returns its name.
    std::string undo() {
        auto entry = std::move(undoStack.back());
        undoStack.pop_back();
        entry.second();
        return entry.first;
    }
    std::vector<std::int64_t> times() const {
        std::vector<std::int64_t> all;
        cues.cues().forEach([&all](const MarvoCue& each) { all.push_back(each.time.value); });
        return all;
    }
};

} // namespace marvo::testing_support
