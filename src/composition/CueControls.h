// What drives the cues of a composition from outside: three learnable buttons, and the cue commands of its
// OSC space.
//
// The commands act on the thread that brings them, inside the composition queue; the buttons on the main
// thread. A command with a value of the wrong type, or that names no cue, does nothing.
#pragma once

#include "controls/MarvoButton.h"
#include "platform/PropertyList.h"

#include <array>
#include <string>

namespace marvo {

class MarvoTimelineController;
struct CompositionServices;

class CueControls {
public:
    CueControls(MarvoTimelineController& composition, CompositionServices& services);

    MarvoButton enableButton;
    MarvoButton nextCueButton;
    MarvoButton prevCueButton;

    void setOSCAddresses(const std::string& oscNamespace);
    void removeResources();

    // Their share of the cue controller's record. After a load the cues act as the button says.
    void saveInto(PropertyList& record) const;
    void loadFrom(const PropertyList* record);

private:
    void enableChanged();

    MarvoTimelineController& composition_;
    CompositionServices& services_;
    // Its address owns the commands; that of this object is its first button's, too.
    const char commands_ = 0;
};

} // namespace marvo
