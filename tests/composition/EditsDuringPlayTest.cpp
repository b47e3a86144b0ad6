// Edits while the composition plays: the tick waits for none of them.
#include "CompositionRig.h"

#include "RealtimeScope.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>

using namespace marvo;
using namespace marvo::testing;

namespace {

class EditsDuringPlay : public ::testing::Test {
protected:
    EditsDuringPlay() {
        rig.world.journal.keeps = false;
        rig.composition.state.compTime = 1000.0f;
        rig.composition.markerController.addMarkerAndThrottler();
        for (const char* type : {"MidiCCValue", "MidiNotes", "OSCValue", "OSCColor", "ArtNetValue"}) {
            MarvoTimelineTrack& track = rig.addTrackWith(type, {});
            std::vector<PropertyList> records;
            for (std::int64_t i = 0; i < 3000; ++i)
                records.push_back(keyframeAt(i * 10, static_cast<float>(i % 50)));
            track.addNewKeyFramesWithData(records);
            track.setSelected(true);
            rig.selectKeyframes(track.trackPosition(), 1000, 9000);
        }
        rig.composition.transport.togglePlay();
    }
    // Until told to stop, and at least `least` ticks. What happened on the tick that should not is returned.
    std::size_t playWhile(const std::atomic<bool>& edits, std::string& report) {
        std::size_t violations = 0;
        for (int i = 0; i < 300 || edits; ++i) {
            RealtimeScope scope;
            rig.world.compQueue.sync([&] { rig.composition.transport.processCompositionAtTime(0.001f); });
            if (scope.violations() > 0 && report.empty()) report = scope.report();
            violations += scope.violations();
            ++ticks;
        }
        return violations;
    }
    CompositionRig rig;
    std::atomic<int> ticks{0};
};

} // namespace

TEST_F(EditsDuringPlay, OfKeyframesNeverMakeTheTickWaitOrAllocate) {
    std::string warmUp;
    playWhile(false, warmUp);
    std::atomic<bool> edits{true};
    std::string report;
    std::size_t violations = 0;
    std::thread tick([&] { violations = playWhile(edits, report); });
    KeyframeMoves& moves = rig.composition.keyframeMoves;
    KeyframeEdits& keyframes = rig.composition.keyframeEdits;
    KeyframeStretch& stretch = rig.composition.keyframeStretch;
    const auto tracks = rig.composition.tracks.plainTracks();
    for (int i = 0; i < 10 || ticks < 600; ++i) {
        moves.moveMultiKeyframesOnSelectedTracks(FrameCount(3), 1);
        moves.undoInvertSelectedKeyframesValueOnTrack(i % 5);
        stretch.emptyCacheForKeyframeStrech();
        stretch.calculateMaxPossibleStretchTimeWithDeltaForLeftStretch(FrameCount(-5));
        stretch.stretchMultiKeyframesWithBaseKeyframe(StretchEnd::left);
        keyframes.undoSetInterpolation(i % 2 ? "Cubic Ease-In" : "Linear Interpolation");
        keyframes.undoSetNoteVelocityOn(static_cast<float>(i % 128));
        keyframes.undoSetSelectedKeyframesColorValueOnMultipleTracks(Colour::grey(0.5));
        std::vector<std::uint64_t> uIDs;
        for (const KeyframePlace& place : tracks[0]->keyframes().selectedKeyframes())
            uIDs.push_back(place.uID);
        keyframes.undoRemoveKeyFramesWithUIDs(uIDs, 0);
        rig.undo.undo();
        rig.undo.undo();
        rig.undo.redo();
        if (i % 4 == 0) rig.undo.removeAllActions();
    }
    edits = false;
    tick.join();
    EXPECT_EQ(violations, 0u) << report;
    EXPECT_GT(rig.world.journal.count, 0u);
}

TEST_F(EditsDuringPlay, OfEveryKindAreFollowedByATickThatAllocatesNothing) {
    rig.addCues({100, 200, 300});
    const auto tick = [&](const char* after) {
        // The first tick after an edit takes it over, the second one plays on.
        for (int i = 0; i < 40; ++i) {
            RealtimeScope scope;
            rig.world.compQueue.sync([&] { rig.composition.transport.processCompositionAtTime(0.001f); });
            EXPECT_EQ(scope.violations(), 0u) << after << "\n" << scope.report();
        }
    };
    tick("the start");
    tick("the start");
    rig.selectCues(0, 250);
    rig.composition.cueGroupEdits.moveMultiCuesWithTimeDelta(FrameCount(5));
    tick("a move of cues");
    rig.composition.keyframeStretch.emptyCacheForKeyframeStrech();
    rig.composition.keyframeStretch.calculateMaxPossibleStretchTimeWithDeltaForRightStretch(FrameCount(99));
    rig.composition.keyframeStretch.stretchMultiKeyframesWithBaseKeyframe(StretchEnd::right);
    tick("a stretch");
    rig.composition.settings.setNewCompTime(900.0f, 25, {}, {});
    tick("another rate");
    rig.undo.undo();
    tick("the old rate");
    rig.composition.tracks.undoRemoveTracksWithPositions({1, 3});
    tick("a removal");
    rig.undo.undo();
    tick("a return");
    rig.composition.trackEdits.undoRenameOnTrack(0, "Other");
    tick("another name");
    rig.composition.markerController.undoSetMarkerInTimeOutTime(Frame(0), Frame(20000));
    tick("another working area");
}
