#include "RealtimeScope.h"
#include "TrackRig.h"
#include "tracks/KeyframeRecords.h"
#include "tracks/MarvoTimelineFlagTrack.h"

#include <gtest/gtest.h>
#include <limits>

using namespace marvo;
using namespace marvo::testing;

namespace {

PropertyList flagAt(std::int64_t time, const std::string& address) {
    PropertyList keyframe = PropertyList::dictionary();
    keyframe.set("time", time);
    keyframe.set("value", 0.0f);
    keyframe.set("interpolation", "No Interpolation");
    keyframe.set("flagAddress", address);
    return keyframe;
}

struct FlagRig : TrackRig {
    std::unique_ptr<MarvoTimelineFlagTrack> track = make<MarvoTimelineFlagTrack>("OSCFlag");

    std::uint64_t add(std::int64_t time, const std::string& address) {
        return track->addNewKeyFrameWithData(flagAt(time, address));
    }
    Lines tick(std::int64_t frame) { return TrackRig::tick(*track, frame); }
    Lines plays(std::int64_t first, std::int64_t last) { return play(*track, first, last); }
    void start(std::int64_t frame = 0) { TrackRig::start(*track, frame); }
    void jump(std::int64_t frame) { TrackRig::jump(*track, frame); }
};

} // namespace

TEST(FlagTrack, AFlagFiresOnceEachTimeThePlayheadPassesIt) {
    FlagRig rig;
    rig.add(3, "/go");
    rig.start();
    EXPECT_EQ(rig.plays(0, 2), Lines{});
    EXPECT_EQ(rig.tick(3), (Lines{"/go"}));
    EXPECT_EQ(rig.tick(3), Lines{});
    EXPECT_EQ(rig.plays(4, 9), Lines{});
}

TEST(FlagTrack, TwoFlagsOnAFrameBothFireInTheOrderInWhichTheyWereAdded) {
    FlagRig rig;
    rig.add(3, "/one");
    rig.add(3, "/two");
    rig.start();
    EXPECT_EQ(rig.plays(0, 4), (Lines{"/one", "/two"}));
}

TEST(FlagTrack, AJumpOverThreeFlagsFiresTheLastWithAllOfItsTime) {
    FlagRig rig;
    rig.add(3, "/one");
    rig.add(5, "/two");
    rig.add(7, "/three");
    rig.add(7, "/four");
    rig.add(20, "/later");
    rig.preferences.processLastKeyframeOnJump = true;
    rig.start();
    rig.tick(0);
    rig.jump(10);
    EXPECT_EQ(rig.tick(10), (Lines{"/three", "/four"}));
    EXPECT_EQ(rig.plays(11, 15), Lines{});
}

TEST(FlagTrack, AJumpFiresNothingWithoutThePreference) {
    FlagRig rig;
    rig.add(3, "/one");
    rig.add(12, "/two");
    rig.start();
    rig.tick(0);
    rig.jump(10);
    EXPECT_EQ(rig.plays(10, 12), (Lines{"/two"}));
}

TEST(FlagTrack, OnlyFlagsOfTheWorkingAreaAreCaughtUpWithOrSentAhead) {
    FlagRig rig;
    rig.add(3, "/before");
    rig.add(40, "/behind");
    rig.composition.in = Frame(5);
    rig.composition.out = Frame(30);
    rig.preferences.processLastKeyframeOnJump = true;
    rig.preferences.processFirstKeyframe = true;
    rig.start(10);
    EXPECT_EQ(rig.tick(10), Lines{}) << "the next one lies behind the end";
    rig.jump(20);
    EXPECT_EQ(rig.tick(20), Lines{}) << "the last one lies before the beginning";
    rig.composition.in = Frame(3);
    rig.composition.out = Frame(40);
    rig.jump(21);
    EXPECT_EQ(rig.tick(21), (Lines{"/before"})) << "the beginning counts";
    rig.start(22);
    EXPECT_EQ(rig.tick(22), (Lines{"/behind"})) << "and so does the end";
}

