// Every undoable edit of a composition: its name, and that it tells of a change forth, back and forth again.
#include "CompositionRig.h"

#include <functional>
#include <gtest/gtest.h>

using namespace marvo;
using namespace marvo::testing;

namespace {

struct Edit {
    const char* label;
    const char* actionName;
    std::function<void(CompositionRig&)> run;
};

void PrintTo(const Edit& edit, std::ostream* out) {
    *out << edit.label;
}

PropertyList dictionaryOf(const char* key, PropertyList value) {
    PropertyList data = PropertyList::dictionary();
    data.set(key, std::move(value));
    return data;
}

// Tracks 0 to 5 of a composition of 300 frames, with keyframes at 10, 20 and 40 of which the first two are
// selected, and cues at 15 and 60.
enum Row : std::int64_t { values, notes, osc, colours, flags, lamp };

void furnish(CompositionRig& rig) {
    for (const char* type : {"MidiCCValue", "MidiNotes", "OSCValue", "OSCColor", "OSCFlag", "ArtNetValue"}) {
        MarvoTimelineTrack& track = rig.addTrackWith(type, {});
        const auto add = [&](std::int64_t time, float value) {
            track.addNewKeyFrameWithData(track.kind() == TrackKind::midiNotes ? noteAt(time, value, 90, 10)
                                                                              : keyframeAt(time, value));
        };
        add(10, 30);
        add(20, 50);
        add(40, 70);
        rig.selectKeyframes(track.trackPosition(), 0, 20);
    }
    rig.addCues({15, 60});
    rig.track(values).setSelected(true);
    rig.track(osc).setSelected(true);
    rig.undo.removeAllActions();
}

const Edit edits[] = {
    {"a keyframe comes", "Add Keyframe",
     [](auto& rig) { rig.composition.keyframeEdits.addNewKeyFrameOnTrack(values, keyframeAt(15, 9)); }},
    {"a keyframe goes", "Remove Keyframe",
     [](auto& rig) { rig.composition.keyframeEdits.undoRemoveKeyFrameWithUID(rig.uID(values, 1), values); }},
    {"several keyframes go", "Remove Keyframe",
     [](auto& rig) {
         rig.composition.keyframeEdits.undoRemoveKeyFramesWithUIDs({rig.uID(osc, 0), rig.uID(osc, 2)}, osc);
     }},
    {"a keyframe moves", "Move Keyframe",
     [](auto& rig) {
         rig.composition.keyframeMoves.moveKeyFrameWithUID(rig.uID(values, 0), values, Frame(99), 3);
     }},
    {"a whole track moves", "Move Keyframe",
     [](auto& rig) { rig.composition.keyframeMoves.moveAllKeyFramesOnTrack(osc, FrameCount(7), 0); }},
    {"a whole track rises", "Move Keyframe",
     [](auto& rig) { rig.composition.keyframeMoves.moveAllKeyFramesOnTrack(osc, FrameCount(7), 2); }},
    {"a selection moves", "Move Keyframe",
     [](auto& rig) { rig.composition.keyframeMoves.moveMultiKeyframesOnSelectedTracks(FrameCount(5), 1); }},
    {"a curve", "Change Keyframe Interpolation",
     [](auto& rig) { rig.composition.keyframeEdits.undoSetInterpolation("No Interpolation"); }},
    {"how hard a note begins", "Change Keyframe Velocity",
     [](auto& rig) { rig.composition.keyframeEdits.undoSetNoteVelocityOn(3); }},
    {"how hard a note ends", "Change Keyframe Velocity",
     [](auto& rig) { rig.composition.keyframeEdits.undoSetNoteVelocityOff(3); }},
    {"a colour", "Set Color of Keyframes",
     [](auto& rig) {
         rig.composition.keyframeEdits.undoSetSelectedKeyframesColorValue({0, 1, 0, 1}, colours);
     }},
    {"colours of all tracks", "Set Color of Keyframes",
     [](auto& rig) {
         rig.composition.keyframeEdits.undoSetSelectedKeyframesColorValueOnMultipleTracks({0, 1, 0, 1});
     }},
    {"one component", "Set Color of Keyframes",
     [](auto& rig) {
         rig.composition.keyframeEdits.updateSelectedColorsOnChannel(ColorComponent::green, 0.125);
     }},
    {"the address of a flag", "Set Flag Keyframe Address",
     [](auto& rig) { rig.composition.keyframeEdits.undoSetFlagAddress("/else", rig.uID(flags, 1), flags); }},
    {"values mirrored", "Invert Keyframes Value",
     [](auto& rig) { rig.composition.keyframeMoves.undoInvertSelectedKeyframesValueOnTrack(osc); }},
    {"times mirrored", "Invert Keyframes Time",
     [](auto& rig) { rig.composition.keyframeMoves.undoInvertSelectedKeyframesTimeOnTrack(osc); }},
    {"cues mirrored", "Invert Cues Time",
     [](auto& rig) {
         rig.selectCues(0, 300);
         rig.onCues([](CueEdits& cues) { cues.undoInvertSelectedCues(); });
     }},
    {"a cue goes", "Remove Cue",
     [](auto& rig) {
         rig.onCues([&](CueEdits&) { rig.composition.cueController.undoRemoveCueAtIndex(0); });
     }},
    {"a cue comes", "Add Cue",
     [](auto& rig) {
         rig.composition.transport.markerDraggedToTime(Frame(33));
         rig.onCues([](CueEdits& cues) { cues.placeCueAtPlayhead(); });
     }},
    {"the name of a cue", "Change Cue Name",
     [](auto& rig) { rig.onCues([](CueEdits& cues) { cues.undoRenameCueWithName(0, "Storm"); }); }},
    {"the type of a cue", "Change Cue Type",
     [](auto& rig) {
         rig.onCues([](CueEdits& cues) {
             cues.undoChangeCueToTypeToRepeat(0, CueType::passes, CueRepeat::counted);
         });
     }},
    {"the loops of a cue", "Change Cue Loop Number",
     [](auto& rig) { rig.onCues([](CueEdits& cues) { cues.undoChangeCueToLoopNumberNeeded(0, 7); }); }},
    {"a cue moves", "Move Cue",
     [](auto& rig) {
         rig.onCues([](CueEdits& cues) { cues.moveCueAtIndex(0, Frame(200), true, true, true); });
     }},
    {"selected cues move", "Move Cue",
     [](auto& rig) {
         rig.selectCues(0, 300);
         rig.composition.cueGroupEdits.moveMultiCuesWithTimeDelta(FrameCount(4));
     }},
    {"a track goes", "Remove Track",
     [](auto& rig) { rig.composition.tracks.undoRemoveTracksWithPositions({osc}); }},
    {"tracks go", "Remove Tracks",
     [](auto& rig) {
         rig.composition.tracks.undoRemoveTracksWithPositions({osc, values});
     }},
    {"the name of a track", "Rename Track",
     [](auto& rig) { rig.composition.trackEdits.undoRenameOnTrack(osc, "Fog"); }},
    {"the address of a track", "Change OSC Message Address",
     [](auto& rig) { rig.composition.trackEdits.undoChangeOSCAddressOnTrack(osc, "/fog"); }},
    {"OSC settings", "Change OSC Preferences",
     [](auto& rig) {
         rig.composition.trackEdits.undoChangeOSCPreferencesOnTrack(osc, dictionaryOf("trackMaxValue", 7.0));
     }},
    {"OSC settings of colours", "Change OSC Color Preferences",
     [](auto& rig) {
         rig.composition.trackEdits.undoChangeOSCColorPreferencesOnTrack(colours,
                                                                         dictionaryOf("addressR", "red"));
     }},
    {"channels of a lamp", "Change Art-Net Channel",
     [](auto& rig) { rig.composition.trackEdits.undoChangeArtNetChannelOnTrack(lamp, "77"); }},
    {"the working area", "Change Working Area",
     [](auto& rig) { rig.composition.markerController.undoSetMarkerInTimeOutTime(Frame(5), Frame(50)); }},
    {"the length", "Change Composition Preferences",
     [](auto& rig) { rig.composition.settings.setNewCompTime(1.0f, 25, {}, {}); }},
    {"the cut to the working area", "Change Working Area",
     [](auto& rig) {
         rig.composition.markerController.setInTime(Frame(15));
         rig.composition.markerController.setOutTime(Frame(30));
         rig.composition.settings.trimToWorkArea();
     }},
    {"a track in another row", "Move Track", [](auto& rig) { rig.composition.tracks.moveTrack(0, 3); }},
    {"tracks in other rows", "Move Tracks",
     [](auto& rig) { rig.composition.trackEdits.moveTracksBeforeTrack(4, 0); }},
    {"tracks in order", "Sort Tracks",
     [](auto& rig) { rig.composition.tracks.doSortTracks("Track Type", 1); }},
};

class EveryEdit : public ::testing::TestWithParam<Edit> {
protected:
    CompositionRig rig;
};

} // namespace

