#include "ui/HeadersView.h"

#include "composition/MarvoTimelineCompositionTrack.h"
#include "tracks/MarvoTimelineTrack.h"
#include "ui/ControlMarks.h"
#include "ui/HeaderChoices.h"
#include "ui/InlineEditor.h"
#include "ui/Look.h"
#include "ui/TrackSwitches.h"

#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>

namespace marvo::ui {
namespace {

// Whether a press on the part changes the project. What an operator needs while a show runs does not: mute,
// test value, collapse.
bool edits(const HeaderItem& item) {
    return item.use == HeaderUse::types || item.use == HeaderUse::chooses || item.part == HeaderPart::lock ||
           item.part == HeaderPart::wide;
}

// A menu takes an ampersand for a mark of its own.
QString asMenuText(QString text) {
    return text.replace(QLatin1Char('&'), QLatin1String("&&"));
}

unsigned statesOf(const MarvoButton& button) {
    return (button.state() ? 1u : 0u) | (button.isEnabled() ? 2u : 0u) | (button.learnsMidi() ? 4u : 0u) |
           (button.needsHighlight() ? 8u : 0u) | (button.needsShowOSC() ? 16u : 0u) |
           (button.midiControl() >= 0 ? 32u : 0u);
}

} // namespace

HeadersView::HeadersView(MarvoTimelineController& composition, CompositionServices& services, QWidget* parent)
    : AreaView(SurfaceArea::headers, parent), composition_(composition), services_(services) {
    setFixedWidth(size::headerWidth);
    setAccessibleName(QStringLiteral("Track headers"));
}

void HeadersView::paintContent(QPainter& painter, const QRectF& dirty) {
    const Look& look = Look::current();
    painter.fillRect(dirty, look.window);
    for (const LaneLayout::Lane& lane : surface()->lanes().lanes()) {
        if (lane.maxY() < dirty.top() || lane.y > dirty.bottom()) continue;
        const QRectF area(0, lane.y, width(), lane.height);
        const bool selected = lane.track->isSelected();
        painter.fillRect(area, selected ? look.selection : look.panel);
        if (selected) painter.fillRect(QRectF(0, lane.y, 3, lane.height), look.focus);
        painter.save();
        painter.translate(0, lane.y);
        for (const HeaderItem& item : headerItems(*lane.track, width(), lane.height)) {
            const bool lit =
                item.button ? item.button->state() : item.part == HeaderPart::lock && item.enabled;
            drawItem(painter, item, lit);
        }
        painter.restore();
    }
    painter.fillRect(QRectF(width() - 1, dirty.y(), 1, dirty.height()), look.line);
}

void HeadersView::drawItem(QPainter& painter, const HeaderItem& item, bool lit) {
    const Look& look = Look::current();
    const QRectF area = item.where.adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setRenderHint(QPainter::Antialiasing);
    if (item.part == HeaderPart::name) {
        painter.setFont(typeFont(Type::strong));
        painter.setPen(look.text);
        const QFontMetricsF metrics(painter.font());
        painter.drawText(area.adjusted(4, 0, 0, 0), Qt::AlignVCenter,
                         metrics.elidedText(item.text, Qt::ElideRight, area.width() - 4));
        return;
    }
    if (item.part == HeaderPart::value) {
        painter.setFont(digitFont(13));
        painter.setPen(look.text);
        painter.drawText(area, Qt::AlignVCenter | Qt::AlignRight, item.text);
        return;
    }
    const bool isButton = item.use == HeaderUse::acts || item.use == HeaderUse::switches;
    QColor ground = isButton ? look.control : look.window;
    QColor ink = item.button && !item.enabled ? look.faintText : look.text;
    if (lit) {
        ground = look.dimText;
        ink = look.onAccent;
    }
    painter.setPen(QPen(look.line, 1));
    painter.setBrush(ground);
    painter.drawRoundedRect(area, 3, 3);
    // As on any toggle, for eyes that do not tell the grounds apart.
    if (lit) painter.fillRect(QRectF(area.left() + 3.5, area.bottom() - 2.5, area.width() - 7, 2), ink);
    if (isButton && item.icon != Icon::none) {
        drawIcon(painter, item.icon, area.adjusted(5, 5, -5, -5), ink);
    } else if (isButton) {
        painter.setFont(typeFont(Type::small));
        painter.setPen(ink);
        painter.drawText(area, Qt::AlignCenter, item.label);
    } else {
        painter.setFont(typeFont(Type::small));
        painter.setPen(look.faintText);
        const double labelWidth = QFontMetricsF(painter.font()).horizontalAdvance(item.label) + 12;
        painter.drawText(area.adjusted(6, 0, 0, 0), Qt::AlignVCenter, item.label);
        painter.setFont(typeFont(Type::normal));
        painter.setPen(look.text);
        const double arrow = item.use == HeaderUse::chooses ? 14.0 : 4.0;
        const QRectF inside = area.adjusted(labelWidth, 0, -arrow, 0);
        const QFontMetricsF metrics(painter.font());
        painter.drawText(inside, Qt::AlignVCenter,
                         metrics.elidedText(item.text, Qt::ElideMiddle, inside.width()));
        if (item.use == HeaderUse::chooses)
            drawIcon(painter, Icon::expand, QRectF(area.right() - 13, area.center().y() - 4, 9, 9),
                     look.faintText);
    }
    if (item.button) drawControlMarks(painter, area, *item.button, lit);
}

std::optional<HeadersView::Hit> HeadersView::hitAt(QPointF point) {
    if (!surface()) return std::nullopt;
    const SurfacePoint at = inDocument(point);
    const std::optional<LaneLayout::Lane> lane = surface()->lanes().laneAt(at.y);
    if (!lane) return std::nullopt;
    const QPointF inHeader(at.x, at.y - lane->y);
    for (const HeaderItem& item : headerItems(*lane->track, width(), lane->height)) {
        if (!item.where.contains(inHeader)) continue;
        const QPointF shift = point - inHeader;
        return Hit{lane->track, item, item.where.translated(shift)};
    }
    return std::nullopt;
}

void HeadersView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !surface()) return;
    endEdit();
    const std::optional<LaneLayout::Lane> lane = surface()->lanes().laneAt(inDocument(event->position()).y);
    if (!lane) return;
    const std::optional<Hit> hit = hitAt(event->position());
    const QPoint global = event->globalPosition().toPoint();
    if (!hit || hit->item.part == HeaderPart::name || hit->item.use == HeaderUse::shows) {
        if (onPick) onPick(*lane->track, event->modifiers());
    } else if (hit->item.part == HeaderPart::enable && event->modifiers() & Qt::ControlModifier) {
        enableMenu(*hit->track, global);
    } else {
        act(*hit, global);
    }
}

