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

// Null on a track of a kind that this program does not know.
MarvoButton* enableButtonOf(MarvoTimelineTrackProtocol& track);

// All the other way round than the first of them is now. They stay selected.
void toggleEnabled(const std::vector<MarvoTimelineTrackProtocol*>& tracks);
void toggleLocked(const std::vector<MarvoTimelineTrackProtocol*>& tracks);

} // namespace marvo::ui
