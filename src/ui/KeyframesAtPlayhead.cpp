#include "ui/KeyframesAtPlayhead.h"

#include "composition/MarvoTimelineController.h"
#include "tracks/MarvoNumberFormatter.h"
#include "tracks/MarvoTimelineTrack.h"

namespace marvo::ui {
namespace {

const MarvoTimelineKeyframe* keyframeWithNumber(const MarvoTimelineTrack& track, Frame time) {
    const TrackKind kind = track.kind();
    if (kind == TrackKind::oscColor || kind == TrackKind::artNetColor || kind == TrackKind::oscFlag)
        return nullptr;
    return track.keyframes().store().keyframeAtTime(time);
}

float storedScale(const MarvoTimelineTrack& track) {
    return track.kind() == TrackKind::oscValue && track.trackOSCType() == 0
               ? track.oscFloatMultiplerByDigits()
               : 1.0f;
}

} // namespace

bool KeyframesAtPlayhead::onEach(const std::function<bool(MarvoTimelineTrack&)>& act) {
    bool done = false;
    for (MarvoTimelineTrackProtocol* selected : composition_.tracks.selectedTracks()) {
        auto* track = dynamic_cast<MarvoTimelineTrack*>(selected);
        if (track && !track->isLocked() && act(*track)) done = true;
    }
    return done;
}

bool KeyframesAtPlayhead::add() {
    const Frame now = composition_.currentTime();
    return onEach([now](MarvoTimelineTrack& track) {
        if (track.keyframes().store().keyframeAtTime(now)) return false;
        track.addNewKeyFrameAtTime(now);
        return true;
    });
}

bool KeyframesAtPlayhead::remove() {
    const Frame now = composition_.currentTime();
    return onEach([now](MarvoTimelineTrack& track) {
        if (!track.keyframes().store().keyframeAtTime(now)) return false;
        track.removeKeyFrameAtTime(now, true);
        return true;
    });
}

bool KeyframesAtPlayhead::setValue(std::string_view text) {
    const Frame now = composition_.currentTime();
    return onEach([this, now, text](MarvoTimelineTrack& track) {
        const MarvoTimelineKeyframe* there = keyframeWithNumber(track, now);
        if (!there) return false;
        track.keyframes().deselectFrames();
        track.keyframes().mark([uID = there->uID](MarvoTimelineKeyframe& keyframe) {
            if (keyframe.uID == uID) keyframe.selected = keyframe.isActiveKeyframe = true;
        });
        MarvoNumberFormatter formatter;
        composition_.keyframeMoves.setValueOfMultiKeyFrame(track.trackPosition(), text, formatter);
        return true;
    });
}

QString KeyframesAtPlayhead::value() const {
    const Frame now = composition_.currentTime();
    for (const MarvoTimelineTrackProtocol* selected : composition_.tracks.selectedTracks()) {
        const auto* track = dynamic_cast<const MarvoTimelineTrack*>(selected);
        if (!track || track->isLocked()) continue;
        const MarvoTimelineKeyframe* there = keyframeWithNumber(*track, now);
        if (!there) continue;
        MarvoNumberFormatter formatter;
        formatter.maximumFractionDigits = track->oscFloatMultiplerByDigits() > 100.0f ? 5 : 2;
        return QString::fromStdString(formatter.stringFromNumber(there->value / storedScale(*track), true));
    }
    return {};
}

} // namespace marvo::ui
