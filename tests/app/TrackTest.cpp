#include "Show.h"

#include <gtest/gtest.h>
#include <limits>

using namespace marvo;
using namespace marvo::testing;

namespace {

PropertyList withTrack(PropertyList track) {
    return projectOf({compositionOf("One", 30, 10.0f, {std::move(track)})});
}

PropertyList trackOfType(const std::string& type) {
    PropertyList track = PropertyList::dictionary();
    track.set("trackType", type);
    track.set("trackName", "A");
    track.set("enabledButton", buttonOf(true));
    return track;
}

} // namespace

TEST(Track, ANewOSCTrackStartsWithTheLastAddressAndTheFirstOutput) {
    Show show(projectOf({compositionOf("One", 30, 1.0f, {})}));
    show.composition().tracks.createTrackOfTpye("OSCValue");
    EXPECT_EQ(show.track().oscAddress(), "/example");
    EXPECT_EQ(show.track().settings().oscOut, "Out");
    EXPECT_EQ(show.track().name(), "Track 1");
}

TEST(Track, NewNamesSkipThoseThatAreTaken) {
    Show show(projectOf({compositionOf("One", 30, 1.0f, {oscTrack("Track 2", "/a", {})})}));
    EXPECT_EQ(show.composition().tracks.createTrackOfTpye("OSCValue")->name(), "Track 3");
}

TEST(Track, ALockedProjectMakesNoTracksAndClearsNone) {
    Show show(withTrack(oscTrack("A", "/a", {})));
    show.application.lockProject();
    EXPECT_EQ(show.composition().tracks.createTrackOfTpye("OSCValue"), nullptr);
    show.composition().tracks.clearComposition();
    EXPECT_EQ(show.composition().tracks.count(), 1u);
}

TEST(Track, AnUnknownTypeMakesAPlainTrackThatKeepsItsType) {
    Show show(withTrack(trackOfType("Smoke")));
    EXPECT_EQ(show.track().trackType(), "Smoke");
    EXPECT_EQ(show.saved().find("Comp-0")->find("tracks")->find("tr-0")->find("trackType")->stringOr(""),
              "Smoke");
}

TEST(Track, TheAddTrackAddressMakesTheTrackThatItsNumberNames) {
    Show show(projectOf({compositionOf("One", 30, 1.0f, {})}));
    for (const std::int32_t number : {0, 1, 2, 3, 4, 5, 6, 7}) show.receive("/marvo/one/addtrack", number);
    std::vector<std::string> types;
    for (const auto& track : show.composition().tracks.all()) types.push_back(track->trackType());
    EXPECT_EQ(types, (std::vector<std::string>{"MidiCCValue", "MidiNotes", "OSCValue", "OSCColor",
                                               "AudioFile", "Art-Net Value", "Art-Net Value"}));
}

TEST(Track, ATakenNameIsRefusedOnRenameAndGetsACopyMarkOnRestore) {
    Show show(
        projectOf({compositionOf("One", 30, 1.0f, {oscTrack("A", "/a", {}), oscTrack("B", "/b", {})})}));
    int beeps = 0;
    show.application.onBeep = [&] { ++beeps; };
    EXPECT_FALSE(show.track(1).renameTrack("A"));
    EXPECT_FALSE(show.track(1).renameTrack(""));
    EXPECT_TRUE(show.track(1).renameTrack("B"));
    EXPECT_EQ(beeps, 2);
    show.composition()
        .tracks.createTrackOfTpye("OSCValue")
        ->restoreWithData(oscTrack("A", "/a", {}), false, nullptr);
    show.composition()
        .tracks.createTrackOfTpye("OSCValue")
        ->restoreWithData(oscTrack("A", "/a", {}), false, nullptr);
    EXPECT_EQ(show.track(2).name(), "A (copy)");
    EXPECT_EQ(show.track(3).name(), "A (copy) (copy)");
}

