// A document that is larger than the part of it that is seen.
//
// The part seen never leaves the document. Tells its observer when the part seen has moved, and only then.
// Main thread.
#pragma once

#include "surface/SurfaceRect.h"

#include <functional>

namespace marvo {

class ScrollArea {
public:
    // Room for the document on the screen, scrollers excluded.
    SurfaceSize contentSize() const { return contentSize_; }
    void setContentSize(SurfaceSize size);
    SurfaceSize documentSize() const { return documentSize_; }
    void setDocumentSize(SurfaceSize size);

    // In coordinates of the document; ends where the document ends.
    SurfaceRect documentVisibleRect() const;
    SurfacePoint origin() const { return origin_; }
    void scrollToPoint(SurfacePoint point);
    void scrollToX(double x) { scrollToPoint({x, origin_.y}); }
    void scrollToY(double y) { scrollToPoint({origin_.x, y}); }
    // Furthest origin: document less content, not below 0.
    SurfacePoint maximumOrigin() const;

    void setBoundsObserver(std::function<void()> boundsChanged) { boundsChanged_ = std::move(boundsChanged); }

private:
    SurfaceSize contentSize_;
    SurfaceSize documentSize_;
    SurfacePoint origin_;
    std::function<void()> boundsChanged_;
};

} // namespace marvo
