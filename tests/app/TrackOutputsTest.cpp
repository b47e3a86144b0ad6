// MIDI, DMX, colour and flag tracks in a whole show.
#include "TrackRecords.h"
#include "platform/ColourArchive.h"
#include "tracks/MarvoTimelineColorTrack.h"
#include "tracks/MarvoTimelineFlagTrack.h"

#include <functional>
#include <gtest/gtest.h>
#include <map>

using namespace marvo;
using namespace marvo::testing;

namespace {

// A note that starts on frame 30 of a composition at 30 frames a second.
PropertyList noteComposition(const std::string& name = "One", float seconds = 10.0f) {
    return compositionOf(name, 30, seconds,
                         {trackOf("MidiNotes", keyframesOf({{30, 60, "No Interpolation"}}))});
}

std::map<int, int> soundingNotes(const Show& show) {
    std::map<int, int> sounding;
    for (const SentMIDI& sent : show.sentMIDI) {
        if (sent.bytes.size() < 3) continue;
        if ((sent.bytes[0] & 0xf0) == 0x90) ++sounding[sent.bytes[1]];
        if ((sent.bytes[0] & 0xf0) == 0x80) --sounding[sent.bytes[1]];
    }
    return sounding;
}

// Plays up to the very tick that starts the note, then does what is to end it.
void expectEnded(Show& show, const std::function<void()>& end) {
    show.playAll();
    for (int i = 0; i < 1100 && soundingNotes(show)[60] == 0; ++i) show.tick();
    ASSERT_EQ(soundingNotes(show)[60], 1);
    end();
    EXPECT_EQ(soundingNotes(show)[60], 0) << "it hangs, or was ended twice";
    show.tick(200);
    EXPECT_EQ(soundingNotes(show)[60], 0);
}

} // namespace

TEST(NotesInAShow, EndOnTheTickOfTheNextFrame) {
    Show show(projectOf({noteComposition()}));
    show.playAll();
    show.tick(1200);
    ASSERT_EQ(show.sentMIDI.size(), 2u);
    EXPECT_EQ(show.sentMIDI[0].bytes, (std::vector<int>{0x90, 60, 127}));
    EXPECT_EQ(show.sentMIDI[1].bytes, (std::vector<int>{0x80, 60, 64}));
    EXPECT_EQ(show.sentMIDI[0].node, "Marvo Midi Out");
    EXPECT_NEAR(static_cast<double>(show.sentMIDI[1].ms - show.sentMIDI[0].ms), 33.3, 1.0);
}

TEST(NotesInAShow, EndWithAStop) {
    Show show(projectOf({noteComposition()}));
    expectEnded(show, [&] { show.stopAll(); });
}

TEST(NotesInAShow, EndWithThePlayButtonAndWithARewindOnStop) {
    Show show(projectOf({noteComposition()}));
    show.application.prefs.changeRewindOnStop(true);
    expectEnded(show, [&] { show.composition().transport.togglePlay(); });
}

TEST(NotesInAShow, EndWithACueThatPauses) {
    PropertyList composition = noteComposition();
    PropertyList cue = PropertyList::dictionary();
    cue.set("time", std::int64_t{31});
    cue.set("cueName", "Cue<$>");
    cue.set("type", std::int64_t{1});
    PropertyList cues = PropertyList::dictionary();
    cues.set("0", cue);
    PropertyList controller = PropertyList::dictionary();
    controller.set("cues", cues);
    controller.set("enableButton", buttonOf(true));
    composition.set("cueController", controller);
    Show show(projectOf({composition}));
    expectEnded(show, [&] {
        show.tick(60);
        EXPECT_FALSE(show.composition().isRunning());
    });
}

TEST(NotesInAShow, EndWithTheWorkingArea) {
    Show show(projectOf({noteComposition("One", 1.0f)}));
    show.playAll();
    show.tick(1100);
    EXPECT_EQ(show.sentMIDI.size(), 2u) << "the note is on the last frame";
    EXPECT_EQ(soundingNotes(show)[60], 0);
}

TEST(NotesInAShow, EndWhenTheTrackOrTheCompositionGoesOff) {
    Show show(projectOf({noteComposition()}));
    expectEnded(show, [&] { show.track().setEnabled(false); });
    Show other(projectOf({noteComposition()}));
    expectEnded(other, [&] { other.composition().changeCompState(false); });
}

