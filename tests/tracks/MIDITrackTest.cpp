#include "RealtimeScope.h"
#include "TrackRig.h"
#include "tracks/MIDIValueOutput.h"

#include <gtest/gtest.h>

using namespace marvo;
using namespace marvo::testing;

namespace {

// A controller track that the tests play: CC 7 on the first channel of "Desk".
struct ControllerRig : TrackRig {
    std::unique_ptr<MarvoTimelineTrack> track = make("MidiCCValue");
};

// Notes 0 to 127 to "Desk".
struct NoteRig : TrackRig {
    std::unique_ptr<MarvoTimelineTrack> track = make("MidiNotes");
    void add(std::int64_t time, float note, float on = 100, float off = 50,
             const char* curve = "No Interpolation") {
        track->addNewKeyFrameWithData(noteAt(time, note, on, off, curve));
    }
    Lines playsTo(std::int64_t frame) {
        start(*track);
        return play(*track, 0, frame);
    }
};

} // namespace

TEST(MIDIValueTrack, SendsTheRoundedValueOnItsChannelAndController) {
    ControllerRig rig;
    rig.track->setMidiChannel("4");
    rig.track->addNewKeyFrameWithData(keyframeAt(0, 10.4f, "No Interpolation"));
    rig.track->addNewKeyFrameWithData(keyframeAt(2, 12.6f, "No Interpolation"));
    rig.start(*rig.track);
    rig.journal.take();
    EXPECT_EQ(rig.play(*rig.track, 0, 3), (Lines{"cc 7 10 ch 3", "cc 7 13 ch 3"}));
}

TEST(MIDIValueTrack, AFourteenBitValueLeavesAsAPairInOneGoWithTheCoarseHalfFirst) {
    ControllerRig rig;
    rig.track->midiCC14bitButton.setState(true);
    rig.track->midiCC14bitButton.sendAction();
    EXPECT_EQ(rig.track->trackMaxValue(), 16383.0f);
    rig.track->addNewKeyFrameWithData(keyframeAt(0, 16383, "No Interpolation"));
    rig.track->addNewKeyFrameWithData(keyframeAt(1, 128, "No Interpolation"));
    rig.track->addNewKeyFrameWithData(keyframeAt(2, 127, "No Interpolation"));
    rig.start(*rig.track);
    rig.journal.take();
    EXPECT_EQ(rig.play(*rig.track, 0, 2),
              (Lines{"cc 7 127 + cc 39 127", "cc 7 1 + cc 39 0", "cc 7 0 + cc 39 127"}));
}

TEST(MIDIValueTrack, ACurveThatOvershootsWrapsAsTheLowestByteDoes) {
    Journal journal;
    MIDIValueOutput output({"Comp", "Lane", std::make_shared<JournalNode>("Desk", journal), 0, 7, false});
    output.send(-3.0f, Frame(0));
    output.send(300.0f, Frame(0));
    output.send(1e30f, Frame(0));
    EXPECT_EQ(journal.take(), (Lines{"cc 7 253", "cc 7 44", "cc 7 255"}));
}

TEST(MIDIValueTrack, SwitchingFourteenBitsMidwayNeverSendsAValueOfOneScaleInTheOther) {
    ControllerRig rig;
    rig.track->addNewKeyFrameWithData(keyframeAt(0, 64));
    rig.track->addNewKeyFrameWithData(keyframeAt(100, 64));
    rig.preferences.optimalisedSending = false;
    rig.start(*rig.track);
    EXPECT_EQ(rig.tick(*rig.track, 1), (Lines{"cc 7 64"}));
    rig.track->midiCC14bitButton.setState(true);
    rig.track->midiCC14bitButton.sendAction();
    EXPECT_EQ(rig.tick(*rig.track, 2), (Lines{"cc 7 64 + cc 39 64"})) << "64 / 127 of 16383 is 8256";
}

TEST(MIDIValueTrack, TellsTheManagerWhichOutputItUses) {
    ControllerRig rig;
    rig.midi.plug("Synth");
    rig.midi.checked.clear();
    rig.track->selectMIDIOutput("Synth");
    EXPECT_EQ(rig.midi.checked, (std::vector<std::string>{"Synth"}));
}

TEST(MIDITrack, ANewTrackTakesTheFirstTitleOwnPortsBeforeDevices) {
    TrackRig rig;
    rig.midi.own = {"Marvo Midi Out"};
    EXPECT_EQ(rig.make("MidiNotes")->settings().midiOut, "Marvo Midi Out");
    rig.midi.own.clear();
    EXPECT_EQ(rig.make("MidiNotes")->settings().midiOut, "Desk");
}

