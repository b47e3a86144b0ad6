#include "composition/MarvoCue.h"
#include "composition/CueList.h"
#include "composition/CueTimeInput.h"

#include <gtest/gtest.h>

#include <limits>

using namespace marvo;

namespace {

constexpr auto largest = std::numeric_limits<std::int64_t>::max();
constexpr auto smallest = std::numeric_limits<std::int64_t>::min();

CueRecord at(std::int64_t time) {
    CueRecord record;
    record.time = time;
    return record;
}

std::vector<std::string> names(const CueList& list) {
    std::vector<std::string> all;
    for (std::size_t i = 0; i < list.size(); ++i) all.push_back(list.displayName(i));
    return all;
}

} // namespace

TEST(Cue, IsNewAsAPauseThatDoesNotLoop) {
    const MarvoCue cue;
    EXPECT_EQ(cue.type, CueType::pauses);
    EXPECT_EQ(cue.repeat, CueRepeat::none);
    EXPECT_EQ(cue.numberOfLoopsNeeded, 1u);
    EXPECT_EQ(cue.numberOfLoopsDone, 0u);
    EXPECT_EQ(cue.cueName, "Cue<$>");
    EXPECT_FALSE(cue.isProcessed);
    EXPECT_FALSE(cue.previousCue);
    EXPECT_FALSE(cue.cachedTimeForStretch);
}

TEST(Cue, ShowsItsNumberInPlaceOfEveryPlaceholder) {
    EXPECT_EQ(cueDisplayName("Cue<$>", 1), "Cue1");
    EXPECT_EQ(cueDisplayName("<$>-<$>", 12), "12-12");
    EXPECT_EQ(cueDisplayName("Blackout", 3), "Blackout");
    EXPECT_EQ(cueDisplayName("<$", 3), "<$");
    EXPECT_EQ(cueDisplayName("<<$>>", 3), "<3>");
    EXPECT_EQ(cueDisplayName("", 3), "");
}

TEST(Cue, ShowsItsLoopsAsDoneOfNeeded) {
    MarvoCue cue;
    cue.numberOfLoopsNeeded = 3;
    cue.increaseNumberOfLoopsDone();
    EXPECT_EQ(cue.loopNumberInfo(), "1/3");
}

TEST(CueRecord, BringsACueBack) {
    MarvoCue cue;
    cue.time = Frame(77);
    cue.cueName = "Finale";
    cue.type = CueType::passes;
    cue.repeat = CueRepeat::counted;
    cue.numberOfLoopsNeeded = 4;
    cue.numberOfLoopsDone = 2;
    cue.isProcessed = true;
    MarvoCue back;
    back.restoreWithData(cue.backupDataForUndo());
    EXPECT_EQ(back.backupData(), cue.backupData());
    EXPECT_FALSE(back.isProcessed);
    EXPECT_EQ(back.numberOfLoopsDone, 0u);
}

TEST(CueRecord, IsClampedRatherThanRefused) {
    CueRecord record;
    record.time = -5;
    record.type = -1;
    record.repeat = -3;
    record.numberOfLoopsNeeded = 0;
    MarvoCue cue;
    cue.restoreWithData(record);
    EXPECT_EQ(cue.time, Frame(0));
    EXPECT_EQ(cue.type, CueType::passes);
    EXPECT_EQ(cue.repeat, CueRepeat::none);
    EXPECT_EQ(cue.numberOfLoopsNeeded, 1u);
    record.type = 2;
    record.repeat = 3;
    cue.restoreWithData(record);
    EXPECT_EQ(cue.type, CueType::pauses);
    EXPECT_EQ(cue.repeat, CueRepeat::forEver);
    record.type = largest;
    record.repeat = smallest;
    cue.restoreWithData(record);
    EXPECT_EQ(cue.type, CueType::pauses);
    EXPECT_EQ(cue.repeat, CueRepeat::none);
}

TEST(CueRecord, LeavesWhatItDoesNotName) {
    MarvoCue cue;
    cue.cueName = "Kept";
    cue.repeat = CueRepeat::forEver;
    cue.restoreWithData(at(5));
    EXPECT_EQ(cue.time, Frame(5));
    EXPECT_EQ(cue.cueName, "Kept");
    EXPECT_EQ(cue.repeat, CueRepeat::forEver);
}

TEST(CueRecord, ForTheClipboardKnowsWhereInTheRowTheCueWas) {
    const MarvoCue cue;
    EXPECT_FLOAT_EQ(cue.backupDataForCopy(13.5f, 40.0f).ratio.value(), 0.5f);
    EXPECT_FALSE(cue.backupData().ratio);
}

TEST(CueList, NumbersCuesByTimeAndRenumbersThemWhenTheyMovePastEachOther) {
    CueList list;
    list.insert(at(300));
    MarvoCue& second = list.insert(at(100));
    second.cueName = "Intro <$>";
    list.insert(at(200));
    list.rebuild();
    EXPECT_EQ(names(list), (std::vector<std::string>{"Intro 1", "Cue2", "Cue3"}));
    second.time = Frame(250);
    list.rebuild();
    EXPECT_EQ(names(list), (std::vector<std::string>{"Cue1", "Intro 2", "Cue3"}));
}

