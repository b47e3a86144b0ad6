#include "tracks/ColorGradient.h"

#include "tracks/ColorLane.h"

#include <algorithm>

namespace marvo {
namespace {

// As Colour::mixedWith for each frame, with what is the same for all of them taken out of the loop.
void fillBetween(const ColorGradient::Stop& from, const ColorGradient::Stop& to, std::int64_t frame,
                 std::size_t count, Colour* colors) {
    const ColorFade fade(from.frame, from.color, to.frame, to.color);
    for (std::size_t i = 0; i < count; ++i) colors[i] = fade.at(frame + static_cast<std::int64_t>(i));
}

} // namespace

Colour ColorGradient::colorBefore(std::size_t next, std::int64_t frame) const {
    if (stops_.empty()) return Colour::clear();
    if (next == 0) return stops_.front().color;
    if (next == stops_.size()) return stops_.back().color;
    const Stop& from = stops_[next - 1];
    const Stop& to = stops_[next];
    // A way down, added up again, need not arrive where it began.
    if (from.frame == frame) return from.color;
    return from.color.mixedWith(to.color, static_cast<double>(frame - from.frame),
                                static_cast<double>(to.frame - from.frame));
}

Colour ColorGradient::colorAtFrame(std::int64_t frame) const {
    const auto next = std::upper_bound(stops_.begin(), stops_.end(), frame,
                                       [](std::int64_t f, const Stop& stop) { return f < stop.frame; });
    return colorBefore(static_cast<std::size_t>(next - stops_.begin()), frame);
}

Colour ColorGradient::colorOfTrackAtFrame(std::int64_t frame, std::int64_t frames) const {
    if (stops_.empty()) return Colour::clear();
    const std::int64_t first = std::max<std::int64_t>(stops_.front().frame, 0);
    const std::int64_t last = std::min(stops_.back().frame, frames);
    if (last < first || frame < first) return Colour::clear();
    return colorAtFrame(std::min(frame, last));
}

void ColorGradient::fill(std::int64_t first, std::size_t count, Colour* colors) const {
    std::size_t next = 0;
    for (std::size_t i = 0; i < count;) {
        const std::int64_t frame = first + static_cast<std::int64_t>(i);
        while (next < stops_.size() && stops_[next].frame <= frame) ++next;
        if (next > 0 && next < stops_.size()) {
            const auto left = static_cast<std::uint64_t>(stops_[next].frame - frame);
            const std::size_t part = std::min<std::uint64_t>(count - i, left);
            fillBetween(stops_[next - 1], stops_[next], frame, part, colors + i);
            i += part;
        } else {
            colors[i++] = colorBefore(next, frame);
        }
    }
}

} // namespace marvo