TEST(MIDITrack, ADeviceThatReturnsIsPlayedAgainAndGetsTheStateOfTheTrack) {
    ControllerRig rig;
    rig.preferences.processLastKeyframeOnJump = true;
    rig.midi.plug("Synth");
    rig.midi.plug("Tape");
    rig.track->selectMIDIOutput("Synth");
    rig.track->addNewKeyFrameWithData(keyframeAt(0, 40, "No Interpolation"));
    rig.tick(*rig.track, 0);
    rig.midi.unplug("Synth");
    rig.midi.unplug("Desk");
    rig.notifications.post(rig.names.midiOutputsChanged);
    EXPECT_EQ(rig.track->settings().midiOut, "Tape");
    rig.midi.unplug("Tape");
    rig.midi.plug("Desk");
    rig.notifications.post(rig.names.midiOutputsChanged);
    EXPECT_EQ(rig.track->settings().midiOut, "Desk");
    rig.journal.take();
    rig.midi.plug("Synth");
    rig.notifications.post(rig.names.midiOutputsChanged);
    EXPECT_EQ(rig.track->settings().midiOut, "Synth");
    EXPECT_EQ(rig.journal.take(), (Lines{"Synth: cc 7 40"}));
}

TEST(MIDITrack, AChoiceOfTheUserForgetsTheOutputThatWasLost) {
    ControllerRig rig;
    rig.midi.plug("Synth");
    rig.midi.plug("Tape");
    rig.track->selectMIDIOutput("Synth");
    rig.midi.unplug("Synth");
    rig.notifications.post(rig.names.midiOutputsChanged);
    rig.track->selectMIDIOutput("Tape");
    rig.midi.plug("Synth");
    rig.notifications.post(rig.names.midiOutputsChanged);
    EXPECT_EQ(rig.track->settings().midiOut, "Tape");
}

TEST(MIDITrack, AnOutputThatTheProjectNamesButTheMachineLacksIsUsedOnceItIsThere) {
    ControllerRig rig;
    PropertyList record = rig.track->backupDataForUndo(false);
    record.set("midiNodeName", "Synth");
    LoadReport report;
    rig.track->restoreWithData(record, true, &report);
    EXPECT_EQ(rig.track->settings().midiOut, "Desk");
    EXPECT_EQ(report.lines().size(), 1u);
    rig.midi.plug("Synth");
    rig.notifications.post(rig.names.midiOutputsChanged);
    EXPECT_EQ(rig.track->settings().midiOut, "Synth");
}

TEST(MIDINoteTrack, TwoKeyframesOnAFrameAreTwoNotesThatEndOnTheNextTickWithTheirOwnVelocities) {
    NoteRig rig;
    rig.add(5, 60, 100, 50);
    rig.add(5, 64, 90, 40);
    rig.add(50, 1);
    EXPECT_EQ(rig.playsTo(4), Lines{});
    EXPECT_EQ(rig.tick(*rig.track, 5), (Lines{"on 60 100", "on 64 90"}));
    EXPECT_EQ(rig.tick(*rig.track, 6), (Lines{"off 60 50", "off 64 40"}));
    EXPECT_EQ(rig.tick(*rig.track, 7), Lines{});
}

TEST(MIDINoteTrack, AMovingTrackPlaysEachNewNoteAndEndsItOnTheTickAfter) {
    NoteRig rig;
    rig.add(0, 60, 100, 50);
    rig.add(4, 62, 80, 30, "Linear Interpolation");
    EXPECT_EQ(rig.playsTo(0), (Lines{"on 60 100"}));
    EXPECT_EQ(rig.tick(*rig.track, 1), (Lines{"off 60 50", "on 61 100"})) << "60.5 rounds away from zero";
    EXPECT_EQ(rig.tick(*rig.track, 2), (Lines{"off 61 50"}));
    EXPECT_EQ(rig.tick(*rig.track, 3), (Lines{"on 62 100"}));
    EXPECT_EQ(rig.tick(*rig.track, 4), (Lines{"off 62 50"})) << "its keyframe was reached already";
    EXPECT_EQ(rig.tick(*rig.track, 5), Lines{});
}

