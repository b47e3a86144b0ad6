#include "Show.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>

namespace marvo::testing {
namespace {

using ::testing::ElementsAre;

// A composition with cues that let the playhead pass.
PropertyList withCues(PropertyList composition, const std::vector<std::int64_t>& times,
                      std::int64_t type = 0) {
    PropertyList cues = PropertyList::dictionary();
    for (const std::int64_t time : times) {
        PropertyList cue = PropertyList::dictionary();
        cue.set("time", time);
        cue.set("cueName", "Cue<$>");
        cue.set("type", type);
        cues.set(std::to_string(cues.size()), cue);
    }
    PropertyList controller = PropertyList::dictionary();
    controller.set("cues", cues);
    composition.set("cueController", controller);
    return composition;
}

PropertyList twoCompositions() {
    return projectOf({withCues(compositionOf("Act One", 10, 20.0f, {}), {20, 60, 100}),
                      compositionOf("Act Two", 30, 10.0f, {})},
                     "Out");
}

std::vector<std::string> feedbackAddresses(Show& show) {
    std::vector<std::string> result;
    for (const Sent& one : show.take()) {
        if (one.feedback) result.push_back(one.address);
    }
    return result;
}

class Question : public ::testing::Test {
protected:
    Question() { show.take(); }
    // The answers as "address number" or "address text".
    template <class... Value>
    std::vector<std::string> ask(const std::string& address, Value... value) {
        OSCMessage message = OSCMessage::createWithAddress(address);
        (add(message, value), ...);
        show.receive(message);
        std::vector<std::string> result;
        for (const Sent& one : show.take()) {
            const std::string content =
                one.numbers.empty() ? one.text : std::to_string(static_cast<int>(one.numbers.front()));
            result.push_back(one.address + " " + content);
        }
        return result;
    }
    Show show{twoCompositions()};

private:
    static void add(OSCMessage& message, int value) { message.addInt(value); }
    static void add(OSCMessage& message, float value) { message.addFloat(value); }
    static void add(OSCMessage& message, const char* text) { message.addString(text); }
};

TEST_F(Question, TheSelectedCompositionTellsItsNameAndTheSecondsOfItsWorkingArea) {
    show.application.compositions.selectCompositionAtIndex(0);
    show.take();
    EXPECT_THAT(ask("/marvo/currentcompinfo"),
                ElementsAre("/marvo/compinfo/name Act One", "/marvo/compinfo/duration 20"));
}

TEST_F(Question, ACompositionIsFoundByNameOrByItsPlaceFromOne) {
    EXPECT_THAT(ask("/marvo/compinfowithname", "Act Two"),
                ElementsAre("/marvo/compinfo/name Act Two", "/marvo/compinfo/duration 10"));
    EXPECT_THAT(ask("/marvo/compinfoatindex", 1),
                ElementsAre("/marvo/compinfo/name Act One", "/marvo/compinfo/duration 20"));
    EXPECT_THAT(ask("/marvo/compinfoatindex", 0), ElementsAre());
    EXPECT_THAT(ask("/marvo/compinfoatindex", 3), ElementsAre());
    EXPECT_THAT(ask("/marvo/compinfoatindex", 1.0f), ElementsAre());
    EXPECT_THAT(ask("/marvo/compinfowithname", "Act Three"), ElementsAre());
    EXPECT_THAT(ask("/marvo/compinfowithname", 1), ElementsAre());
}

TEST_F(Question, TheNumberOfCompositionsIsTold) {
    EXPECT_THAT(ask("/marvo/countofcomps"), ElementsAre("/marvo/compcount 2"));
}

TEST_F(Question, CuesAreCountedAndToldByNameAndTime) {
    EXPECT_THAT(ask("/marvo/actone/countofcues"), ElementsAre("/marvo/actone/cuecount 3"));
    EXPECT_THAT(ask("/marvo/acttwo/countofcues"), ElementsAre("/marvo/acttwo/cuecount 0"));
    EXPECT_THAT(ask("/marvo/actone/nameofcueatindex", 2), ElementsAre("/marvo/cuename Cue2"));
    EXPECT_THAT(ask("/marvo/actone/timeofcueatindex", 3), ElementsAre("/marvo/cuetime 100"));
    EXPECT_THAT(ask("/marvo/actone/timeofcueatindex", 0), ElementsAre());
    EXPECT_THAT(ask("/marvo/actone/timeofcueatindex", 4), ElementsAre());
    EXPECT_THAT(ask("/marvo/actone/nameofcueatindex", 1.0f), ElementsAre());
    EXPECT_THAT(ask("/marvo/nobody/countofcues"), ElementsAre());
    EXPECT_THAT(ask("/other/actone/countofcues"), ElementsAre());
}

TEST_F(Question, AQuestionAboutCuesWithoutACompositionHasNoAnswer) {
    EXPECT_THAT(ask("/marvo/countofcues"), ElementsAre());
    EXPECT_THAT(ask("/marvo/nameofcueatindex", 1), ElementsAre());
}

TEST_F(Question, CuesOfTheSelectedCompositionAreReachedByCurrent) {
    show.application.compositions.selectCompositionAtIndex(0);
    show.take();
    EXPECT_THAT(ask("/marvo/current/countofcues"), ElementsAre("/marvo/actone/cuecount 3"));
}

TEST_F(Question, NothingIsAnsweredWhileFeedbackIsOff) {
    show.application.oscManager().selectOSCFeedbackTarget("Disabled");
    for (const char* address : {"/marvo/currentcompinfo", "/marvo/countofcomps", "/marvo/actone/countofcues"})
        EXPECT_THAT(ask(address), ElementsAre()) << address;
}

TEST(Inbound, ASelectionByTextIsReadAsItsNumber) {
    Show show(twoCompositions());
    show.receive("/marvo/selectcompatindex", std::string("2"));
    EXPECT_EQ(show.application.compositions.selectedCompositionIndex(), 1);
    show.receive("/marvo/selectcompatindex", 1);
    EXPECT_EQ(show.application.compositions.selectedCompositionIndex(), 0);
    for (const char* wrong : {"0", "3", "-1", "second"}) {
        show.receive("/marvo/selectcompatindex", std::string(wrong));
        EXPECT_EQ(show.application.compositions.selectedCompositionIndex(), 0) << wrong;
    }
}

TEST(Inbound, ASelectionIsReportedByItsName) {
    Show show(twoCompositions());
    show.application.compositions.selectCompositionAtIndex(0);
    show.take();
    show.receive("/marvo/selectcompwithname", std::string("Act Two"));
    EXPECT_EQ(show.application.compositions.selectedCompositionIndex(), 1);
    EXPECT_THAT(feedbackAddresses(show), ElementsAre("/marvo/current/name"));
}

TEST(Inbound, TheHueTurnsByAFloatOnlyAndComesBackWithTheNextProject) {
    Show show(twoCompositions());
    show.receive("/marvo/rotatehue", 2);
    EXPECT_EQ(show.application.prefs.playback().hueRotateForColors, 1.0f);
    show.receive("/marvo/rotatehue", 0.5f);
    EXPECT_EQ(show.application.prefs.playback().hueRotateForColors, 0.5f);
    for (const float wrong : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                              -std::numeric_limits<float>::infinity()})
        show.receive("/marvo/rotatehue", wrong);
    EXPECT_EQ(show.application.prefs.playback().hueRotateForColors, 0.5f) << "no colour is turned to nothing";
    show.load(twoCompositions());
    EXPECT_EQ(show.application.prefs.playback().hueRotateForColors, 1.0f);
}

TEST(CueCommands, JumpByNumberAndByName) {
    Show show(twoCompositions());
    show.receive("/marvo/actone/jumptocueatindex", 2);
    EXPECT_EQ(show.frame(), 60);
    show.receive("/marvo/actone/jumptocuewithname", std::string("Cue3"));
    EXPECT_EQ(show.frame(), 100);
    EXPECT_FALSE(show.composition().isRunning());
    for (const int wrong : {0, 4, -1}) show.receive("/marvo/actone/jumptocueatindex", wrong);
    show.receive("/marvo/actone/jumptocueatindex", 1.0f);
    show.receive("/marvo/actone/jumptocuewithname", 1);
    show.receive("/marvo/actone/jumptocuewithname", std::string("Cue9"));
    EXPECT_EQ(show.frame(), 100);
}

TEST(CueCommands, PlayStartsTheCompositionAtTheCue) {
    Show show(twoCompositions());
    show.receive("/marvo/actone/playcueatindex", 2);
    EXPECT_TRUE(show.composition().isRunning());
    EXPECT_EQ(show.frame(), 60);
    show.receive("/marvo/actone/playcuewithname", std::string("Cue1"));
    EXPECT_TRUE(show.composition().isRunning());
    EXPECT_EQ(show.frame(), 20);
    show.receive("/marvo/acttwo/playcueatindex", 1);
    EXPECT_FALSE(show.composition(1).isRunning());
}

TEST(CueCommands, ACueThatPausesDoesNotStopWhatItStarts) {
    Show show(projectOf({withCues(compositionOf("Act One", 10, 20.0f, {}), {20, 60}, 1)}));
    show.receive("/marvo/actone/playcueatindex", 1);
    show.tick(500);
    EXPECT_TRUE(show.composition().isRunning());
    show.tick(5000);
    EXPECT_FALSE(show.composition().isRunning());
    EXPECT_EQ(show.frame(), 60);
}

TEST(CueCommands, NextAndPreviousStepThroughTheCuesOfTheSelectedComposition) {
    Show show(twoCompositions());
    show.application.compositions.selectCompositionAtIndex(0);
    show.receive("/marvo/current/nextcue", 0);
    EXPECT_EQ(show.frame(), 20);
    show.receive("/marvo/current/nextcue", 1);
    EXPECT_EQ(show.frame(), 60);
    show.receive("/marvo/actone/prevcue", 0);
    EXPECT_EQ(show.frame(), 20);
}

TEST(CueCommands, SwitchedOffCuesLetThePlayheadPass) {
    Show show(projectOf({withCues(compositionOf("Act One", 10, 20.0f, {}), {20, 60}, 1)}));
    show.receive("/marvo/actone/cueon", 0);
    EXPECT_FALSE(show.composition().cueController.isEnabled());
    show.receive("/marvo/actone/play", 1);
    show.tick(3000);
    EXPECT_TRUE(show.composition().isRunning());
    show.receive("/marvo/actone/cueon", 5);
    show.tick(4000);
    EXPECT_FALSE(show.composition().isRunning());
    EXPECT_EQ(show.frame(), 60);
}

TEST(CueCommands, ResetLetsAPassedCueFireAgain) {
    Show show(projectOf({withCues(compositionOf("Act One", 10, 20.0f, {}), {20}, 1)}));
    show.receive("/marvo/actone/play", 1);
    show.tick(2500);
    ASSERT_FALSE(show.composition().isRunning());
    const auto fired = [&] { return show.composition().cueController.cueAtTime(Frame(20))->isProcessed; };
    EXPECT_TRUE(fired());
    show.receive("/marvo/actone/resetcuestates", 0);
    EXPECT_FALSE(fired());
}

TEST(CueCommands, FollowARenameOfTheComposition) {
    Show show(twoCompositions());
    show.application.compositions.selectCompositionAtIndex(0);
    ASSERT_TRUE(show.application.compositions.renameSelectedComposition("Finale"));
    show.receive("/marvo/actone/jumptocueatindex", 2);
    EXPECT_EQ(show.frame(), 0);
    show.receive("/marvo/finale/jumptocueatindex", 2);
    EXPECT_EQ(show.frame(), 60);
    show.receive("/marvo/finale/cueon", 0);
    EXPECT_FALSE(show.composition().cueController.isEnabled());
}

TEST(CueCommands, WhetherCuesActIsSavedWithTheProject) {
    Show show(twoCompositions());
    show.receive("/marvo/actone/cueon", 0);
    const PropertyList saved = show.saved();
    Show again(saved);
    EXPECT_FALSE(again.composition().cueController.isEnabled());
    EXPECT_TRUE(again.composition(1).cueController.isEnabled());
}

TEST(InfoDisplay, TellsNameTracksAndLengthOfTheSelectedComposition) {
    Show show;
    EXPECT_EQ(show.application.infoDisplay.text(), "No compositions");
    show.load(
        projectOf({compositionOf("Act One", 10, 65.0f, {oscTrack("A", "/a", {})}),
                   compositionOf("Act Two", 30, 10.0f, {oscTrack("A", "/a", {}), oscTrack("B", "/b", {})}),
                   compositionOf("Act Three", 30, 10.0f, {})}));
    const auto textOf = [&](std::int64_t index) {
        show.application.compositions.selectCompositionAtIndex(index);
        return show.application.infoDisplay.text();
    };
    EXPECT_EQ(textOf(0), "Act One - 1 Track - 01:05");
    EXPECT_EQ(textOf(1), "Act Two - 2 Tracks - 10s");
    EXPECT_EQ(textOf(2), "Act Three - No Tracks - 10s");
}

TEST(InfoDisplay, ShowsTheAddressOfAClickedControlAndNothingElseMeanwhile) {
    Show show(twoCompositions());
    show.application.toggleShowOSCNamespace();
    EXPECT_EQ(show.application.infoDisplay.text(), "Click on a button to get it's OSC address");
    EXPECT_TRUE(show.application.infoDisplay.isSelectable());
    show.application.master.rewindAllButton.click();
    EXPECT_EQ(show.application.infoDisplay.text(), "/marvo/rewindall (any value will trigger)");
    show.application.compositions.selectCompositionAtIndex(0);
    EXPECT_EQ(show.application.infoDisplay.text(), "/marvo/rewindall (any value will trigger)");
    show.composition().controls.playButton.click();
    EXPECT_EQ(show.application.infoDisplay.text(), "/marvo/actone/play (integer 0-1)");
    EXPECT_FALSE(show.composition().isRunning());
    show.application.toggleShowOSCNamespace();
    EXPECT_EQ(show.application.infoDisplay.text(), "Act One - No Tracks - 20s");
    EXPECT_FALSE(show.application.infoDisplay.isSelectable());
    show.composition().controls.playButton.click();
    EXPECT_TRUE(show.composition().isRunning());
}

} // namespace
} // namespace marvo::testing
