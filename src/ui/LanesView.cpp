#include "ui/LanesView.h"

#include "surface/RulerTicks.h"
#include "surface/WorkingAreaShade.h"
#include "ui/Look.h"

#include <QMouseEvent>
#include <QPainter>

#include <cmath>
#include <optional>

namespace marvo::ui {

LanesView::LanesView(MarvoTimelineController& composition, QWidget* parent)
    : AreaView(SurfaceArea::lanes, parent), composition_(composition) {
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName(QStringLiteral("Timeline"));
}

double LanesView::gridStep() const {
    const RulerTicks ticks(composition_.compTime(), composition_.compFPS(), surface()->rulerWidth());
    const std::int64_t seconds = ticks.everyNthSecond();
    if (seconds <= 0 || !surface()->geometry().hasLength()) return 0.0;
    return static_cast<double>(seconds * composition_.compFPS()) * surface()->laneWidth() /
           static_cast<double>(surface()->geometry().length());
}

void LanesView::paintContent(QPainter& painter, const QRectF& dirty) {
    const Look& look = Look::current();
    painter.fillRect(dirty, look.window);
    if (composition_.tracks.count() == 0) {
        painter.setPen(look.dimText);
        painter.setFont(typeFont(Type::normal));
        // The document has no height then.
        const QRectF seen = QRectF(rect()).translated(std::round(origin().x), std::round(origin().y));
        painter.drawText(seen, Qt::AlignCenter,
                         QStringLiteral("No tracks yet: \u201c+ Track\u201d above adds one"));
        return;
    }
    const double grid = gridStep();
    for (const LaneLayout::Lane& lane : surface()->lanes().lanes()) {
        if (lane.maxY() < dirty.top() || lane.y > dirty.bottom()) continue;
        lanes_.paint(painter, *surface(), lane, dirty, grid);
        const SurfaceRect part{dirty.x(), 0.0, dirty.width(), lane.height};
        const WorkingAreaShade shade = drawsOutsideOfWorkingAreaOverlapsInDirtyRect(
            part, {surface()->laneWidth(), lane.height}, surface()->geometry(), composition_.inTime(),
            composition_.outTime());
        for (const SurfaceRect& side : {shade.before, shade.behind}) {
            if (!side.isEmpty())
                painter.fillRect(QRectF(side.x, lane.y, side.width, lane.height).intersected(dirty),
                                 look.shade);
        }
    }
}

void LanesView::paintMarker(QPainter& painter, const QRectF& column) {
    const Look& look = Look::current();
    painter.fillRect(QRectF(markerLine(column), 0, 1, height()),
                     composition_.isRunning() ? look.plays : look.text);
}

void LanesView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    const std::optional<LaneLayout::Lane> lane = surface()->lanes().laneAt(inDocument(event->position()).y);
    if (lane && onPick) onPick(*lane->track, event->modifiers());
}

void LanesView::mouseMoveEvent(QMouseEvent* event) {
    if (!surface()) return;
    const SurfacePoint point = inDocument(event->position());
    if (const std::optional<LaneLayout::Lane> lane = surface()->lanes().laneAt(point.y)) {
        surface()->mouseMoved(*lane->track, TimelineSurface::lanePoint(*lane, point));
    } else {
        leaveLanes(); // into a gap, or below the last one
    }
}

void LanesView::leaveEvent(QEvent*) {
    if (surface()) leaveLanes();
}

void LanesView::leaveLanes() {
    for (const LaneLayout::Lane& lane : surface()->lanes().lanes()) surface()->mouseExited(*lane.track);
}

void LanesView::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange) {
        lanes_.dropSprites();
        contentChanged();
    }
    AreaView::changeEvent(event);
}

} // namespace marvo::ui
