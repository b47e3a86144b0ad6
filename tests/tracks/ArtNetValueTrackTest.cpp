#include "RealtimeScope.h"
#include "TrackRig.h"
#include "tracks/ArtNetValueOutput.h"

#include <gtest/gtest.h>

using namespace marvo;
using namespace marvo::testing;

namespace {

struct DMXRig : TrackRig {
    std::unique_ptr<MarvoTimelineTrack> track = make("ArtNetValue");

    Lines sends(float value) {
        track->keyframes().removeIf([](const auto&) { return true; });
        track->addNewKeyFrameWithData(keyframeAt(0, value, "No Interpolation"));
        start(*track);
        return tick(*track, 0);
    }
    void switch16Bit(bool on) {
        track->artNet16bitButton.setState(on);
        track->artNet16bitButton.sendAction();
    }
};

} // namespace

TEST(ArtNetValueTrack, WritesTheRoundedValueToEveryChannelOfItsListInOrder) {
    DMXRig rig;
    rig.dmx.outputs = {{"Dimmer (0-3)", 3}};
    rig.track->selectArtNetOutput("Dimmer (0-3)");
    rig.track->setArtNetChannel("10, 3x2");
    rig.journal.take();
    EXPECT_EQ(rig.sends(99.5f), (Lines{"3.10=100", "3.3=100", "3.4=100"}));
}

TEST(ArtNetValueTrack, ASixteenBitValueTakesTwoChannelsTheCoarseByteFirst) {
    DMXRig rig;
    rig.track->setArtNetChannel("5x2");
    rig.switch16Bit(true);
    EXPECT_EQ(rig.sends(65535), (Lines{"0.5=255", "0.6=255", "0.7=255", "0.8=255"}));
    EXPECT_EQ(rig.sends(256), (Lines{"0.5=1", "0.6=0", "0.7=1", "0.8=0"}));
    EXPECT_EQ(rig.sends(255), (Lines{"0.5=0", "0.6=255", "0.7=0", "0.8=255"}));
}

TEST(ArtNetValueTrack, ACurveThatOvershootsStaysAtFullOrAtNothing) {
    TrackRig rig;
    ArtNetValueOutput eight({"Comp", "Lane", DMXChannelList(), 0, false}, rig.dmx);
    eight.send(280.0f, Frame(0));
    eight.send(-12.0f, Frame(0));
    EXPECT_EQ(rig.journal.take(), (Lines{"0.1=255", "0.1=0"}));
    ArtNetValueOutput sixteen({"Comp", "Lane", DMXChannelList(), 0, true}, rig.dmx);
    sixteen.send(70000.0f, Frame(0));
    sixteen.send(-300.0f, Frame(0));
    EXPECT_EQ(rig.journal.take(), (Lines{"0.1=255", "0.2=255", "0.1=0", "0.2=0"}));
}

TEST(ArtNetValueTrack, ChannelsAboveTheUniverseAreLeftOut) {
    TrackRig rig;
    const auto list = DMXChannelList::createDMXChannelsWithString("511x4");
    ArtNetValueOutput eight({"Comp", "Lane", list, 0, false}, rig.dmx);
    eight.send(1.0f, Frame(0));
    EXPECT_EQ(rig.journal.take(), (Lines{"0.511=1", "0.512=1"}));
    const auto odd = DMXChannelList::createDMXChannelsWithString("510x4");
    ArtNetValueOutput sixteen({"Comp", "Lane", odd, 0, true}, rig.dmx);
    sixteen.send(257.0f, Frame(0));
    EXPECT_EQ(rig.journal.take(), (Lines{"0.510=1", "0.511=1", "0.512=1"}));
}

