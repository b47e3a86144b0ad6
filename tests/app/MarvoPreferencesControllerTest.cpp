#include "app/MarvoPreferencesController.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>
#include <unistd.h>

namespace marvo {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class Posts final : public MarvoPreferencesObserver {
public:
    void settingsChanged() override { list.emplace_back("SettingsChanged"); }
    void redrawViews() override { list.emplace_back("RedrawViews"); }
    std::vector<std::string> list;
};

class Preferences : public ::testing::Test {
protected:
    Preferences() { controller.setObserver(&posts); }

    const PropertyList& stored(std::string_view key) const {
        static const PropertyList none;
        const PropertyList* value = store.all().find(key);
        return value ? *value : none;
    }

    PreferenceStore store;
    MarvoPreferencesController controller{store};
    Posts posts;
};

TEST_F(Preferences, AFirstStartWritesTheDefaultOfEveryKeyThatHasOne) {
    EXPECT_EQ(controller.loadDefaults(), "");
    const std::map<std::string, PropertyList> wanted = {{"midiLearn", 0},
                                                        {"needsShowOSC", 0},
                                                        {"defaultCompLoopState", true},
                                                        {"defaultCompDurationM", 0},
                                                        {"defaultCompDurationS", 10},
                                                        {"defaultCompFPS", 30},
                                                        {"defaultInterpolation", "Linear Interpolation"},
                                                        {"enableBetaUpdates", false},
                                                        {"reprocessOnUnmute", true},
                                                        {"ignorePlayButtonsOnLoading", false},
                                                        {"zoomToPlayhead", true},
                                                        {"recStopsAtEnd", true},
                                                        {"rewindOnStop", false},
                                                        {"optimalisedSending", true},
                                                        {"blackoutOnMute", true},
                                                        {"blackoutWhenSolo", true},
                                                        {"displayValueFlow", false},
                                                        {"processFirstKeyframe", false},
                                                        {"processLastKeyframeOnUnpause", false},
                                                        {"processLastKeyframeOnJump", false},
                                                        {"normalisedRecording", true},
                                                        {"disableConfirmOnQuit", false},
                                                        {"queueFromCurrentComposition", false},
                                                        {"listenToMMC", false},
                                                        {"followPlayheadDuringPlayback", true}};
    std::map<std::string, PropertyList> found;
    for (const auto& entry : store.all().entries()) found.emplace(std::string(entry.key), entry.value);
    ASSERT_EQ(found.size(), wanted.size());
    for (const auto& [key, value] : wanted) {
        EXPECT_EQ(found[key], value) << key;
        EXPECT_EQ(found[key].kind(), value.kind()) << key;
    }
}

TEST_F(Preferences, KeysWithoutADefaultStayAbsentAndCountAsNothing) {
    controller.loadDefaults();
    for (const char* key : {"processCompositions", "processKeyframes", "checkForUpdates", "showStartupWindow",
                            "ShowColumnIndexes", "lastRun", "clockVisible", "PresetsVersion"}) {
        EXPECT_TRUE(stored(key).isNone()) << key;
    }
    EXPECT_FALSE(controller.flag("processCompositions"));
    EXPECT_FALSE(controller.playback().processCompositions);
    EXPECT_EQ(controller.number("clockVisible"), 0);
    EXPECT_EQ(controller.text("PresetsVersion"), "");
}

TEST_F(Preferences, AStartKeepsEveryChoiceOfTheUser) {
    for (const PreferenceKey& key : preferenceKeys()) {
        if (key.type == PreferenceType::boolean) store.set(key.name, !key.byDefault.boolOr(false));
    }
    store.set("defaultInterpolation", "Sine Ease-In");
    store.set("defaultCompFPS", 25);
    store.set("defaultCompDurationM", 2);
    const PropertyList before = store.all();
    controller.loadDefaults();
    for (const auto& entry : before.entries())
        EXPECT_EQ(stored(entry.key), entry.value) << std::string(entry.key);
    EXPECT_FALSE(controller.playback().optimalisedSending);
    EXPECT_TRUE(controller.playback().rewindOnStop);
}

TEST_F(Preferences, LearnModeAndAddressDisplayEndWithTheRun) {
    store.set("midiLearn", 1);
    store.set("needsShowOSC", 1);
    controller.loadDefaults();
    EXPECT_EQ(controller.number("midiLearn"), 0);
    EXPECT_EQ(controller.number("needsShowOSC"), 0);
    controller.changeMidiLearn(true);
    controller.changeNeedsShowOSC(true);
    EXPECT_EQ(controller.number("midiLearn"), 1);
    controller.forgetModesOfTheLastRun();
    EXPECT_EQ(controller.number("midiLearn"), 0);
    EXPECT_EQ(controller.number("needsShowOSC"), 0);
}

TEST_F(Preferences, ALengthThatAddsUpToNothingIsTenSeconds) {
    store.set("defaultCompDurationM", 1);
    store.set("defaultCompDurationS", -1);
    controller.loadDefaults();
    EXPECT_EQ(controller.number("defaultCompDurationM"), 0);
    EXPECT_EQ(controller.number("defaultCompDurationS"), 10);
}

TEST_F(Preferences, ALengthOfMinutesOnlyIsKept) {
    store.set("defaultCompDurationM", 3);
    controller.loadDefaults();
    EXPECT_EQ(controller.number("defaultCompDurationM"), 3);
    EXPECT_TRUE(stored("defaultCompDurationS").isNone());
    EXPECT_EQ(controller.compositionDefaults().durationMinutes, 3);
    EXPECT_EQ(controller.compositionDefaults().durationSeconds, 0);
}

TEST_F(Preferences, AFrameRateOfZeroIsThirty) {
    store.set("defaultCompFPS", 0);
    controller.loadDefaults();
    EXPECT_EQ(controller.number("defaultCompFPS"), 30);
    EXPECT_EQ(controller.compositionDefaults().compFPS, 30);
}

TEST_F(Preferences, ClearingBothLengthFieldsGivesTenSeconds) {
    controller.loadDefaults();
    controller.compDefaultsChanged(0, 0, 50, false);
    EXPECT_EQ(controller.number("defaultCompDurationM"), 0);
    EXPECT_EQ(controller.number("defaultCompDurationS"), 10);
    EXPECT_EQ(controller.number("defaultCompFPS"), 50);
    EXPECT_FALSE(controller.flag("defaultCompLoopState"));
    controller.compDefaultsChanged(2, 0, 25, true);
    EXPECT_EQ(controller.number("defaultCompDurationM"), 2);
    EXPECT_EQ(controller.number("defaultCompDurationS"), 0);
    EXPECT_TRUE(controller.compositionDefaults().loop);
}

TEST_F(Preferences, ANewCompositionCanBePlayedWhateverTheFileSays) {
    controller.loadDefaults();
    store.set("defaultCompFPS", -5);
    store.set("defaultCompDurationS", -20);
    EXPECT_EQ(controller.compositionDefaults().compFPS, 30);
    EXPECT_EQ(controller.compositionDefaults().durationSeconds, 10);
    store.set("defaultCompFPS", INT64_MAX);
    store.set("defaultCompDurationM", INT64_MAX);
    const CompositionDefaults bounded = controller.compositionDefaults();
    EXPECT_EQ(bounded.compFPS, 1000);
    EXPECT_EQ(bounded.durationMinutes, 60000);
    store.set("defaultCompDurationM", INT64_MIN);
    store.set("defaultCompDurationS", INT64_MIN);
    EXPECT_EQ(controller.compositionDefaults().durationSeconds, 10);
    EXPECT_EQ(controller.loadDefaults(), "");
}

TEST_F(Preferences, AnOlderKeyBecomesItsTwoSuccessorsAndGoes) {
    store.set("processLastKeyframe", true);
    controller.loadDefaults();
    EXPECT_TRUE(controller.flag("processLastKeyframeOnUnpause"));
    EXPECT_TRUE(controller.flag("processLastKeyframeOnJump"));
    EXPECT_TRUE(controller.playback().processLastKeyframeOnUnpause);
    EXPECT_TRUE(controller.playback().processLastKeyframeOnJump);
    EXPECT_TRUE(stored("processLastKeyframe").isNone());
}

TEST_F(Preferences, AnOlderKeyStaysWhenItsSuccessorsCannotBeWritten) {
    PreferenceStore nowhere("/proc/no-folder-can-be-made-here/preferences.plist");
    nowhere.set("processLastKeyframe", true);
    MarvoPreferencesController unlucky(nowhere);
    EXPECT_NE(unlucky.loadDefaults(), "");
    EXPECT_TRUE(nowhere.has("processLastKeyframe"));
    EXPECT_TRUE(unlucky.playback().processLastKeyframeOnJump);
}

TEST_F(Preferences, ATitleThatNoCurveHasLeavesLinearSelectedAndTheKeyAsItIs) {
    store.set("defaultInterpolation", "Septic Ease-In");
    controller.loadDefaults();
    EXPECT_EQ(controller.selectedInterpolation(), "Linear Interpolation");
    EXPECT_EQ(controller.defaultInterpolation(), "Septic Ease-In");
    EXPECT_EQ(stored("defaultInterpolation"), PropertyList("Septic Ease-In"));
}

TEST_F(Preferences, EveryCurveOfThePopUpCanBeSelected) {
    controller.loadDefaults();
    for (const char* title :
         {"No Interpolation", "Linear Interpolation", "Quadratic Ease-In", "Bounce Ease-In-Out"}) {
        controller.changeDefaultInterpolation(title);
        EXPECT_EQ(controller.selectedInterpolation(), title);
        EXPECT_EQ(controller.defaultInterpolation(), title);
    }
}

struct Change {
    const char* key;
    std::function<void(MarvoPreferencesController&, bool)> apply;
};

TEST_F(Preferences, EachChangeStoresItsOwnKeyAndNoOther) {
    controller.loadDefaults();
    using C = MarvoPreferencesController;
    const std::vector<Change> changes = {
        {"processCompositions", [](C& c, bool on) { c.changeProcessCompositions(on); }},
        {"processKeyframes", [](C& c, bool on) { c.changeProcessKeyframes(on); }},
        {"enableBetaUpdates", [](C& c, bool on) { c.changeEnableBetaUpdates(on); }},
        {"checkForUpdates", [](C& c, bool on) { c.changeCheckForUpdates(on); }},
        {"reprocessOnUnmute", [](C& c, bool on) { c.changeReprocessOnUnmute(on); }},
        {"ignorePlayButtonsOnLoading", [](C& c, bool on) { c.changeIgnorePlayButtonsOnLoading(on); }},
        {"zoomToPlayhead", [](C& c, bool on) { c.changeZoomToPlayhead(on); }},
        {"recStopsAtEnd", [](C& c, bool on) { c.changeRecStopsAtEnd(on); }},
        {"rewindOnStop", [](C& c, bool on) { c.changeRewindOnStop(on); }},
        {"optimalisedSending", [](C& c, bool on) { c.changeOptimalisedSending(on); }},
        {"blackoutOnMute", [](C& c, bool on) { c.changeBlackoutOnMute(on); }},
        {"blackoutWhenSolo", [](C& c, bool on) { c.changeBlackoutWhenSolo(on); }},
        {"displayValueFlow", [](C& c, bool on) { c.changeDisplayValueFlow(on); }},
        {"processFirstKeyframe", [](C& c, bool on) { c.changeProcessFirstKeyframeButton(on); }},
        {"processLastKeyframeOnUnpause", [](C& c, bool on) { c.changeProcessLastKeyframeOnUnpause(on); }},
        {"processLastKeyframeOnJump", [](C& c, bool on) { c.changeProcessLastKeyframeOnJump(on); }},
        {"normalisedRecording", [](C& c, bool on) { c.changeNormalisedRecording(on); }},
        {"disableConfirmOnQuit", [](C& c, bool on) { c.changeDisableConfirmOnQuit(on); }},
        {"queueFromCurrentComposition", [](C& c, bool on) { c.changeQueueFromCurrentComposition(on); }},
        {"listenToMMC", [](C& c, bool on) { c.changeListenToMMC(on); }},
        {"followPlayheadDuringPlayback", [](C& c, bool) { c.changeFollowPlayhead(); }},
    };
    for (const Change& change : changes) {
        const bool before = controller.flag(change.key);
        PropertyList wanted = store.all();
        wanted.set(change.key, !before);
        change.apply(controller, !before);
        EXPECT_EQ(store.all(), wanted) << change.key;
        change.apply(controller, before);
        EXPECT_EQ(controller.flag(change.key), before) << change.key;
    }
}

TEST_F(Preferences, TheTickSeesEachChangeOfWhatItReads) {
    controller.loadDefaults();
    const PlaybackPreferences& tick = controller.playback();
    const std::map<std::string, const Relaxed<bool>*> words = {
        {"optimalisedSending", &tick.optimalisedSending},
        {"processFirstKeyframe", &tick.processFirstKeyframe},
        {"processLastKeyframeOnUnpause", &tick.processLastKeyframeOnUnpause},
        {"processLastKeyframeOnJump", &tick.processLastKeyframeOnJump},
        {"rewindOnStop", &tick.rewindOnStop},
        {"processCompositions", &tick.processCompositions},
        {"followPlayheadDuringPlayback", &tick.followPlayheadDuringPlayback},
        {"reprocessOnUnmute", &tick.reprocessOnUnmute},
        {"blackoutOnMute", &tick.blackoutOnMute},
        {"blackoutWhenSolo", &tick.blackoutWhenSolo},
        {"recStopsAtEnd", &tick.recStopsAtEnd},
    };
    for (const auto& [key, word] : words) {
        const bool before = controller.flag(key);
        EXPECT_EQ(*word, before) << key;
        EXPECT_TRUE(controller.change(key, !before));
        EXPECT_EQ(*word, !before) << key;
        controller.change(key, before);
        EXPECT_EQ(*word, before) << key;
    }
}

TEST_F(Preferences, OnlyTwoChangesAreTold) {
    controller.loadDefaults();
    for (const PreferenceKey& key : preferenceKeys()) {
        if (key.type == PreferenceType::boolean && key.name != "displayValueFlow" &&
            key.name != "processFirstKeyframe") {
            controller.change(key.name, true);
        }
    }
    EXPECT_THAT(posts.list, IsEmpty());
    controller.changeDisplayValueFlow(true);
    EXPECT_THAT(posts.list, ElementsAre("RedrawViews"));
    posts.list.clear();
    controller.changeProcessFirstKeyframeButton(true);
    EXPECT_THAT(posts.list, ElementsAre("RedrawViews", "SettingsChanged"));
}

TEST_F(Preferences, ValueFlowOfTheProjectDoesNotTouchTheKey) {
    controller.loadDefaults();
    controller.changeDisplayValueFlow(true);
    posts.list.clear();
    controller.changeDisplayValueFlowCurrentProject();
    EXPECT_FALSE(controller.displayValueFlow());
    EXPECT_TRUE(controller.flag("displayValueFlow"));
    EXPECT_THAT(posts.list, ElementsAre("RedrawViews"));
    controller.changeDisplayValueFlow(true);
    EXPECT_TRUE(controller.displayValueFlow());
}

TEST_F(Preferences, ValueFlowStartsAsItIsStored) {
    store.set("displayValueFlow", true);
    controller.loadDefaults();
    EXPECT_TRUE(controller.displayValueFlow());
}

TEST_F(Preferences, ShowingOutgoingValuesIsAStateAndNoKey) {
    controller.loadDefaults();
    const PropertyList before = store.all();
    EXPECT_FALSE(controller.shouldDisplayOutValue());
    controller.changeDisplayTrackOutputs();
    EXPECT_TRUE(controller.shouldDisplayOutValue());
    EXPECT_TRUE(controller.playback().displayTrackOutputs);
    controller.changeProcessKeyframes(true); // refreshes what the tick reads
    EXPECT_TRUE(controller.shouldDisplayOutValue());
    controller.changeDisplayTrackOutputs();
    EXPECT_FALSE(controller.shouldDisplayOutValue());
    controller.changeProcessKeyframes(false);
    store.remove("processKeyframes");
    EXPECT_EQ(store.all(), before);
}

TEST_F(Preferences, BetaUpdatesHaveAFeedOfTheirOwn) {
    controller.loadDefaults();
    EXPECT_EQ(controller.updateFeedQuery(), "");
    controller.changeEnableBetaUpdates(true);
    EXPECT_EQ(controller.updateFeedQuery(), "?beta=1");
}

TEST_F(Preferences, RemembersTheFeedbackTarget) {
    controller.setOSCFeedbackTarget("Lights");
    EXPECT_EQ(controller.oscFeedbackTarget(), "Lights");
    EXPECT_EQ(stored("oscFeedbackTarget"), PropertyList("Lights"));
}

TEST_F(Preferences, RefusesAKeyThatIsNotThereAndAValueOfAnotherType) {
    EXPECT_FALSE(controller.change("loudness", true));
    EXPECT_FALSE(controller.change("rewindOnStop", "true"));
    EXPECT_FALSE(controller.change("defaultInterpolation", 1));
    EXPECT_FALSE(controller.change("lastRun", 1));
    EXPECT_FALSE(controller.change("rewindOnStop", PropertyList()));
    EXPECT_EQ(store.all().size(), 0U);
}

TEST_F(Preferences, AChangeFromTextDoesWhatTheClickDoes) {
    controller.loadDefaults();
    EXPECT_EQ(controller.setFromText("processFirstKeyframe", "true"), "");
    EXPECT_TRUE(controller.playback().processFirstKeyframe);
    EXPECT_THAT(posts.list, ElementsAre("RedrawViews", "SettingsChanged"));
    EXPECT_EQ(stored("processFirstKeyframe"), PropertyList(true));
    EXPECT_NE(controller.setFromText("processFirstKeyframe", "maybe"), "");
    EXPECT_TRUE(controller.playback().processFirstKeyframe);
}

TEST_F(Preferences, AnOverrideOfTheCommandLineHoldsForTheRunAndIsNeverWritten) {
    EXPECT_EQ(setPreferenceOverride(store, "rewindOnStop", "true"), "");
    EXPECT_EQ(setPreferenceOverride(store, "optimalisedSending", "0"), "");
    controller.loadDefaults();
    EXPECT_TRUE(controller.playback().rewindOnStop);
    EXPECT_FALSE(controller.playback().optimalisedSending);
    EXPECT_EQ(stored("rewindOnStop"), PropertyList(false));
    controller.changeRewindOnStop(false);
    EXPECT_TRUE(controller.playback().rewindOnStop);
}

TEST_F(Preferences, WhatIsLoadedOnceIsThereOnTheNextStart) {
    std::string folder = "/tmp/marvo-prefs-XXXXXX";
    ASSERT_NE(::mkdtemp(folder.data()), nullptr);
    const std::string path = folder + "/preferences.plist";
    {
        PreferenceStore file(path);
        MarvoPreferencesController first(file);
        EXPECT_EQ(first.loadDefaults(), "");
        first.changeRewindOnStop(true);
        first.setOSCFeedbackTarget("Lights");
        EXPECT_EQ(first.synchronise(), "");
    }
    PreferenceStore file(path);
    EXPECT_EQ(file.warning(), "");
    MarvoPreferencesController second(file);
    EXPECT_EQ(second.loadDefaults(), "");
    EXPECT_TRUE(second.playback().rewindOnStop);
    EXPECT_EQ(second.oscFeedbackTarget(), "Lights");
    std::filesystem::remove_all(folder);
}

} // namespace
} // namespace marvo
