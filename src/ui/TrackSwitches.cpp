#include "ui/TrackSwitches.h"

#include "composition/MarvoTimelineCompositionTrack.h"
#include "tracks/MarvoTimelineTrack.h"

#include <optional>

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

bool toggleEnabled(const std::vector<MarvoTimelineTrackProtocol*>& tracks) {
    std::optional<bool> enables;
    for (MarvoTimelineTrackProtocol* track : tracks) {
        MarvoButton* const button = enableButtonOf(*track);
        if (!button) continue;
        if (!enables) enables = !track->isEnabled();
        if (track->isEnabled() != *enables) button->click();
    }
    return enables.has_value();
}

bool toggleLocked(const std::vector<MarvoTimelineTrackProtocol*>& tracks) {
    std::optional<bool> locks;
    for (MarvoTimelineTrackProtocol* track : tracks) {
        if (!enableButtonOf(*track)) continue;
        if (!locks) locks = !isLocked(*track);
        lock(*track, *locks);
        track->setSelected(true); // so that the same key takes it back
    }
    return locks.has_value();
}

} // namespace marvo::ui
