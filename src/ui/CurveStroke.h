// Strokes a curve: even in width however steep, and smooth at its edges.
//
// A pen of the toolkit is either even and slow or quick and ragged. This one goes over each piece of the line
// column by column where it is flat, row by row where it is steep, and notes how much of each pixel is
// covered; where pieces meet the greater share counts, so that joints are no darker. The work is that of the
// pixels of the line, and its memory is kept from one curve to the next. Main thread.
#pragma once

#include <QColor>
#include <QImage>
#include <QPointF>
#include <QRect>

#include <cstdint>
#include <span>
#include <vector>

namespace marvo::ui {

class CurveStroke {
public:
    // In pixels of the target, whatever ratio it has; an image of 32 bits without alpha or with alpha that is
    // multiplied in. Points are connected in their order; what lies outside of `clip` is cut off. A painter
    // may be at work on the target, between two of its calls.
    void stroke(QImage& target, const QRect& clip, std::span<const QPointF> points, double width,
                const QColor& ink);

private:
    void piece(QPointF from, QPointF to);
    void column(int x, double top, double bottom);
    void row(int y, double left, double right);
    void blend(QImage& target, const QRect& clip, const QColor& ink);

    int width_ = 0; // of the part that is stroked
    int height_ = 0;
    double penWidth_ = 1.0;
    // Row after row; all 0 between two curves.
    std::vector<std::uint8_t> shares_; // of a pixel, in 255ths
};

} // namespace marvo::ui