TEST(NotesInAShow, EndWhenAnotherTrackIsSoloed) {
    Show show(projectOf({compositionOf(
        "One", 30, 10.0f,
        {trackOf("MidiNotes", keyframesOf({{30, 60, "No Interpolation"}})), oscTrack("A", "/a", {})})}));
    expectEnded(show, [&] { show.composition().tracks.setSoloTrack(&show.track(1)); });
}

TEST(NotesInAShow, EndWhenTheTrackTheCompositionOrTheProjectGoes) {
    Show removed(projectOf({noteComposition()}));
    expectEnded(removed, [&] { removed.composition().tracks.undoRemoveTracksWithPositions({0}); });
    Show cleared(projectOf({noteComposition()}));
    expectEnded(cleared, [&] { cleared.composition().tracks.clearComposition(); });
    Show gone(projectOf({noteComposition(), noteComposition("Two")}));
    gone.track(0, 1).setEnabled(false);
    expectEnded(gone, [&] { gone.application.removeCompositionAtIndex(0); });
    Show replaced(projectOf({noteComposition()}));
    expectEnded(replaced, [&] { replaced.load(projectOf({compositionOf("Two", 30, 5.0f, {})})); });
    Show fresh(projectOf({noteComposition()}));
    expectEnded(fresh, [&] { fresh.application.newProject(); });
    Show quitting(projectOf({noteComposition()}));
    expectEnded(quitting, [&] { quitting.application.applicationWillTerminate(); });
}

TEST(NotesInAShow, EndWithASettingAndWithARename) {
    Show show(projectOf({noteComposition()}));
    expectEnded(show, [&] { show.track().renameTrack("Other"); });
    Show other(projectOf({noteComposition()}));
    expectEnded(other, [&] { other.composition().setOSCAddresses(); });
}

TEST(TracksInAShow, AFadingColourReachesTheLampsFrameByFrame) {
    const auto colorAt = [](std::int64_t time, const Colour& color) {
        const std::string archive = archivedColour(color);
        return keyframeOf(time, "colorValue", PropertyList::data(std::as_bytes(std::span(archive))));
    };
    Show show(projectOf({compositionOf(
        "One", 10, 10.0f,
        {trackOf("ArtNetColor", listOf({colorAt(0, Colour::black()), colorAt(10, Colour::white())}))})}));
    show.playAll();
    show.tick(1100);
    std::vector<int> levels;
    for (const StoredDMX& stored : show.storedDMX) {
        if (stored.channel == 6) levels.push_back(stored.value);
    }
    EXPECT_EQ(levels, (std::vector<int>{0, 25, 51, 76, 102, 127, 153, 178, 204, 229, 255}));
}

TEST(TracksInAShow, AFlagFiresOnItsFrameAndAgainInTheNextRound) {
    PropertyList composition = compositionOf(
        "One", 30, 1.0f, {trackOf("OSCFlag", listOf({keyframeOf(15, "flagAddress", "/go <$F>")}))}, true);
    Show show(projectOf({composition}));
    show.playAll();
    show.tick(2000);
    std::vector<Sent> sent = show.take();
    std::erase_if(sent, [](const Sent& one) { return one.feedback; });
    ASSERT_EQ(sent.size(), 2u);
    EXPECT_EQ(sent[0].address, "/go");
    EXPECT_EQ(sent[0].numbers, (std::vector<float>{15}));
    EXPECT_EQ(sent[0].track, "OSCFlag");
}

TEST(TracksInAShow, TheFactoryMakesEachKindWithItsDefaults) {
    Show show;
    show.application.newProject();
    CompositionTracks& tracks = show.composition().tracks;
    for (const char* type :
         {"OSCColor", "ArtNetColor", "ArtNetColor", "OSCFlag", "MidiCCValue", "MidiCCValue"})
        tracks.createTrackOfTpye(type);
    EXPECT_NE(dynamic_cast<MarvoTimelineColorTrack*>(tracks.all()[0].get()), nullptr);
    EXPECT_EQ(show.track(0).trackMaxValue(), 100.0f);
    EXPECT_EQ(show.track(0).settings().oscOut, show.application.oscManager().firstOutput()->portLabel());
    EXPECT_EQ(show.track(1).trackMaxValue(), 255.0f);
    EXPECT_EQ(show.track(2).stringValueOfDMXChannels(), "4") << "behind the three channels of the one before";
    EXPECT_NE(dynamic_cast<MarvoTimelineFlagTrack*>(tracks.all()[3].get()), nullptr);
    EXPECT_EQ(show.track(3).trackMaxValue(), 0.0f);
    EXPECT_EQ(show.track(3).trackOSCType(), 3);
    EXPECT_EQ(show.track(3).oscAddress(), "");
    ASSERT_FALSE(show.track(4).midiOutputTitles().empty());
    EXPECT_EQ(show.track(4).settings().midiOut, show.track(4).midiOutputTitles().front());
    EXPECT_EQ(show.track(4).midiCCNumber(), 0);
    EXPECT_EQ(show.track(5).midiCCNumber(), 1);
}