TEST_P(EveryEdit, HasItsNameAndTellsOfAChangeForthAndBackAndForthAgain) {
    furnish(rig);
    int told = rig.projectChanges;
    const auto tells = [&](const char* when) {
        rig.world.main.pump();
        EXPECT_GT(rig.projectChanges, told) << when;
        told = rig.projectChanges;
    };
    GetParam().run(rig);
    tells("done");
    const std::string after = rig.bytes();
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(rig.undo.undoActionName(), GetParam().actionName);
        ASSERT_TRUE(rig.undo.undo());
        tells("taken back");
        EXPECT_NE(rig.bytes(), after);
        EXPECT_FALSE(rig.undo.canUndo()) << "it is one step";
        EXPECT_EQ(rig.undo.redoActionName(), GetParam().actionName);
        ASSERT_TRUE(rig.undo.redo());
        tells("brought again");
        EXPECT_EQ(rig.bytes(), after);
    }
}

// A locked project is refused by the views, which would have to ask; the edits themselves do not.
TEST_P(EveryEdit, IsDoneInALockedProjectToo) {
    furnish(rig);
    const std::string before = rig.bytes();
    rig.application.locked = true;
    GetParam().run(rig);
    EXPECT_NE(rig.bytes(), before);
    EXPECT_TRUE(rig.undo.undo());
    EXPECT_TRUE(rig.undo.redo());
    EXPECT_EQ(rig.application.beeps, 0);
}

INSTANTIATE_TEST_SUITE_P(OfTheFamily, EveryEdit, ::testing::ValuesIn(edits));

TEST(LockedProject, TakesNoNewTrackNoCopyAndIsNotCleared) {
    CompositionRig rig;
    furnish(rig);
    const std::string before = rig.bytes();
    rig.application.locked = true;
    EXPECT_EQ(rig.composition.tracks.createTrackOfTpye("OSCValue"), nullptr);
    rig.composition.trackEdits.duplicateTracks();
    rig.composition.tracks.clearComposition();
    EXPECT_EQ(rig.bytes(), before);
    EXPECT_FALSE(rig.undo.canUndo());
}
