#include "surface/SurfaceScrolling.h"

#include <utility>

namespace marvo {

SurfaceScrolling::SurfaceScrolling(std::function<void(SurfaceArea)> told, std::function<void()> reflected)
    : told_(std::move(told)), reflected_(std::move(reflected)) {
    for (const SurfaceArea which :
         {SurfaceArea::lanes, SurfaceArea::headers, SurfaceArea::ruler, SurfaceArea::cueRow}) {
        area(which).setBoundsObserver([this, which] {
            told_(which);
            if (observes_) viewScrolled(which);
        });
    }
}

void SurfaceScrolling::viewScrolled(SurfaceArea source) {
    removeViewNotificationObservers();
    ScrollArea& lanes = area(SurfaceArea::lanes);
    const SurfacePoint origin = area(source).origin();
    switch (source) {
    case SurfaceArea::lanes:
        area(SurfaceArea::headers).scrollToY(origin.y);
        area(SurfaceArea::ruler).scrollToX(origin.x);
        area(SurfaceArea::cueRow).scrollToX(origin.x);
        break;
    case SurfaceArea::ruler:
        lanes.scrollToX(origin.x);
        area(SurfaceArea::cueRow).scrollToX(origin.x);
        break;
    case SurfaceArea::cueRow:
        lanes.scrollToX(origin.x);
        area(SurfaceArea::ruler).scrollToX(origin.x);
        break;
    case SurfaceArea::headers:
        lanes.scrollToY(origin.y);
        break;
    }
    reflected_();
    addViewNotificationObservers();
}

} // namespace marvo