TEST(CueList, LinksEachCueToTheOneBeforeIt) {
    CueList list;
    MarvoCue& late = list.insert(at(200));
    MarvoCue& early = list.insert(at(0));
    EXPECT_EQ(list.previousCueOf(late), nullptr);
    list.rebuild();
    EXPECT_EQ(list.previousCueOf(late), &early);
    EXPECT_EQ(list.previousCueOf(early), nullptr);
    early.time = Frame(300);
    list.rebuild();
    EXPECT_EQ(list.previousCueOf(early), &late);
    EXPECT_EQ(list.previousCueOf(late), nullptr);
}

TEST(CueList, LeavesTheNextCueWithoutNeighbourUntilItIsRebuilt) {
    CueList list;
    MarvoCue& first = list.insert(at(0));
    const CueId middle = list.insert(at(100)).id;
    MarvoCue& last = list.insert(at(200));
    list.rebuild();
    EXPECT_TRUE(list.remove(middle));
    EXPECT_EQ(list.previousCueOf(last), nullptr);
    EXPECT_FALSE(list.remove(middle));
    // A newcomer must not be taken for the one that left.
    list.insert(at(100));
    EXPECT_EQ(list.previousCueOf(last), nullptr);
    list.remove(list.cueAtTime(Frame(100))->id);
    list.rebuild();
    EXPECT_EQ(list.previousCueOf(last), &first);
}

TEST(CueList, FindsTheEarlierOfTwoCuesAtOneTime) {
    CueList list;
    const CueId first = list.insert(at(100)).id;
    list.insert(at(100));
    list.insert(at(50));
    for (int i = 0; i < 3; ++i) {
        list.rebuild();
        EXPECT_EQ(list.cueAtTime(Frame(100))->id, first);
    }
    EXPECT_EQ(list.cueAtTime(Frame(99)), nullptr);
}

TEST(CueList, FindsNothingOutOfRange) {
    CueList list;
    EXPECT_EQ(list.cueAtIndex(0), nullptr);
    EXPECT_EQ(list.firstCueAfter(Frame(-1)), nullptr);
    EXPECT_EQ(list.lastCueBefore(Frame(1)), nullptr);
    list.insert(at(5));
    EXPECT_EQ(list.cueAtIndex(1), nullptr);
    EXPECT_EQ(list.firstCueAfter(Frame(5)), nullptr);
    EXPECT_EQ(list.lastCueBefore(Frame(5)), nullptr);
    EXPECT_EQ(list.cueWithId(CueId()), nullptr);
    EXPECT_EQ(list.indexOf(CueId{99}), std::nullopt);
    EXPECT_EQ(list.displayName(7), "");
}

namespace {

void expectInput(std::string_view text, CueTimeInput::Kind kind, std::int64_t frames) {
    const CueTimeInput input = parseCueTimeInput(text, 30);
    EXPECT_EQ(input.kind, kind) << text;
    EXPECT_EQ(input.frames, frames) << text;
}

} // namespace

TEST(CueTimeField, TakesUpToFourPartsFromFramesUp) {
    using enum CueTimeInput::Kind;
    expectInput("45", absolute, 45);
    expectInput("2:5", absolute, 65);
    expectInput("1:02:05", absolute, 1865);
    expectInput("1:0:0:1", absolute, 108001);
    expectInput("0:0:0:7", absolute, 7);
}

TEST(CueTimeField, TakesASignAsADelta) {
    using enum CueTimeInput::Kind;
    expectInput("+15", relative, 15);
    expectInput("-15", relative, -15);
    expectInput("+1:00", relative, 30);
    expectInput("-1:00", relative, -30);
    expectInput("-1:10", relative, -20);
}

TEST(CueTimeField, KnowsTheLetterForInversion) {
    using enum CueTimeInput::Kind;
    expectInput("i", invert, 0);
    expectInput("I", absolute, 0);
}

TEST(CueTimeField, RefusesNothingAtAllAndTooManyParts) {
    using enum CueTimeInput::Kind;
    expectInput("", refused, 0);
    expectInput("1:2:3:4:5", refused, 0);
}

TEST(CueTimeField, ReadsEachPartAsFarAsItsDigitsGo) {
    using enum CueTimeInput::Kind;
    expectInput("12abc", absolute, 12);
    expectInput("abc", absolute, 0);
    expectInput(" 12", absolute, 12);
    expectInput("1:", absolute, 30);
    expectInput(":5", absolute, 5);
    expectInput("+", relative, 0);
    expectInput("+-5", relative, 0);
    expectInput("99999999999999999999", absolute, largest);
    expectInput("-99999999999999999999:0:0:0", relative, smallest);
    EXPECT_EQ(parseCueTimeInput("2:5", 0).frames, 7) << "a frame rate of 0 is read as 1";
}
