#include "TrackRig.h"
#include "tracks/MarvoTimelineColorTrack.h"
#include "tracks/MarvoTimelineFlagTrack.h"

#include <gtest/gtest.h>

using namespace marvo;
using namespace marvo::testing;

namespace {

struct MuteRig : TrackRig {
    explicit MuteRig(const std::string& type = "ArtNetValue") : track(make(type)) {
        track->setArtNetChannel("4,10x2");
        track->addNewKeyFrameWithData(keyframeAt(0, 100));
        track->addNewKeyFrameWithData(keyframeAt(200, 100));
        start(*track);
        tick(*track, 50);
    }
    void set(bool on) {
        track->enabledButton.setState(on);
        track->enabledButton.sendAction();
    }
    std::unique_ptr<MarvoTimelineTrack> track;
};

const Lines zeros{"0.4=0", "0.10=0", "0.11=0"};
const Lines hundreds{"0.4=100", "0.10=100", "0.11=100"};

} // namespace

TEST(Bang, AControllerTrackSendsSixtyFour) {
    TrackRig rig;
    const auto track = rig.make("MidiCCValue");
    track->setMidiChannel("3");
    track->setEnabled(false);
    rig.journal.take();
    track->shot();
    EXPECT_EQ(rig.journal.take(), (Lines{"cc 7 64 ch 2"})) << "also while it is muted";
    track->autoShotOnCC("11");
    track->autoShotBySender(12);
    track->autoShotBySender(std::nullopt);
    EXPECT_EQ(rig.journal.take(), (Lines{"cc 11 64 ch 2", "cc 12 64 ch 2"}));
}

TEST(Bang, ANoteIsOnAndOffInOneGo) {
    TrackRig rig;
    const auto track = rig.make("MidiNotes");
    track->setMidiNotes("60", "63");
    rig.journal.take();
    track->shot();
    EXPECT_EQ(rig.journal.take(), Lines{}) << "it has to be told which";
    std::vector<std::string> titles;
    for (const ShotChoice& choice : track->shotChoices()) titles.push_back(choice.title);
    EXPECT_EQ(titles, (Lines{"60", "61", "62", "63"}));
    track->shotWithChoice(track->shotChoices()[1].choice);
    track->shotOnNote("62");
    track->autoShotOnCC("63");
    EXPECT_EQ(rig.journal.take(),
              (Lines{"on 61 64 + off 61 0", "on 62 64 + off 62 0", "on 63 64 + off 63 0"}));
}

TEST(Bang, ARangeOfOneNoteStillLeavesAChoice) {
    TrackRig rig;
    const auto track = rig.make("MidiNotes");
    PropertyList record = track->backupDataForUndo(false);
    record.set("midiNotesFrom", "64");
    record.set("midiNotesTo", "64");
    track->restoreWithData(record, true, nullptr);
    EXPECT_EQ(track->shotChoices(), (std::vector<ShotChoice>{{"64", 64}}));
}

TEST(Bang, ANoteTrackOffersNoMoreThanTheNotesThereAre) {
    TrackRig rig;
    const auto track = rig.make("MidiNotes");
    track->setMidiNotes("-9", "2000000000");
    const std::vector<ShotChoice> choices = track->shotChoices();
    ASSERT_EQ(choices.size(), 128u);
    EXPECT_EQ(choices.front(), (ShotChoice{"0", 0}));
    EXPECT_EQ(choices.back(), (ShotChoice{"127", 127}));
}

TEST(MIDINoteTrack, ARangeOfAFileThatIsNoneLeavesTheDefaultAndIsTold) {
    TrackRig rig;
    const auto restored = [&](const char* from, const char* to, std::size_t repairs) {
        const auto track = rig.make("MidiNotes");
        PropertyList record = track->backupDataForUndo(false);
        record.set("midiNotesFrom", from);
        record.set("midiNotesTo", to);
        LoadReport report;
        track->restoreWithData(record, true, &report);
        EXPECT_EQ(report.lines().size(), repairs) << from << " " << to;
        return track->settings().midiNotesFrom + "-" + track->settings().midiNotesTo;
    };
    EXPECT_EQ(restored("0", "127", 0), "0-127");
    EXPECT_EQ(restored("36", "72", 0), "36-72");
    EXPECT_EQ(restored("64", "64", 0), "64-64");
    const std::pair<const char*, const char*> none[] = {
        {"0", "2000000000"}, {"-5", "60"},  {"60", "20"}, {"6o", "64"},        {"", "64"},
        {"0", "128"},        {"1.5", "64"}, {"3 ", "64"}, {"3", "99999999999"}};
    for (const auto& [from, to] : none) EXPECT_EQ(restored(from, to, 1), "0-127") << from << " " << to;
}

