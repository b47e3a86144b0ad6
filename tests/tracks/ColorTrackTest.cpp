#include "ColorRig.h"
#include "RealtimeScope.h"
#include "tracks/KeyframeRecords.h"

#include <atomic>
#include <chrono>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <thread>

using namespace marvo;
using namespace marvo::testing;

TEST(ColorTrack, SendsAFadeFrameByFrameAndNothingBeforeIt) {
    ColorRig rig;
    rig.add(2, red);
    rig.add(4, blue);
    EXPECT_EQ(rig.playsTo(8), (Lines{"/c #ff0000ff", "/c #7f007fff", "/c #0000ffff"}));
}

TEST(ColorTrack, AFrameOnAKeyframeHasExactlyItsColour) {
    ColorRig rig;
    rig.add(0, red);
    rig.add(3, {0.1, 0.2, 0.3});
    rig.add(6, red, step);
    rig.track->setTrackOSCType(2);
    rig.journal.take();
    rig.start(*rig.track);
    EXPECT_EQ(rig.tick(0), (Lines{"/c 1.000 0.000 0.000"}));
    EXPECT_EQ(rig.tick(3), (Lines{"/c 0.100 0.200 0.300"}));
    EXPECT_EQ(rig.tick(6), (Lines{"/c 1.000 0.000 0.000"}));
}

TEST(ColorTrack, TheFirstKeyframeIsSentAheadOnlyWhenThePreferenceAsksForIt) {
    ColorRig rig;
    rig.add(5, red);
    EXPECT_EQ(rig.playsTo(4), Lines{});
    rig.preferences.processFirstKeyframe = true;
    EXPECT_EQ(rig.playsTo(4), (Lines{"/c #ff0000ff"}));
    rig.preferences.optimalisedSending = false;
    EXPECT_EQ(rig.playsTo(4).size(), 5u) << "every frame, when equal colours are not held back";
}

TEST(ColorTrack, EqualColoursAreHeldBackUnlessThePreferenceIsOff) {
    ColorRig rig;
    rig.add(0, red);
    rig.add(5, red);
    rig.add(9, blue, step);
    EXPECT_EQ(rig.playsTo(10), (Lines{"/c #ff0000ff", "/c #ff0000ff", "/c #0000ffff"}))
        << "a keyframe that is passed is sent whatever was before";
    rig.preferences.optimalisedSending = false;
    EXPECT_EQ(rig.playsTo(4).size(), 5u);
}

TEST(ColorTrack, AStepIsCaughtUpWithAfterAGapWhateverThePreferencesSay) {
    ColorRig rig;
    rig.add(0, red);
    rig.add(100, blue, step);
    EXPECT_EQ(rig.playsTo(0), (Lines{"/c #ff0000ff"}));
    EXPECT_EQ(rig.tick(1), Lines{});
    rig.jump(*rig.track, 50);
    EXPECT_EQ(rig.tick(50), (Lines{"/c #ff0000ff"})) << "what lies before counts as passed, and yet";
    EXPECT_EQ(rig.tick(51), Lines{});
    EXPECT_EQ(rig.tick(53), Lines{}) << "the same colour again";
    rig.preferences.optimalisedSending = false;
    EXPECT_EQ(rig.tick(55), (Lines{"/c #ff0000ff"}));
    EXPECT_EQ(rig.tick(56), Lines{}) << "once a gap";
}

TEST(ColorTrack, AJumpIntoAFadeSendsItsColourThere) {
    ColorRig rig;
    rig.add(0, red);
    rig.add(10, blue);
    rig.preferences.processLastKeyframeOnJump = true;
    rig.playsTo(1);
    rig.jump(*rig.track, 5);
    EXPECT_EQ(rig.tick(5), (Lines{"/c #7f007fff"})) << "and not the keyframe it has passed";
}

TEST(ColorTrack, ALoopSendsEverythingAgainAndAStopForgetsWhatWasSent) {
    ColorRig rig;
    rig.add(0, red);
    rig.add(5, red);
    EXPECT_EQ(rig.playsTo(3), (Lines{"/c #ff0000ff"}));
    rig.compQueue.sync([&] { rig.track->compositionLooped(); });
    EXPECT_EQ(rig.play(*rig.track, 0, 3), (Lines{"/c #ff0000ff"}));
    rig.stop(*rig.track);
    rig.composition.runs = true;
    EXPECT_EQ(rig.tick(3), (Lines{"/c #ff0000ff"}));
    rig.start(*rig.track, 3);
    EXPECT_EQ(rig.tick(3), (Lines{"/c #ff0000ff"}));
}

