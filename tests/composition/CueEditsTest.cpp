// Cues as the operator edits them.
#include "FakeCueComposition.h"

#include <gtest/gtest.h>

#include <limits>

using namespace marvo;
using marvo::testing_support::FakeCueComposition;

namespace {

using Times = std::vector<std::int64_t>;

class CueEditing : public ::testing::Test {
protected:
    void select(std::initializer_list<std::size_t> indexes) {
        composition.cues.deselectCues();
        for (const std::size_t index : indexes) composition.cue(index).selected = true;
    }
    std::vector<bool> selection() {
        std::vector<bool> flags;
        composition.cues.cues().forEach([&flags](const MarvoCue& cue) { flags.push_back(cue.selected); });
        return flags;
    }
    void typeTime(const char* text, Frame shown) {
        const auto delta = composition.edits.deltaOfTimeText(text, shown);
        if (delta) composition.edits.moveMultiCuesWithTimeDelta(*delta);
    }
    FakeCueComposition composition; // 3000 frames
};

} // namespace

TEST_F(CueEditing, NewCueAtAFrameIsTheOnlySelectedAndTheActiveOne) {
    composition.add(200).selected = true;
    composition.cue(0).isProcessed = true;
    EXPECT_EQ(composition.cues.addNewCueAtTime(Frame(100)), 0u);
    EXPECT_EQ(selection(), (std::vector<bool>{true, false}));
    EXPECT_EQ(composition.cues.activeCue(), &composition.cue(0));
    EXPECT_TRUE(composition.cue(0).isActiveCue);
    EXPECT_EQ(composition.cue(1).previousCue, composition.cue(0).id);
    EXPECT_TRUE(composition.cue(1).isProcessed) << "no new pass";
    EXPECT_EQ(composition.undo(), "Add Cue");
    EXPECT_EQ(composition.times(), Times{200});
    EXPECT_EQ(composition.cues.activeCue(), nullptr);
    EXPECT_EQ(composition.undo(), "Remove Cue");
    EXPECT_EQ(composition.times(), (Times{100, 200}));
}

TEST_F(CueEditing, NewCueInTheRowStandsUnderThePointerAndStartsANewPass) {
    composition.add(200).isProcessed = true;
    EXPECT_EQ(composition.cues.addNewCueAtLocation(50.3f, 300.0f), 1u);
    EXPECT_EQ(composition.cue(1).time, Frame(503));
    EXPECT_FALSE(composition.cue(0).isProcessed);
    EXPECT_GE(composition.projectChanges, 1);
}

TEST_F(CueEditing, PointInTheRowIsRoundedAndStaysInsideTheComposition) {
    composition.cues.updateCue(composition.add(0), 100.06f, 3000.0f);
    EXPECT_EQ(composition.cue(0).time, Frame(100));
    EXPECT_EQ(composition.cues.timeAtLocation(100.6f, 3000.0f), Frame(101));
    EXPECT_EQ(composition.cues.timeAtLocation(-20.0f, 3000.0f), Frame(0));
    EXPECT_EQ(composition.cues.timeAtLocation(5.0f, 0.0f), Frame(3000));
    composition.length = 10.03f; // 300.9 frames
    EXPECT_EQ(composition.cues.timeAtLocation(3000.0f, 3000.0f), Frame(300));
}

TEST_F(CueEditing, CueAtThePlayheadIsPlacedOnce) {
    composition.now = Frame(70);
    composition.edits.placeCueAtPlayhead();
    EXPECT_EQ(composition.times(), Times{70});
    EXPECT_EQ(composition.beeps, 0);
    composition.edits.placeCueAtPlayhead();
    EXPECT_EQ(composition.times(), Times{70});
    EXPECT_EQ(composition.beeps, 1);
}

