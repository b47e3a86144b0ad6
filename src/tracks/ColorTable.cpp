#include "tracks/ColorTable.h"

#include <algorithm>
#include <limits>

namespace marvo {

ColorTable::ColorTable(std::span<const MarvoTimelineKeyframe> keyframes, std::int64_t frames,
                       std::uint64_t most) {
    const auto gradient = std::make_shared<ColorGradient>();
    gradient_ = gradient;
    if (keyframes.empty()) return;
    keyframes_.reserve(keyframes.size());
    Colour before = Colour::clear();
    for (const MarvoTimelineKeyframe& keyframe : keyframes) {
        const Colour& color = keyframe.color()->colorValue;
        const std::int64_t time = keyframe.time.value;
        // Nothing fades in before the first keyframe.
        if (keyframes_.empty() || keyframe.curveInUse() == Curve::none) gradient->addStop(time, before);
        gradient->addStop(time, color);
        keyframes_.push_back(color);
        before = color;
    }
    // The number of its entries is a number, too.
    frames_ = std::min(frames, std::numeric_limits<std::int64_t>::max() - 1);
    first_ = end_ = std::max<std::int64_t>(keyframes.front().time.value, 0);
    const std::int64_t last = std::min(keyframes.back().time.value, frames_);
    if (last < first_) return;
    end_ = last + 1;
    const auto count = static_cast<std::uint64_t>(end_ - first_);
    if (count > most) return;
    colors_.resize(count);
    gradient->fill(first_, colors_.size(), colors_.data());
    // A frame exactly on a keyframe has its colour, whatever the gradient says there.
    for (std::size_t i = 0; i < keyframes.size(); ++i) {
        const std::int64_t time = keyframes[i].time.value;
        if (time >= first_ && time <= last) colors_[static_cast<std::size_t>(time - first_)] = keyframes_[i];
    }
}

} // namespace marvo
