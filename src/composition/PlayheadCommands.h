// The playhead commands of a composition's OSC space: "playhead", "jumptoframe", "nextframe", "prevframe".
//
// They act on the thread that brings them, inside the composition queue, so that a busy window does not delay
// them. A value that is neither an integer nor a float is ignored where a number is asked for.
#pragma once

#include "controls/OSCArgument.h"

#include <string>

namespace marvo {

class MarvoTimelineController;
struct CompositionServices;

class PlayheadCommands {
public:
    PlayheadCommands(MarvoTimelineController& composition, CompositionServices& services);

    void setOSCAddresses(const std::string& oscNamespace);
    void removeResources();

    // v is clamped to 0..1 and counts over the whole composition, not the working area.
    void handleOSCMessagePlayhead(const OSCArgument& value);
    // Raised and lowered into the working area.
    void handleOSCMessageJumpTo(const OSCArgument& value);
    // Past the ends of the working area they wrap.
    void handleOSCMessageNextFrame();
    void handleOSCMessagePrevFrame();

private:
    MarvoTimelineController& composition_;
    CompositionServices& services_;
};

} // namespace marvo