TEST_F(CueEditing, RemovedCueComesBackWithAllItHad) {
    MarvoCue& cue = composition.add(100, CueType::passes, CueRepeat::counted, 5);
    cue.cueName = "Rain";
    cue.isProcessed = true;
    composition.cues.setActiveCue(cue.id);
    composition.cues.setLastClickedCue(cue.id);
    composition.cues.undoRemoveCueAtIndex(0);
    EXPECT_TRUE(composition.cues.cues().empty());
    EXPECT_EQ(composition.cues.activeCue(), nullptr);
    EXPECT_EQ(composition.cues.lastClickedCue(), nullptr);
    EXPECT_EQ(composition.undo(), "Remove Cue");
    const MarvoCue& back = composition.cue(0);
    EXPECT_EQ(back.time, Frame(100));
    EXPECT_EQ(back.cueName, "Rain");
    EXPECT_EQ(back.type, CueType::passes);
    EXPECT_EQ(back.repeat, CueRepeat::counted);
    EXPECT_EQ(back.numberOfLoopsNeeded, 5u);
    EXPECT_FALSE(back.isProcessed);
    EXPECT_EQ(composition.undo(), "Add Cue");
    EXPECT_TRUE(composition.cues.cues().empty());
}

TEST_F(CueEditing, RemovalOfAnotherCueKeepsTheActiveOneAndForgetsTheClick) {
    composition.add(100);
    composition.add(200);
    composition.cues.setActiveCue(composition.cue(1).id);
    composition.cues.setLastClickedCue(composition.cue(1).id);
    composition.cues.removeCue(composition.cue(0).id);
    EXPECT_EQ(composition.cues.activeCue(), &composition.cue(0));
    EXPECT_EQ(composition.cues.lastClickedCue(), nullptr);
}

TEST_F(CueEditing, RemovalAtATimeIsUndoableUnlessAskedOtherwise) {
    composition.add(100);
    composition.add(200);
    EXPECT_FALSE(composition.cues.removeCueAtTime(Frame(150)));
    EXPECT_TRUE(composition.cues.removeCueAtTime(Frame(100), false));
    EXPECT_TRUE(composition.undoStack.empty());
    EXPECT_TRUE(composition.cues.removeCueAtTime(Frame(200)));
    EXPECT_EQ(composition.undoStack.size(), 1u);
    EXPECT_TRUE(composition.cues.cues().empty());
    composition.cues.undoRemoveCueAtIndex(4);
    EXPECT_EQ(composition.undoStack.size(), 1u);
}

TEST_F(CueEditing, RemovalOfTheSelectionTakesThemAllAndUndoBringsThemAllBack) {
    for (const std::int64_t time : {100, 200, 300, 400}) composition.add(time);
    select({0, 2, 3});
    composition.cues.removeSelectedCues();
    EXPECT_EQ(composition.times(), Times{200});
    for (int i = 0; i < 3; ++i) composition.undo(), composition.undoStack.pop_back();
    EXPECT_EQ(composition.times(), (Times{100, 200, 300, 400}));
}

TEST_F(CueEditing, NameMustBeFreeOrAPattern) {
    composition.add(100);
    composition.add(200);
    EXPECT_FALSE(composition.cues.isAvailableCueName("", false));
    EXPECT_FALSE(composition.cues.isAvailableCueName("Cue2", false));
    EXPECT_FALSE(composition.cues.isAvailableCueName("Cue2", true))
        << "the cue's own name is no exception here";
    EXPECT_TRUE(composition.cues.isAvailableCueName("Cue3", false));

    composition.cues.setActiveCue(composition.cue(0).id);
    EXPECT_FALSE(composition.edits.changeActiveCueName("Cue2"));
    EXPECT_FALSE(composition.edits.changeActiveCueName(""));
    EXPECT_EQ(composition.beeps, 2);
    EXPECT_TRUE(composition.edits.changeActiveCueName("Cue<$>"));
    EXPECT_TRUE(composition.edits.changeActiveCueName("Storm"));
    EXPECT_TRUE(composition.edits.changeActiveCueName("Storm")) << "its present name";
    EXPECT_EQ(composition.beeps, 2);
    EXPECT_EQ(composition.cues.displayNameOf(composition.cue(0)), "Storm");
    EXPECT_EQ(composition.undo(), "Change Cue Name");
    composition.undoStack.pop_back();
    composition.undo();
    EXPECT_EQ(composition.cue(0).cueName, "Cue<$>");
}

TEST_F(CueEditing, NameWithoutAnActiveCueBeeps) {
    composition.add(100);
    EXPECT_FALSE(composition.edits.changeActiveCueName("Storm"));
    EXPECT_EQ(composition.beeps, 1);
}

