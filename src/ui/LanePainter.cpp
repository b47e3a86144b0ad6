#include "ui/LanePainter.h"

#include "composition/MarvoTimelineCompositionTrack.h"
#include "surface/WorkingAreaShade.h"
#include "tracks/MarvoTimelineColorTrack.h"
#include "tracks/MarvoTimelineFlagTrack.h"
#include "tracks/MarvoTimelineTrack.h"
#include "ui/Look.h"

#include <algorithm>
#include <cmath>

namespace marvo::ui {
namespace {

constexpr double curveWidth = 1.7;
constexpr double spriteSize = 9.0;
constexpr double spriteCell = 16.0;
// Sprites closer together than this cannot be told apart, and cost as much each.
constexpr double spriteStep = 4.0;
enum Sprite { atRest, selectedSprite, muted, spriteCount };

QColor toQColor(const Colour& colour) {
    const Colour shown = colour.limited();
    return QColor::fromRgbF(static_cast<float>(shown.red), static_cast<float>(shown.green),
                            static_cast<float>(shown.blue), static_cast<float>(shown.alpha));
}

QColor opaque(QColor color) {
    color.setAlphaF(1.0f);
    return color;
}

} // namespace

void LanePainter::paint(QPainter& painter, const TimelineSurface& surface, const LaneLayout::Lane& lane,
                        const QRectF& dirty, double gridStep) {
    const Look& look = Look::current();
    const QRectF area(0.0, lane.y, surface.laneWidth(), lane.height);
    const QRectF part = area.intersected(dirty);
    if (part.isEmpty()) return;
    painter.fillRect(part, lane.track->isSelected() ? look.laneSelected : look.lane);
    if (gridStep > 0.0) {
        painter.setPen(QPen(lane.track->isSelected() ? look.faintLineSelected : look.faintLine, 0));
        for (double x = std::floor(part.left() / gridStep) * gridStep; x <= part.right(); x += gridStep) {
            painter.drawLine(QPointF(x, part.top()), QPointF(x, part.bottom()));
        }
    }
    painter.save();
    painter.setClipRect(part.intersected(dirty));
    const LaneScale scale = surface.scaleOf(*lane.track);
    tracked_ = surface.trackedKeyframe();
    if (const auto* colors = dynamic_cast<const MarvoTimelineColorTrack*>(lane.track)) {
        paintColors(painter, *colors, scale, lane, part);
    } else if (const auto* flags = dynamic_cast<const MarvoTimelineFlagTrack*>(lane.track)) {
        paintFlags(painter, *flags, scale, lane, part);
    } else if (const auto* plain = dynamic_cast<const MarvoTimelineTrack*>(lane.track)) {
        paintValues(painter, *plain, scale, lane, part);
    } else if (const auto* block = dynamic_cast<const MarvoTimelineCompositionTrack*>(lane.track)) {
        const double x = scale.geometry.pixelsForTime(Frame(block->startPosition()), scale.width);
        painter.setPen(QPen(look.dimText, 0));
        painter.drawLine(QPointF(x, lane.y), QPointF(x, lane.maxY()));
        painter.setFont(typeFont(Type::strong));
        painter.drawText(QRectF(x + 8, lane.y, 400, lane.height), Qt::AlignVCenter,
                         QString::fromStdString(block->compositionSource()));
    }
    painter.restore();
}

void LanePainter::paintValues(QPainter& painter, const MarvoTimelineTrack& track, const LaneScale& scale,
                              const LaneLayout::Lane& lane, const QRectF& dirty) {
    const KeyframePainting painting(track.keyframes().store().all(), scale);
    // Sprites reach into the neighbouring pixels.
    const double left = dirty.left() - spriteCell;
    const double right = dirty.right() + spriteCell;
    if (track.kind() != TrackKind::midiNotes) {
        painting.line(left, right, points_);
        paintLine(painter, track.isEnabled() ? Look::current().curve : Look::current().faintText, lane,
                  dirty);
    }
    painting.sprites(left, right, places_, spriteStep);
    drawSprites(painter, lane, track.isEnabled());
    drawTracked(painter, scale, lane);
}

void LanePainter::paintLine(QPainter& painter, const QColor& ink, const LaneLayout::Lane& lane,
                            const QRectF& dirty) {
    line_.resize(static_cast<qsizetype>(points_.size()));
    double length = 0.0; // its greater part, up or along
    for (std::size_t i = 0; i < points_.size(); ++i) {
        const QPointF point(points_[i].x, lane.maxY() - points_[i].y);
        if (i > 0) {
            const QPointF step = point - line_[static_cast<qsizetype>(i) - 1];
            length += std::max(std::abs(step.x()), std::abs(step.y()));
        }
        line_[static_cast<qsizetype>(i)] = point;
    }
    auto* picture = dynamic_cast<QImage*>(painter.device());
    // Up and down all along it is an area, and has weight enough with the quickest of pens.
    if (!picture || length > 3.0 * (dirty.width() + 2.0 * spriteCell)) { // so far the points reach
        painter.setRenderHint(QPainter::Antialiasing, false);
        painter.setPen(QPen(ink, 0));
        const double ratio = painter.device()->devicePixelRatioF();
        for (int i = 0; i < std::max(1, static_cast<int>(std::lround(ratio))); ++i)
            painter.drawPolyline(line_.translated(0, i / ratio));
        return;
    }
    const QTransform toPicture = painter.deviceTransform();
    for (QPointF& point : line_) point = toPicture.map(point);
    stroke_.stroke(*picture, toPicture.mapRect(dirty).toRect(),
                   {line_.constData(), static_cast<std::size_t>(line_.size())}, curveWidth * toPicture.m11(),
                   ink);
}

void LanePainter::paintColors(QPainter& painter, const MarvoTimelineColorTrack& track, const LaneScale& scale,
                              const LaneLayout::Lane& lane, const QRectF& dirty) {
    const Look& look = Look::current();
    const auto& keyframes = track.keyframes().store().all();
    if (!keyframes.empty()) {
        const double unit = scale.geometry.timeUnitInPixels(scale.width);
        const QRectF band(0, lane.y + lane.height * 0.2, scale.width, lane.height * 0.6);
        constexpr double step = 2.0;
        for (double x = std::floor(dirty.left() / step) * step; x < dirty.right(); x += step) {
            const auto frame = static_cast<std::int64_t>(x * unit);
            // What shines through is the lane: before the first keyframe there is no colour.
            painter.fillRect(QRectF(x, band.top(), step, band.height()),
                             toQColor(track.colorAtFrame(Frame(frame))));
        }
    }
    const KeyframePainting painting(keyframes, scale);
    painting.sprites(dirty.left() - spriteCell, dirty.right() + spriteCell, places_, 2.0);
    painter.setRenderHint(QPainter::Antialiasing);
    for (const KeyframeSprite& place : places_) {
        const MarvoTimelineColorKeyframe* color = place.keyframe->color();
        const QPointF at(place.point.x, lane.maxY() - place.point.y);
        painter.setPen(
            QPen(place.keyframe->selected ? look.focus : look.window, place.keyframe->selected ? 3.0 : 2.0));
        // A colour that hardly shows must still be seen where it begins.
        painter.setBrush(color ? opaque(toQColor(color->colorValue)) : look.text);
        painter.drawEllipse(at, 6.5, 6.5);
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(look.keyframe, 1.0));
        painter.drawEllipse(at, 8.0, 8.0);
    }
    drawTracked(painter, scale, lane);
}