TEST(MIDINoteTrack, ANoteEndsAsItBeganHoweverItsKeyframeIsEditedMeanwhile) {
    NoteRig rig;
    rig.add(0, 60, 100, 50);
    rig.playsTo(0);
    const auto uID = rig.track->keyframes().store().all()[0].uID;
    rig.track->keyframes().moveTo(uID, Frame(20), 72);
    EXPECT_EQ(rig.tick(*rig.track, 1), (Lines{"off 60 50"}));
}

TEST(MIDINoteTrack, AStopEndsWhatSoundsAndDoesSoOnce) {
    NoteRig rig;
    rig.add(3, 60);
    EXPECT_EQ(rig.playsTo(3), (Lines{"on 60 100"}));
    rig.stop(*rig.track);
    EXPECT_EQ(rig.journal.take(), (Lines{"off 60 50"}));
    rig.stop(*rig.track);
    rig.start(*rig.track, 4);
    EXPECT_EQ(rig.play(*rig.track, 4, 8), Lines{});
}

TEST(MIDINoteTrack, MutingTheTrackOrItsCompositionEndsWhatSounds) {
    NoteRig rig;
    rig.add(3, 60);
    rig.add(6, 61);
    rig.playsTo(3);
    rig.track->setEnabled(false);
    EXPECT_EQ(rig.journal.take(), (Lines{"off 60 50"}));
    EXPECT_EQ(rig.play(*rig.track, 4, 5), Lines{});
    rig.track->setEnabled(true);
    EXPECT_EQ(rig.tick(*rig.track, 6), (Lines{"on 61 100"}));
    rig.composition.isOn = false;
    rig.track->handleMute();
    EXPECT_EQ(rig.journal.take(), (Lines{"off 61 50"}));
    rig.composition.isOn = true;
    EXPECT_EQ(rig.tick(*rig.track, 7), Lines{});
}

TEST(MIDINoteTrack, AnotherOutputOrChannelEndsTheNoteWhereItSounds) {
    NoteRig rig;
    rig.midi.plug("Synth");
    rig.add(3, 60);
    rig.playsTo(3);
    rig.track->selectMIDIOutput("Synth");
    EXPECT_EQ(rig.journal.take(), (Lines{"off 60 50", "Synth: on 60 100"}))
        << "the settings change plays the frame again";
    EXPECT_EQ(rig.tick(*rig.track, 4), (Lines{"Synth: off 60 50"}));
}

TEST(MIDINoteTrack, RemovingTheTrackEndsWhatSounds) {
    NoteRig rig;
    rig.add(3, 60);
    rig.playsTo(3);
    rig.track->removeResources();
    EXPECT_EQ(rig.journal.take(), (Lines{"off 60 50"}));
    rig.track.reset();
    EXPECT_EQ(rig.journal.take(), Lines{});
}

TEST(MIDINoteTrack, ATrackThatGoesWithoutFarewellEndsWhatSoundsAllTheSame) {
    NoteRig rig;
    rig.add(3, 60);
    rig.playsTo(3);
    rig.track.reset();
    EXPECT_EQ(rig.journal.take(), (Lines{"off 60 50"}));
}

TEST(MIDINoteTrack, AMovementThatBeginsOnAKeyframeDoesNotRepeatItsNote) {
    NoteRig rig;
    rig.add(0, 60, 100, 50);
    rig.add(40, 61, 80, 30, "Linear Interpolation");
    EXPECT_EQ(rig.playsTo(19), (Lines{"on 60 100", "off 60 50"}));
    EXPECT_EQ(rig.tick(*rig.track, 20), (Lines{"on 61 100"}));
}

TEST(MIDINoteTrack, ADeviceThatIsUnpluggedMidNoteIsStillSentItsEnd) {
    NoteRig rig;
    rig.midi.plug("Tape");
    rig.add(3, 60);
    rig.playsTo(3);
    rig.midi.unplug("Desk");
    rig.notifications.post(rig.names.midiOutputsChanged);
    EXPECT_EQ(rig.journal.take().front(), "off 60 50");
}

TEST(MIDINoteTrack, ANoteAskedForWhileThePlayheadStandsEndsAtOnce) {
    NoteRig rig;
    rig.add(0, 60, 100, 50);
    rig.stop(*rig.track);
    rig.composition.now = Frame(0);
    rig.track->reprocessAtCurrentTime();
    EXPECT_EQ(rig.journal.take(), (Lines{"on 60 100", "off 60 50"}));
    EXPECT_EQ(rig.tick(*rig.track, 0), Lines{}) << "no tick follows to end it, so none may be owed";
}