TEST(Bang, AnOSCTrackSendsItsMultiplierWhateverItsType) {
    TrackRig rig;
    const auto track = rig.make("OSCValue");
    track->shot();
    EXPECT_EQ(rig.journal.take(), (Lines{"/example 1.000"}));
    track->setTrackOSCType(1);
    rig.journal.take();
    track->shot();
    track->autoShotOnCC("5");
    EXPECT_EQ(rig.journal.take(), (Lines{"/example 100", "/example 100"}));
    track->setUsing5FractionDigits(true);
    rig.journal.take();
    track->shot();
    EXPECT_EQ(rig.journal.take(), (Lines{"/example 100000"}));
    track->shotWithValue(7);
    EXPECT_EQ(rig.journal.take(), (Lines{"/example 7"}));
}

TEST(Bang, AnArtNetTrackHasNone) {
    TrackRig rig;
    const auto track = rig.make("ArtNetValue");
    track->shot();
    track->autoShotOnCC("5");
    EXPECT_EQ(rig.journal.take(), Lines{});
    track->shotWithValue(5);
    EXPECT_EQ(rig.journal.take(), (Lines{"0.1=5"})) << "but a value may be given";
}

TEST(Bang, AColourTrackOffersItsComponentsAndIgnoresValues) {
    TrackRig rig;
    const auto track = rig.make<MarvoTimelineColorTrack>("OSCColor");
    track->setTrackOSCType(4);
    rig.journal.take();
    EXPECT_EQ(track->shotChoices(),
              (std::vector<ShotChoice>{{"Red", 0}, {"Green", 1}, {"Blue", 2}, {"Alpha", 3}}));
    track->shotWithChoice(2);
    EXPECT_EQ(rig.journal.take(), (Lines{"/example/b 1.000"}));
    track->shot();
    track->shotWithChoice(9);
    track->shotWithValue(50);
    track->autoShotOnCC("5");
    track->shotOnNote("5");
    EXPECT_EQ(rig.journal.take(), Lines{});
}

TEST(Bang, AFlagTrackOffersItsFlagsAndIgnoresValues) {
    TrackRig rig;
    const auto track = rig.make<MarvoTimelineFlagTrack>("OSCFlag");
    ASSERT_EQ(track->shotChoices().size(), 1u);
    EXPECT_EQ(track->shotChoices()[0].title, "No Keyframes...");
    track->shotWithChoice(track->shotChoices()[0].choice);
    track->shot();
    track->shotWithValue(50);
    EXPECT_EQ(rig.journal.take(), Lines{});
    PropertyList flag = keyframeAt(9, 0);
    flag.set("flagAddress", "/go");
    track->addNewKeyFrameWithData(flag);
    flag.set("time", std::int64_t{4});
    flag.set("flagAddress", "/early");
    track->addNewKeyFrameWithData(flag);
    ASSERT_EQ(track->shotChoices().size(), 2u);
    EXPECT_EQ(track->shotChoices()[0].title, "/early");
    track->shotWithChoice(track->shotChoices()[1].choice);
    EXPECT_EQ(rig.journal.take(), (Lines{"/go"}));
}

TEST(Bang, WithoutAnOutputNothingHappens) {
    TrackRig rig;
    rig.midi.unplug("Desk");
    for (const char* type : {"MidiCCValue", "MidiNotes", "OSCValue"}) {
        const auto track = rig.make(type);
        track->selectMIDIOutput("Nowhere");
        track->selectOSCOutput("Nowhere");
        track->shot();
        track->shotOnNote("60");
        track->autoShotOnCC("7");
        track->shotWithValue(5);
    }
    EXPECT_EQ(rig.journal.take(), Lines{});
}

TEST(Mute, AnArtNetTrackGoesDarkAndComesBackWithItsNextValue) {
    MuteRig rig;
    rig.set(false);
    EXPECT_EQ(rig.journal.take(), zeros);
    EXPECT_EQ(rig.tick(*rig.track, 51), Lines{});
    rig.set(true);
    EXPECT_EQ(rig.journal.take(), Lines{}) << "it is playing: the next tick does it";
    EXPECT_EQ(rig.tick(*rig.track, 52), hundreds);
}

TEST(Mute, WhileThePlayheadStandsUnmutingWritesTheValueAgainWhenAskedTo) {
    MuteRig rig;
    rig.stop(*rig.track);
    rig.set(false);
    rig.journal.take();
    rig.set(true);
    EXPECT_EQ(rig.journal.take(), hundreds);
    rig.preferences.reprocessOnUnmute = false;
    rig.set(false);
    EXPECT_EQ(rig.journal.take(), zeros);
    rig.set(true);
    EXPECT_EQ(rig.journal.take(), Lines{});
}