TEST(ColorTrack, AfterALoopTheFirstKeyframeIsSentAheadAgain) {
    ColorRig rig;
    rig.add(5, red);
    rig.preferences.processFirstKeyframe = true;
    EXPECT_EQ(rig.playsTo(3), (Lines{"/c #ff0000ff"}));
    rig.compQueue.sync([&] { rig.track->compositionLooped(); });
    EXPECT_EQ(rig.play(*rig.track, 0, 3), (Lines{"/c #ff0000ff"}));
}

TEST(ColorTrack, AMutedTrackIsSilent) {
    ColorRig rig;
    rig.add(0, red);
    rig.track->setEnabled(false);
    EXPECT_EQ(rig.playsTo(3), Lines{});
}

TEST(ColorTrack, AnEditDuringPlayIsWhatTheNextTickSends) {
    ColorRig rig;
    rig.add(0, red);
    const auto last = rig.add(10, red);
    rig.playsTo(4);
    rig.track->setColorOfKeyframes({last}, blue);
    EXPECT_EQ(rig.tick(5), (Lines{"/c #7f007fff"}));
}

TEST(ColorTrack, TheStandardFormIsOneColourBehindTheTemplatesOwnArguments) {
    ColorRig rig;
    rig.track->setOscAddress("/$TRACK/c <\"x\"> <$F> <$S> <1.5>");
    rig.add(15, {0.5, 0.25, 0.999, 0.5}, step);
    rig.start(*rig.track);
    EXPECT_EQ(rig.tick(15), (Lines{"/Lane/c \"x\" 15 0.500 1.500 #7f3ffe7f"}));
}

TEST(ColorTrack, ADollarIsNoPlaceholderForThereIsNoValue) {
    ColorRig rig;
    rig.track->setOscAddress("/a$b <$> <\"$c\">");
    EXPECT_EQ(rig.sends(red), (Lines{"/a$b 0 \"$c\" #ff0000ff"}));
}

TEST(ColorTrack, AGroupMarkIsAnOrdinaryCharacter) {
    ColorRig rig;
    rig.track->setOscAddress("/a#1");
    EXPECT_EQ(rig.sends(red), (Lines{"/a#1 #ff0000ff"}));
}

TEST(ColorTrack, ArraysHoldThreeComponentsOrFourWithAlpha) {
    ColorRig rig;
    rig.track->setTrackOSCType(1);
    rig.track->setRange(0, 255);
    EXPECT_EQ(rig.sends({0.5, 1, 0, 0.25}), (Lines{"/c 127 255 0"}));
    rig.track->setShouldSendAlpha(true);
    EXPECT_EQ(rig.sends({0.5, 1, 0, 0.25}), (Lines{"/c 127 255 0 63"}));
    rig.track->setRange(10, 20);
    EXPECT_EQ(rig.sends({0.5, 1, 0, 0.25}), (Lines{"/c 20 30 10 15"})) << "the minimum is added to the whole";
    rig.track->setTrackOSCType(2);
    rig.track->setRange(0, 100);
    EXPECT_EQ(rig.sends({0.5, 1, 0, 0.25}), (Lines{"/c 0.500 1.000 0.000 0.250"}));
    rig.track->setRange(50, 100);
    EXPECT_EQ(rig.sends({0.5, 1, 0, 0.25}), (Lines{"/c 1.000 1.500 0.500 0.750"}));
}

TEST(ColorTrack, MultiFormsSendAMessageAComponentWithoutTheTemplatesArguments) {
    ColorRig rig;
    rig.track->setOscAddress("/c <7>");
    rig.track->setTrackOSCType(3);
    EXPECT_EQ(rig.sends({1, 0.5, 0}), (Lines{"/c/r 100", "/c/g 50", "/c/b 0"}));
    rig.track->setShouldSendAlpha(true);
    rig.track->setSubAddresses({"red", "green", "blue", "alpha"});
    rig.track->setTrackOSCType(4);
    EXPECT_EQ(rig.sends({1, 0.5, 0, 0.25}),
              (Lines{"/c/red 1.000", "/c/green 0.500", "/c/blue 0.000", "/c/alpha 0.250"}));
}