TEST(Track, ItsOwnPathLosesAccentsCapitalsAndBlanks) {
    Show show(projectOf({compositionOf("My Comp 1", 30, 1.0f, {oscTrack("Über Licht", "/a", {})})}));
    EXPECT_EQ(show.track().oscNamespace(), "/marvo/mycomp1/uberlicht");
    show.receive("/marvo/mycomp1/uberlicht/enable", 0);
    EXPECT_FALSE(show.track().isEnabled());
}

TEST(Track, AMutedTrackIsSilent) {
    Show show(withTrack(oscTrack("A", "/a", {{0, 0}, {300, 100}})));
    show.track().setEnabled(false);
    show.playAll();
    show.tick(500);
    EXPECT_TRUE(show.take().empty());
}

TEST(Track, AControllerOfThirtyTwoOrMoreCannotBeFourteenBit) {
    PropertyList track = trackOfType("MidiCCValue");
    track.set("midiCC", "7");
    track.set("midiCC14bitButton", buttonOf(true));
    track.set("midiNodeName", "Desk");
    track.set("keyFrames", keyframesOf({{0, 16383}}));
    Show show(withTrack(track));
    EXPECT_EQ(show.track().trackMaxValue(), 16383.0f);
    show.track().setMidiCC("32");
    EXPECT_FALSE(show.track().is14BitMIDI());
    EXPECT_EQ(show.track().trackMaxValue(), 127.0f);
    EXPECT_EQ(show.track().keyframes().store().all()[0].value, 127.0f) << "keyframes keep their height";
    EXPECT_FALSE(show.track().midiCC14bitButton.isEnabled());
}

TEST(Track, TheNoteRangeNeverCrossesAndMovesTheKeyframes) {
    PropertyList track = trackOfType("MidiNotes");
    track.set("midiNotesFrom", "40");
    track.set("midiNotesTo", "80");
    track.set("keyFrames", keyframesOf({{0, 60}}));
    Show show(withTrack(track));
    EXPECT_EQ(show.track().trackMinValue(), 40.0f);
    show.track().setMidiNotes("90", "80");
    EXPECT_EQ(show.track().trackMinValue(), 40.0f);
    show.track().setMidiNotes("0", "100");
    EXPECT_EQ(show.track().keyframes().store().all()[0].value, 50.0f);
}

TEST(Track, AnArtNetTextIsNormalisedAndSixteenBitNeedsRoom) {
    PropertyList track = trackOfType("ArtNetValue");
    track.set("artNetChannel", "1, 3x4,513,0x2, 5x600");
    track.set("artNet16bitButton", buttonOf(true));
    Show show(withTrack(track));
    EXPECT_EQ(show.track().stringValueOfDMXChannels(), "1,3x4");
    EXPECT_EQ(show.track().trackMaxValue(), 65535.0f);
    show.track().setArtNetChannel("512");
    EXPECT_FALSE(show.track().is16BitArtNet());
    EXPECT_EQ(show.track().trackMaxValue(), 255.0f);
    show.track().setArtNetChannel("");
    EXPECT_EQ(show.track().stringValueOfDMXChannels(), "1");
}

TEST(Track, AnOlderRepeatCountBecomesPartOfTheChannelText) {
    PropertyList track = trackOfType("ArtNetValue");
    track.set("artNetChannel", "10");
    PropertyList special = PropertyList::dictionary();
    special.set("artNetRepeat", std::int64_t{4});
    track.set("specialSettings", special);
    Show show(withTrack(track));
    EXPECT_EQ(show.track().stringValueOfDMXChannels(), "10x4");
}

TEST(Track, RangesThatAreNoNumbersAreRepaired) {
    PropertyList track = oscTrack("A", "/a", {});
    track.set("trackMinValue", std::numeric_limits<double>::quiet_NaN());
    track.set("trackMaxValue", std::numeric_limits<double>::infinity());
    Show show(withTrack(track));
    EXPECT_EQ(show.track().trackMinValue(), 0.0f);
    EXPECT_EQ(show.track().trackMaxValue(), 1.0f);
}

