// One colour a frame, made when keyframes change, so that the tick never evaluates a gradient.
//
// A track that is too long for a table does without: the few that are pay for the search in the gradient.
//
// Part of the plan that the tick adopts: keyframes and colours are of one edit. Never changed once it is
// made; reading is realtime-safe.
#pragma once

#include "tracks/ColorGradient.h"
#include "tracks/KeyframePlan.h"
#include "tracks/MarvoTimelineKeyframe.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace marvo {

class ColorTable final : public PlanContent {
public:
    // Eighteen hours at 60 frames a second, 128 MB.
    static constexpr std::uint64_t mostEntries = 4'000'000;

    // Keyframes in order of time, all of them colours; the length of the composition in frames.
    ColorTable(std::span<const MarvoTimelineKeyframe> keyframes, std::int64_t frames,
               std::uint64_t most = mostEntries);

    // Transparent black before the first keyframe, exactly the keyframe's colour on one, the last one's
    // behind it.
    Colour colorAtFrame(std::int64_t frame) const {
        if (colors_.empty()) return gradient_->colorOfTrackAtFrame(frame, frames_);
        if (frame < first_) return Colour::clear();
        const auto index = static_cast<std::uint64_t>(frame - first_);
        return index < colors_.size() ? colors_[index] : colors_.back();
    }
    // Of the keyframe with that index in the plan.
    const Colour& colorOfKeyframe(std::size_t index) const { return keyframes_[index]; }
    // The frames from the first keyframe to the last within the composition, the end not included.
    std::int64_t firstFrame() const { return first_; }
    std::int64_t endFrame() const { return end_; }
    // False when it is too long for a table.
    bool holdsEveryFrame() const { return colors_.size() == static_cast<std::uint64_t>(end_ - first_); }
    // What a lane draws.
    const ColorGradient& gradient() const { return *gradient_; }
    const std::shared_ptr<const ColorGradient>& sharedGradient() const { return gradient_; }

private:
    std::shared_ptr<const ColorGradient> gradient_; // never null
    std::vector<Colour> keyframes_;
    std::int64_t frames_ = 0;    // of the composition
    std::int64_t first_ = 0;     // frame of the first entry: that of the first keyframe
    std::int64_t end_ = 0;       // frame behind the last entry
    std::vector<Colour> colors_; // ends with the last keyframe, where the gradient stands still
};

} // namespace marvo
