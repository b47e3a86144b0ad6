// What a keyframe of a colour track holds besides time and curve.
#pragma once

#include "platform/Colour.h"

#include <string>

namespace marvo {

struct MarvoTimelineColorKeyframe {
    Colour colorValue = Colour::white();
    // The saved form that the colour was read from; a colour that nobody changed is written back as it was.
    // Empty for a colour that was made here.
    std::string archived;

    void setColorValue(const Colour& colour) {
        colorValue = colour;
        archived.clear();
    }
};

} // namespace marvo
