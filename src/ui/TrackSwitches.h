// The switches that tracks of every kind have in their headers: on or off, locked or not. Main thread.
#pragma once

#include <vector>

namespace marvo {
class MarvoButton;
class MarvoTimelineTrackProtocol;
} // namespace marvo

namespace marvo::ui {

bool isLocked(const MarvoTimelineTrackProtocol& track);
void lock(MarvoTimelineTrackProtocol& track, bool locks);

// Null on a track of a kind that this program does not know; that cannot be locked either.
MarvoButton* enableButtonOf(MarvoTimelineTrackProtocol& track);

// All the other way round than the first of them that has such a switch; they stay selected. False where none
// has.
bool toggleEnabled(const std::vector<MarvoTimelineTrackProtocol*>& tracks);
bool toggleLocked(const std::vector<MarvoTimelineTrackProtocol*>& tracks);

} // namespace marvo::ui
