// What a composition's marker controller asks of its composition.
//
// Every call comes on the thread that called the marker controller, which is the main thread for all edits.
#pragma once

#include "platform/TimelineTime.h"

#include <cstdint>
#include <functional>
#include <string>

namespace marvo {

class MarkerComposition {
public:
    virtual ~MarkerComposition() = default;

    virtual std::int64_t compFPS() const = 0;
    virtual float compTime() const = 0; // seconds
    virtual Frame currentTime() const = 0;

    // Moves the playhead; ignored when the target lies past the end.
    virtual void markerDraggedToTime(Frame target) = 0;
    virtual void sendMMCRewind() = 0;
    virtual void updateCompositionPosition() = 0;
    virtual void projectChanged() = 0;
    virtual void redrawMarker() = 0;
    virtual void beep() = 0;
    // Keeps `inverse` under the action name. The composition drops its entries before its marker controller
    // goes away.
    virtual void registerUndo(const std::string& actionName, std::function<void()> inverse) = 0;
};

} // namespace marvo