TEST(Track, KeyframesOfAnotherRateAreConvertedAfterTheyWereMeasured) {
    PropertyList track = oscTrack("A", "/a", {{50, 1}, {300, 2}, {301, 3}});
    track.set("compFPS", std::int64_t{60});
    Show show(withTrack(track));
    const auto& keyframes = show.track().keyframes().store().all();
    ASSERT_EQ(keyframes.size(), 2u);
    EXPECT_EQ(keyframes[0].time, Frame(25));
    EXPECT_EQ(keyframes[1].time, Frame(150));
    EXPECT_EQ(show.saved().find("Comp-0")->find("tracks")->find("tr-0")->find("compFPS"), nullptr);
}

TEST(Track, ItFindsItsWayBackToAnOutputThatReturns) {
    Show show(withTrack(oscTrack("A", "/a", {{0, 0}, {300, 100}})));
    MarvoOSCManager& manager = show.application.oscManager();
    manager.createNewOutputToAddress("127.0.0.1", 8001, "Second");
    manager.removeOSCOutput(0);
    EXPECT_EQ(show.track().settings().oscOut, "Second");
    manager.createNewOutputToAddress("127.0.0.1", 8000, "Out");
    EXPECT_EQ(show.track().settings().oscOut, "Out");
}

TEST(Track, ARenamedOutputStaysSelected) {
    Show show(withTrack(oscTrack("A", "/a", {{0, 0}, {300, 100}})));
    show.application.oscManager().editOutputLabel(0, "Lights");
    EXPECT_EQ(show.track().settings().oscOut, "Lights");
    show.playAll();
    show.tick(20);
    EXPECT_EQ(show.take().back().port, "Lights");
}

TEST(Track, ATemplateSendsItsArgumentsInOrderAndTheValueLast) {
    Show show(withTrack(oscTrack("Lamp", "/x/$TRACK <$F> <\"go\"> <1.5> <7>", {{0, 50}, {300, 50}})));
    show.playAll();
    show.tick(1);
    const std::vector<Sent> sent = show.take();
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0].address, "/x/Lamp");
    EXPECT_EQ(sent[0].text, "go");
    EXPECT_EQ(sent[0].numbers, (std::vector<float>{0, 1.5f, 7, 0.5f}));
}

TEST(Track, GroupedTracksLeaveAsOneMessageInTextOrderOfTheirNumbers) {
    Show show(projectOf({compositionOf("One", 30, 10.0f,
                                       {oscTrack("A", "/rgb#2", {{0, 20}, {300, 20}}),
                                        oscTrack("B", "/rgb#10", {{0, 10}, {300, 10}}),
                                        oscTrack("C", "/x#0", {{0, 5}, {300, 5}})})}));
    show.playAll();
    show.tick(1);
    const std::vector<Sent> sent = show.take();
    ASSERT_EQ(sent.size(), 2u);
    EXPECT_EQ(sent[0].address, "/x#0") << "no group: it leaves at once, as it stands";
    EXPECT_EQ(sent[1].address, "/rgb");
    EXPECT_EQ(sent[1].numbers, (std::vector<float>{0.1f, 0.2f}));
    EXPECT_TRUE(sent[1].track.empty());
}

TEST(Track, NormalisedValuesAreScaledToTheRangeAndSentAsFloats) {
    PropertyList track = oscTrack("A", "/a", {{0, 64}, {300, 64}});
    track.set("trackOSCType", std::int64_t{1});
    track.set("trackMinValue", 0.0f);
    track.set("trackMaxValue", 128.0f);
    track.set("sendsNormalisedValue", true);
    Show show(withTrack(track));
    show.playAll();
    show.tick(1);
    EXPECT_EQ(show.take()[0].numbers, std::vector<float>{0.5f});
}