TEST(TracksInAShow, SoloMuteAndUnmuteReachEveryKind) {
    Show show(projectOf({compositionOf("One", 30, 1.0f, {})}));
    CompositionTracks& tracks = show.composition().tracks;
    for (const char* type : {"OSCColor", "ArtNetColor", "OSCFlag", "AudioFile", "MidiNotes"})
        tracks.createTrackOfTpye(type);
    show.storedDMX.clear();
    tracks.setSoloTrack(tracks.all()[2].get());
    for (std::size_t i = 0; i < 5; ++i) EXPECT_EQ(tracks.all()[i]->isEnabled(), i == 2) << i;
    EXPECT_EQ(show.storedDMX.size(), 3u) << "the lamp goes dark";
    tracks.muteTracks();
    EXPECT_FALSE(tracks.hasEnabledTracks());
    tracks.unmuteTracks();
    EXPECT_FALSE(tracks.hasMutedTracks());
}

TEST(TracksInAShow, TheHueOfAllColoursFollowsTheCommand) {
    const std::string archive = archivedColour({0, 0, 1});
    PropertyList keyframe =
        keyframeOf(5, "colorValue", PropertyList::data(std::as_bytes(std::span(archive))));
    Show show(projectOf({compositionOf("One", 30, 10.0f, {trackOf("ArtNetColor", listOf({keyframe}))})}));
    show.receive("/marvo/rotatehue", 0.5f);
    show.playAll();
    show.tick(300);
    ASSERT_EQ(show.storedDMX.size(), 3u);
    EXPECT_EQ(show.storedDMX[1].value, 255) << "blue became green";
}

TEST(TracksInAShow, ColoursAndFlagsSurviveATripThroughTheFile) {
    const std::string archive = archivedColour({0.1, 0.2, 0.3, 0.4});
    PropertyList color = keyframeOf(5, "colorValue", PropertyList::data(std::as_bytes(std::span(archive))));
    color.set("twinkle", "kept");
    const PropertyList flag = keyframeOf(7, "flagAddress", "/go");
    Show show(projectOf({compositionOf(
        "One", 30, 10.0f, {trackOf("ArtNetColor", listOf({color})), trackOf("OSCFlag", listOf({flag}))})}));
    const PropertyList first = show.saved();
    const PropertyList* keyframe =
        first.find("Comp-0")->find("tracks")->find("tr-0")->find("keyFrames")->find("0");
    EXPECT_EQ(*keyframe->find("colorValue"), *color.find("colorValue"));
    EXPECT_EQ(keyframe->find("twinkle")->stringOr(""), "kept");
    Show again(first);
    EXPECT_EQ(again.saved(), first);
}

TEST(TracksInAShow, ARemovedColourTrackComesBackWithUndo) {
    const std::string archive = archivedColour({0.1, 0.2, 0.3, 0.4});
    PropertyList color = keyframeOf(5, "colorValue", PropertyList::data(std::as_bytes(std::span(archive))));
    Show show(projectOf({compositionOf("One", 30, 10.0f, {trackOf("OSCColor", listOf({color}))})}));
    const PropertyList before = show.track().backupDataForUndo(false);
    show.composition().tracks.undoRemoveTracksWithPositions({0});
    EXPECT_EQ(show.composition().tracks.count(), 0u);
    show.application.undo.undo();
    EXPECT_EQ(show.track().backupDataForUndo(false), before);
    EXPECT_NE(dynamic_cast<MarvoTimelineColorTrack*>(&show.track()), nullptr);
}