TEST(ArtNetValueTrack, SwitchingSixteenBitsMidwayNeverFlashes) {
    DMXRig rig;
    rig.track->addNewKeyFrameWithData(keyframeAt(0, 255));
    rig.track->addNewKeyFrameWithData(keyframeAt(100, 255));
    rig.preferences.optimalisedSending = false;
    rig.start(*rig.track);
    EXPECT_EQ(rig.tick(*rig.track, 1), (Lines{"0.1=255"}));
    rig.switch16Bit(true);
    EXPECT_EQ(rig.tick(*rig.track, 2), (Lines{"0.1=255", "0.2=255"}));
    rig.switch16Bit(false);
    EXPECT_EQ(rig.tick(*rig.track, 3), (Lines{"0.1=255"}));
}

TEST(ArtNetValueTrack, WritesTheUniverseOfTheOutputThatItsTitleNames) {
    DMXRig rig;
    EXPECT_EQ(rig.track->artNetUniverse(), 0);
    rig.dmx.outputs = {{"A (0-1)", 1}, {"B (0-2)", 2}};
    rig.notifications.post(rig.names.artNetOutputsChanged);
    EXPECT_EQ(rig.track->settings().artNetOutput, "A (0-1)");
    EXPECT_EQ(rig.track->artNetUniverse(), 1);
    rig.track->selectArtNetOutput("B (0-2)");
    EXPECT_EQ(rig.track->artNetUniverse(), 2);
    rig.dmx.outputs = {{"A (0-1)", 1}, {"B (0-7)", 7}};
    rig.notifications.post(rig.names.artNetOutputsChanged);
    EXPECT_EQ(rig.track->settings().artNetOutput, "A (0-1)") << "the address is part of the title";
    rig.dmx.outputs = {{"A (0-1)", 1}, {"B (0-2)", 2}};
    rig.notifications.post(rig.names.artNetOutputsChanged);
    EXPECT_EQ(rig.track->artNetUniverse(), 2) << "what was chosen is there again";
}

TEST(ArtNetValueTrack, AChangedChannelListCanBeUndone) {
    DMXRig rig;
    rig.track->setArtNetChannel("4");
    rig.track->setArtNetChannel(" 7 ,900");
    EXPECT_EQ(rig.track->stringValueOfDMXChannels(), "7");
    ASSERT_EQ(rig.composition.undos.size(), 2u);
    rig.composition.undo();
    EXPECT_EQ(rig.track->stringValueOfDMXChannels(), "4");
}

TEST(ArtNetValueTrack, TellsEachChannelThatItTakes) {
    DMXRig rig;
    rig.track->setArtNetChannel("9,20x2");
    std::vector<int> channels;
    const auto observation =
        rig.notifications.observe(rig.names.collectDMXAddressesReply, [&](const DMXAddresses& reply) {
            EXPECT_EQ(reply.count, 0);
            channels.push_back(reply.channel);
        });
    rig.notifications.post(rig.names.collectDMXAddresses);
    EXPECT_EQ(channels, (std::vector<int>{9, 20, 21}));
    channels.clear();
    rig.switch16Bit(true);
    rig.notifications.post(rig.names.collectDMXAddresses);
    EXPECT_EQ(channels, (std::vector<int>{9, 10, 21, 20, 23, 22}));
    channels.clear();
    rig.track->removeResources();
    rig.notifications.post(rig.names.collectDMXAddresses);
    EXPECT_TRUE(channels.empty());
}

TEST(ArtNetValueTrack, TheTickAllocatesNothing) {
    DMXRig rig;
    rig.track->setArtNetChannel("1x200");
    rig.track->addNewKeyFrameWithData(keyframeAt(0, 0));
    rig.track->addNewKeyFrameWithData(keyframeAt(200, 255));
    rig.start(*rig.track);
    rig.journal.keeps = false;
    rig.tick(*rig.track, 0);
    RealtimeScope scope;
    for (std::int64_t frame = 1; frame < 200; ++frame)
        rig.compQueue.sync([&] { rig.track->processAtTime(Frame(frame)); });
    EXPECT_EQ(scope.violations(), 0u) << scope.report();
    EXPECT_GT(rig.journal.count, 30'000u);
}