TEST(FlagTrack, AStartSendsTheNextFlagAheadWhenThePreferenceAsksForIt) {
    FlagRig rig;
    rig.add(5, "/one");
    rig.add(5, "/uno");
    rig.add(9, "/two");
    rig.preferences.processFirstKeyframe = true;
    rig.start(2);
    EXPECT_EQ(rig.tick(2), (Lines{"/one", "/uno"}));
    EXPECT_EQ(rig.plays(3, 8), Lines{}) << "they have fired";
    EXPECT_EQ(rig.tick(9), (Lines{"/two"}));
}

TEST(FlagTrack, AStartOnAFlagFiresItAndNotTheNextOne) {
    FlagRig rig;
    rig.add(5, "/one");
    rig.add(9, "/two");
    rig.preferences.processFirstKeyframe = true;
    rig.start(5);
    EXPECT_EQ(rig.plays(5, 8), (Lines{"/one"}));
}

TEST(FlagTrack, AStopTakesBackThatTheNextFlagIsSentAhead) {
    FlagRig rig;
    rig.add(5, "/one");
    rig.preferences.processFirstKeyframe = true;
    rig.start();
    rig.stop(*rig.track);
    rig.composition.runs = true;
    EXPECT_EQ(rig.plays(0, 4), Lines{});
}

TEST(FlagTrack, AChangeOfThePreferencesDecidesAnew) {
    FlagRig rig;
    rig.add(50, "/one");
    rig.start();
    EXPECT_EQ(rig.tick(0), Lines{});
    rig.preferences.processFirstKeyframe = true;
    rig.notifications.post(rig.names.SettingsChanged);
    EXPECT_EQ(rig.tick(1), (Lines{"/one"}));
    EXPECT_TRUE(rig.notifications.hasObservers(rig.names.SettingsChanged));
    rig.track->removeResources();
    EXPECT_FALSE(rig.notifications.hasObservers(rig.names.SettingsChanged));
}

TEST(FlagTrack, APlayheadThatStandsOnAFlagFiresNothingButArmsItAgain) {
    FlagRig rig;
    rig.add(3, "/go");
    rig.start();
    EXPECT_EQ(rig.plays(0, 3), (Lines{"/go"}));
    rig.stop(*rig.track);
    EXPECT_EQ(rig.tick(3), Lines{});
    rig.composition.runs = true;
    EXPECT_EQ(rig.tick(3), (Lines{"/go"}));
}

TEST(FlagTrack, ACueThatMovesAStandingPlayheadFiresWhatItPassedWhenAskedTo) {
    FlagRig rig;
    rig.add(3, "/go");
    rig.preferences.processLastKeyframeOnJump = true;
    rig.composition.runs = false;
    rig.jump(10);
    EXPECT_EQ(rig.tick(10), Lines{}) << "a hand moved it";
    rig.composition.byCue = true;
    rig.jump(12);
    EXPECT_EQ(rig.tick(12), (Lines{"/go"}));
    rig.preferences.processLastKeyframeOnJump = false;
    rig.jump(3);
    EXPECT_EQ(rig.tick(3), Lines{});
}

TEST(FlagTrack, AfterALoopAllFlagsFireAgainAndAfterACueThoseAhead) {
    FlagRig rig;
    rig.add(1, "/one");
    rig.add(5, "/two");
    rig.start();
    EXPECT_EQ(rig.plays(0, 9), (Lines{"/one", "/two"}));
    rig.compQueue.sync([&] { rig.track->compositionLooped(); });
    EXPECT_EQ(rig.plays(0, 9), (Lines{"/one", "/two"}));
    rig.composition.now = Frame(3);
    rig.compQueue.sync([&] { rig.track->compositionLoopedByCue(); });
    EXPECT_EQ(rig.plays(3, 9), (Lines{"/two"}));
}

TEST(FlagTrack, IsSilentWhenItOrItsCompositionIsOff) {
    FlagRig rig;
    rig.add(1, "/one");
    rig.track->setEnabled(false);
    rig.start();
    EXPECT_EQ(rig.plays(0, 3), Lines{});
    rig.track->setEnabled(true);
    rig.composition.isOn = false;
    EXPECT_EQ(rig.plays(0, 3), Lines{});
}