TEST(MIDINoteTrack, AJumpWhileANoteSoundsEndsItOnTheNextTick) {
    NoteRig rig;
    rig.add(3, 60);
    rig.add(100, 61);
    rig.playsTo(3);
    rig.jump(*rig.track, 40);
    EXPECT_EQ(rig.tick(*rig.track, 40), (Lines{"off 60 50"}));
}

TEST(MIDINoteTrack, ATestValueIsAPairAtOnce) {
    NoteRig rig;
    rig.track->shotWithValue(59.6f);
    EXPECT_EQ(rig.journal.take(), (Lines{"on 60 127", "off 60 64"}));
}

TEST(MIDINoteTrack, EveryNoteThatIsStartedIsEndedOnceWhateverHappens) {
    // A long run of ticks, jumps, stops, mutes and changes; the balance of each note is checked at the end.
    NoteRig rig;
    for (int i = 0; i < 40; ++i)
        rig.add(i * 3, static_cast<float>(40 + i % 7), 100, 50,
                i % 2 ? "Linear Interpolation" : "No Interpolation");
    std::uint32_t state = 12345;
    const auto random = [&](std::uint32_t bound) {
        state = state * 1664525u + 1013904223u;
        return (state >> 16) % bound;
    };
    Lines all;
    const auto keep = [&](Lines lines) { all.insert(all.end(), lines.begin(), lines.end()); };
    rig.start(*rig.track);
    std::int64_t frame = 0;
    for (int step = 0; step < 5000; ++step) {
        keep(rig.tick(*rig.track, frame));
        frame = (frame + 1) % 120;
        switch (random(24)) {
        case 0:
            rig.stop(*rig.track);
            break;
        case 1:
            rig.start(*rig.track, frame);
            break;
        case 2:
            rig.track->setEnabled(false);
            break;
        case 3:
            rig.track->setEnabled(true);
            break;
        case 4:
            frame = random(120);
            rig.jump(*rig.track, frame);
            break;
        case 5:
            rig.track->compositionLooped();
            break;
        case 6:
            rig.track->setMidiNotes("0", random(2) ? "127" : "100");
            break;
        case 7:
            rig.track->reprocessAtCurrentTime();
            break;
        case 8:
            rig.track->setName("Lane " + std::to_string(step));
            break;
        default:
            break;
        }
        keep(rig.journal.take());
    }
    rig.track->removeResources();
    keep(rig.journal.take());
    std::map<std::string, int> sounding;
    int started = 0;
    for (const std::string& line : all) {
        const std::string note = line.substr(0, line.rfind(' '));
        if (note.starts_with("on ")) {
            ++sounding[note.substr(3)];
            ++started;
        } else {
            const int left = --sounding[note.substr(4)];
            ASSERT_GE(left, 0) << "an end without a beginning: " << line;
        }
    }
    EXPECT_GT(started, 500);
    for (const auto& [note, count] : sounding) EXPECT_EQ(count, 0) << "note " << note << " hangs";
}

TEST(MIDINoteTrack, MoreNotesOnAFrameThanAChannelHasLeaveNoneSounding) {
    NoteRig rig;
    for (int i = 0; i < 200; ++i) rig.add(1, static_cast<float>(i % 128));
    rig.start(*rig.track);
    Lines all = rig.play(*rig.track, 0, 2);
    EXPECT_EQ(std::count_if(all.begin(), all.end(), [](auto& line) { return line.starts_with("on"); }), 200);
    EXPECT_EQ(std::count_if(all.begin(), all.end(), [](auto& line) { return line.starts_with("off"); }), 200);
}

TEST(MIDINoteTrack, TheTickAllocatesNothing) {
    NoteRig rig;
    for (int i = 0; i < 30; ++i) {
        rig.add(i * 2, static_cast<float>(40 + i));
        rig.add(i * 2, static_cast<float>(80 + i), 100, 50, "Linear Interpolation");
    }
    rig.start(*rig.track);
    rig.journal.keeps = false;
    rig.tick(*rig.track, 0);
    RealtimeScope scope;
    for (std::int64_t frame = 1; frame < 70; ++frame) {
        rig.compQueue.sync([&] { rig.track->processAtTime(Frame(frame)); });
    }
    EXPECT_EQ(scope.violations(), 0u) << scope.report();
    EXPECT_GT(rig.journal.count, 100u);
}
