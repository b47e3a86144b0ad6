// One point on a track: a frame, a value, and the curve that leads up to it. The editable model.
//
// Kept small: a show holds a million of them. What only a colour or a flag has lies in a block of its own.
// Guarded by its track's queue; the tick reads the plan instead.
#pragma once

#include "platform/TimelineTime.h"
#include "tracks/Curves.h"
#include "tracks/LaneHeight.h"
#include "tracks/MarvoTimelineColorKeyframe.h"
#include "tracks/MarvoTimelineFlagKeyframe.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <variant>

namespace marvo {

// What the kind of track asks of a keyframe's value.
enum class KeyframeTrackKind : std::uint8_t { oscFloat, oscOther, midiNotes, other };

struct KeyframeRange {
    float minValue = 0.0f;
    float maxValue = 127.0f;
};

class MarvoTimelineKeyframe {
public:
    Frame time;
    float value = 0.0f;
    float minValue = 0.0f;
    float maxValue = 127.0f;
    float noteVelocityOn = 127.0f;
    float noteVelocityOff = 64.0f;
    std::uint64_t uID = 0;
    std::uint32_t slot = 0; // of its run state
    bool selected = false;
    bool isActiveKeyframe = false;

    // Make it a keyframe of such a track. A colour knows two curves: whatever is not stepped is linear. A
    // flag knows none.
    MarvoTimelineColorKeyframe& becomeColor();
    MarvoTimelineFlagKeyframe& becomeFlag();
    // Null on other tracks.
    MarvoTimelineColorKeyframe* color() { return contentOf<MarvoTimelineColorKeyframe>(content_); }
    const MarvoTimelineColorKeyframe* color() const {
        return contentOf<MarvoTimelineColorKeyframe>(content_);
    }
    MarvoTimelineFlagKeyframe* flag() { return contentOf<MarvoTimelineFlagKeyframe>(content_); }
    const MarvoTimelineFlagKeyframe* flag() const { return contentOf<MarvoTimelineFlagKeyframe>(content_); }

    // The label as it was given: one that is not known is kept on a value track, and steps.
    std::string_view interpolationType() const {
        const auto* unknown = contentOf<UnknownCurve>(content_);
        return unknown ? std::string_view(unknown->label) : labelOfCurve(curve_);
    }
    void setInterpolationType(std::string_view label);
    // A curve that is only being looked at; it is used in place of the own one. Null ends it.
    void setPreviewInterpolation(const std::string_view* label);
    Curve curveInUse() const { return hasPreview_ ? preview_ : curve_; }

    // The share of the height of its lane at which it is drawn, from the last refresh.
    float shownRatio() const { return shownRatio_; }
    // Brings the height to the value.
    void refresh();
    // A new range: the keyframe keeps its height in pixels on the lane as it is drawn, measured against the
    // full height. refresh() afterwards. So on a collapsed lane, deliberately, values come out lower.
    void calculateNewValuesWithNewMinMax(float newMinimum, float newMaximum, KeyframeTrackKind kind,
                                         LaneHeight drawn);

    float floatTime(std::int64_t compFPS) const;

private:
    struct UnknownCurve {
        std::string label;
    };
    using Content = std::variant<UnknownCurve, MarvoTimelineColorKeyframe, MarvoTimelineFlagKeyframe>;
    template <class Kind>
    static Kind* contentOf(const std::unique_ptr<Content>& content) {
        return content ? std::get_if<Kind>(content.get()) : nullptr;
    }

    std::unique_ptr<Content> content_;
    float shownRatio_ = 0.0f;
    Curve curve_ = Curve::linear;
    Curve preview_ = Curve::linear;
    bool hasPreview_ = false;
};

// A saved keyframe as it was read, before any rule was applied.
struct RawKeyframe {
    Frame time;
    float value = 0.0f;
    bool hasRatio = false;
    float ratio = 0.0f;
    std::string_view minimumText; // "%.5f" of the range it was copied from
    std::string_view maximumText;
    bool hasVelocities = false;
    float noteVelocityOn = 127.0f;
    float noteVelocityOff = 64.0f;
    // Taken from this very track a moment ago, to be put back: the value is not rounded.
    bool isOwn = false;
};

struct KeyframeRepairs {
    bool wasNegative = false;
    bool wasNotANumber = false;
};

// Applies the rules of a restore to time, value and velocities; range and kind are the track's.
KeyframeRepairs restoreKeyframe(MarvoTimelineKeyframe& keyframe, const RawKeyframe& raw,
                                KeyframeTrackKind kind);

} // namespace marvo
