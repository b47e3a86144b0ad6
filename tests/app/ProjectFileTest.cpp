#include "Show.h"

#include <clocale>
#include <fstream>
#include <gtest/gtest.h>

using namespace marvo;
using namespace marvo::testing;

namespace {

PropertyList smallProject() {
    return projectOf(
        {compositionOf("One", 30, 2.0f, {oscTrack("A", "/a", {{0, 0.5f}, {30, 99.25f, "Sine Ease-In"}})}),
         compositionOf("Two", 25, 3.0f, {oscTrack("B", "/b#1", {{0, 10}})}, true)});
}

PropertyList with(PropertyList value, const std::vector<std::string>& path, const PropertyList& leaf) {
    if (path.size() == 1) {
        value.set(path[0], leaf);
        return value;
    }
    const PropertyList* inner = value.find(path[0]);
    PropertyList changed =
        with(inner ? *inner : PropertyList::dictionary(), {path.begin() + 1, path.end()}, leaf);
    value.set(path[0], changed);
    return value;
}

const PropertyList* at(const PropertyList& value, const std::vector<std::string>& path) {
    const PropertyList* here = &value;
    for (const std::string& key : path) here = here ? here->find(key) : nullptr;
    return here;
}

} // namespace

TEST(ProjectFile, SavingWhatWasLoadedIsAFixedPoint) {
    Show show(smallProject());
    const PropertyList first = show.saved();
    Show again;
    again.load(first);
    EXPECT_EQ(again.saved(), first);
}

// Each key with a value that a new project would not have.
TEST(ProjectFile, EveryKeyOfARecordComesBack) {
    const PropertyList learned = with(with(with(PropertyList::dictionary(), {"midiChannel"}, PropertyList(3)),
                                           {"midiControl"}, PropertyList(44)),
                                      {"state"}, PropertyList(false));
    const PropertyList tempo = with(with(PropertyList::dictionary(), {"midiChannel"}, PropertyList(3)),
                                    {"midiControl"}, PropertyList(45));
    PropertyList mark = PropertyList::array();
    mark.push_back("notes");
    mark.push_back(2);
    std::vector<std::pair<std::vector<std::string>, PropertyList>> values = {
        {{"appData", "selectedComposition"}, PropertyList(1)},
        {{"appData", "isProjectLocked"}, PropertyList(true)},
        {{"appData", "WindowFrame"}, PropertyList("{{1, 2}, {3, 4}}")},
        {{"appData", "preferences", "displayTrackOutputs"}, PropertyList(true)},
        {{"Comp-0", "compFPS"}, PropertyList(25)},
        {{"Comp-0", "compTime"}, PropertyList(33.5)},
        {{"Comp-0", "compSpeed"}, PropertyList("99.5 bpm")},
        {{"Comp-0", "compName"}, PropertyList("Überraschung")},
        {{"Comp-0", "compState"}, PropertyList(false)},
        {{"Comp-0", "compSpeedAssigns"}, tempo},
        {{"Comp-0", "throttler", "inTime"}, PropertyList(10)},
        {{"Comp-0", "throttler", "outTime"}, PropertyList(200)},
        {{"Comp-0", "mtcOutStartTime"}, PropertyList(2.5)},
        {{"Comp-0", "mtcOutFPS"}, PropertyList("12")},
        {{"Comp-0", "mtcOutDestination"}, PropertyList("Deck")},
        {{"Comp-0", "transmitsMMC"}, PropertyList(true)},
        {{"Comp-0", "transmitsMTC"}, PropertyList(false)},
        {{"Comp-0", "useCompIDWithMMC"}, PropertyList(true)},
        {{"Comp-0", "midiSyncSourcePopup"}, PropertyList("Clock")},
        {{"Comp-0", "mtcFormat"}, PropertyList(2)},
        {{"Comp-0", "smpteOffset"}, PropertyList(4.5)},
        {{"Comp-0", "lastOSCTrackAddress"}, PropertyList("/last/track")},
        {{"Comp-0", "lastOSCFlagAddress"}, PropertyList("/last/flag")},
        {{"Comp-0", "tracks", "tr-0", "trackName"}, PropertyList("Pult")},
        {{"Comp-0", "tracks", "tr-0", "enabledButton"}, learned},
        {{"Comp-0", "tracks", "tr-0", "trackOSCType"}, PropertyList(1)},
        {{"Comp-0", "tracks", "tr-0", "trackMinValue"}, PropertyList(-5.0)},
        {{"Comp-0", "tracks", "tr-0", "trackMaxValue"}, PropertyList(55.0)},
        {{"Comp-0", "tracks", "tr-0", "isUsing5FractionDigits"}, PropertyList(true)},
        {{"Comp-0", "tracks", "tr-0", "sendsNormalisedValue"}, PropertyList(true)},
        {{"Comp-0", "tracks", "tr-0", "trackOSCAddress"}, PropertyList("/b/c")},
        {{"Comp-0", "tracks", "tr-0", "markedForRecord"}, mark},
        {{"Comp-0", "tracks", "tr-0", "isLocked"}, PropertyList(true)},
        {{"Comp-0", "tracks", "tr-0", "isCollapsed"}, PropertyList(true)},
        {{"Comp-0", "tracks", "tr-0", "cachedMuteState"}, PropertyList(1)},
        {{"Comp-0", "tracks", "tr-0", "recordedSession"}, PropertyList(true)},
        {{"Comp-0", "tracks", "tr-0", "keyFrames", "0", "time"}, PropertyList(3)},
        {{"Comp-0", "tracks", "tr-0", "keyFrames", "0", "interpolation"}, PropertyList("No Interpolation")},
    };
    for (const char* button : {"trackAddButton", "rewindButton", "loopButton", "playButton", "recButton",
                               "syncOutButton", "compStateButton"})
        values.push_back({{"Comp-0", button}, learned});
    for (const char* button : {"enableButton", "nextCueButton", "prevCueButton"})
        values.push_back({{"Comp-0", "cueController", button}, learned});
    for (const char* button : {"addCompositionButton", "togglePlayAllButton", "queuedModeButton",
                               "queuedLoopButton", "assignHelperButton", "rewindAllButton", "soloModeButton",
                               "triggerNextButton", "triggerPrevButton", "blackoutButton"})
        values.push_back({{"appData", button}, learned});
    PropertyList project = smallProject();
    for (const auto& [place, value] : values) project = with(project, place, value);

    Show show;
    ASSERT_TRUE(show.load(project).done);
    const PropertyList saved = show.saved();
    for (const auto& [place, value] : values) {
        const PropertyList* kept = at(saved, place);
        ASSERT_NE(kept, nullptr) << place.back();
        EXPECT_EQ(*kept, value) << place.back();
    }
}

