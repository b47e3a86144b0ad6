// What an operator typed into the cue time field.
//
// Thread-safe: pure functions.
#pragma once

#include "platform/TimelineTime.h"

#include <cstdint>
#include <string_view>

namespace marvo {

struct CueTimeInput {
    enum class Kind {
        refused,  // nothing to go by: beep
        invert,   // mirror the selected cues
        relative, // move by frames
        absolute  // move to frames
    };
    Kind kind = Kind::refused;
    std::int64_t frames = 0;
};

// "i", or F, S:F, M:S:F, H:M:S:F with an optional sign in front that makes it relative. Each part is read on
// its own as an integer as far as its digits go, so the sign belongs to the first part alone: "-1:10" is 10
// frames less one second. More than four parts are refused.
CueTimeInput parseCueTimeInput(std::string_view text, std::int64_t fps);

} // namespace marvo