TEST_F(CueEditing, TypeAndLoopsCanBeUndoneAndRedone) {
    composition.add(100);
    composition.edits.undoChangeCueToTypeToRepeat(0, CueType::pauses, CueRepeat::forEver);
    EXPECT_EQ(composition.cue(0).repeat, CueRepeat::forEver);
    EXPECT_EQ(composition.undo(), "Change Cue Type");
    EXPECT_EQ(composition.cue(0).type, CueType::passes);
    EXPECT_EQ(composition.cue(0).repeat, CueRepeat::none);
    composition.undo();
    EXPECT_EQ(composition.cue(0).type, CueType::pauses);
    composition.undoStack.clear();

    EXPECT_EQ(composition.edits.shownLoopCount(0), 2u) << "the section plays once more than it jumps back";
    composition.edits.loopCounterChanged(0, 5);
    EXPECT_EQ(composition.cue(0).numberOfLoopsNeeded, 4u);
    EXPECT_EQ(composition.undo(), "Change Cue Loop Number");
    EXPECT_EQ(composition.cue(0).numberOfLoopsNeeded, 1u);
    composition.edits.loopCounterChanged(0, std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(composition.cue(0).numberOfLoopsNeeded, 0u);
    composition.cue(0).numberOfLoopsNeeded = std::numeric_limits<std::uint64_t>::max();
    EXPECT_EQ(composition.edits.shownLoopCount(0), std::numeric_limits<std::uint64_t>::max());
}

TEST_F(CueEditing, EditOfACueThatIsNotThereDoesNothing) {
    composition.edits.undoRenameCueWithName(0, "x");
    composition.edits.undoChangeCueToTypeToRepeat(0, CueType::passes, CueRepeat::none);
    composition.edits.undoChangeCueToLoopNumberNeeded(0, 3);
    EXPECT_EQ(composition.edits.moveCueAtIndex(3, Frame(5), true, true, true), 3u);
    EXPECT_TRUE(composition.undoStack.empty());
    EXPECT_EQ(composition.projectChanges, 0);
}

TEST_F(CueEditing, MovePastANeighbourReordersAndUndoFindsTheCueAgain) {
    composition.add(100).cueName = "A";
    composition.add(200).cueName = "B";
    EXPECT_EQ(composition.edits.moveCueAtIndex(0, Frame(300), true, true, true), 1u);
    EXPECT_EQ(composition.cue(1).cueName, "A");
    EXPECT_EQ(composition.undo(), "Move Cue");
    EXPECT_EQ(composition.times(), (Times{100, 200}));
    EXPECT_EQ(composition.cue(0).cueName, "A");
    composition.undo();
    EXPECT_EQ(composition.times(), (Times{200, 300}));
    composition.undoStack.clear();
    composition.edits.moveCueAtIndex(0, Frame(50), false, false, false);
    EXPECT_TRUE(composition.undoStack.empty());
}

TEST_F(CueEditing, SelectedCuesMoveTogetherAsFarAsTheTightestOneMay) {
    for (const std::int64_t time : {100, 200, 2900}) composition.add(time);
    select({0, 2});
    composition.edits.moveMultiCuesWithTimeDelta(FrameCount(500));
    EXPECT_EQ(composition.times(), (Times{200, 200, 3000}));
    composition.edits.moveMultiCuesWithTimeDelta(FrameCount(std::numeric_limits<std::int64_t>::min()));
    EXPECT_EQ(composition.times(), (Times{0, 200, 2800}));
}

TEST_F(CueEditing, UndoOfAMoveMovesTheSameCuesWhateverIsSelectedThen) {
    for (const std::int64_t time : {100, 200, 300}) composition.add(time);
    select({0, 1});
    composition.edits.moveMultiCuesWithTimeDelta(FrameCount(150));
    EXPECT_EQ(composition.times(), (Times{250, 300, 350}));
    select({1});
    EXPECT_EQ(composition.undo(), "Move Cue");
    EXPECT_EQ(composition.times(), (Times{100, 200, 300}));
    EXPECT_EQ(composition.undo(), "Move Cue");
    EXPECT_EQ(composition.times(), (Times{250, 300, 350}));
}

TEST_F(CueEditing, InversionMirrorsTheWholeCompositionAndTwiceRestores) {
    composition.add(10);
    composition.add(200);
    composition.add(500);
    select({0, 1});
    composition.edits.undoInvertSelectedCues();
    EXPECT_EQ(composition.times(), (Times{500, 2800, 2990}));
    composition.cues.deselectCues();
    EXPECT_EQ(composition.undo(), "Invert Cues Time");
    EXPECT_EQ(composition.times(), (Times{10, 200, 500}));
}

TEST_F(CueEditing, TimeFieldMovesTheSelection) {
    composition.add(100);
    composition.add(200);
    select({0, 1});
    typeTime("+10", Frame(100));
    EXPECT_EQ(composition.times(), (Times{110, 210}));
    typeTime("5:0", Frame(110));
    EXPECT_EQ(composition.times(), (Times{150, 250}));
    typeTime("i", Frame(150));
    EXPECT_EQ(composition.times(), (Times{2750, 2850}));
    EXPECT_EQ(composition.beeps, 0);
    EXPECT_GE(composition.projectChanges, 3);
}

TEST_F(CueEditing, TimeFieldPastTheEndGoesToTheEnd) {
    composition.add(100);
    select({0});
    typeTime("9:0:0:0", Frame(100));
    EXPECT_EQ(composition.times(), Times{3000});
    composition.edits.moveMultiCuesWithTimeDelta(FrameCount(-2900));
    typeTime("9:0:0:0", Frame(200));
    EXPECT_EQ(composition.times(), Times{2900}) << "as far as the cue the field shows could go";
}

TEST_F(CueEditing, EmptyTimeFieldBeepsAndDoesNothingElse) {
    composition.add(100);
    select({0});
    const int before = composition.projectChanges;
    typeTime("", Frame(100));
    EXPECT_EQ(composition.beeps, 1);
    EXPECT_EQ(composition.times(), Times{100});
    EXPECT_EQ(composition.projectChanges, before);
    EXPECT_TRUE(composition.undoStack.empty());
}

TEST_F(CueEditing, PastedCueKeepsItsDataAndTakesTheNextFreeName) {
    composition.add(100).cueName = "Storm";
    CueRecord record = composition.cue(0).backupData();
    record.repeat = 2;
    const auto pasted = composition.cues.addNewCueWithDataByCopy(record, FrameCount(50));
    ASSERT_TRUE(pasted);
    const MarvoCue& cue = *composition.cues.cues().cueWithId(*pasted);
    EXPECT_EQ(cue.time, Frame(150));
    EXPECT_EQ(cue.cueName, "Storm<$>");
    EXPECT_EQ(cue.repeat, CueRepeat::forEver);
    EXPECT_TRUE(cue.selected);
    EXPECT_FALSE(cue.previousCue) << "the list is rebuilt once, after the last paste";
    record.cueName = "Calm";
    const auto other = composition.cues.addNewCueWithDataByCopy(record, FrameCount(60));
    EXPECT_EQ(composition.cues.cues().cueWithId(*other)->cueName, "Calm");
}

TEST_F(CueEditing, PasteOutsideTheCompositionDoesNothing) {
    CueRecord record;
    record.time = 100;
    EXPECT_FALSE(composition.cues.addNewCueWithDataByCopy(record, FrameCount(-101)));
    EXPECT_FALSE(composition.cues.addNewCueWithDataByCopy(record, FrameCount(2901)));
    EXPECT_FALSE(composition.cues.addNewCueWithDataByCopy(
        record, FrameCount(std::numeric_limits<std::int64_t>::max())));
    EXPECT_TRUE(composition.cues.addNewCueWithDataByCopy(record, FrameCount(-100)));
    EXPECT_TRUE(composition.cues.addNewCueWithDataByCopy(record, FrameCount(2900)));
}

TEST_F(CueEditing, PasteReplacesASelectedCueAtItsPlaceAndNoOther) {
    composition.add(100).selected = true;
    composition.add(200);
    CueRecord record;
    record.cueName = "New";
    EXPECT_TRUE(composition.cues.addNewCueWithDataByCopy(record, FrameCount(100)));
    EXPECT_TRUE(composition.cues.addNewCueWithDataByCopy(record, FrameCount(200)));
    composition.cues.rebuildCuesWithRefresh(true);
    EXPECT_EQ(composition.times(), (Times{100, 200, 200}));
}

TEST_F(CueEditing, ChangeOfFrameRateKeepsCuesAtTheirPlaceInSeconds) {
    composition.add(101);
    composition.add(200);
    composition.cues.refreshKeyFramesWithRatio(2.0f);
    EXPECT_EQ(composition.times(), (Times{202, 400}));
    composition.cues.refreshKeyFramesWithRatio(0.5f);
    EXPECT_EQ(composition.times(), (Times{101, 200}));
    composition.cues.refreshKeyFramesWithRatio(25.0f / 30.0f);
    EXPECT_EQ(composition.times(), (Times{84, 166})) << "truncated";
}

TEST_F(CueEditing, ShorteningTakesTheCuesPastTheEndAndTheirRecordsBringThemBack) {
    for (const std::int64_t time : {100, 300, 301, 2000}) composition.add(time);
    composition.length = 10.0f;
    const std::vector<CueRecord> trimmed = composition.cues.trimmedCues();
    EXPECT_EQ(composition.times(), (Times{100, 300}));
    ASSERT_EQ(trimmed.size(), 2u);
    composition.length = 100.0f;
    for (const CueRecord& record : trimmed) composition.cues.addNewCueWithData(record);
    EXPECT_EQ(composition.times(), (Times{100, 300, 301, 2000}));
    EXPECT_TRUE(composition.undoStack.empty());
}

TEST_F(CueEditing, SavedCuesLoadAsTheyWereAndThosePastTheEndAreDropped) {
    composition.add(300, CueType::passes, CueRepeat::counted, 7);
    composition.add(100);
    auto records = composition.cues.saveData();
    CueRecord late;
    late.time = 3001;
    records.push_back(late);
    late.time = 3000;
    records.insert(records.begin(), late);

    FakeCueComposition other;
    other.add(5);
    other.cues.loadData(records);
    EXPECT_EQ(other.times(), (Times{100, 300, 3000}));
    EXPECT_EQ(other.cue(1).numberOfLoopsNeeded, 7u);
    EXPECT_EQ(other.cue(1).previousCue, other.cue(0).id);
    EXPECT_TRUE(other.undoStack.empty());
    const auto again = other.cues.saveData();
    other.cues.loadData(again);
    EXPECT_EQ(other.cues.saveData(), again);
}

TEST_F(CueEditing, SelectionByRangeIncludesBothEndsAndAddsToWhatIsSelected) {
    for (const std::int64_t time : {100, 200, 300, 400, 500}) composition.add(time);
    select({0});
    composition.cues.selectCuesInRange(Frame(200), FrameCount(200));
    EXPECT_EQ(selection(), (std::vector<bool>{true, true, true, true, false}));
    EXPECT_TRUE(composition.cues.multiCuesSelected());
    EXPECT_EQ(composition.cues.selectedCuesData().size(), 4u);
    composition.cues.selectAllCues();
    EXPECT_EQ(composition.cues.selectedCues().size(), 5u);
    composition.cues.deselectCues();
    EXPECT_FALSE(composition.cues.hasCuesSelected());
    select({2});
    EXPECT_TRUE(composition.cues.hasCuesSelected());
    EXPECT_FALSE(composition.cues.multiCuesSelected());
}

TEST_F(CueEditing, LongestPossibleTimeIsTheEndAndTheShortestTheStart) {
    EXPECT_EQ(composition.cues.maxPossibleTimeForTime(Frame(3001)), Frame(3000));
    EXPECT_EQ(composition.cues.maxPossibleTimeForTime(Frame(-1)), Frame(0));
    EXPECT_EQ(composition.cues.maxPossibleTimeForTime(Frame(77)), Frame(77));
}

TEST_F(CueEditing, LockIsRemembered) {
    EXPECT_FALSE(composition.cues.isLocked());
    composition.cues.setLocked(true);
    EXPECT_TRUE(composition.cues.isLocked());
}
