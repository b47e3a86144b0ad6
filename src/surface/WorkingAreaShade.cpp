#include "surface/WorkingAreaShade.h"

namespace marvo {

WorkingAreaShade drawsOutsideOfWorkingAreaOverlapsInDirtyRect(const SurfaceRect& dirty,
                                                              SurfaceSize trackFrame,
                                                              const TimelineGeometry& geometry, Frame inTime,
                                                              Frame outTime) {
    if (!(inTime > Frame(0)) && !(static_cast<float>(outTime.value) < geometry.length())) return {};
    const double in = geometry.inPointPixelsForTime(inTime, trackFrame.width);
    const double out = geometry.outPointPixelsForTime(outTime, trackFrame.width);
    return {SurfaceRect{0.0, 0.0, in, trackFrame.height}.common(dirty),
            SurfaceRect{out, 0.0, trackFrame.width - out, trackFrame.height}.common(dirty)};
}

} // namespace marvo
