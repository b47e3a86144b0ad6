#include "surface/ScrollArea.h"

#include <algorithm>

namespace marvo {
namespace {

// A document that is larger by less than half a pixel fits: its width is a rounded product.
double furthest(double document, double content) {
    const double beyond = document - content;
    return beyond < 0.5 ? 0.0 : beyond;
}

} // namespace

void ScrollArea::setContentSize(SurfaceSize size) {
    contentSize_ = size;
    scrollToPoint(origin_);
}

void ScrollArea::setDocumentSize(SurfaceSize size) {
    documentSize_ = size;
    scrollToPoint(origin_);
}

SurfaceRect ScrollArea::documentVisibleRect() const {
    return {origin_.x, origin_.y, std::min(contentSize_.width, documentSize_.width - origin_.x),
            std::min(contentSize_.height, documentSize_.height - origin_.y)};
}

SurfacePoint ScrollArea::maximumOrigin() const {
    return {furthest(documentSize_.width, contentSize_.width),
            furthest(documentSize_.height, contentSize_.height)};
}

void ScrollArea::scrollToPoint(SurfacePoint point) {
    const SurfacePoint limit = maximumOrigin();
    const SurfacePoint next{std::clamp(point.x, 0.0, limit.x), std::clamp(point.y, 0.0, limit.y)};
    if (next == origin_) return;
    origin_ = next;
    if (boundsChanged_) boundsChanged_();
}

} // namespace marvo
