#include "tracks/MarvoTimelineKeyframe.h"

#include "platform/Numbers.h"

#include <algorithm>
#include <cmath>

namespace marvo {

void MarvoTimelineKeyframe::setInterpolationType(std::string_view label) {
    curve_ = curveWithLabel(label);
    if (color()) {
        if (curve_ != Curve::none) curve_ = Curve::linear;
    } else if (flag()) {
        curve_ = Curve::none;
    } else if (curve_ == Curve::unknown) {
        content_ = std::make_unique<Content>(UnknownCurve{std::string(label)});
    } else {
        content_.reset();
    }
}

MarvoTimelineColorKeyframe& MarvoTimelineKeyframe::becomeColor() {
    if (curve_ != Curve::none) curve_ = Curve::linear;
    content_ = std::make_unique<Content>(MarvoTimelineColorKeyframe{});
    return *color();
}

MarvoTimelineFlagKeyframe& MarvoTimelineKeyframe::becomeFlag() {
    curve_ = Curve::none;
    content_ = std::make_unique<Content>(MarvoTimelineFlagKeyframe{});
    return *flag();
}

void MarvoTimelineKeyframe::setPreviewInterpolation(const std::string_view* label) {
    hasPreview_ = label != nullptr;
    if (label) preview_ = curveWithLabel(*label);
}

void MarvoTimelineKeyframe::refresh() {
    // A range without height would put the keyframe nowhere.
    const float range = maxValue - minValue;
    shownRatio_ = range == 0.0f ? 0.0f : (value - minValue) / range;
}

void MarvoTimelineKeyframe::calculateNewValuesWithNewMinMax(float newMinimum, float newMaximum,
                                                            KeyframeTrackKind kind, LaneHeight drawn) {
    if (newMinimum == minValue && newMaximum == maxValue) return;
    minValue = newMinimum;
    maxValue = newMaximum;
    float ratio = shownRatio_;
    if (drawn.isCollapsed()) ratio *= static_cast<float>(LaneHeight::collapsed / LaneHeight::expanded);
    float v = (std::fabs(maxValue) - minValue) * ratio + minValue;
    v = std::max(std::min(v, maxValue), minValue);
    if (kind != KeyframeTrackKind::oscFloat) v = std::roundf(v);
    value = v;
}

float MarvoTimelineKeyframe::floatTime(std::int64_t compFPS) const {
    return static_cast<float>(time.value) * (1.0f / static_cast<float>(compFPS));
}

KeyframeRepairs restoreKeyframe(MarvoTimelineKeyframe& keyframe, const RawKeyframe& raw,
                                KeyframeTrackKind kind) {
    KeyframeRepairs repairs;
    keyframe.time = raw.time;
    keyframe.value = raw.value;
    if (keyframe.time < Frame(0)) {
        keyframe.time = Frame(0);
        repairs.wasNegative = true;
    }
    if (std::isnan(keyframe.value)) {
        keyframe.value = 0.0f;
        repairs.wasNotANumber = true;
    }
    if (raw.hasRatio) {
        const float minimum = keyframe.minValue;
        const float maximum = keyframe.maxValue;
        // Rescaled only when both bounds differ: a track that differs in one keeps the raw value.
        if (raw.minimumText != formatFixed(static_cast<double>(minimum), 5).view() &&
            raw.maximumText != formatFixed(static_cast<double>(maximum), 5).view()) {
            keyframe.value = (maximum + std::fabs(minimum)) * raw.ratio + minimum;
        }
    }
    const bool rounds = kind == KeyframeTrackKind::oscOther || kind == KeyframeTrackKind::midiNotes;
    if (rounds && !raw.isOwn) keyframe.value = std::roundf(keyframe.value);
    if (kind == KeyframeTrackKind::midiNotes) {
        if (raw.hasVelocities) {
            keyframe.noteVelocityOn = std::clamp(raw.noteVelocityOn, 0.0f, 127.0f);
            keyframe.noteVelocityOff = std::clamp(raw.noteVelocityOff, 0.0f, 127.0f);
        }
    }
    // The upper bound first: with a range that is upside down the lower one wins. One that comes back stood
    // where it stood.
    if (!raw.isOwn) {
        if (keyframe.value > keyframe.maxValue) keyframe.value = keyframe.maxValue;
        if (keyframe.value < keyframe.minValue) keyframe.value = keyframe.minValue;
    }
    keyframe.refresh();
    return repairs;
}

} // namespace marvo
