// Points, sizes and rectangles in pixels.
//
// In an area of the surface y grows downwards. Inside a lane, inside the cue row and on the ruler y grows
// upwards from the lower edge, because values do; whoever paints turns it over with `turnedOver`.
//
// Thread-safe: plain values. Realtime-safe.
#pragma once

#include <algorithm>

namespace marvo {

struct SurfacePoint {
    double x = 0.0;
    double y = 0.0;
    bool operator==(const SurfacePoint&) const = default;
};

struct SurfaceSize {
    double width = 0.0;
    double height = 0.0;
    bool operator==(const SurfaceSize&) const = default;
};

// Left and lower numbers belong to a rectangle, right and upper ones do not. One without width or height
// holds nothing.
struct SurfaceRect {
    double x = 0.0;
    double y = 0.0;
    double width = 0.0;
    double height = 0.0;
    bool operator==(const SurfaceRect&) const = default;

    double maxX() const { return x + width; }
    double maxY() const { return y + height; }
    bool isEmpty() const { return !(width > 0.0 && height > 0.0); }
    bool contains(SurfacePoint p) const {
        return !isEmpty() && p.x >= x && p.x < maxX() && p.y >= y && p.y < maxY();
    }
    bool meets(const SurfaceRect& other) const {
        return !isEmpty() && !other.isEmpty() && x < other.maxX() && other.x < maxX() && y < other.maxY() &&
               other.y < maxY();
    }
    // Empty where they do not meet.
    SurfaceRect common(const SurfaceRect& other) const {
        if (!meets(other)) return {};
        const double left = std::max(x, other.x);
        const double low = std::max(y, other.y);
        return {left, low, std::min(maxX(), other.maxX()) - left, std::min(maxY(), other.maxY()) - low};
    }
};

// The same place in an area of that height with y counted from the other edge.
inline SurfacePoint turnedOver(SurfacePoint p, double height) {
    return {p.x, height - p.y};
}
inline SurfaceRect turnedOver(const SurfaceRect& r, double height) {
    return {r.x, height - r.y - r.height, r.width, r.height};
}

} // namespace marvo
