// Corners of the rules that an operator meets seldom and remembers long.
#include "RealtimeScope.h"
#include "Show.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace marvo::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

PropertyList threeCompositions(const std::string& feedback = "Disabled") {
    std::vector<PropertyList> compositions;
    for (const char* name : {"One", "Two", "Three"})
        compositions.push_back(compositionOf(name, 30, 1.0f, {oscTrack("Lane", "/x", {{0, 0}, {30, 100}})}));
    return projectOf(compositions, feedback);
}

std::vector<bool> running(Show& show) {
    std::vector<bool> states;
    for (const auto& element : show.application.compositions.all())
        states.push_back(element->timelineController().state.isRunning);
    return states;
}

// What comes to somebody who listens on an address of their own.
class Ear {
public:
    Ear(Show& show, const std::string& address) : show_(show) {
        show.application.listeners().listen(this, address, "", OSCListenerTable::Place::compositionQueue,
                                            [this](const OSCArgument& value) { heard.push_back(value); });
    }
    ~Ear() { show_.application.listeners().drop(this); }
    std::vector<OSCArgument> heard;

private:
    Show& show_;
};

TEST(ArtNetControls, ARecordThatDoesNotSayLeavesNoSoftPatchSwitchedOn) {
    Show show(threeCompositions());
    MarvoArtNetManager& manager = show.application.artNetManager();
    MarvoButton& button = show.application.artNetControls.softPatchEnableButton;
    button.setState(true);
    button.sendAction();
    ASSERT_TRUE(manager.softPatchEnabled());
    const PropertyList saysSo = manager.saveData();
    PropertyList record = saysSo;
    record.remove("softPatchEnableButton");
    manager.loadData(&record);
    EXPECT_FALSE(button.state());
    EXPECT_FALSE(manager.softPatchEnabled());
    manager.loadData(&saysSo);
    EXPECT_TRUE(button.state());
    EXPECT_TRUE(manager.softPatchEnabled());
}

TEST(MasterTransport, ALoopedQueueOfOneEnabledCompositionPlaysItAgain) {
    Show show(threeCompositions());
    show.application.compositions.selectCompositionAtIndex(1);
    show.composition(0).changeCompState(false);
    show.composition(2).changeCompState(false);
    show.application.master.queuedModeButton.setState(true);
    show.application.master.queuedLoopButton.setState(true);
    show.playAll();
    show.tick(1100);
    EXPECT_THAT(running(show), ElementsAre(false, true, false));
    EXPECT_LT(show.frame(1), 10) << "from its start";
    show.tick(100);
    const std::int64_t frame = show.frame(1);
    show.application.master.triggerNextComposition();
    EXPECT_THAT(running(show), ElementsAre(false, true, false)) << "what runs is not switched off";
    EXPECT_EQ(show.frame(1), frame);
}

TEST(MasterTransport, PreviousSkipsMutedCompositions) {
    Show show(threeCompositions());
    show.application.compositions.selectCompositionAtIndex(2);
    show.composition(1).changeCompState(false);
    show.application.master.triggerPrevComposition();
    show.main.pump();
    EXPECT_THAT(running(show), ElementsAre(true, false, false));
    EXPECT_EQ(show.application.compositions.selectedCompositionIndex(), 0);
}

TEST(MasterTransport, ASoloBlackoutIsSentAtEachStartAndAtNoStop) {
    Show show(threeCompositions());
    int blackouts = 0;
    show.application.master.doBlackout = [&] { ++blackouts; };
    show.application.prefs.changeBlackoutWhenSolo(true);
    show.composition(0).transport.togglePlay();
    EXPECT_EQ(blackouts, 0) << "solo mode is off";
    show.composition(0).transport.togglePlay();
    show.application.master.soloModeButton.setState(true);
    show.composition(0).transport.togglePlay();
    EXPECT_EQ(blackouts, 1);
    show.composition(1).transport.togglePlay();
    EXPECT_EQ(blackouts, 2);
    show.application.master.stopCompositions();
    EXPECT_EQ(blackouts, 2);
    show.playAll();
    EXPECT_EQ(blackouts, 3) << "also a start by play all";
    show.stopAll();
    show.tick(50);
    EXPECT_EQ(blackouts, 3);
    show.application.prefs.changeBlackoutWhenSolo(false);
    show.composition(2).transport.togglePlay();
    EXPECT_EQ(blackouts, 3);
}

TEST(Inbound, WithoutASelectionTheCurrentAddressReachesNobody) {
    Show show(threeCompositions());
    show.application.removeCompositionAtIndex(2);
    show.application.removeCompositionAtIndex(1);
    show.application.removeCompositionAtIndex(0);
    ASSERT_EQ(show.application.compositions.selectedComposition(), nullptr);
    Ear literal(show, "/marvo/current/play");
    Ear rewritten(show, "/marvo//play");
    show.receive("/marvo/current/play", 1);
    EXPECT_EQ(literal.heard.size(), 1U) << "the address keeps its form, in which no control listens";
    EXPECT_THAT(rewritten.heard, IsEmpty());
    show.application.newProject();
    show.receive("/marvo/current/play", 1);
    EXPECT_EQ(literal.heard.size(), 1U) << "with a selection it is no address of its own";
    EXPECT_TRUE(show.composition().isRunning());
}

