// What a keyframe of a flag track holds besides its time: a whole message, as text.
#pragma once

#include <string>

namespace marvo {

struct MarvoTimelineFlagKeyframe {
    std::string flagAddress = "/example";
    bool isLeftSided = false; // the label is drawn left of the flag
};

} // namespace marvo
