// The fields of one composition that the tick, the interface and inbound control share.
//
// Written by the tick and by transport operations, which hold the composition queue; read by anybody. Units:
// frames at compFPS, seconds at tempo 120 (compTime, processtime), beats a minute (compBPM; 120 is real
// time).
#pragma once

#include "platform/Relaxed.h"
#include "platform/TimelineTime.h"

#include <cstdint>

namespace marvo {

struct CompositionState {
    Relaxed<std::int64_t> compFPS = 30;
    Relaxed<float> compTime = 10.0f;
    Relaxed<float> compBPM = 120.0f;
    Relaxed<bool> compState = true;
    Relaxed<Frame> currentTime = Frame(0);
    Relaxed<Frame> lastProcessedTime = noFrame;
    Relaxed<double> processtime = 0.0;
    Relaxed<bool> isRunning = false;
    // While above zero the tick passes the composition over; see PlaybackHold.h.
    Relaxed<std::int32_t> holds = 0;

    // Raised by any thread, consumed by whoever shows the list of compositions.
    Relaxed<bool> shouldUpdateProgress = false;
    Relaxed<bool> shouldUpdatePlaystate = false;
    Relaxed<bool> shouldUpdateCompstate = false;

    Relaxed<bool> useSPP = false;
    Relaxed<bool> useMTC = false;
    Relaxed<bool> jumpWhenSPP = false;
    Relaxed<bool> shouldRestartMTCClock = false;

    Relaxed<Frame> rangeSelectStart = Frame(0);
    Relaxed<Frame> rangeSelectEnd = Frame(0);
};

} // namespace marvo
