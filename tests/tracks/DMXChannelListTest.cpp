#include "tracks/DMXChannelList.h"

#include <gtest/gtest.h>

#include <vector>

using marvo::DMXChannelEntry;
using marvo::DMXChannelList;

namespace {

std::string normalised(std::string_view text) {
    return DMXChannelList::createDMXChannelsWithString(text).stringValueOfDMXChannels();
}

std::vector<int> inUse(std::string_view text, bool is16Bit) {
    return DMXChannelList::createDMXChannelsWithString(text).dmxChannelsInUse(is16Bit);
}

} // namespace

TEST(DMXChannelList, DropsPiecesThatAreOutOfRange) {
    EXPECT_EQ(normalised("1, 3x4,513,0x2, 5x600"), "1,3x4");
    EXPECT_EQ(normalised("512,512x512,0,-1"), "512,512x512");
    EXPECT_EQ(normalised("1x0,513x1,2"), "2");
    EXPECT_EQ(normalised("99999999999999999999,4"), "4");
}

TEST(DMXChannelList, FallsBackToChannelOneWhenNothingIsLeft) {
    EXPECT_EQ(normalised(""), "1");
    EXPECT_EQ(normalised(" , ,x"), "1");
    EXPECT_EQ(DMXChannelList::createDMXChannelsWithString("600").entries(), std::vector{DMXChannelEntry{}});
    EXPECT_EQ(DMXChannelList().stringValueOfDMXChannels(), "1");
}

TEST(DMXChannelList, ReadsTheIntegerAtTheFrontOfEachNumber) {
    EXPECT_EQ(normalised("3abc, +7 ,2.9"), "3,7,2");
    EXPECT_EQ(normalised("3 x 4,5x\t6y"), "3x4,5x6");
    EXPECT_EQ(normalised("3X4"), "3") << "only the small letter makes a range";
}

TEST(DMXChannelList, TakesOnlyTwoNumbersForARange) {
    EXPECT_EQ(normalised("1x2x3,4x,x5,6x7x,9"), "9");
}

TEST(DMXChannelList, KeepsARangeOfOneApartFromASingleChannel) {
    EXPECT_EQ(normalised("7x1,7"), "7x1,7");
    const auto list = DMXChannelList::createDMXChannelsWithString("3x4,9");
    EXPECT_EQ(list.entries(), (std::vector<DMXChannelEntry>{{3, 4, true}, {9, 1, false}}));
}

TEST(DMXChannelList, ReadsItsOwnTextBackAsTheSameList) {
    const auto list = DMXChannelList::createDMXChannelsWithString("5, 9x2 ,1x512,77z");
    EXPECT_EQ(DMXChannelList::createDMXChannelsWithString(list.stringValueOfDMXChannels()), list);
}

TEST(DMXChannelList, CountsARangeFromItsFirstChannel) {
    EXPECT_EQ(inUse("3x4,9", false), (std::vector{3, 4, 5, 6, 9}));
    EXPECT_EQ(inUse("511x3", false), (std::vector{511, 512, 513}));
}

TEST(DMXChannelList, TakesTwoChannelsAValueWith16BitsAndNamesTheFineOneFirstInRanges) {
    EXPECT_EQ(inUse("9", true), (std::vector{9, 10}));
    EXPECT_EQ(inUse("3x2", true), (std::vector{4, 3, 6, 5}));
}