TEST(Track, ABangSendsOneOnAFloatTrackAndTheMultiplierOnAnIntegerTrack) {
    Show show(withTrack(oscTrack("A", "/a", {})));
    show.track().shot();
    EXPECT_EQ(show.take()[0].numbers, std::vector<float>{1.0f});
    show.track().setTrackOSCType(1);
    show.take();
    show.track().shot();
    EXPECT_EQ(show.take()[0].numbers, std::vector<float>{100.0f});
}

TEST(Track, AnAddedKeyframeIsPlayedByTheVeryNextTickAndUndoTakesItBack) {
    Show show(withTrack(oscTrack("A", "/a", {{0, 10}, {300, 10}})));
    show.playAll();
    show.tick(100);
    show.take();
    const std::uint64_t uID = show.track().addNewKeyFrameAtTime(Frame(show.frame() + 1));
    show.track().keyframes().moveTo(uID, Frame(show.frame() + 1), 90);
    show.tick(40);
    const std::vector<Sent> sent = show.take();
    ASSERT_FALSE(sent.empty());
    EXPECT_EQ(sent[0].numbers, std::vector<float>{0.9f});
    EXPECT_EQ(show.application.undo.undoActionName(), "Add Keyframe");
    show.application.undo.undo();
    EXPECT_EQ(show.track().keyframeCount(), 2u);
    show.application.undo.redo();
    EXPECT_EQ(show.track().keyframeCount(), 3u);
}

TEST(Track, APasteOutsideTheCompositionIsRefusedAndASelectedOneMakesRoom) {
    Show show(withTrack(oscTrack("A", "/a", {{10, 10}})));
    PropertyList record = PropertyList::dictionary();
    record.set("time", std::int64_t{10});
    record.set("value", 30.0f);
    EXPECT_FALSE(show.track().addNewKeyFrameWithDataByCopy(record, FrameCount(-11)));
    EXPECT_FALSE(show.track().addNewKeyFrameWithDataByCopy(record, FrameCount(291)));
    EXPECT_TRUE(show.track().addNewKeyFrameWithDataByCopy(record, FrameCount(0)));
    EXPECT_EQ(show.track().keyframeCount(), 2u) << "an unselected keyframe stays";
    show.track().keyframes().edit([](KeyframeStore& store) { store.all()[0].selected = true; });
    EXPECT_TRUE(show.track().addNewKeyFrameWithDataByCopy(record, FrameCount(0)));
    EXPECT_EQ(show.track().keyframeCount(), 2u);
}

TEST(Track, RemovedTracksComeBackWithTheirPlacesAndTheirKeyframes) {
    Show show(projectOf({compositionOf(
        "One", 30, 1.0f,
        {oscTrack("A", "/a", {{0, 1}}), oscTrack("B", "/b", {{1, 2}}), oscTrack("C", "/c", {})})}));
    show.composition().tracks.undoRemoveTracksWithPositions({1});
    EXPECT_EQ(show.composition().tracks.count(), 2u);
    EXPECT_EQ(show.application.undo.undoActionName(), "Remove Track");
    show.application.undo.undo();
    EXPECT_EQ(show.composition().tracks.trackAtPosition(1)->name(), "B");
    EXPECT_EQ(show.composition().tracks.trackAtPosition(2)->name(), "C");
    EXPECT_EQ(show.composition().tracks.trackAtPosition(1)->keyframeCount(), 1u);
}

TEST(Track, SortingIsOneUndoAndGoesBack) {
    Show show(projectOf({compositionOf(
        "One", 30, 1.0f, {oscTrack("C", "/c", {}), oscTrack("A", "/a", {}), oscTrack("B", "/b", {})})}));
    show.composition().tracks.doSortTracks("Track Name", 0);
    EXPECT_EQ(show.composition().tracks.trackAtPosition(0)->name(), "A");
    EXPECT_EQ(show.composition().tracks.trackAtPosition(2)->name(), "C");
    show.application.undo.undo();
    EXPECT_EQ(show.composition().tracks.trackAtPosition(0)->name(), "C");
}
