// The four scroll areas of a surface, kept in step.
//
// Lanes scroll in x and y, headers in y, ruler and cue row in x. Whichever is moved, by hand or by program,
// takes the others along. While it does so it does not watch, so that its own moves do not come back to it.
// Main thread.
#pragma once

#include "surface/ScrollArea.h"
#include "surface/SurfaceView.h"

#include <array>
#include <functional>

namespace marvo {

class SurfaceScrolling {
public:
    // told: an area has moved; reflected: after each synchronisation.
    SurfaceScrolling(std::function<void(SurfaceArea)> told, std::function<void()> reflected);

    ScrollArea& area(SurfaceArea which) { return areas_[static_cast<std::size_t>(which)]; }
    const ScrollArea& area(SurfaceArea which) const { return areas_[static_cast<std::size_t>(which)]; }

    void addViewNotificationObservers() { observes_ = true; }
    void removeViewNotificationObservers() { observes_ = false; }
    bool observes() const { return observes_; }

    // The observer of all four.
    void viewScrolled(SurfaceArea source);

private:
    std::array<ScrollArea, 4> areas_;
    std::function<void(SurfaceArea)> told_;
    std::function<void()> reflected_;
    bool observes_ = true;
};

} // namespace marvo
