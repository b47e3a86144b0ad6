#include "composition/TrackOrder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <numeric>

using namespace marvo;

namespace {

using Positions = std::vector<TrackPosition>;
using Order = std::vector<std::size_t>;
using Moves = std::vector<TrackMove>;

bool lessIgnoringCase(std::string_view a, std::string_view b) {
    return std::lexicographical_compare(
        a.begin(), a.end(), b.begin(), b.end(),
        [](unsigned char x, unsigned char y) { return std::tolower(x) < std::tolower(y); });
}

const TrackTextOrder textOrder{[](std::string_view a, std::string_view b) { return a < b; },
                               lessIgnoringCase};

// Tracks by row, after the moves have been made one after the other.
Order rowsAfter(Positions positions, const Moves& moves) {
    for (const TrackMove& move : moves)
        EXPECT_TRUE(moveTrackBeforeTrack(positions, move.source, move.destination));
    Order rows(positions.size(), 99);
    for (std::size_t track = 0; track < positions.size(); ++track)
        rows.at(static_cast<std::size_t>(positions[track])) = track;
    return rows;
}

TrackSortKeys track(TrackPosition position, std::string name, std::string type) {
    TrackSortKeys keys;
    keys.trackPosition = position;
    keys.name = std::move(name);
    keys.trackType = std::move(type);
    return keys;
}

} // namespace

TEST(TrackMoving, ShiftsTheTracksBetween) {
    Positions down{0, 1, 2, 3, 4};
    EXPECT_TRUE(moveTrackBeforeTrack(down, 1, 3));
    EXPECT_EQ(down, (Positions{0, 3, 1, 2, 4}));
    EXPECT_TRUE(moveTrackBeforeTrack(down, 3, 1));
    EXPECT_EQ(down, (Positions{0, 1, 2, 3, 4})) << "the swapped call undoes it";
    Positions up{0, 1, 2, 3, 4};
    EXPECT_TRUE(moveTrackBeforeTrack(up, 4, 0));
    EXPECT_EQ(up, (Positions{1, 2, 3, 4, 0}));
}

TEST(TrackMoving, ToItsOwnPlaceOrFromNowhereDoesNothing) {
    Positions positions{0, 1, 2};
    EXPECT_FALSE(moveTrackBeforeTrack(positions, 1, 1));
    EXPECT_FALSE(moveTrackBeforeTrack(positions, 7, 1));
    EXPECT_EQ(positions, (Positions{0, 1, 2}));
}

TEST(TrackMoving, SelectedTracksLineUpBehindEachOtherWhenMovedToTheTop) {
    const Positions positions{0, 1, 2, 3, 4};
    const Order selected{2, 3, 4};
    const Moves moves = movesOfTracksBeforeTrack(positions, 1, 3, selected);
    EXPECT_EQ(moves, (Moves{{3, 1}, {3, 2}, {4, 3}}));
    EXPECT_EQ(rowsAfter(positions, moves), (Order{0, 3, 2, 4, 1}));
}

TEST(TrackMoving, SelectedTracksMovedToTheBottomPushEachOtherUp) {
    const Positions positions{0, 1, 2, 3, 4};
    const Order selected{0, 1};
    const Moves moves = movesOfTracksBeforeTrack(positions, 3, 0, selected);
    EXPECT_EQ(moves, (Moves{{0, 3}, {0, 3}}));
    EXPECT_EQ(rowsAfter(positions, moves), (Order{2, 3, 0, 1, 4}));
}

TEST(TrackMoving, SourceMovesEvenWhenItIsNotSelected) {
    const Positions positions{0, 1, 2};
    EXPECT_EQ(movesOfTracksBeforeTrack(positions, 0, 2, {}), (Moves{{2, 0}}));
    EXPECT_TRUE(movesOfTracksBeforeTrack(positions, 1, 1, Order{0, 2}).empty());
    EXPECT_TRUE(movesOfTracksBeforeTrack(positions, 1, 9, Order{0, 2}).empty());
    EXPECT_TRUE(movesOfTracksBeforeTrack({}, 1, 0, Order{0}).empty());
}

