// The height of a track's lane in pixels, and with it whether the lane is collapsed: nothing else says so.
//
// Main thread.
#pragma once

namespace marvo {

class LaneHeight {
public:
    static constexpr double expanded = 119.0;
    static constexpr double collapsed = 32.0;

    double pixels() const { return pixels_; }
    void setPixels(double pixels) { pixels_ = pixels; }
    bool isCollapsed() const { return pixels_ == collapsed; }
    void collapse() { pixels_ = collapsed; }
    // Any height but the expanded one expands.
    void handleCollapseAndExpand() { pixels_ = pixels_ == expanded ? collapsed : expanded; }

private:
    double pixels_ = expanded;
};

} // namespace marvo
