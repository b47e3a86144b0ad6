// What the surface tells the one who paints it.
//
// All calls come on the main thread and return at once: note what is dirty, paint later. Rectangles are in
// coordinates of the area's document, y downwards.
#pragma once

#include "surface/SurfaceRect.h"

namespace marvo {

class MarvoTimelineTrackProtocol;

// The four areas that scroll together.
enum class SurfaceArea { lanes, headers, ruler, cueRow };

class SurfaceView {
public:
    virtual ~SurfaceView() = default;

    // Paint this part again. It may reach beyond what is seen.
    virtual void needsDisplay(SurfaceArea area, const SurfaceRect& rect) = 0;
    // The area shows another part of its document (ScrollArea::origin): move pixels, paint the rest.
    virtual void scrolled(SurfaceArea area) = 0;
    // The document has another size, or the area another content size.
    virtual void resized(SurfaceArea area) = 0;
    // Bring the scrollers of the area to where it stands.
    virtual void reflectScrolledClipView(SurfaceArea area) = 0;
    // The lane and its header belong at other places now (TimelineSurface::lanes), animated or at once.
    virtual void lanesMoved(bool withAnimation) = 0;
    // Width or height of a lane has changed: drop what was cached for it, such as its background.
    virtual void laneResized(MarvoTimelineTrackProtocol& track) = 0;
    // The playhead's time as text is out of date.
    virtual void displayActualTime() = 0;
};

} // namespace marvo
