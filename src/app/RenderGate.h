// The master gate: while it is shut, the render loop advances nothing and everything inbound is dropped on
// arrival.
//
// A plain word; a delay of one tick in its effect is accepted. Thread-safe, realtime-safe.
#pragma once

#include "platform/Relaxed.h"

namespace marvo {

class RenderGate {
public:
    bool shouldIgnoreRendering() const { return shut_; }
    void shut() { shut_ = true; }
    void open() { shut_ = false; }

private:
    Relaxed<bool> shut_ = true;
};

} // namespace marvo
