// Random commands and edits. What they were made from is printed, so that a failure can be played again.
#include "Eventually.h"
#include "RealtimeScope.h"
#include "TrackRecords.h"

#include <gtest/gtest.h>
#include <random>

using namespace marvo;
using namespace marvo::testing;

namespace {

class Dice {
public:
    explicit Dice(unsigned seed) : engine_(seed) {}
    std::int64_t below(std::int64_t bound) {
        return std::uniform_int_distribution<std::int64_t>(0, bound - 1)(engine_);
    }
    bool oneIn(std::int64_t number) { return below(number) == 0; }

private:
    std::mt19937 engine_;
};

std::string nameOf(MarvoTimelineController& composition) {
    return composition.oscNamespace();
}

// One command as it may come from outside, at any time.
void command(Show& show, Dice& dice) {
    if (show.application.compositions.count() == 0) return;
    const auto index = static_cast<std::size_t>(
        dice.below(static_cast<std::int64_t>(show.application.compositions.count())));
    MarvoTimelineController& composition = show.composition(index);
    const std::string base = nameOf(composition);
    const std::int64_t frames = composition.outTime().value + 40;
    switch (dice.below(17)) {
    case 0:
        return show.receive(base + "/play", static_cast<std::int32_t>(dice.below(2)));
    case 1:
        return show.receive(base + "/jumptoframe", static_cast<std::int32_t>(dice.below(frames)));
    case 2:
        return show.receive(base + "/playhead", static_cast<float>(dice.below(120) - 10) / 100.0f);
    case 3:
        return show.receive(base + "/nextframe", 1);
    case 4:
        return show.receive(base + "/prevframe", 1);
    case 5:
        return show.receive(base + "/compbpm", static_cast<float>(dice.below(400)));
    case 6:
        return show.receive(base + "/loop", static_cast<std::int32_t>(dice.below(2)));
    case 7:
        return show.receive("/marvo/playall", static_cast<std::int32_t>(dice.below(2)));
    case 8:
        return show.receive(base + "/nextcue", 1);
    case 9:
        return show.receive(base + "/prevcue", 1);
    case 10:
        return composition.transport.togglePlay();
    case 11:
        return composition.transport.toggleRewind();
    case 12:
        return composition.transport.markerDraggedToTime(Frame(dice.below(frames)));
    case 13:
        return composition.changeCompState(!dice.oneIn(3));
    case 14:
        return show.receive("/marvo/solomode", static_cast<std::int32_t>(dice.below(2)));
    case 15:
        return show.receive("/marvo/queuedmode", static_cast<std::int32_t>(dice.below(2)));
    default:
        return show.receive("/marvo/triggercompatindex", static_cast<std::int32_t>(dice.below(5)));
    }
}

// What holds between any two passes, whatever was asked for.
void expectSound(Show& show) {
    for (std::size_t i = 0; i < show.application.compositions.count(); ++i) {
        MarvoTimelineController& composition = show.composition(i);
        const auto end = Frame(
            static_cast<std::int64_t>(composition.compTime() * static_cast<float>(composition.compFPS())));
        EXPECT_GE(composition.inTime(), Frame(0));
        EXPECT_LT(composition.inTime(), composition.outTime());
        EXPECT_LE(composition.outTime(), end);
        EXPECT_GE(composition.currentTime(), Frame(0)) << composition.compName();
        EXPECT_LE(composition.currentTime(), end) << composition.compName();
        EXPECT_EQ(composition.controls.playButton.state(), composition.isRunning()) << composition.compName();
        // A jump lands half a frame early.
        EXPECT_GE(composition.state.processtime.get(), -1.0 / static_cast<double>(composition.compFPS()));
    }
}

std::map<int, int> sounding(const Show& show) {
    std::map<int, int> notes;
    for (const SentMIDI& sent : show.sentMIDI) {
        if (sent.bytes.size() < 3) continue;
        if ((sent.bytes[0] & 0xf0) == 0x90) notes[sent.bytes[1]] = 1;
        if ((sent.bytes[0] & 0xf0) == 0x80) notes[sent.bytes[1]] = 0;
    }
    return notes;
}

// One edit of the user, all of which can be taken back.
void edit(Show& show, Dice& dice) {
    MarvoTimelineController& composition = show.composition(static_cast<std::size_t>(dice.below(2)));
    const std::int64_t frames = composition.outTime().value;
    const auto& tracks = composition.tracks.all();
    auto* const track = tracks.empty()
                            ? nullptr
                            : dynamic_cast<MarvoTimelineTrack*>(
                                  tracks[static_cast<std::size_t>(dice.below(std::ssize(tracks)))].get());
    MarvoCueController& cues = composition.cueController;
    const auto cueCount = static_cast<std::int64_t>(cues.cues().size());
    switch (dice.below(9)) {
    case 0:
        if (track) track->addNewKeyFrameAtTime(Frame(dice.below(frames)));
        return;
    case 1:
        if (track && track->keyframeCount() > 0) {
            const auto& keyframes = track->keyframes().store().all();
            track->removeKeyFrameAtTime(
                keyframes[static_cast<std::size_t>(dice.below(std::ssize(keyframes)))].time, true);
        }
        return;
    case 2:
        // The beginning of the timeline stops a drag.
        if (track && !track->keyframes().store().keyframeAtTime(Frame(0)))
            track->moveAllKeyFrames(FrameCount(dice.below(3) - 1));
        return;
    case 3:
        if (tracks.size() > 2)
            composition.tracks.undoRemoveTracksWithPositions({dice.below(std::ssize(tracks))});
        return;
    case 4:
        composition.tracks.moveTrack(dice.below(std::ssize(tracks)), dice.below(std::ssize(tracks)));
        return;
    case 5:
        cues.addNewCueAtTime(Frame(dice.below(frames)));
        return;
    case 6:
        if (cueCount > 0) cues.undoRemoveCueAtIndex(static_cast<std::size_t>(dice.below(cueCount)));
        return;
    case 7:
        composition.tracks.doSortTracks("Track Name", dice.below(2));
        return;
    default:
        if (frames > 20) {
            composition.settings.setNewCompTime(composition.compTime() * (dice.oneIn(2) ? 0.75f : 1.25f),
                                                composition.compFPS(), {}, {});
        }
        return;
    }
}

// What the project holds, whatever the order in which the parts of it are listed: an undo brings a track back
// to its place among the others, but makes it anew.
PropertyList content(Show& show) {
    PropertyList all = PropertyList::dictionary();
    for (std::size_t i = 0; i < show.application.compositions.count(); ++i) {
        MarvoTimelineController& composition = show.composition(i);
        const std::string name = composition.compName();
        all.set(name + " length", composition.compTime());
        all.set(name + " fps", composition.compFPS());
        for (const auto& track : composition.tracks.all()) {
            PropertyList record = track->backupDataForUndo(false);
            std::vector<PropertyList> keyframes;
            if (const PropertyList* saved = record.find("keyFrames")) {
                for (const auto& [key, keyframe] : saved->entries()) keyframes.push_back(keyframe);
            }
            std::stable_sort(keyframes.begin(), keyframes.end(), [](const auto& a, const auto& b) {
                return a.find("time")->integerOr(0) < b.find("time")->integerOr(0);
            });
            record.set("keyFrames", listOf(keyframes));
            all.set(name + " track " + std::string(record.find("trackName")->stringOr("")), record);
        }
        for (const CueRecord& cue : composition.cueController.saveData())
            all.set(name + " cue at " + std::to_string(cue.time), cue.cueName.value_or(""));
    }
    return all;
}

} // namespace