TEST(FlagTrack, ItsPlaceholdersSpeakOfTheFlag) {
    FlagRig rig;
    rig.add(0, "/a");
    rig.add(0, "/b");
    rig.add(45, "/$COMP/$COMPINDEX/$TRACK <$F> <$S> <$>");
    rig.start();
    rig.journal.take();
    rig.tick(0);
    EXPECT_EQ(rig.tick(45), (Lines{"/Comp/3/Lane 45 1.500 3"}));
}

TEST(FlagTrack, SentAheadAFlagSpeaksOfItsOwnTime) {
    FlagRig rig;
    rig.add(60, "/a <$F>");
    rig.preferences.processFirstKeyframe = true;
    rig.start();
    EXPECT_EQ(rig.tick(0), (Lines{"/a 60"}));
}

TEST(FlagTrack, QuotedTextWholeNumbersAndFractionsKeepTheirKinds) {
    FlagRig rig;
    rig.add(0, "  /a <\"text here\">   <1> <2.0>  ");
    rig.add(1, "/plain");
    rig.add(2, "no slash at all");
    rig.add(3, "/a$b <\"$x\">");
    rig.start();
    EXPECT_EQ(rig.plays(0, 3),
              (Lines{"/a \"text here\" 1 2.000", "/plain", "no slash at all", "/a$b \"$x\""}));
}

TEST(FlagTrack, AGroupMarkIsAnOrdinaryCharacter) {
    FlagRig rig;
    rig.add(0, "/a#1 <1>");
    rig.start();
    EXPECT_EQ(rig.tick(0), (Lines{"/a#1 1"}));
}

TEST(FlagTrack, ARenameReachesItsMessages) {
    FlagRig rig;
    rig.add(0, "/$TRACK <$S>");
    rig.add(30, "/$COMP <$S>");
    ASSERT_TRUE(rig.track->renameTrack("Fog"));
    rig.composition.name = "Act";
    rig.track->setOscAddresses();
    rig.journal.take();
    rig.start();
    EXPECT_EQ(rig.tick(0), (Lines{"/Fog 0.000"}));
    EXPECT_EQ(rig.tick(30), (Lines{"/Act 1.000"}));
    rig.composition.fps = 60;
    rig.track->compositionSettingsChanged();
    rig.jump(30);
    EXPECT_EQ(rig.tick(30), (Lines{"/Act 0.500"}));
}

TEST(FlagTrack, ABangSendsAFlagAndLeavesItArmed) {
    FlagRig rig;
    const auto uID = rig.add(5, "/go <$F>");
    rig.start();
    rig.track->setEnabled(false);
    rig.track->shotOnKeyframe(uID);
    EXPECT_EQ(rig.journal.take(), (Lines{"/go 5"}));
    rig.track->setEnabled(true);
    EXPECT_EQ(rig.plays(0, 6), (Lines{"/go 5"}));
    rig.track->shotOnKeyframe(4711);
    EXPECT_EQ(rig.journal.take(), Lines{});
}

TEST(FlagTrack, ItsRecordComesBackWholeWithWhatNobodyReads) {
    FlagRig rig;
    PropertyList record = rig.track->backupDataForUndo(false);
    EXPECT_EQ(record.find("oscPortName")->stringOr(""), "Out");
    EXPECT_EQ(record.find("trackOSCType"), nullptr);
    EXPECT_EQ(record.find("midiNodeName"), nullptr);
    PropertyList keyframe = flagAt(7, "/go <1>");
    keyframe.set("colour", "red");
    PropertyList keyframes = PropertyList::dictionary();
    keyframes.set("0", keyframe);
    record.set("keyFrames", keyframes);
    record.set("newKey", std::int64_t{4});
    rig.track->restoreWithData(record, true, nullptr);
    EXPECT_EQ(rig.track->backupDataForUndo(false), record);
}