void HeadersView::mouseDoubleClickEvent(QMouseEvent* event) {
    const std::optional<Hit> hit = hitAt(event->position());
    if (hit && hit->item.part == HeaderPart::name)
        edit(*hit);
    else
        mousePressEvent(event);
}

void HeadersView::contextMenuEvent(QContextMenuEvent* event) {
    const std::optional<Hit> hit = hitAt(event->pos());
    if (hit && hit->item.part == HeaderPart::enable) enableMenu(*hit->track, event->globalPos());
}

MarvoTimelineTrackProtocol* HeadersView::stillThere(const MarvoTimelineTrackProtocol* track) const {
    for (const auto& one : composition_.tracks.all()) {
        if (one.get() == track) return one.get();
    }
    return nullptr;
}

bool HeadersView::mayEdit(const MarvoTimelineTrackProtocol& track) {
    if (composition_.isProjectLocked()) composition_.beep();
    return !isLocked(track) && !composition_.isProjectLocked();
}

void HeadersView::act(const Hit& hit, const QPoint& global) {
    if (edits(hit.item) && composition_.isProjectLocked()) return composition_.beep();
    if (hit.item.button) {
        hit.item.button->click();
        edited();
        return;
    }
    auto* plain = dynamic_cast<MarvoTimelineTrack*>(hit.track);
    switch (hit.item.part) {
    case HeaderPart::collapse:
        surface()->handleCollapseAndExpand(*hit.track);
        break;
    case HeaderPart::lock:
        lock(*hit.track, !isLocked(*hit.track));
        break;
    case HeaderPart::bang: {
        if (!plain) break;
        const std::vector<ShotChoice> choices = plain->shotChoices();
        if (choices.empty()) {
            plain->shot();
            break;
        }
        auto* menu = new QMenu(this);
        menu->setAttribute(Qt::WA_DeleteOnClose);
        for (const ShotChoice& choice : choices) {
            menu->addAction(asMenuText(QString::fromStdString(choice.title)), this,
                            [this, plain, which = choice.choice] {
                                if (auto* track = dynamic_cast<MarvoTimelineTrack*>(stillThere(plain)))
                                    track->shotWithChoice(which);
                            });
        }
        menu->popup(global);
        break;
    }
    default:
        if (hit.item.use == HeaderUse::chooses)
            choose(hit);
        else if (hit.item.use == HeaderUse::types)
            edit(hit);
        return;
    }
    edited();
}

