// The preferences that the surface follows. The application keeps them as the store has them. Main thread.
#pragma once

namespace marvo {

struct SurfacePreferences {
    bool zoomToPlayhead = true;
    bool followPlayheadDuringPlayback = true;
};

} // namespace marvo
