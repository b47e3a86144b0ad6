#include "ui/TrackSwitches.h"

#include "composition/MarvoTimelineCompositionTrack.h"
#include "tracks/MarvoTimelineTrack.h"

namespace marvo::ui {

bool isLocked(const MarvoTimelineTrackProtocol& track) {
    if (const auto* plain = dynamic_cast<const MarvoTimelineTrack*>(&track)) return plain->isLocked();
    if (const auto* block = dynamic_cast<const MarvoTimelineCompositionTrack*>(&track))
        return block->isLocked();
    return false;
}

void lock(MarvoTimelineTrackProtocol& track, bool locks) {
    if (auto* plain = dynamic_cast<MarvoTimelineTrack*>(&track)) plain->lockTrack(locks);
    if (auto* block = dynamic_cast<MarvoTimelineCompositionTrack*>(&track)) block->lockTrack(locks);
}

MarvoButton* enableButtonOf(MarvoTimelineTrackProtocol& track) {
    if (auto* plain = dynamic_cast<MarvoTimelineTrack*>(&track)) return &plain->enabledButton;
    if (auto* block = dynamic_cast<MarvoTimelineCompositionTrack*>(&track)) return &block->enabledButton;
    return nullptr;
}

void toggleEnabled(const std::vector<MarvoTimelineTrackProtocol*>& tracks) {
    if (tracks.empty()) return;
    const bool enabled = tracks.front()->isEnabled();
    for (MarvoTimelineTrackProtocol* track : tracks) {
        MarvoButton* const button = enableButtonOf(*track);
        if (button && track->isEnabled() == enabled) button->click();
    }
}

void toggleLocked(const std::vector<MarvoTimelineTrackProtocol*>& tracks) {
    if (tracks.empty()) return;
    const bool locks = !isLocked(*tracks.front());
    for (MarvoTimelineTrackProtocol* track : tracks) {
        lock(*track, locks);
        track->setSelected(true); // so that the same key takes it back
    }
}

} // namespace marvo::ui