TEST(FlagTrack, WhatARecordLacksOrHasWrongIsRepaired) {
    FlagRig rig;
    PropertyList keyframe = flagAt(7, "/go");
    keyframe.remove("flagAddress");
    keyframe.set("interpolation", "Sine Ease-In");
    keyframe.set("value", std::numeric_limits<double>::quiet_NaN());
    rig.track->addNewKeyFrameWithData(keyframe);
    const MarvoTimelineKeyframe& restored = rig.track->keyframes().store().all()[0];
    EXPECT_EQ(restored.flag()->flagAddress, "/example");
    EXPECT_EQ(restored.interpolationType(), "No Interpolation");
    EXPECT_EQ(restored.value, 0.0f);
    EXPECT_EQ(restored.maxValue, 0.0f);
}

TEST(FlagTrack, APastedFlagKeepsItsMessageAndMovesWithTheRate) {
    FlagRig rig;
    const auto uID = rig.add(6, "/go");
    const PropertyList copied = recordForCopy(*rig.track->keyframes().store().objectWithUID(uID), false, 60);
    EXPECT_EQ(copied.find("value"), nullptr);
    EXPECT_NE(copied.find("ratio"), nullptr);
    ASSERT_TRUE(rig.track->addNewKeyFrameWithDataByCopy(copied, FrameCount(20)));
    EXPECT_EQ(rig.track->keyframes().store().all()[1].time, Frame(13));
    EXPECT_EQ(rig.track->keyframes().store().all()[1].flag()->flagAddress, "/go");
}

TEST(FlagTrack, ARemovedFlagComesBackWithItsMessage) {
    FlagRig rig;
    const auto uID = rig.add(3, "/go");
    rig.track->removeKeyFrameWithUID(uID);
    rig.composition.undo();
    rig.start();
    EXPECT_EQ(rig.tick(3), (Lines{"/go"}));
}

TEST(FlagTrack, ANewAddressGoesToAllSelectedFlagsAndCanBeUndone) {
    FlagRig rig;
    rig.add(1, "/one");
    rig.track->setFlagAddress("nothing");
    EXPECT_EQ(rig.track->keyframes().store().all()[0].flag()->flagAddress, "/one") << "none is active";
    rig.track->addNewKeyFrameAtTime(Frame(5));
    EXPECT_EQ(rig.track->keyframes().store().all()[1].flag()->flagAddress, "/example");
    rig.composition.undos.clear();
    rig.track->setFlagAddress("go");
    EXPECT_EQ(rig.track->keyframes().store().all()[0].flag()->flagAddress, "/one");
    EXPECT_EQ(rig.track->keyframes().store().all()[1].flag()->flagAddress, "/go");
    rig.start();
    EXPECT_EQ(rig.tick(5), (Lines{"/go"}));
    rig.composition.undo();
    EXPECT_EQ(rig.track->keyframes().store().all()[1].flag()->flagAddress, "/example");
    rig.composition.undo();
    EXPECT_EQ(rig.track->keyframes().store().all()[1].flag()->flagAddress, "/go");
}

TEST(FlagTrack, ItsLabelSaysWhatIsSent) {
    FlagRig rig;
    rig.add(15, "/first");
    rig.add(45, "  /go/$TRACK/$COMPINDEX <$F> <$S> <$> <\"text\">");
    const auto& keyframes = rig.track->keyframes().store().all();
    EXPECT_EQ(rig.track->flagDisplayAddress(keyframes[0]), "/first");
    EXPECT_EQ(rig.track->flagDisplayAddress(keyframes[1]),
              "/go/" + rig.track->name() + "/3 45 <1.500> <2> <\"text\">");
}

TEST(FlagTrack, TheTickAllocatesNothing) {
    FlagRig rig;
    for (int i = 0; i < 200; ++i) rig.add(i, "/flag <$> <\"text\"> <$F>");
    rig.journal.keeps = false;
    rig.start();
    rig.tick(0);
    RealtimeScope scope;
    rig.compQueue.sync([&] {
        for (std::int64_t frame = 1; frame < 200; ++frame) rig.track->processAtTime(Frame(frame));
    });
    EXPECT_EQ(scope.violations(), 0u) << scope.report();
    EXPECT_EQ(rig.journal.count, 200u);
}
