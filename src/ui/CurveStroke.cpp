#include "ui/CurveStroke.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace marvo::ui {
namespace {

// Half a pixel more at both ends of a piece, where it meets its neighbours.
constexpr double overlap = 0.5;

// The pixels whose middles lie between two places, within 0 to count.
struct Pixels {
    int first;
    int last; // not beyond it
    Pixels(double from, double to, int count)
        : first(static_cast<int>(std::ceil(std::clamp<double>(from - overlap - 0.5, 0, count)))),
          last(static_cast<int>(std::floor(std::clamp<double>(to + overlap - 0.5, -1, count - 1)))) {}
};

// All four parts of a pixel at once, two at a time.
QRgb mixed(QRgb below, QRgb ink, std::uint32_t share) {
    constexpr std::uint32_t pair = 0x00ff00ff;
    const std::uint32_t rest = 255 - share;
    const auto scaled = [](std::uint32_t parts) {
        return ((parts + ((parts >> 8) & pair) + 0x00800080) >> 8) & pair;
    };
    const std::uint32_t even = scaled((below & pair) * rest + (ink & pair) * share);
    const std::uint32_t odd = scaled(((below >> 8) & pair) * rest + ((ink >> 8) & pair) * share);
    return even | odd << 8;
}

// The pixels from one place to another, of a row or of a column; both are not negative.
void cover(std::uint8_t* shares, std::ptrdiff_t stride, double from, double to) {
    constexpr int one = 256; // in fixed point
    const auto begin = static_cast<int>(from * one);
    const auto end = static_cast<int>(to * one);
    const auto add = [&](int at, int share) {
        std::uint8_t& present = shares[at * stride];
        present = std::max(present, static_cast<std::uint8_t>(std::min(share, 255)));
    };
    const int first = begin / one;
    const int last = end / one;
    if (first == last) return add(first, end - begin);
    add(first, one - begin % one);
    for (int at = first + 1; at < last; ++at) add(at, one);
    if (end % one > 0) add(last, end % one);
}

} // namespace

void CurveStroke::stroke(QImage& target, const QRect& clip, std::span<const QPointF> points, double width,
                         const QColor& ink) {
    const QRect part = clip.intersected(target.rect());
    if (part.isEmpty()) return;
    width_ = part.width();
    height_ = part.height();
    penWidth_ = width;
    const auto size = static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_);
    if (shares_.size() < size) shares_.resize(size);
    const QPointF origin(part.topLeft());
    for (std::size_t i = 1; i < points.size(); ++i) piece(points[i - 1] - origin, points[i] - origin);
    blend(target, part, ink);
}

void CurveStroke::piece(QPointF from, QPointF to) {
    const double dx = to.x() - from.x();
    const double dy = to.y() - from.y();
    if (!std::isfinite(dx) || !std::isfinite(dy) || (dx == 0.0 && dy == 0.0)) return;
    const bool isFlat = std::abs(dx) >= std::abs(dy);
    const double slope = isFlat ? dy / dx : dx / dy;
    const double half = 0.5 * penWidth_ * std::sqrt(1.0 + slope * slope);
    if (isFlat) {
        const Pixels pixels(std::min(from.x(), to.x()), std::max(from.x(), to.x()), width_);
        for (int x = pixels.first; x <= pixels.last; ++x) {
            const double y = from.y() + slope * (x + 0.5 - from.x());
            column(x, y - half, y + half);
        }
    } else {
        const Pixels pixels(std::min(from.y(), to.y()), std::max(from.y(), to.y()), height_);
        for (int y = pixels.first; y <= pixels.last; ++y) {
            const double x = from.x() + slope * (y + 0.5 - from.y());
            row(y, x - half, x + half);
        }
    }
}

void CurveStroke::column(int x, double top, double bottom) {
    top = std::max(0.0, top);
    bottom = std::min<double>(height_, bottom);
    // Else it is outside.
    if (top < bottom) cover(shares_.data() + x, width_, top, bottom);
}

void CurveStroke::row(int y, double left, double right) {
    left = std::max(0.0, left);
    right = std::min<double>(width_, right);
    if (left < right) cover(shares_.data() + static_cast<std::ptrdiff_t>(y) * width_, 1, left, right);
}

void CurveStroke::blend(QImage& target, const QRect& clip, const QColor& ink) {
    const QRgb color = qPremultiply(ink.rgba());
    const std::ptrdiff_t stride = target.bytesPerLine() / static_cast<std::ptrdiff_t>(sizeof(QRgb));
    QRgb* pixels = reinterpret_cast<QRgb*>(target.bits()) + clip.top() * stride + clip.left();
    std::uint8_t* shares = shares_.data();
    for (int y = 0; y < height_; ++y, pixels += stride, shares += width_) {
        for (int x = 0; x < width_; ++x) {
            // Most of it is empty: eight at a time.
            std::uint64_t eight = 0;
            while (x + 8 <= width_) {
                std::memcpy(&eight, shares + x, sizeof eight);
                if (eight != 0) break;
                x += 8;
            }
            if (x == width_) break;
            if (shares[x] == 0) continue;
            pixels[x] = mixed(pixels[x], color, shares[x]);
            shares[x] = 0;
        }
    }
}

} // namespace marvo::ui
