// The pictures on buttons, drawn as vectors on a square from 0 to 1, so that they are sharp at every scale.
#pragma once

#include <QColor>
#include <QRectF>

class QPainter;

namespace marvo::ui {

enum class Icon {
    none,
    play,
    stop,
    record,
    loop,
    rewind,
    plus,
    zoomIn,
    zoomOut,
    syncOut,
    power, // a composition or a track is on
    queue,
    queueLoop,
    solo,
    previous,
    next,
    cue,
    bang,
    lock,
    lockOpen,
    collapse,
    expand,
    trouble,
    good,
    away, // nobody is at the other end
};

// Fits the picture into the largest square in the middle of the rectangle.
void drawIcon(QPainter& painter, Icon icon, const QRectF& where, const QColor& color);

} // namespace marvo::ui
