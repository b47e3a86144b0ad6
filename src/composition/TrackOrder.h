// Order and numbering of the tracks of one composition, as rules on plain values.
//
// A position is the row of a track, counted from 0. Tracks are given in list order, which need not be the
// order of their positions; results name tracks by their index in what was given.
//
// Thread-safe: pure functions. Realtime-safe: no, they build lists.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace marvo {

using TrackPosition = std::int64_t;

// --- Moving.

// Puts the track at `source` to `destination` and shifts those between by one. False, and nothing changed,
// when both are equal or no track stands at `source`. The same call with the roles swapped is its inverse.
bool moveTrackBeforeTrack(std::vector<TrackPosition>& positions, TrackPosition source,
                          TrackPosition destination);

struct TrackMove {
    TrackPosition source = 0;
    TrackPosition destination = 0;
    bool operator==(const TrackMove&) const = default;
};

// The single moves, to be made one after the other, that bring the track at `source` and then the selected
// tracks to `destination`. With destination < source they line up behind each other, otherwise each goes to
// the destination itself and pushes the ones before it up. No moves when both positions are equal.
std::vector<TrackMove> movesOfTracksBeforeTrack(std::span<const TrackPosition> positions,
                                                TrackPosition destination, TrackPosition source,
                                                std::span<const std::size_t> selectedTracks);

// Numbers 0, 1, 2 ... in the order the positions have; tracks at one position keep their list order.
std::vector<TrackPosition> recalculatedTrackPositions(std::span<const TrackPosition> positions);

// --- Sorting.

struct TrackSortKeys {
    TrackPosition trackPosition = 0;
    std::string name;
    std::string trackType;
    std::int64_t universe = 0; // Art-Net types only
    std::int64_t channel = 0;
    std::string midiChannelTitle; // MIDI types only
    std::string oscAddress;       // OSC types only
};

// Strictly smaller, as std::sort wants it.
using TextLess = std::function<bool(std::string_view, std::string_view)>;

struct TrackTextOrder {
    TextLess byName;       // the string sort of track names
    TextLess ignoringCase; // for types and addresses
};

// Indexes of the tracks in their new order: the n-th gets position n. Tracks of a type that has the key come
// first, the others follow in present order, as do tracks with equal keys, in both directions. sortOrder 0 is
// ascending. An unknown sortBy keeps the present order.
std::vector<std::size_t> sortedTracks(std::span<const TrackSortKeys> tracks, std::string_view sortBy,
                                      std::int64_t sortOrder, const TrackTextOrder& textOrder);

// --- Numbers for new tracks.

struct TrackNumbering {
    std::string trackType;
    std::string midiOut; // title of the output, MIDI types only
    int shownCC = 0;
    std::vector<int> dmxChannelsInUse; // Art-Net types only, counted from 1
};

// Index into the list of CCs for a new track on that output, at most 127.
int nextCCForAddTrackWithOutput(std::span<const TrackNumbering> tracks, std::string_view output);
// The lowest free channel as decimal text, "512" when there is none. Value and colour tracks do not see each
// other.
std::string nextArtNetCHForAddTrackWithOutput(std::span<const TrackNumbering> tracks);
std::string nextArtNetColorCHForAddTrackWithOutput(std::span<const TrackNumbering> tracks);

} // namespace marvo