void HeadersView::choose(const Hit& hit) {
    if (!mayEdit(*hit.track)) return;
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    QAction* chosen = addChoices(*menu, hit);
    menu->popup(mapToGlobal(hit.onWidget.bottomLeft().toPoint()));
    if (chosen) menu->setActiveAction(chosen); // of a long list the part around it
}

QAction* HeadersView::addChoices(QMenu& menu, const Hit& hit) {
    const HeaderPart part = hit.item.part;
    QAction* chosen = nullptr;
    for (const HeaderChoice& choice : choicesOf(*hit.track, part, services_)) {
        QAction* action = menu.addAction(asMenuText(choice.title), this,
                                         [this, shown = hit.track, part, title = choice.title] {
                                             MarvoTimelineTrackProtocol* track = stillThere(shown);
                                             if (!track) return;
                                             takeChoice(composition_, *track, part, title);
                                             edited();
                                         });
        action->setEnabled(choice.enabled);
        action->setCheckable(true);
        action->setChecked(choice.title == hit.item.text);
        if (action->isChecked()) chosen = action;
    }
    if (menu.isEmpty()) menu.addAction(QStringLiteral("Nothing to choose from"))->setEnabled(false);
    return chosen;
}

void HeadersView::edit(const Hit& hit) {
    if (!mayEdit(*hit.track)) return;
    endEdit();
    const bool isName = hit.item.part == HeaderPart::name;
    editor_ = new InlineEditor(hit.item.text, hit.onWidget,
                               isName ? QStringLiteral("Track name") : hit.item.label, this);
    editor_->onTake = [this, part = hit.item.part, shown = hit.track,
                       before = hit.item.text](const QString& text) {
        MarvoTimelineTrackProtocol* track = stillThere(shown);
        const bool taken = track && takeText(composition_, *track, part, text);
        if (taken) return true;
        services_.application.beep();
        // Of a name that cannot be, what it was before is put back; a number is typed on.
        if (part == HeaderPart::name && track) editor_->setText(before);
        return false;
    };
    editor_->onEnd = [this] {
        editor_ = nullptr;
        edited();
    };
}

std::vector<HeadersView::Hit> HeadersView::partsOf(std::int64_t trackPosition) {
    std::vector<Hit> parts;
    if (!surface()) return parts;
    for (const LaneLayout::Lane& lane : surface()->lanes().lanes()) {
        if (lane.track->trackPosition() != trackPosition) continue;
        for (const HeaderItem& item : headerItems(*lane.track, width(), lane.height))
            parts.push_back({lane.track, item, item.where.translated(0, lane.y - origin().y)});
    }
    return parts;
}

void HeadersView::editName(std::int64_t trackPosition) {
    for (const Hit& hit : partsOf(trackPosition)) {
        if (hit.item.part == HeaderPart::name) edit(hit);
    }
}

