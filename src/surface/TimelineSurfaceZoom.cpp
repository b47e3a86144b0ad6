// The zoom steps of the surface and the events that ask for them.
#include "surface/TimelineSurface.h"

#include <algorithm>

namespace marvo {

void TimelineSurface::zoomIn() {
    // Never past the point where one frame fills what is seen.
    const double pixelsPerFrame = geometry().rulerPixelsPerFrame(rulerWidth());
    if (!(pixelsPerFrame > 0.0) || visible(SurfaceArea::lanes).width < pixelsPerFrame) return;
    zoomStep(true);
}

void TimelineSurface::zoomOut() {
    if (zoomRatio_ > 1.0f) zoomStep(false);
}

void TimelineSurface::zoomStep(bool in) {
    isZooming_ = true;
    const double x0 = visible(SurfaceArea::lanes).x;
    MarvoTimelineMarkerController& marker = composition_.markerController;
    in ? marker.zoomIn() : marker.zoomOut();
    setDocumentWidth(SurfaceArea::ruler, rulerWidth());
    setDocumentWidth(SurfaceArea::cueRow, area(SurfaceArea::cueRow).documentSize().width * (in ? 2.0 : 0.5));
    displayMarker(SurfaceArea::cueRow);
    setDocumentWidth(SurfaceArea::lanes, laneWidth());
    scrollAfterZoom(in, x0);
    view_.reflectScrolledClipView(SurfaceArea::lanes);
    for (const auto& track : composition_.tracks.all()) view_.laneResized(*track);
    zoomRatio_ *= in ? 2.0f : 0.5f;
    isZooming_ = false;
    displayVisible(SurfaceArea::lanes);
    displayVisible(SurfaceArea::ruler);
    displayVisible(SurfaceArea::cueRow);
    displayMarker(SurfaceArea::lanes);
    displayMarker(SurfaceArea::cueRow);
    composition_.projectChanged();
}

void TimelineSurface::scrollAfterZoom(bool in, double x0) {
    ScrollArea& lanes = scrolling_.area(SurfaceArea::lanes);
    const double half = visible(SurfaceArea::lanes).width * 0.5;
    if (preferences_.zoomToPlayhead) {
        const double marker = ruler().markerRect(composition_.markerController.markerTime()).x;
        if (marker > half) lanes.scrollToX(marker - half);
    } else if (in) {
        // The half width is added on purpose: the left edge moves past the doubled position.
        lanes.scrollToX(x0 * 2.0 + half);
    } else {
        lanes.scrollToX(
            static_cast<double>(std::max(0.0f, static_cast<float>(x0) * 0.5f - static_cast<float>(half))));
    }
}

bool TimelineSurface::scrollWheel(double deltaY, bool commandPressed) {
    if (!commandPressed) return false;
    if (deltaY > 0.0) zoomIn();
    if (deltaY < 0.0) zoomOut();
    return true;
}

void TimelineSurface::magnifyWithEvent(double magnification) {
    if (magnification > 0.0)
        zoomIn();
    else
        zoomOut();
}

} // namespace marvo