TEST(ProjectFile, KeepsUnknownKeysAtEveryLevel) {
    PropertyList project = smallProject();
    const PropertyList strange = with(PropertyList::dictionary(), {"deep", "er"}, PropertyList(7));
    const std::vector<std::vector<std::string>> places = {
        {"somethingElse"},
        {"appData", "newPart"},
        {"appData", "audioManager"},
        {"Comp-0", "newKey"},
        {"Comp-0", "cueController", "newCueKey"},
        {"Comp-0", "tracks", "tr-0", "newTrackKey"},
        {"Comp-0", "tracks", "tr-0", "keyFrames", "1", "newKeyframeKey"},
    };
    for (const auto& place : places) project = with(project, place, strange);
    Show show;
    LoadReport report;
    ASSERT_TRUE(show.load(project, &report).done);
    const PropertyList saved = show.saved();
    for (const auto& place : places) {
        const PropertyList* kept = at(saved, place);
        ASSERT_NE(kept, nullptr) << place.back();
        EXPECT_EQ(*kept, strange) << place.back();
    }
}

TEST(ProjectFile, KeepsTracksOfTypesThatAreNotBuiltIn) {
    PropertyList project = smallProject();
    PropertyList audio = PropertyList::dictionary();
    audio.set("trackType", "AudioFile");
    audio.set("trackName", "Rain");
    audio.set("trackPos", 1);
    audio.set("enabledButton", buttonOf(true));
    audio.set("keyFrames", with(PropertyList::dictionary(), {"0", "file"}, PropertyList("rain.wav")));
    project = with(project, {"Comp-0", "tracks", "tr-1"}, audio);
    Show show(project);
    EXPECT_EQ(*at(show.saved(), {"Comp-0", "tracks", "tr-1"}), audio);
}

