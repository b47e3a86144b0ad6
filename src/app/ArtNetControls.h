// The learnable controls of Art-Net: the master fader of the colour tracks and the switch of the soft patch.
// The blackout button is among those of the master transport.
//
// The fader acts on the thread that brings MIDI, with the composition queue held; all else on the main
// thread.
#pragma once

#include "controls/ControlHub.h"
#include "controls/MarvoButton.h"
#include "controls/MarvoSlider.h"
#include "endpoints/artnet/MarvoArtNetManager.h"
#include "endpoints/osc/MarvoOSCManager.h"

#include <functional>

namespace marvo {

class ArtNetControls {
public:
    ArtNetControls(ControlHub& hub, MarvoArtNetManager& manager, MarvoOSCManager& oscManager);

    MarvoSlider masterFader; // 0 to 1
    MarvoButton softPatchEnableButton;

    void setOSCAddresses();
    // What a project keeps was moved or switched, by hand or from outside. On the thread of the control.
    std::function<void()> onChanged;

private:
    void changeDMXMasterFader();
    void tell() const {
        if (onChanged) onChanged();
    }

    MarvoArtNetManager& manager_;
    MarvoOSCManager& oscManager_;
};

} // namespace marvo
