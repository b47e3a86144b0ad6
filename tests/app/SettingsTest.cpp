#include "Show.h"

#include <gtest/gtest.h>

using namespace marvo;
using namespace marvo::testing;

namespace {

PropertyList project() {
    PropertyList composition =
        compositionOf("One", 30, 10.0f, {oscTrack("A", "/a", {{30, 1}, {150, 2}, {300, 3}})});
    PropertyList cues = PropertyList::dictionary();
    for (const std::int64_t time : {60, 270}) {
        PropertyList cue = PropertyList::dictionary();
        cue.set("time", time);
        cue.set("cueName", "Cue<$>");
        cues.set(std::to_string(cues.size()), cue);
    }
    PropertyList controller = PropertyList::dictionary();
    controller.set("cues", cues);
    composition.set("cueController", controller);
    return projectOf({composition});
}

std::vector<std::int64_t> times(Show& show) {
    std::vector<std::int64_t> result;
    for (const auto& keyframe : show.track().keyframes().store().all()) result.push_back(keyframe.time.value);
    return result;
}

std::vector<std::int64_t> cueTimes(Show& show) {
    std::vector<std::int64_t> result;
    for (const CueRecord& cue : show.composition().cueController.saveData()) result.push_back(cue.time);
    return result;
}

} // namespace

TEST(CompositionSettings, ANewRateKeepsEverythingAtItsPlaceInSeconds) {
    Show show(project());
    show.composition().settings.setNewCompTime(10.0f, 60, {}, {});
    EXPECT_EQ(times(show), (std::vector<std::int64_t>{60, 300, 600}));
    EXPECT_EQ(cueTimes(show), (std::vector<std::int64_t>{120, 540}));
    EXPECT_EQ(show.composition().markerController.outTime(), Frame(600));
    show.application.undo.undo();
    EXPECT_EQ(times(show), (std::vector<std::int64_t>{30, 150, 300}));
    EXPECT_EQ(cueTimes(show), (std::vector<std::int64_t>{60, 270}));
    EXPECT_EQ(show.composition().state.compFPS.get(), 30);
}

TEST(CompositionSettings, AShorterCompositionLosesWhatLiesBehindItAndUndoBringsItBack) {
    Show show(project());
    show.composition().settings.setNewCompTime(5.0f, 30, {}, {});
    EXPECT_EQ(times(show), (std::vector<std::int64_t>{30, 150}));
    EXPECT_EQ(cueTimes(show), (std::vector<std::int64_t>{60}));
    EXPECT_EQ(show.composition().markerController.outTime(), Frame(150));
    show.application.undo.undo();
    EXPECT_EQ(times(show), (std::vector<std::int64_t>{30, 150, 300}));
    EXPECT_EQ(cueTimes(show), (std::vector<std::int64_t>{60, 270}));
}

TEST(CompositionSettings, ThePlayheadKeepsItsShareOfTheLength) {
    Show show(project());
    show.composition().transport.markerDraggedToTime(Frame(150));
    show.composition().settings.setNewCompTime(20.0f, 30, {}, {});
    EXPECT_EQ(show.frame(), 300);
}

TEST(CompositionSettings, TrimmingCutsToTheWorkingAreaAndUndoRestoresItAll) {
    Show show(project());
    show.composition().markerController.setInTime(Frame(60));
    show.composition().markerController.setOutTime(Frame(210));
    show.composition().settings.trimToWorkArea();
    EXPECT_EQ(times(show), (std::vector<std::int64_t>{90}));
    EXPECT_EQ(show.composition().state.compTime.get(), 5.0f);
    EXPECT_EQ(show.composition().markerController.inTime(), Frame(0));
    EXPECT_EQ(show.composition().markerController.outTime(), Frame(150));
    show.application.undo.undo();
    EXPECT_EQ(times(show), (std::vector<std::int64_t>{30, 150, 300}));
    EXPECT_EQ(show.composition().state.compTime.get(), 10.0f);
    EXPECT_EQ(show.composition().markerController.inTime(), Frame(60));
    EXPECT_EQ(show.composition().markerController.outTime(), Frame(210));
}

TEST(Cues, APauseCueStopsTheCompositionAndPlayingOnGoesPastIt) {
    Show show(project());
    show.playAll();
    show.tick(3000);
    EXPECT_FALSE(show.composition().state.isRunning);
    EXPECT_EQ(show.frame(), 60);
    show.composition().transport.togglePlay();
    show.tick(2000);
    EXPECT_TRUE(show.composition().state.isRunning);
    EXPECT_GT(show.frame(), 100);
}

TEST(UnsavedChanges, EverySwitchOfAShowThatTheFileKeepsIsOne) {
    Show show(project());
    show.application.compositions.createComposition();
    show.application.validateMasterControls();
    MasterTransport& master = show.application.master;
    CompositionControls& controls = show.composition().controls;
    for (MarvoButton* button : {&controls.loopButton, &controls.syncOutButton, &controls.compStateButton,
                                &show.composition().cueControls.enableButton, &show.track().enabledButton,
                                &master.queuedModeButton, &master.queuedLoopButton, &master.soloModeButton,
                                &show.application.artNetControls.softPatchEnableButton}) {
        show.saved();
        EXPECT_FALSE(show.application.hasUnsavedChanges());
        button->performClick();
        EXPECT_TRUE(show.application.hasUnsavedChanges()) << button->oscAddress();
    }
    for (const auto& change : std::vector<std::function<void()>>{
             [&] { show.track().lockTrack(true); }, [&] { show.composition().tracks.unmuteTracks(); },
             [&] { show.application.lockProject(); }, [&] { show.application.lockProject(); }}) {
        show.saved();
        change();
        EXPECT_TRUE(show.application.hasUnsavedChanges());
    }
    show.saved();
    show.receive("/marvo/one/compbpm", 90.0f);
    EXPECT_TRUE(show.application.hasUnsavedChanges());
    show.saved();
    show.receive("/marvo/one/compbpm", 90.0f);
    EXPECT_FALSE(show.application.hasUnsavedChanges()) << "the tempo was that before";
}

TEST(UnsavedChanges, AFaderThatIsMovedIsOneAndAFaderThatIsHeldIsNone) {
    Show show(project());
    show.application.artNetControls.masterFader.setMidiAssignWithData({0, 7});
    show.saved();
    show.receive("/marvo/artnetcolormaster", 0.5f);
    EXPECT_TRUE(show.application.hasUnsavedChanges());
    show.saved();
    show.receive("/marvo/artnetcolormaster", 0.5f);
    EXPECT_FALSE(show.application.hasUnsavedChanges());
    show.receiveMIDI({{176, 0, 7, 100}});
    EXPECT_TRUE(show.application.hasUnsavedChanges());
}

TEST(UnsavedChanges, ToPlayIsNone) {
    Show show(project());
    show.saved();
    show.playAll();
    show.tick(1000);
    show.composition().controls.playButton.performClick();
    show.composition().controls.rewindButton.performClick();
    show.tick(10);
    EXPECT_FALSE(show.application.hasUnsavedChanges());
}
