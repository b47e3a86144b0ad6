// The undoable edits of keyframes: adding, removing, and what a keyframe holds besides its place.
//
// Each edit captures what was there, changes it, and registers the way back. Tracks are named by position and
// keyframes by uID, so that an entry still finds what went and came back. Many keyframes of one track are one
// pass, one publication and one entry. Main thread, without the composition queue: the work grows with the
// track, and the tick takes its result with one swap.
#pragma once

#include "platform/Colour.h"
#include "platform/PropertyList.h"
#include "tracks/ColorOutput.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace marvo {

class MarvoTimelineController;
class MarvoTimelineColorTrack;
struct CompositionServices;

class KeyframeEdits {
public:
    KeyframeEdits(MarvoTimelineController& composition, CompositionServices& services)
        : composition_(composition), services_(services) {}

    // What names no track, or no keyframe, does nothing.
    std::optional<std::uint64_t> addNewKeyFrameOnTrack(std::int64_t trackPosition,
                                                       const PropertyList& record);
    bool undoRemoveKeyFrameWithUID(std::uint64_t uID, std::int64_t trackPosition);
    void undoRemoveKeyFramesWithUIDs(const std::vector<std::uint64_t>& uIDs, std::int64_t trackPosition);

    // Of the selected keyframes of all tracks. A curve goes to all but flags; a colour track knows two.
    void undoSetInterpolation(const std::string& interpolation);
    void setInterpolation(const std::string& interpolation, std::int64_t trackPosition, std::uint64_t uID);
    // Of the selected notes, held to 0 ... 127; nothing on other kinds.
    void undoSetNoteVelocityOn(float velocity);
    void undoSetNoteVelocityOff(float velocity);
    void setVelocities(float on, float off, std::int64_t trackPosition, std::uint64_t uID);

    void undoSetSelectedKeyframesColorValue(const Colour& color, std::int64_t trackPosition);
    // Of the selected keyframes of all colour tracks.
    void undoSetSelectedKeyframesColorValueOnMultipleTracks(const Colour& color);
    // One component, 0 to 1, and the others as they are; likewise of all colour tracks.
    void updateSelectedColorsOnChannel(ColorComponent channel, double value);
    void setColorWithUndo(const Colour& color, std::int64_t trackPosition, std::uint64_t uID);

    void undoSetFlagAddress(const std::string& address, std::uint64_t uID, std::int64_t trackPosition);
    void undoSetFlagAddress(const std::string& address, const std::vector<std::uint64_t>& uIDs,
                            std::int64_t trackPosition);

private:
    struct CurveOfKeyframe {
        std::uint64_t uID;
        std::string label;
    };
    struct VelocitiesOfKeyframe {
        std::uint64_t uID;
        std::optional<float> on;
        std::optional<float> off;
    };

    void addKeyFrames(std::int64_t trackPosition, const std::vector<PropertyList>& records);
    void exchangeCurves(std::int64_t trackPosition, std::vector<CurveOfKeyframe> curves);
    void exchangeVelocities(std::int64_t trackPosition, std::vector<VelocitiesOfKeyframe> velocities);
    void setVelocityOfSelected(std::optional<float> on, std::optional<float> off);
    template <class Change>
    void onSelectedColors(Change&& change);

    MarvoTimelineController& composition_;
    CompositionServices& services_;
};

} // namespace marvo
