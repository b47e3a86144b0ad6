#include "ui/CueRowView.h"

#include "platform/SerialQueue.h"
#include "ui/Look.h"

#include <QHelpEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>

namespace marvo::ui {
namespace {

struct ShownCue {
    QRectF frame;
    std::string pattern; // of the name
    std::size_t number;
    std::string loops;
    CueType type;
    CueRepeat repeat;
    bool selected;
    bool active;
    bool leftSided;
};

QPainterPath signOf(const ShownCue& cue) {
    QPainterPath path;
    const QRectF at = cue.frame.adjusted(1, 1, -1, -1);
    if (cue.type == CueType::pauses) {
        path.addRect(QRectF(at.left(), at.top(), at.width() * 0.36, at.height()));
        path.addRect(QRectF(at.right() - at.width() * 0.36, at.top(), at.width() * 0.36, at.height()));
    } else {
        path.moveTo(at.topLeft());
        path.lineTo(at.right(), at.center().y());
        path.lineTo(at.bottomLeft());
        path.closeSubpath();
    }
    return path;
}

} // namespace

CueRowView::CueRowView(MarvoTimelineController& composition, SerialQueue& compQueue, QWidget* parent)
    : AreaView(SurfaceArea::cueRow, parent), composition_(composition), compQueue_(compQueue) {
    setFixedHeight(size::cueRow);
    setAccessibleName(QStringLiteral("Cues"));
}

void CueRowView::paintContent(QPainter& painter, const QRectF& dirty) {
    const Look& look = Look::current();
    painter.fillRect(dirty, look.panel);
    painter.fillRect(QRectF(dirty.x(), height() - 1, dirty.width(), 1), look.line);
    const SurfaceSize row{surface()->laneWidth(), static_cast<double>(height())};
    const TimelineGeometry geometry = surface()->geometry();
    // Copied out, so that the composition does not wait for the painting.
    std::vector<ShownCue> shown;
    compQueue_.sync([&] {
        std::size_t number = 0;
        composition_.cueController.cues().forEach([&](const MarvoCue& cue) {
            ++number;
            const QRectF frame = toQt(turnedOver(KeyframeGeometry::frameOf(cue, geometry, row), row.height));
            if (frame.left() > dirty.right() + 300 || frame.right() < dirty.left() - 300) return;
            shown.push_back({frame, cue.cueName, number,
                             cue.repeat == CueRepeat::counted ? cue.loopNumberInfo() : std::string(),
                             cue.type, cue.repeat, cue.selected, cue.isActiveCue, cue.isLeftSided});
        });
    });
    painter.setFont(typeFont(Type::small));
    const QFontMetricsF metrics(painter.font());
    for (const ShownCue& cue : shown) {
        const QColor ink = cue.selected                             ? look.focus
                           : composition_.cueController.isEnabled() ? look.text
                                                                    : look.faintText;
        painter.fillRect(QRectF(cue.frame.left(), 0, 1, height()), ink);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.fillPath(signOf(cue), ink);
        painter.setRenderHint(QPainter::Antialiasing, false);
        QString text = QString::fromStdString(cueDisplayName(cue.pattern, cue.number));
        if (cue.repeat == CueRepeat::forEver) text += QStringLiteral(" \u221e");
        if (!cue.loops.empty()) text += QStringLiteral(" ") + QString::fromStdString(cue.loops);
        const double width = metrics.horizontalAdvance(text) + 4;
        const double x = cue.leftSided ? cue.frame.left() - width - 3 : cue.frame.right() + 4;
        painter.setPen(ink);
        painter.drawText(QRectF(x, 0, width, height() - 1), Qt::AlignVCenter, text);
    }
}

void CueRowView::paintMarker(QPainter& painter, const QRectF& column) {
    const Look& look = Look::current();
    painter.fillRect(QRectF(markerLine(column), 0, 1, height()),
                     composition_.isRunning() ? look.plays : look.text);
}

CueId CueRowView::cueAt(QPointF point) const {
    return surface()->cueAtPoint(turnedOver(inDocument(point), height()));
}

void CueRowView::mousePressEvent(QMouseEvent* event) {
    if (!surface() || event->button() != Qt::LeftButton) return;
    const CueId cue = cueAt(event->position());
    const bool adds = event->modifiers() & (Qt::ControlModifier | Qt::ShiftModifier);
    compQueue_.sync([&] {
        MarvoCueController& cues = composition_.cueController;
        if (!cue) {
            if (!adds) cues.deselectCues();
            return;
        }
        if (adds) {
            MarvoCue& pressed = *cues.cues().cueWithId(cue);
            pressed.selected = !pressed.selected;
        } else {
            cues.selectOnly(cue);
        }
        cues.setActiveCue(cue);
        cues.setLastClickedCue(cue);
    });
    contentChanged();
}

void CueRowView::mouseDoubleClickEvent(QMouseEvent* event) {
    if (!surface() || event->button() != Qt::LeftButton) return;
    if (const CueId cue = cueAt(event->position())) {
        if (onOpenCue) onOpenCue(cue, event->globalPosition().toPoint());
        return;
    }
    if (composition_.cueController.isLocked()) return;
    if (composition_.isProjectLocked()) return composition_.beep();
    const auto x = static_cast<float>(inDocument(event->position()).x);
    compQueue_.sync([&] {
        composition_.cueController.addNewCueAtLocation(x, static_cast<float>(surface()->laneWidth()));
    });
    contentChanged();
}

bool CueRowView::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip && surface()) {
        const auto* help = static_cast<QHelpEvent*>(event);
        QString text = QStringLiteral("Double-click to add a cue");
        if (const CueId id = cueAt(help->pos())) {
            compQueue_.sync([&] {
                if (const MarvoCue* cue = composition_.cueController.cues().cueWithId(id)) {
                    text = QString::fromStdString(composition_.cueController.displayNameOf(*cue));
                    text += cue->type == CueType::pauses ? QStringLiteral(": pauses")
                                                         : QStringLiteral(": passes");
                    if (cue->repeat != CueRepeat::none) text += QStringLiteral(", loops to the next cue");
                }
            });
        }
        QToolTip::showText(help->globalPos(), text, this);
        return true;
    }
    return AreaView::event(event);
}

} // namespace marvo::ui