TEST(Inbound, AnAddressToAllArrivesOnceForEachComposition) {
    Show show(threeCompositions());
    Ear one(show, "/marvo/one/light");
    Ear three(show, "/marvo/three/light");
    Ear all(show, "/marvo/all/light");
    show.receive("/marvo/all/light", 7);
    EXPECT_EQ(one.heard.size(), 1U);
    EXPECT_EQ(three.heard.size(), 1U);
    EXPECT_THAT(all.heard, IsEmpty());
    EXPECT_EQ(one.heard.at(0).intValue, 7);
}

TEST(Inbound, AMessageWithoutAValueCountsAsTheIntegerZero) {
    Show show(threeCompositions());
    Ear ear(show, "/desk/go");
    show.receive(OSCMessage::createWithAddress("/desk/go"));
    ASSERT_EQ(ear.heard.size(), 1U);
    EXPECT_EQ(ear.heard[0].type, OSCValue::typeInt);
    EXPECT_EQ(ear.heard[0].intValue, 0);
    show.receive("/marvo/one/loop", 1);
    show.receive(OSCMessage::createWithAddress("/marvo/one/loop"));
    EXPECT_FALSE(show.composition().loops());
}

TEST(Inbound, ForeignAddressesAreRoutedUnlessARecordingIsArmed) {
    Show show(threeCompositions());
    Ear known(show, "/desk/1");
    show.receive("/desk/1", 1);
    EXPECT_EQ(known.heard.size(), 1U);
    show.receive("/marvo/one/record", 1);
    show.receive("/desk/1", 1);
    show.application.recorder.oscFilters.toggleAllowed("/desk/1", {});
    show.receive("/desk/1", 1);
    EXPECT_EQ(known.heard.size(), 1U) << "neither recorded nor dropped messages reach who listens";
    show.receive("/marvo/one/record", 0);
    show.receive("/desk/1", 1);
    EXPECT_EQ(known.heard.size(), 2U);
}

TEST(Inbound, ANoteOffReachesWhatIsAssignedToItsNote) {
    Show show(threeCompositions("Out"));
    MarvoSlider& fader = show.application.artNetControls.masterFader;
    fader.setMidiAssignWithData({0, 60});
    show.take();
    show.receiveMIDI({{128, 0, 60, 64}});
    EXPECT_EQ(fader.midiType(), 128);
    EXPECT_EQ(fader.value(), 1.0f) << "which it does not move";
    EXPECT_EQ(show.take().size(), 1U) << "but its action is sent, and reports";
    show.receiveMIDI({{144, 0, 60, 100}});
    EXPECT_EQ(fader.value(), 0.0f);
}

TEST(CompositionSet, RenamingMovesTheAddressesOfTracksToo) {
    Show show(threeCompositions());
    show.application.compositions.selectCompositionAtIndex(0);
    ASSERT_TRUE(show.application.compositions.renameSelectedComposition("My Comp 1"));
    show.receive("/marvo/one/lane/enable", 0);
    EXPECT_TRUE(show.track().isEnabled());
    show.receive("/marvo/mycomp1/lane/enable", 0);
    EXPECT_FALSE(show.track().isEnabled());
    show.receive("/marvo/mycomp1/cueon", 0);
    EXPECT_FALSE(show.composition().cueController.isEnabled());
}

TEST(CompositionSet, WhileItsTempoComesFromElsewhereNobodySetsIt) {
    Show show(threeCompositions());
    show.composition().controls.compSpeed.setIgnored(true);
    show.receive("/marvo/one/compbpm", 60.0f);
    EXPECT_EQ(show.composition().state.compBPM, 120.0f);
    show.composition().controls.compSpeed.setIgnored(false);
    show.receive("/marvo/one/compbpm", 60.0f);
    EXPECT_EQ(show.composition().state.compBPM, 60.0f);
}

// A message with a name this long does not fit into what is kept ready: that it is built can be seen.
TEST(Feedback, WhileItIsOffNoMessageIsBuilt) {
    Show show(projectOf({compositionOf(std::string(5000, 'x'), 30, 1.0f, {})}));
    const auto allocations = [&] {
        RealtimeScope scope;
        show.composition().feedback.sendCurrentCompositionNameByFeedback();
        show.composition().feedback.processOSCFeedbacks();
        return scope.violations();
    };
    EXPECT_EQ(allocations(), 0U);
    show.application.oscManager().selectOSCFeedbackTarget("Out");
    if (RealtimeScope::active()) {
        EXPECT_GT(allocations(), 0U);
    }
}

} // namespace
} // namespace marvo::testing
