// Keyframes between their editable form and saved records. Main thread.
#pragma once

#include "platform/PropertyList.h"
#include "tracks/MarvoTimelineKeyframe.h"

#include <cstdint>
#include <optional>
#include <string>

namespace marvo {

// Time, value or colour, curve; velocities on note tracks, the message on flag tracks; the identity as well
// for undo.
PropertyList recordOf(const MarvoTimelineKeyframe& keyframe, bool isNote, bool forUndo);
// For the clipboard: also the height on the lane, the range as text, and the frame rate when there is one. A
// colour and a flag have a height but no range.
PropertyList recordForCopy(const MarvoTimelineKeyframe& keyframe, bool isNote,
                           std::optional<std::int64_t> compFPS);

// As it is stored; 0 without one.
Frame timeFrom(const PropertyList& record);
// The raw form points into the record: use it while the record lives.
RawKeyframe rawKeyframeFrom(const PropertyList& record);
std::optional<std::uint64_t> uidFrom(const PropertyList& record);
// A record without a curve is linear.
std::string_view interpolationFrom(const PropertyList& record);
// The colour of a record and the data it stands in; none when the data is no colour, or there is none.
std::optional<Colour> colorFrom(const PropertyList& record, std::string* archived);
// Keys that no field of a keyframe of this kind holds.
PropertyList keyframeExtras(const PropertyList& record, const MarvoTimelineKeyframe& keyframe);

} // namespace marvo