TEST(ProjectFile, AnUnreadableFileLeavesTheProjectInMemory) {
    Show show(smallProject());
    const PropertyList before = show.saved();
    std::ofstream(show.file("bad.mrv")) << "garbage";
    const ProjectResult result = show.application.openProject(show.file("bad.mrv"), nullptr);
    EXPECT_FALSE(result.done);
    EXPECT_NE(result.error.find("bad.mrv"), std::string::npos);
    EXPECT_EQ(show.application.compositions.count(), 2u);
    EXPECT_EQ(show.saved(), before);
    EXPECT_FALSE(show.application.gate.shouldIgnoreRendering());
}

TEST(ProjectFile, RefusesWhatIsNoProjectWithOneLine) {
    Show show;
    for (const PropertyList& root : {PropertyList("text"), PropertyList::array(), PropertyList::dictionary(),
                                     with(PropertyList::dictionary(), {"x"}, 1)}) {
        const ProjectResult result = show.load(root);
        EXPECT_FALSE(result.done);
        EXPECT_EQ(result.error.find('\n'), std::string::npos);
        EXPECT_NE(result.error.find("show.mrv"), std::string::npos);
    }
}

TEST(ProjectFile, AFailedSaveBeepsAndKeepsTheOldFileAndTheTitle) {
    Show show(smallProject());
    int beeps = 0;
    show.application.onBeep = [&] { ++beeps; };
    show.application.projectChanged();
    const std::string title = show.application.windowTitle();
    EXPECT_FALSE(show.application.projectFile.processSaveWithURL("/no/such/folder/x.mrv").done);
    EXPECT_EQ(beeps, 1);
    EXPECT_EQ(show.application.windowTitle(), title);
    EXPECT_TRUE(readPropertyList(show.file("show.mrv")).ok());
}

TEST(ProjectFile, TheTitleHasAnAsteriskFromAChangeUntilASave) {
    Show show(smallProject());
    EXPECT_EQ(show.application.windowTitle(), "Marvo - show (05s)");
    show.composition().tracks.createTrackOfTpye("OSCValue");
    show.main.pump();
    EXPECT_EQ(show.application.windowTitle(), "Marvo - show* (05s)");
    show.application.projectFile.processSaveWithURL(show.file("other.mrv"));
    EXPECT_EQ(show.application.windowTitle(), "Marvo - other (05s)");
    EXPECT_EQ(Show().application.windowTitle(), "Marvo - Untitled project (00s)");
}

TEST(ProjectFile, LoadingSendsNothingAndDoesNotMarkTheProject) {
    Show show;
    show.take();
    show.load(smallProject());
    EXPECT_TRUE(show.take().empty());
    EXPECT_EQ(show.application.windowTitle().find('*'), std::string::npos);
}

TEST(ProjectFile, SavedWithPlayAllOnItStartsAtTheEndOfItsLoad) {
    const PropertyList project = with(smallProject(), {"appData", "togglePlayAllButton"}, buttonOf(true));
    Show show(project);
    show.tick(100);
    EXPECT_TRUE(show.composition(0).state.isRunning);
    EXPECT_TRUE(show.composition(1).state.isRunning);
}

TEST(ProjectFile, IgnoredPlayButtonsLoadAsOff) {
    PropertyList project = with(smallProject(), {"appData", "togglePlayAllButton"}, buttonOf(true));
    project = with(project, {"Comp-0", "playButton"}, buttonOf(true));
    Show show;
    show.application.prefs.changeIgnorePlayButtonsOnLoading(true);
    show.load(project);
    show.tick(100);
    EXPECT_FALSE(show.composition(0).state.isRunning);
    EXPECT_FALSE(show.application.master.togglePlayAllButton.state());
}

TEST(ProjectFile, ASavedPlayButtonStartsItsComposition) {
    Show show(with(smallProject(), {"Comp-1", "playButton"}, buttonOf(true)));
    EXPECT_FALSE(show.composition(0).state.isRunning);
    EXPECT_TRUE(show.composition(1).state.isRunning);
}

