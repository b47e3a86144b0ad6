// The parts of a lane that are not played. Pure function; main thread.
#pragma once

#include "surface/SurfaceRect.h"
#include "surface/TimelineGeometry.h"

namespace marvo {

struct WorkingAreaShade {
    SurfaceRect before; // empty where there is nothing to shade
    SurfaceRect behind;
};

// Both in coordinates of the lane, cut to the dirty rectangle.
WorkingAreaShade drawsOutsideOfWorkingAreaOverlapsInDirtyRect(const SurfaceRect& dirty,
                                                              SurfaceSize trackFrame,
                                                              const TimelineGeometry& geometry, Frame inTime,
                                                              Frame outTime);

} // namespace marvo