TEST(ColorTrack, ABangOfOneComponentSendsItsMessageAlone) {
    ColorRig rig;
    rig.track->setTrackOSCType(3);
    rig.journal.take();
    rig.track->shotWithChannel(ColorComponent::green);
    EXPECT_EQ(rig.journal.take(), (Lines{"/c/g 100"}));
    rig.track->shotWithChannel(ColorComponent::alpha);
    EXPECT_EQ(rig.journal.take(), Lines{}) << "alpha is not sent by this track";
    rig.add(0, red);
    EXPECT_EQ(rig.playsTo(0), (Lines{"/c/r 100", "/c/g 0", "/c/b 0"})) << "the choice ends with the bang";
}

TEST(ColorTrack, AFormThatIsNotKnownSendsNothing) {
    ColorRig rig;
    rig.track->setTrackOSCType(5);
    EXPECT_EQ(rig.sends(red), Lines{});
}

TEST(ColorTrack, HueTurnsByTheFactorButNeverPastTheEnd) {
    ColorRig rig;
    rig.preferences.hueRotateForColors = 0.5f;
    EXPECT_EQ(rig.sends({0, 0, 1}), (Lines{"/c #00ff00ff"})) << "two thirds become one third";
    rig.preferences.hueRotateForColors = 100.0f;
    EXPECT_EQ(rig.sends({0, 0, 1}), (Lines{"/c #ff0000ff"})) << "a full turn is red";
    EXPECT_EQ(rig.sends(red), (Lines{"/c #ff0000ff"})) << "nothing times anything";
    rig.preferences.hueRotateForColors = -1.0f;
    EXPECT_EQ(rig.sends({0, 0, 1}), (Lines{"/c #ff0000ff"}));
}

TEST(ColorTrack, AGreyIgnoresTheRotationAndAlphaPassesIt) {
    ColorRig rig;
    rig.preferences.hueRotateForColors = 0.5f;
    EXPECT_EQ(rig.sends(Colour::grey(0.6)), (Lines{"/c #999999ff"}));
    EXPECT_EQ(rig.sends({0, 0, 1, 0.2}), (Lines{"/c #00ff0033"}));
}

TEST(ColorTrack, WithoutRotationNoComponentMovesByARounding) {
    ColorRig rig;
    for (int i = 1; i < 255; ++i) {
        char text[32];
        std::snprintf(text, sizeof text, "/c #%02x%02x33ff", i, 255 - i);
        EXPECT_EQ(rig.sends({i / 255.0, (255 - i) / 255.0, 0.2}), (Lines{text}));
    }
}

TEST(ArtNetColorTrack, LampsOfAnEntryStandOneBehindTheOther) {
    ColorRig rig("ArtNetColor");
    rig.track->setArtNetChannel("1x2,20");
    EXPECT_EQ(rig.sends({1, 0.5, 0}), (Lines{"0.1~255", "0.2~127", "0.3~0", "0.4~255", "0.5~127", "0.6~0",
                                             "0.20~255", "0.21~127", "0.22~0"}));
}

TEST(ArtNetColorTrack, SixteenBitsTakePairsOfChannelsThatTheMasterFaderLeavesAlone) {
    ColorRig rig("ArtNetColor");
    rig.track->setArtNetChannel("1x2");
    rig.track->artNet16bitButton.setState(true);
    rig.track->artNet16bitButton.sendAction();
    EXPECT_EQ(rig.sends({1, 0.5, 0}),
              (Lines{"0.1=255", "0.2=255", "0.3=127", "0.4=255", "0.5=0", "0.6=0", "0.7=255", "0.8=255",
                     "0.9=127", "0.10=255", "0.11=0", "0.12=0"}));
}

TEST(ArtNetColorTrack, ChannelsAboveTheUniverseAreLeftOut) {
    ColorRig rig("ArtNetColor");
    rig.track->setArtNetChannel("511x200");
    EXPECT_EQ(rig.sends(Colour::white()), (Lines{"0.511~255", "0.512~255"}));
}

