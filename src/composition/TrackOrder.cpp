#include "composition/TrackOrder.h"

#include "platform/Saturate.h"

#include <algorithm>
#include <bitset>
#include <charconv>
#include <numeric>

namespace marvo {

namespace {

std::vector<std::size_t> indexesByPosition(std::size_t count, const auto& positionOf) {
    std::vector<std::size_t> order(count);
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return positionOf(a) < positionOf(b); });
    return order;
}

std::int64_t leadingInteger(std::string_view text) {
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    std::int64_t value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

bool isArtNet(const TrackSortKeys& track) {
    return track.trackType == "ArtNetValue" || track.trackType == "ArtNetColor";
}
bool isMidi(const TrackSortKeys& track) {
    return track.trackType == "MidiCCValue" || track.trackType == "MidiNotes";
}
bool isOSC(const TrackSortKeys& track) {
    return track.trackType == "OSCValue" || track.trackType == "OSCColor";
}

std::int64_t artNetAddress(const TrackSortKeys& track) {
    return saturatingAdd(saturatingMultiply(track.universe, 512), track.channel);
}

std::string lowestFreeChannel(std::span<const TrackNumbering> tracks, std::string_view trackType) {
    constexpr int lastChannel = 512;
    std::bitset<lastChannel + 1> inUse;
    for (const TrackNumbering& track : tracks) {
        if (track.trackType != trackType) continue;
        for (const int channel : track.dmxChannelsInUse)
            if (channel >= 1 && channel <= lastChannel) inUse.set(static_cast<std::size_t>(channel));
    }
    int channel = 1;
    while (channel < lastChannel && inUse.test(static_cast<std::size_t>(channel))) ++channel;
    return std::to_string(channel);
}

} // namespace

bool moveTrackBeforeTrack(std::vector<TrackPosition>& positions, TrackPosition source,
                          TrackPosition destination) {
    if (source == destination) return false;
    const auto moved = std::find(positions.begin(), positions.end(), source);
    if (moved == positions.end()) return false;
    for (TrackPosition& position : positions) {
        if (position > source && position <= destination)
            --position;
        else if (position >= destination && position < source)
            ++position;
    }
    *moved = destination;
    return true;
}

std::vector<TrackMove> movesOfTracksBeforeTrack(std::span<const TrackPosition> positions,
                                                TrackPosition destination, TrackPosition source,
                                                std::span<const std::size_t> selectedTracks) {
    std::vector<TrackMove> moves;
    const auto sourceTrack = std::find(positions.begin(), positions.end(), source);
    if (source == destination || sourceTrack == positions.end()) return moves;

    std::vector<std::size_t> moving{static_cast<std::size_t>(sourceTrack - positions.begin())};
    for (const std::size_t track : selectedTracks)
        if (track < positions.size() && std::find(moving.begin(), moving.end(), track) == moving.end())
            moving.push_back(track);

    std::vector<TrackPosition> now(positions.begin(), positions.end());
    // Behind the last row there is nothing to line up in; a gap in the numbers would be left.
    const TrackPosition last = std::max(*std::max_element(now.begin(), now.end()), destination);
    TrackPosition k = 0;
    for (const std::size_t track : moving) {
        const TrackMove move{now[track], std::min(destination + k, last)};
        if (moveTrackBeforeTrack(now, move.source, move.destination)) moves.push_back(move);
        if (destination < source) ++k;
    }
    return moves;
}

std::vector<TrackPosition> recalculatedTrackPositions(std::span<const TrackPosition> positions) {
    const auto order = indexesByPosition(positions.size(), [&](std::size_t i) { return positions[i]; });
    std::vector<TrackPosition> renumbered(positions.size());
    for (std::size_t row = 0; row < order.size(); ++row)
        renumbered[order[row]] = static_cast<TrackPosition>(row);
    return renumbered;
}

std::vector<std::size_t> sortedTracks(std::span<const TrackSortKeys> tracks, std::string_view sortBy,
                                      std::int64_t sortOrder, const TrackTextOrder& textOrder) {
    using Keys = TrackSortKeys;
    std::function<bool(const Keys&)> hasKey = [](const Keys&) { return true; };
    std::function<bool(const Keys&, const Keys&)> less;
    if (sortBy == "Track Name") {
        less = [&](const Keys& a, const Keys& b) { return textOrder.byName(a.name, b.name); };
    } else if (sortBy == "Track Type") {
        less = [&](const Keys& a, const Keys& b) { return textOrder.ignoringCase(a.trackType, b.trackType); };
    } else if (sortBy == "Art-Net Channel") {
        hasKey = isArtNet;
        less = [](const Keys& a, const Keys& b) { return artNetAddress(a) < artNetAddress(b); };
    } else if (sortBy == "MIDI Channel") {
        hasKey = isMidi;
        less = [](const Keys& a, const Keys& b) {
            return leadingInteger(a.midiChannelTitle) < leadingInteger(b.midiChannelTitle);
        };
    } else if (sortBy == "OSC Address") {
        hasKey = isOSC;
        less = [&](const Keys& a, const Keys& b) {
            return textOrder.ignoringCase(a.oscAddress, b.oscAddress);
        };
    }

    auto order = indexesByPosition(tracks.size(), [&](std::size_t i) { return tracks[i].trackPosition; });
    if (!less) return order;
    const auto others =
        std::stable_partition(order.begin(), order.end(), [&](std::size_t i) { return hasKey(tracks[i]); });
    std::stable_sort(order.begin(), others, [&](std::size_t a, std::size_t b) {
        return sortOrder == 0 ? less(tracks[a], tracks[b]) : less(tracks[b], tracks[a]);
    });
    return order;
}

int nextCCForAddTrackWithOutput(std::span<const TrackNumbering> tracks, std::string_view output) {
    int next = 0;
    for (const TrackNumbering& track : tracks)
        if (track.trackType == "MidiCCValue" && track.midiOut == output && track.shownCC >= next)
            next = std::min(track.shownCC, 127) + 1;
    return std::min(next, 127);
}

std::string nextArtNetCHForAddTrackWithOutput(std::span<const TrackNumbering> tracks) {
    return lowestFreeChannel(tracks, "ArtNetValue");
}

std::string nextArtNetColorCHForAddTrackWithOutput(std::span<const TrackNumbering> tracks) {
    return lowestFreeChannel(tracks, "ArtNetColor");
}

} // namespace marvo