TEST(RandomShow, StaysSoundThroughAnyCommandsAndEndsWithoutANote) {
    for (unsigned seed = 1; seed <= 12; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Dice dice(seed);
        Show show(fullProject());
        for (int step = 0; step < 400; ++step) {
            command(show, dice);
            show.tick(dice.below(25));
            expectSound(show);
            if (HasFailure()) FAIL() << "after step " << step;
        }
        for (std::size_t i = 0; i < show.application.compositions.count(); ++i) {
            if (show.composition(i).isRunning()) show.composition(i).transport.togglePlay();
        }
        show.tick(100);
        for (const auto& [note, isOn] : sounding(show)) EXPECT_EQ(isOn, 0) << "note " << note;
    }
}

TEST(RandomShow, EditsThatAreTakenBackLeaveNoTraceAndComeAgain) {
    for (unsigned seed = 1; seed <= 12; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Dice dice(seed);
        Show show(fullProject());
        UndoStack& undo = show.application.undo;
        undo.removeAllActions();
        const PropertyList before = content(show);
        for (int step = 0; step < 60; ++step) {
            const PropertyList was = content(show);
            {
                const UndoStack::EventGroup event(undo);
                edit(show, dice);
            }
            show.main.pump();
            const PropertyList is = content(show);
            if (is == was) continue;
            const std::string what = undo.undoActionName();
            ASSERT_TRUE(undo.undo());
            EXPECT_EQ(differences(content(show), was), "") << "step " << step << ", undoing " << what;
            ASSERT_TRUE(undo.redo());
            EXPECT_EQ(differences(content(show), is), "") << "step " << step << ", redoing " << what;
            if (HasFailure()) return;
        }
        const PropertyList after = content(show);
        EXPECT_FALSE(after == before);
        int steps = 0;
        for (; undo.undo(); ++steps) show.main.pump();
        EXPECT_GT(steps, 20);
        EXPECT_EQ(differences(content(show), before), "");
        while (undo.redo()) show.main.pump();
        EXPECT_EQ(differences(content(show), after), "");
        while (undo.undo()) show.main.pump();
        EXPECT_EQ(differences(content(show), before), "");
        if (HasFailure()) return;
    }
}
