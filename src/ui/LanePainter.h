// Paints one lane: its ground, its grid, and what its track holds.
//
// The work is that of the visible pixels and keyframes: a thinned line, stroked here, and sprites copied from
// one picture. A path for each keyframe, or the toolkit's wide antialiased line, would cost ten times as
// much. Main thread.
#pragma once

#include "surface/KeyframePainting.h"
#include "surface/TimelineSurface.h"
#include "ui/CurveStroke.h"

#include <QPainter>
#include <QPixmap>
#include <QPolygonF>
#include <QVarLengthArray>

#include <optional>
#include <vector>

namespace marvo {
class MarvoTimelineColorTrack;
class MarvoTimelineFlagTrack;
class MarvoTimelineTrack;
} // namespace marvo

namespace marvo::ui {

class LanePainter {
public:
    // painter and dirty in coordinates of the lanes' document. gridStep: pixels between two lines, 0 for
    // none.
    void paint(QPainter& painter, const TimelineSurface& surface, const LaneLayout::Lane& lane,
               const QRectF& dirty, double gridStep);
    // The look or the scale of the screen has changed.
    void dropSprites() { sprites_ = QPixmap(); }

private:
    void paintValues(QPainter& painter, const MarvoTimelineTrack& track, const LaneScale& scale,
                     const LaneLayout::Lane& lane, const QRectF& dirty);
    void paintColors(QPainter& painter, const MarvoTimelineColorTrack& track, const LaneScale& scale,
                     const LaneLayout::Lane& lane, const QRectF& dirty);
    void paintFlags(QPainter& painter, const MarvoTimelineFlagTrack& track, const LaneScale& scale,
                    const LaneLayout::Lane& lane, const QRectF& dirty);
    // Of points_.
    void paintLine(QPainter& painter, const QColor& ink, const LaneLayout::Lane& lane, const QRectF& dirty);
    void drawSprites(QPainter& painter, const LaneLayout::Lane& lane, bool enabled);
    // A ring around the keyframe under the pointer.
    void drawTracked(QPainter& painter, const LaneScale& scale, const LaneLayout::Lane& lane);
    void makeSprites(double ratio);

    std::optional<std::uint64_t> tracked_; // uID of the keyframe under the pointer
    std::vector<LanePoint> points_;
    std::vector<KeyframeSprite> places_;
    QPolygonF line_;
    CurveStroke stroke_;
    std::vector<QPainter::PixmapFragment> fragments_;
    QPixmap sprites_; // at rest, selected, of a muted track
};

} // namespace marvo::ui
