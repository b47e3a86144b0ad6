// The preferences that the tick and the input threads read, as plain words that follow every change of the
// stored ones.
//
// Thread-safe; realtime-safe.
#pragma once

#include "platform/Relaxed.h"

namespace marvo {

struct PlaybackPreferences {
    Relaxed<bool> optimalisedSending = true;
    Relaxed<bool> processFirstKeyframe = false;
    Relaxed<bool> processLastKeyframeOnUnpause = false;
    Relaxed<bool> processLastKeyframeOnJump = false;
    Relaxed<bool> rewindOnStop = false;
    Relaxed<bool> processCompositions = false;
    Relaxed<bool> followPlayheadDuringPlayback = true;
    Relaxed<bool> reprocessOnUnmute = true;
    Relaxed<bool> blackoutOnMute = true;
    Relaxed<bool> blackoutWhenSolo = true;
    Relaxed<bool> recStopsAtEnd = true;
    Relaxed<bool> listenToMMC = false;
    // Of the running program: colour tracks multiply the hue by it.
    Relaxed<float> hueRotateForColors = 1.0f;
    // Of the project rather than of the machine: headers show the values that leave.
    Relaxed<bool> displayTrackOutputs = false;
};

} // namespace marvo
