// A colour track on the rig, and the records of its keyframes.
#pragma once

#include "TrackRig.h"
#include "platform/ColourArchive.h"
#include "tracks/MarvoTimelineColorTrack.h"

#include <memory>
#include <span>
#include <string>

namespace marvo::testing {

inline constexpr Colour red{1, 0, 0};
inline constexpr Colour green{0, 1, 0};
inline constexpr Colour blue{0, 0, 1};
inline constexpr const char* step = "No Interpolation";
inline constexpr const char* linear = "Linear Interpolation";

inline PropertyList dataOf(const std::string& bytes) {
    return PropertyList::data(std::as_bytes(std::span(bytes)));
}

inline PropertyList colorAt(std::int64_t time, const Colour& color, const char* curve = linear) {
    PropertyList keyframe = PropertyList::dictionary();
    keyframe.set("time", time);
    keyframe.set("colorValue", dataOf(archivedColour(color)));
    keyframe.set("interpolation", curve);
    return keyframe;
}

struct ColorRig : TrackRig {
    explicit ColorRig(const std::string& type = "OSCColor") : track(make<MarvoTimelineColorTrack>(type)) {
        services.colors = &options;
        track->setOscAddress("/c");
        journal.take();
    }
    std::uint64_t add(std::int64_t time, const Colour& color, const char* curve = linear) {
        return track->addNewKeyFrameWithData(colorAt(time, color, curve));
    }
    Lines tick(std::int64_t frame) { return TrackRig::tick(*track, frame); }
    Lines playsTo(std::int64_t frame) {
        start(*track);
        return play(*track, 0, frame);
    }
    // What one colour leads to.
    Lines sends(const Colour& color) {
        journal.take();
        track->shotWithColorValue(color);
        return journal.take();
    }

    ColorTrackOptions options;
    std::unique_ptr<MarvoTimelineColorTrack> track;
};

} // namespace marvo::testing