void HeadersView::showFields(std::int64_t trackPosition) {
    endEdit();
    const std::vector<Hit> parts = partsOf(trackPosition);
    if (parts.empty()) return composition_.beep();
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const QPoint place = mapToGlobal(parts.front().onWidget.bottomLeft().toPoint());
    const bool inLockedProject = composition_.isProjectLocked();
    for (const Hit& hit : parts) {
        if (hit.item.use == HeaderUse::shows || hit.item.part == HeaderPart::name) continue;
        const QString label = asMenuText(hit.item.label);
        if (hit.item.use == HeaderUse::chooses) {
            QMenu* choices = menu->addMenu(QStringLiteral("%1: %2").arg(label, asMenuText(hit.item.text)));
            choices->setEnabled(!isLocked(*hit.track) && !inLockedProject);
            addChoices(*choices, hit);
            continue;
        }
        const bool types = hit.item.use == HeaderUse::types;
        QAction* action = menu->addAction(
            types ? QStringLiteral("%1: %2\u2026").arg(label, asMenuText(hit.item.text)) : label, this,
            [this, hit, types, place] {
                if (!stillThere(hit.track)) return;
                if (types)
                    edit(hit);
                else
                    act(hit, place);
            });
        const bool refused = (edits(hit.item) && inLockedProject) || (types && isLocked(*hit.track));
        action->setEnabled(!refused && (hit.item.enabled || hit.item.part == HeaderPart::lock));
        action->setCheckable(hit.item.use == HeaderUse::switches);
        if (hit.item.button) action->setChecked(hit.item.button->state());
    }
    menu->popup(place);
    menu->setActiveAction(menu->actions().value(0));
}

void HeadersView::endEdit() {
    if (editor_) editor_->leave();
}

void HeadersView::enableMenu(MarvoTimelineTrackProtocol& track, const QPoint& global) {
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(QStringLiteral("Solo"), this,
                    [this, shown = &track] {
                        if (!stillThere(shown)) return;
                        composition_.tracks.setSoloTrack(shown);
                        edited();
                    })
        ->setEnabled(track.isEnabled());
    menu->addSeparator();
    menu->addAction(QStringLiteral("Mute All"), this,
                    [this] {
                        composition_.tracks.muteTracks();
                        edited();
                    })
        ->setEnabled(composition_.tracks.hasEnabledTracks());
    menu->addAction(QStringLiteral("Unmute All"), this,
                    [this] {
                        composition_.tracks.unmuteTracks();
                        edited();
                    })
        ->setEnabled(composition_.tracks.hasMutedTracks());
    menu->popup(global);
}

void HeadersView::edited() {
    contentChanged();
    if (onEdited) onEdited();
}

void HeadersView::follow() {
    if (!surface()) return;
    const std::vector<LaneLayout::Lane> lanes = surface()->lanes().lanes();
    followed_.resize(lanes.size());
    for (std::size_t i = 0; i < lanes.size(); ++i) {
        Followed now{shownValueText(*lanes[i].track), 0};
        if (auto* plain = dynamic_cast<MarvoTimelineTrack*>(lanes[i].track)) {
            now.states = statesOf(plain->enabledButton) | statesOf(plain->midiCC14bitButton) << 6 |
                         statesOf(plain->artNet16bitButton) << 12 | (plain->isLocked() ? 1u << 18 : 0u);
        } else if (auto* block = dynamic_cast<MarvoTimelineCompositionTrack*>(lanes[i].track)) {
            now.states = statesOf(block->enabledButton) | (block->isLocked() ? 1u << 18 : 0u);
        }
        if (now == followed_[i]) continue;
        followed_[i] = std::move(now);
        needsDisplay({0.0, lanes[i].y, static_cast<double>(width()), lanes[i].height});
    }
}

bool HeadersView::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip) {
        const auto* help = static_cast<QHelpEvent*>(event);
        const std::optional<Hit> hit = hitAt(help->pos());
        QToolTip::showText(help->globalPos(), hit ? hit->item.label : QString(), this);
        return true;
    }
    return AreaView::event(event);
}

} // namespace marvo::ui
