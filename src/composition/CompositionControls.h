// The learnable controls of a composition: nine buttons, the tempo field, their addresses, and the playhead
// commands.
//
// The state of loopButton is the loop flag, that of recButton the record-arm flag; playButton mirrors
// isRunning; the text of compSpeed is the tempo as it is saved. States are plain words: the tick reads them.
// All else on the main thread, except inbound OSC, which each control hands on as its kind needs.
#pragma once

#include "controls/MarvoButton.h"
#include "controls/MarvoControlTextField.h"
#include "platform/TimelineTime.h"

#include <array>
#include <functional>
#include <string>
#include <vector>

namespace marvo {

class MarvoTimelineController;
struct CompositionServices;

class CompositionControls {
public:
    CompositionControls(MarvoTimelineController& composition, CompositionServices& services);

    MarvoButton playButton;
    MarvoButton recButton;
    MarvoButton loopButton;
    MarvoButton rewindButton;
    MarvoButton trackAddButton;
    MarvoButton zoomInButton;
    MarvoButton zoomOutButton;
    MarvoButton syncOutButton;
    MarvoButton compStateButton;
    MarvoControlTextField compSpeed;

    // Gives every control its address below oscNamespace and subscribes it again.
    void setOSCAddresses(const std::string& oscNamespace);
    void removeResources();

private:
    struct Named {
        MarvoButton* button;
        const char* part;
        const char* extraInfo;
    };
    std::array<Named, 9> named();

    MarvoTimelineController& composition_;
    CompositionServices& services_;
};

} // namespace marvo