TEST(ArtNetColorTrack, SixteenBitsNeedRoomForAWholeLamp) {
    ColorRig rig("ArtNetColor");
    rig.track->setArtNetChannel("505");
    EXPECT_TRUE(rig.track->allows16BitArtNet());
    rig.track->artNet16bitButton.setState(true);
    rig.track->artNet16bitButton.sendAction();
    rig.track->setArtNetColorFormat("RGBW");
    EXPECT_FALSE(rig.track->is16BitArtNet()) << "511 - 8 is less";
    rig.track->setArtNetChannel("503");
    EXPECT_TRUE(rig.track->allows16BitArtNet());
}

TEST(ArtNetColorTrack, TellsAllChannelsOfItsLampsAndRepliesOncePerEntry) {
    ColorRig rig("ArtNetColor");
    rig.track->setArtNetChannel("10x4,100");
    EXPECT_EQ(rig.track->dmxChannelsInUse(),
              (std::vector<int>{10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 100, 101, 102}));
    Lines replies;
    const auto observation =
        rig.notifications.observe(rig.names.collectDMXAddressesReply, [&](const DMXAddresses& reply) {
            replies.push_back(std::to_string(reply.channel) + "+" + std::to_string(reply.count));
        });
    rig.notifications.post(rig.names.collectDMXAddresses);
    EXPECT_EQ(replies, (Lines{"10+12", "100+3"}));
    replies.clear();
    rig.track->artNet16bitButton.setState(true);
    rig.track->artNet16bitButton.sendAction();
    rig.track->setArtNetColorFormat("L");
    rig.notifications.post(rig.names.collectDMXAddresses);
    EXPECT_EQ(replies, (Lines{"10+8", "100+2"}));
}

TEST(ArtNetColorTrack, TheStateIsSentAgainWhenTheMasterFaderAsksForIt) {
    ColorRig rig("ArtNetColor");
    rig.preferences.blackoutOnMute = false;
    rig.track->setArtNetColorFormat("L");
    rig.add(0, Colour::white());
    rig.add(10, Colour::white());
    rig.playsTo(5);
    rig.composition.now = Frame(5);
    rig.notifications.post(rig.names.ReprocessArtNetColorTracks);
    EXPECT_EQ(rig.journal.take(), (Lines{"0.1~255"}));
    rig.composition.isOn = false;
    rig.notifications.post(rig.names.ReprocessArtNetColorTracks);
    rig.composition.isOn = true;
    rig.track->enabledButton.setState(false);
    rig.track->handleMute();
    rig.journal.take();
    rig.notifications.post(rig.names.ReprocessArtNetColorTracks);
    EXPECT_EQ(rig.journal.take(), Lines{}) << "not what is off";
    rig.track->enabledButton.setState(true);
    rig.track->handleMute();
    EXPECT_EQ(rig.tick(6), Lines{}) << "and it has not become due meanwhile";
}

TEST(ArtNetColorTrack, AFormatOfMillionsOfLettersCountsAsLongAsAUniverseAndIsSavedWhole) {
    const std::string format(5'000'000, 'R');
    ColorRig rig("ArtNetColor");
    PropertyList record = rig.track->backupDataForUndo(false);
    PropertyList special = PropertyList::dictionary();
    special.set("artNetColorFormat", format);
    record.set("specialSettings", special);
    record.set("artNetChannel", "2x512");
    rig.track->restoreWithData(record, true, nullptr);
    std::vector<std::int32_t> counts;
    const auto observation =
        rig.notifications.observe(rig.names.collectDMXAddressesReply, [&](const DMXAddresses& reply) {
            counts.push_back(static_cast<std::int32_t>(reply.count));
        });
    rig.notifications.post(rig.names.collectDMXAddresses);
    EXPECT_EQ(counts, (std::vector<std::int32_t>{512 * 512}));
    EXPECT_EQ(rig.track->dmxChannelsInUse().size(), 511u) << "from the second channel to the last there is";
    EXPECT_EQ(rig.sends(red).size(), 511u);
    EXPECT_EQ(rig.track->backupDataForUndo(false), record);
}