TEST(TrackMoving, AnySelectionLeavesEveryRowFilledOnce) {
    const Positions positions{0, 1, 2, 3, 4};
    for (unsigned mask = 0; mask < 32; ++mask) {
        Order selected;
        for (std::size_t i = 0; i < 5; ++i)
            if (mask >> i & 1u) selected.push_back(i);
        for (TrackPosition source = 0; source < 5; ++source)
            for (TrackPosition destination = 0; destination < 5; ++destination) {
                Order rows =
                    rowsAfter(positions, movesOfTracksBeforeTrack(positions, destination, source, selected));
                std::sort(rows.begin(), rows.end());
                ASSERT_EQ(rows, (Order{0, 1, 2, 3, 4})) << mask << ' ' << source << ' ' << destination;
            }
    }
}

TEST(TrackMoving, RenumberingClosesGapsAndKeepsTheOrder) {
    EXPECT_EQ(recalculatedTrackPositions(Positions{7, -2, 7, 100, 3}), (Positions{2, 0, 3, 4, 1}));
    EXPECT_TRUE(recalculatedTrackPositions({}).empty());
}

TEST(TrackSorting, ByNameTakesAllTracks) {
    const std::vector<TrackSortKeys> tracks{track(0, "b", "OSCValue"), track(1, "c", "AudioFile"),
                                            track(2, "a", "MidiNotes")};
    EXPECT_EQ(sortedTracks(tracks, "Track Name", 0, textOrder), (Order{2, 0, 1}));
    EXPECT_EQ(sortedTracks(tracks, "Track Name", 1, textOrder), (Order{1, 0, 2}));
}

TEST(TrackSorting, ByTypeIgnoresCaseAndKeepsEqualOnesInPresentOrderBothWays) {
    const std::vector<TrackSortKeys> tracks{track(3, "", "osc"), track(2, "", "OSC"), track(1, "", "Audio"),
                                            track(0, "", "OSc")};
    EXPECT_EQ(sortedTracks(tracks, "Track Type", 0, textOrder), (Order{2, 3, 1, 0}));
    EXPECT_EQ(sortedTracks(tracks, "Track Type", 1, textOrder), (Order{3, 1, 0, 2}));
}

TEST(TrackSorting, ByArtNetChannelCountsUniversesAndPutsTheOthersLast) {
    std::vector<TrackSortKeys> tracks{track(0, "", "OSCValue"), track(1, "", "ArtNetColor"),
                                      track(2, "", "ArtNetValue"), track(3, "", "MidiNotes"),
                                      track(4, "", "ArtNetValue")};
    tracks[1].universe = 1;
    tracks[1].channel = 1;
    tracks[2].channel = 512;
    tracks[4].channel = 3;
    tracks[0].channel = -100;
    EXPECT_EQ(sortedTracks(tracks, "Art-Net Channel", 0, textOrder), (Order{4, 2, 1, 0, 3}));
    EXPECT_EQ(sortedTracks(tracks, "Art-Net Channel", 1, textOrder), (Order{1, 2, 4, 0, 3}));
}

TEST(TrackSorting, ByMidiChannelTakesTheNumberOfTheTitle) {
    std::vector<TrackSortKeys> tracks{track(0, "", "MidiNotes"), track(1, "", "MidiCCValue"),
                                      track(2, "", "OSCColor")};
    tracks[0].midiChannelTitle = "10";
    tracks[1].midiChannelTitle = "9";
    tracks[2].midiChannelTitle = "1";
    EXPECT_EQ(sortedTracks(tracks, "MIDI Channel", 0, textOrder), (Order{1, 0, 2}));
}

TEST(TrackSorting, ByAddressIgnoresCaseAndLeavesFlagsOut) {
    std::vector<TrackSortKeys> tracks{track(0, "", "OSCFlag"), track(1, "", "OSCColor"),
                                      track(2, "", "OSCValue")};
    tracks[0].oscAddress = "/a";
    tracks[1].oscAddress = "/b";
    tracks[2].oscAddress = "/A";
    EXPECT_EQ(sortedTracks(tracks, "OSC Address", 0, textOrder), (Order{2, 1, 0}));
}

