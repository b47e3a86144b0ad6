#include "BareTracks.h"

#include <cmath>

namespace marvo::bench {
namespace {

double bounce(double p) {
    if (p < 0.36363636363636365) return (121.0 * p * p) / 16.0;
    if (p < 0.7272727272727273) return 9.075 * p * p - 9.9 * p + 3.4;
    if (p < 0.9) return 12.066481994459833 * p * p - 19.63545706371191 * p + 8.898060941828255;
    return 10.8 * p * p - 20.52 * p + 10.72;
}

float eased(BareCurve curve, float p) {
    switch (curve) {
    case BareCurve::stepped:
        return 0.0f;
    case BareCurve::linear:
        return p;
    case BareCurve::cubicIn:
        return p * p * p;
    case BareCurve::cubicOut: {
        const float f = p - 1.0f;
        return f * f * f + 1.0f;
    }
    case BareCurve::cubicInOut: {
        if (p < 0.5f) return 4.0f * p * p * p;
        const float f = 2.0f * p - 2.0f;
        return 0.5f * f * f * f + 1.0f;
    }
    case BareCurve::elasticOut:
        return static_cast<float>(std::sin(-20.420352248333657 * static_cast<double>(p + 1.0f)) *
                                      std::exp2(static_cast<double>(-10.0f * p)) +
                                  1.0);
    case BareCurve::bounceOut:
        return static_cast<float>(bounce(static_cast<double>(p)));
    }
    return 0.0f;
}

} // namespace

std::uint64_t evaluateBare(std::vector<BareTrack>& tracks, std::int32_t frame, std::vector<float>& values) {
    std::uint64_t changed = 0;
    for (std::size_t i = 0; i < tracks.size(); ++i) {
        BareTrack& track = tracks[i];
        const auto count = static_cast<std::int32_t>(track.keys.size());
        const BareKey* const keys = track.keys.data();
        if (keys[track.next - 1].time > frame) track.next = 1;
        while (track.next < count && keys[track.next].time <= frame) ++track.next;
        float value = keys[track.next - 1].value;
        if (track.next < count) {
            const BareKey& from = keys[track.next - 1];
            const BareKey& to = keys[track.next];
            const float p = static_cast<float>(frame - from.time) / static_cast<float>(to.time - from.time);
            value = from.value + eased(to.curve, p) * (to.value - from.value);
        }
        if (value == track.last) continue;
        track.last = value;
        values[i] = value;
        ++changed;
    }
    return changed;
}

} // namespace marvo::bench