TEST(Mute, WithoutBlackoutNothingIsWrittenAndNothingIsTakenUpAgain) {
    MuteRig rig;
    rig.preferences.blackoutOnMute = false;
    rig.stop(*rig.track);
    rig.set(false);
    rig.set(true);
    EXPECT_EQ(rig.journal.take(), Lines{}) << "whatever is said about unmuting";
}

TEST(Mute, ACompositionThatGoesOffDarkensItsTracks) {
    MuteRig rig;
    rig.composition.isOn = false;
    rig.track->handleMute();
    EXPECT_EQ(rig.journal.take(), zeros);
    rig.composition.isOn = true;
    rig.track->handleMute();
    EXPECT_EQ(rig.tick(*rig.track, 60), hundreds);
}

TEST(Mute, AColourTrackGoesBlackAndComesBack) {
    TrackRig rig;
    const auto track = rig.make<MarvoTimelineColorTrack>("ArtNetColor");
    track->setArtNetColorFormat("RGBW");
    track->addNewKeyFrameAtTime(Frame(0));
    track->addNewKeyFrameAtTime(Frame(100));
    rig.start(*track);
    rig.tick(*track, 5);
    track->setEnabled(false);
    EXPECT_EQ(rig.journal.take(), (Lines{"0.1~0", "0.2~0", "0.3~0", "0.4~0"}));
    track->setEnabled(true);
    EXPECT_EQ(rig.tick(*track, 6), (Lines{"0.1~0", "0.2~0", "0.3~0", "0.4~255"}));
}

TEST(Mute, OtherTracksSendNothingBecauseOfIt) {
    TrackRig rig;
    for (const char* type : {"MidiCCValue", "OSCValue"}) {
        const auto track = rig.make(type);
        track->addNewKeyFrameWithData(keyframeAt(0, 50));
        rig.start(*track);
        rig.tick(*track, 0);
        track->setEnabled(false);
        track->setEnabled(true);
        EXPECT_EQ(rig.journal.take(), Lines{}) << type;
    }
    const auto color = rig.make<MarvoTimelineColorTrack>("OSCColor");
    color->addNewKeyFrameAtTime(Frame(0));
    rig.start(*color);
    rig.tick(*color, 0);
    color->setEnabled(false);
    EXPECT_EQ(rig.journal.take(), Lines{});
}

TEST(Mute, LoadingAProjectNeitherDarkensNorLights) {
    MuteRig rig;
    PropertyList record = rig.track->backupDataForUndo(false);
    rig.stop(*rig.track);
    rig.ignoresRendering = true;
    rig.track->restoreWithData(record, true, nullptr);
    rig.composition.isOn = false;
    rig.track->handleMute();
    EXPECT_EQ(rig.journal.take(), Lines{});
}

TEST(Reprocess, SendsTheStateOfTheTrackAgain) {
    TrackRig rig;
    rig.preferences.processLastKeyframeOnJump = true;
    const auto track = rig.make("OSCValue");
    track->addNewKeyFrameWithData(keyframeAt(0, 50, "No Interpolation"));
    track->addNewKeyFrameWithData(keyframeAt(100, 80, "No Interpolation"));
    rig.start(*track);
    rig.tick(*track, 20);
    EXPECT_EQ(rig.tick(*track, 21), Lines{});
    track->reprocessAtCurrentTime();
    EXPECT_EQ(rig.journal.take(), (Lines{"/example 0.500"}));
    track->reprocessArtNetAtCurrentTime();
    EXPECT_EQ(rig.journal.take(), Lines{}) << "of colour tracks alone";
}

TEST(Lock, TakesTheSelectionBackAndIsSaved) {
    TrackRig rig;
    const auto track = rig.make("OSCValue");
    track->addNewKeyFrameAtTime(Frame(5));
    track->setSelected(true);
    track->lockTrack(true);
    EXPECT_TRUE(track->isLocked());
    EXPECT_FALSE(track->isSelected());
    EXPECT_FALSE(track->keyframes().store().all()[0].selected);
    const PropertyList record = track->backupDataForUndo(false);
    EXPECT_TRUE(record.find("isLocked")->boolOr(false));
    track->unlockTrack();
    EXPECT_FALSE(track->isLocked());
    const auto other = rig.make("OSCValue");
    other->restoreWithData(record, true, nullptr);
    EXPECT_TRUE(other->isLocked());
}