TEST(TrackSorting, ByAnUnknownKeyKeepsThePresentOrder) {
    const std::vector<TrackSortKeys> tracks{track(1, "a", "x"), track(0, "b", "y")};
    EXPECT_EQ(sortedTracks(tracks, "Colour", 1, textOrder), (Order{1, 0}));
}

namespace {

TrackNumbering cc(int shownCC, std::string output = "Port") {
    TrackNumbering numbering;
    numbering.trackType = "MidiCCValue";
    numbering.midiOut = std::move(output);
    numbering.shownCC = shownCC;
    return numbering;
}

TrackNumbering artNet(std::string type, std::vector<int> channels) {
    TrackNumbering numbering;
    numbering.trackType = std::move(type);
    numbering.dmxChannelsInUse = std::move(channels);
    return numbering;
}

} // namespace

TEST(NextController, FollowsTheHighestOneOnThatOutput) {
    std::vector<TrackNumbering> tracks;
    EXPECT_EQ(nextCCForAddTrackWithOutput(tracks, "Port"), 0);
    for (int i = 0; i <= 10; ++i) tracks.push_back(cc(i));
    EXPECT_EQ(nextCCForAddTrackWithOutput(tracks, "Port"), 11);
    tracks.push_back(cc(50, "Other"));
    tracks.push_back(cc(3));
    EXPECT_EQ(nextCCForAddTrackWithOutput(tracks, "Port"), 11);
    EXPECT_EQ(nextCCForAddTrackWithOutput(tracks, "Other"), 51);
    tracks.push_back(cc(60));
    tracks.back().trackType = "MidiNotes";
    EXPECT_EQ(nextCCForAddTrackWithOutput(tracks, "Port"), 11);
}

TEST(NextController, StopsAt127) {
    EXPECT_EQ(nextCCForAddTrackWithOutput(std::vector{cc(127)}, "Port"), 127);
    EXPECT_EQ(nextCCForAddTrackWithOutput(std::vector{cc(126)}, "Port"), 127);
    EXPECT_EQ(nextCCForAddTrackWithOutput(std::vector{cc(2147483647)}, "Port"), 127);
}

TEST(NextArtNetChannel, IsTheLowestFreeOne) {
    const std::vector tracks{artNet("ArtNetValue", {1, 2, 4}), artNet("ArtNetValue", {3, 7}),
                             artNet("ArtNetValue", {0, -3, 99999})};
    EXPECT_EQ(nextArtNetCHForAddTrackWithOutput(tracks), "5");
    EXPECT_EQ(nextArtNetCHForAddTrackWithOutput({}), "1");
}

TEST(NextArtNetChannel, CountsValuesAndColoursApart) {
    const std::vector tracks{artNet("ArtNetValue", {1, 2}), artNet("ArtNetColor", {1, 2, 3}),
                             artNet("OSCValue", {1, 2, 3, 4})};
    EXPECT_EQ(nextArtNetCHForAddTrackWithOutput(tracks), "3");
    EXPECT_EQ(nextArtNetColorCHForAddTrackWithOutput(tracks), "4");
}

TEST(NextArtNetChannel, IsTheLastOneWhenAllAreInUse) {
    std::vector<int> all(512);
    std::iota(all.begin(), all.end(), 1);
    EXPECT_EQ(nextArtNetCHForAddTrackWithOutput(std::vector{artNet("ArtNetValue", all)}), "512");
    all.pop_back();
    EXPECT_EQ(nextArtNetCHForAddTrackWithOutput(std::vector{artNet("ArtNetValue", all)}), "512");
    all.pop_back();
    EXPECT_EQ(nextArtNetCHForAddTrackWithOutput(std::vector{artNet("ArtNetValue", all)}), "511");
}