void LanePainter::paintFlags(QPainter& painter, const MarvoTimelineFlagTrack& track, const LaneScale& scale,
                             const LaneLayout::Lane& lane, const QRectF& dirty) {
    const Look& look = Look::current();
    constexpr double longestLabel = 600.0;
    const KeyframePainting painting(track.keyframes().store().all(), scale);
    painting.sprites(dirty.left() - longestLabel, dirty.right() + longestLabel, places_, 3.0);
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setFont(typeFont(Type::small));
    const QFontMetricsF metrics(painter.font());
    double freeFrom = -1e9;
    for (const KeyframeSprite& place : places_) {
        const MarvoTimelineFlagKeyframe* flag = place.keyframe->flag();
        if (!flag) continue;
        const QColor ink = place.keyframe->selected ? look.focus
                           : track.isEnabled()      ? look.keyframe
                                                    : look.faintText;
        painter.setPen(QPen(ink, 0));
        painter.drawLine(QPointF(place.point.x, lane.y + 2), QPointF(place.point.x, lane.maxY() - 2));
        const double y = lane.maxY() - place.point.y - KeyframeGeometry::size;
        const QRectF head(flag->isLeftSided ? place.point.x - 10 : place.point.x,
                          std::clamp(y, lane.y + 2, lane.maxY() - 18), 10, 14);
        painter.fillRect(head, ink);
        const QString text = QString::fromStdString(track.flagDisplayAddress(*place.keyframe));
        const double width = std::min(metrics.horizontalAdvance(text), longestLabel - 20.0);
        const double x = flag->isLeftSided ? head.left() - width - 4 : head.right() + 4;
        if (x < freeFrom) continue; // a label on top of another reads as neither
        painter.drawText(QRectF(x, head.top(), width + 2, head.height()), Qt::AlignVCenter | Qt::AlignLeft,
                         text);
        freeFrom = x + width + 6;
    }
}

