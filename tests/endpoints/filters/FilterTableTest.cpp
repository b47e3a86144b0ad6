#include "endpoints/filters/MarvoArtNetFilterManager.h"
#include "endpoints/filters/MarvoMIDIFilterManager.h"
#include "endpoints/filters/MarvoOSCFilterManager.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace marvo {
namespace {

using Rows = std::vector<std::string>;

TEST(Filters, ANewRowIsAllowedAndNotHighResolution) {
    MarvoMIDIFilterManager table;
    EXPECT_TRUE(table.add("Ch:1 CC:7"));
    EXPECT_FALSE(table.add("Ch:1 CC:7"));
    EXPECT_EQ(table.find("Ch:1 CC:7"), (FilterEntry{false, true}));
    EXPECT_FALSE(table.find("Ch:1 CC:8"));
}

TEST(Filters, ControllerTwoComesBeforeTen) {
    MarvoMIDIFilterManager table;
    for (const char* key : {"Ch:1 CC:10", "Ch:2 CC:1", "Ch:1 CC:2"}) table.add(key);
    table.searchMessages();
    EXPECT_EQ(table.rows(), (Rows{"Ch:1 CC:2", "Ch:1 CC:10", "Ch:2 CC:1"}));
}

TEST(Filters, RowsThatComeInAreShownAtTheNextSearchOnly) {
    MarvoOSCFilterManager table;
    table.add("/a");
    EXPECT_EQ(table.rows(), Rows{});
    table.searchMessages();
    EXPECT_EQ(table.rows(), Rows{"/a"});
}

TEST(Filters, ASearchTellsUpperAndLowerCaseApartAndAnEmptyOneShowsAll) {
    MarvoArtNetFilterManager table;
    table.add("U:0 CH:1");
    table.add("U:0 CH:2");
    table.searchMessages("ch:");
    EXPECT_EQ(table.rows(), Rows{});
    table.searchMessages("H:2");
    EXPECT_EQ(table.rows(), Rows{"U:0 CH:2"});
    table.add("U:0 CH:21");
    table.searchMessages();
    EXPECT_EQ(table.rows(), (Rows{"U:0 CH:2", "U:0 CH:21"}));
    table.searchMessages("");
    EXPECT_EQ(table.rows().size(), 3U);
}

TEST(Filters, AClickOnOneOfThreeSelectedRowsSetsAllToItsNewState) {
    MarvoOSCFilterManager table;
    for (const char* key : {"/a", "/b", "/c", "/d"}) table.add(key);
    table.toggleAllowed("/b", {});
    table.toggleAllowed("/a", {"/a", "/b", "/c", "/gone"});
    EXPECT_FALSE(table.find("/a")->allowed);
    EXPECT_FALSE(table.find("/b")->allowed);
    EXPECT_FALSE(table.find("/c")->allowed);
    EXPECT_TRUE(table.find("/d")->allowed);
    table.toggleAllowed("/b", {"/a", "/b", "/c"});
    EXPECT_TRUE(table.find("/a")->allowed);
}

TEST(Filters, ANoteCannotBeHighResolution) {
    MarvoMIDIFilterManager table;
    table.add("Ch:1 Note:7");
    EXPECT_EQ(table.resolutionCell("Ch:1 Note:7"), (FilterCell{false, false}));
    EXPECT_EQ(table.allowCell("Ch:1 Note:7"), (FilterCell{true, true}));
}

TEST(Filters, ACoarseControllerTakesTheFineOneWithIt) {
    MarvoMIDIFilterManager table;
    for (const char* key : {"Ch:1 CC:7", "Ch:1 CC:39", "Ch:2 CC:39", "Ch:1 CC:64"}) table.add(key);
    EXPECT_EQ(table.resolutionCell("Ch:1 CC:39"), (FilterCell{false, false}));
    table.toggleHighResolution("Ch:1 CC:7", {});
    table.toggleAllowed("Ch:1 CC:39", {});
    EXPECT_EQ(table.resolutionCell("Ch:1 CC:7"), (FilterCell{true, true}));
    EXPECT_EQ(table.resolutionCell("Ch:1 CC:39"), (FilterCell{true, false}));
    EXPECT_EQ(table.allowCell("Ch:1 CC:39"), (FilterCell{true, false}));
    EXPECT_EQ(table.resolutionCell("Ch:2 CC:39"), (FilterCell{false, false}));
    EXPECT_EQ(table.allowCell("Ch:2 CC:39"), (FilterCell{true, true}));
    EXPECT_EQ(table.resolutionCell("Ch:1 CC:64"), (FilterCell{false, false}));
}

TEST(Filters, ADMXChannelTakesTheNextOneWithIt) {
    MarvoArtNetFilterManager table;
    for (const char* key : {"U:0 CH:5", "U:0 CH:6", "U:0 CH:7", "U:0 CH:512"}) table.add(key);
    table.toggleHighResolution("U:0 CH:5", {});
    EXPECT_EQ(table.resolutionCell("U:0 CH:5"), (FilterCell{true, true}));
    EXPECT_EQ(table.resolutionCell("U:0 CH:6"), (FilterCell{true, false}));
    EXPECT_EQ(table.allowCell("U:0 CH:6"), (FilterCell{true, false}));
    EXPECT_EQ(table.resolutionCell("U:0 CH:7"), (FilterCell{false, true}));
    EXPECT_EQ(table.resolutionCell("U:0 CH:512"), (FilterCell{false, false}));
}

TEST(Filters, TheChannelBeforeIsLookedUpByItsDigitsWhereverTheyStand) {
    MarvoArtNetFilterManager table;
    table.add("U:12 CH:12");
    table.add("U:11 CH:11");
    table.toggleHighResolution("U:11 CH:11", {});
    EXPECT_EQ(table.resolutionCell("U:12 CH:12"), (FilterCell{true, false}));
}

TEST(Filters, TheRecordComesBackAndAnOlderOneIsTakenAsAllowedOrNot) {
    MarvoMIDIFilterManager table;
    table.add("Ch:1 CC:7");
    table.toggleHighResolution("Ch:1 CC:7", {});
    PropertyList record = table.saveData();
    record.set("Ch:1 CC:8", false);
    record.set("Ch:1 CC:9", "nonsense");
    MarvoMIDIFilterManager again;
    again.add("Ch:9 CC:9");
    again.loadData(record);
    EXPECT_EQ(again.find("Ch:1 CC:7"), (FilterEntry{true, true}));
    EXPECT_EQ(again.find("Ch:1 CC:8"), (FilterEntry{false, false}));
    EXPECT_EQ(again.find("Ch:1 CC:9"), (FilterEntry{false, false}));
    EXPECT_FALSE(again.find("Ch:9 CC:9"));
    EXPECT_EQ(again.rows().size(), 3U);

    MarvoOSCFilterManager osc;
    osc.add("/a");
    osc.toggleAllowed("/a", {});
    MarvoOSCFilterManager oscAgain;
    oscAgain.loadData(osc.saveData());
    EXPECT_EQ(oscAgain.find("/a"), (FilterEntry{false, false}));
}

TEST(Filters, AFloodOfAddressesStopsFillingTheTable) {
    MarvoOSCFilterManager table;
    for (std::size_t i = 0; i < FilterTable::largestSize + 100; ++i) table.add("/" + std::to_string(i));
    EXPECT_EQ(table.count(), FilterTable::largestSize);
    EXPECT_FALSE(table.add("/one/more"));
}

TEST(Filters, KeysNameTheChannelFromOne) {
    EXPECT_EQ(MarvoMIDIFilterManager::keyOf(176, 0, 7), "Ch:1 CC:7");
    EXPECT_EQ(MarvoMIDIFilterManager::keyOf(144, 15, 60), "Ch:16 Note:60");
    EXPECT_EQ(MarvoMIDIFilterManager::keyOf(128, 15, 60), "Ch:16 Note:60");
    EXPECT_EQ(MarvoArtNetFilterManager::keyOf(3, 512), "U:3 CH:512");
}

} // namespace
} // namespace marvo