TEST(ProjectFile, OldMidiFiltersBecomeTheTwoElementForm) {
    PropertyList pair = PropertyList::array();
    pair.push_back(true);
    pair.push_back(false);
    PropertyList project = with(smallProject(), {"appData", "midiFilters", "Ch:1 CC:7"}, true);
    project = with(project, {"appData", "midiFilters", "Ch:1 CC:8"}, pair);
    Show show(project);
    const PropertyList saved = show.saved();
    PropertyList migrated = PropertyList::array();
    migrated.push_back(false);
    migrated.push_back(true);
    EXPECT_EQ(*at(saved, {"appData", "midiFilters", "Ch:1 CC:7"}), migrated);
    EXPECT_EQ(*at(saved, {"appData", "midiFilters", "Ch:1 CC:8"}), pair);
}

TEST(ProjectFile, ASavedSelectionIsRestoredAndMinusOneSelectsNothing) {
    Show show(with(smallProject(), {"appData", "selectedComposition"}, 0));
    EXPECT_EQ(show.application.compositions.selectedCompositionIndex(), 0);
    show.load(with(smallProject(), {"appData", "selectedComposition"}, -1));
    EXPECT_EQ(show.application.compositions.selectedCompositionIndex(), -1);
}

TEST(ProjectFile, AFileOfOneEntryLoadsWithoutCompositions) {
    PropertyList project = smallProject();
    project.remove("Comp-0");
    project.remove("Comp-1");
    Show show;
    EXPECT_TRUE(show.load(project).done);
    EXPECT_EQ(show.application.compositions.count(), 0u);
}

TEST(ProjectFile, WithoutAppDataItsLastCompositionIsNotRead) {
    PropertyList project = smallProject();
    project.remove("appData");
    Show show;
    LoadReport report;
    EXPECT_TRUE(show.load(project, &report).done);
    EXPECT_EQ(show.application.compositions.count(), 1u);
    EXPECT_FALSE(report.empty());
}

TEST(ProjectFile, RemovingAProjectEmptiesTheApplicationButKeepsTheQueuedLoopAssignment) {
    Show show(smallProject());
    show.application.master.queuedLoopButton.setMidiAssignWithData({1, 2});
    show.application.master.queuedModeButton.setMidiAssignWithData({3, 4});
    show.application.projectFile.removeProject();
    EXPECT_EQ(show.application.compositions.count(), 0u);
    EXPECT_EQ(show.application.windowTitle(), "Marvo - Untitled project (00s)");
    EXPECT_EQ(show.application.master.queuedLoopButton.midiChannel(), 1);
    EXPECT_EQ(show.application.master.queuedModeButton.midiChannel(), -1);
}

TEST(ProjectFile, ElevenTracksLoadInTextOrderAndStandInTheirSavedPositions) {
    std::vector<PropertyList> tracks;
    for (int i = 0; i < 11; ++i) tracks.push_back(oscTrack("T" + std::to_string(i), "/t", {}));
    Show show(projectOf({compositionOf("One", 30, 1.0f, tracks)}));
    EXPECT_EQ(show.composition().tracks.all()[2]->name(), "T10") << "the eleventh is made before the third";
    EXPECT_EQ(show.composition().tracks.trackAtPosition(2)->name(), "T2");
    EXPECT_EQ(show.composition().tracks.trackAtPosition(10)->name(), "T10");
}

TEST(ProjectFile, RepairsAreReportedOneLineEach) {
    PropertyList track = oscTrack("A", "/a", {{0, 1}, {5000, 1}, {3, 4, "Wobbly"}});
    track.set("trackMinValue", 80.0f);
    track.set("trackMaxValue", 20.0f);
    track.set("oscPortName", "Gone");
    Show show;
    LoadReport report;
    show.load(projectOf({compositionOf("One", 30, 1.0f, {track})}), &report);
    const auto says = [&](const std::string& part) {
        return std::any_of(report.lines().begin(), report.lines().end(),
                           [&](const std::string& line) { return line.find(part) != std::string::npos; });
    };
    EXPECT_TRUE(says("frame 5000 lies past the end"));
    EXPECT_TRUE(says("trackMax<trackMin"));
    EXPECT_TRUE(says("\"Gone\" is not there"));
    EXPECT_TRUE(says("\"Wobbly\" is not known"));
    EXPECT_EQ(show.track().trackMinValue(), 20.0f);
    EXPECT_EQ(show.track().keyframeCount(), 2u);
}