void LanePainter::drawTracked(QPainter& painter, const LaneScale& scale, const LaneLayout::Lane& lane) {
    if (!tracked_) return;
    for (const KeyframeSprite& place : places_) {
        if (place.keyframe->uID != *tracked_) continue;
        // Wider at the edges of the lane, where half of it is cut off.
        const SurfaceRect frame = KeyframeGeometry::frameOf(*place.keyframe, scale, true);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(Look::current().text, 1.5));
        painter.setBrush(Qt::NoBrush);
        painter.drawEllipse(
            QRectF(frame.x, lane.maxY() - frame.maxY(), frame.width, frame.height).adjusted(1, 1, -1, -1));
    }
}

void LanePainter::makeSprites(double ratio) {
    const Look& look = Look::current();
    sprites_ = QPixmap((QSizeF(spriteCell * static_cast<int>(spriteCount), spriteCell) * ratio).toSize());
    sprites_.setDevicePixelRatio(ratio);
    sprites_.fill(Qt::transparent);
    QPainter painter(&sprites_);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor fill[spriteCount] = {look.keyframe, look.focus, look.faintText};
    for (int i = 0; i < spriteCount; ++i) {
        const QPointF middle(spriteCell * (i + 0.5), spriteCell / 2);
        painter.setPen(QPen(look.window, 1.5));
        painter.setBrush(fill[i]);
        // What is selected is square and larger, so that its colour is not the only sign.
        const double half = i == selectedSprite ? 6.0 : spriteSize / 2;
        if (i == selectedSprite)
            painter.drawRect(QRectF(middle - QPointF(half, half), QSizeF(half * 2, half * 2)));
        else
            painter.drawEllipse(middle, half, half);
    }
}

void LanePainter::drawSprites(QPainter& painter, const LaneLayout::Lane& lane, bool enabled) {
    if (places_.empty()) return;
    const double ratio = painter.device()->devicePixelRatioF();
    if (sprites_.isNull() || sprites_.devicePixelRatio() != ratio) makeSprites(ratio);
    fragments_.clear();
    const double cell = spriteCell * ratio;
    for (const KeyframeSprite& place : places_) {
        const int which = place.keyframe->selected ? selectedSprite : enabled ? atRest : muted;
        fragments_.push_back(
            QPainter::PixmapFragment::create(QPointF(place.point.x, lane.maxY() - place.point.y),
                                             QRectF(cell * which, 0, cell, cell), 1.0 / ratio, 1.0 / ratio));
    }
    painter.drawPixmapFragments(fragments_.data(), static_cast<int>(fragments_.size()), sprites_);
}

} // namespace marvo::ui
