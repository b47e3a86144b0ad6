#include "ui/CompositionView.h"

#include "ui/CueRowView.h"
#include "ui/HeadersView.h"
#include "ui/LanesView.h"
#include "ui/Look.h"
#include "ui/RulerView.h"
#include "ui/TransportRow.h"

#include <QGridLayout>
#include <QKeyEvent>
#include <QMenu>
#include <QScrollBar>

#include <algorithm>
#include <cmath>
#include <utility>

namespace marvo::ui {

CompositionView::CompositionView(MarvoTimelineController& composition, CompositionServices& services,
                                 const SurfacePreferences& preferences, QWidget* parent)
    : QWidget(parent), composition_(composition), services_(services) {
    transport_ = new TransportRow(composition, this);
    ruler_ = new RulerView(composition, this);
    cues_ = new CueRowView(composition, services.compQueue, this);
    headers_ = new HeadersView(composition, services, this);
    lanes_ = new LanesView(composition, this);
    horizontal_ = new QScrollBar(Qt::Horizontal, this);
    vertical_ = new QScrollBar(Qt::Vertical, this);

    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setSpacing(0);
    grid->addWidget(transport_, 0, 0, 1, 3);
    // The ruler reaches ten pixels over the lanes on either side.
    auto* corner = new QWidget(this);
    corner->setFixedSize(size::headerWidth - static_cast<int>(TimelineGeometry::rulerMargin), size::ruler);
    grid->addWidget(corner, 1, 0, Qt::AlignLeft);
    grid->addWidget(cues_, 2, 1);
    grid->addWidget(headers_, 3, 0);
    grid->addWidget(lanes_, 3, 1);
    grid->addWidget(vertical_, 3, 2);
    grid->addWidget(horizontal_, 4, 1);
    grid->setColumnStretch(1, 1);
    grid->setRowStretch(3, 1);
    grid->setRowMinimumHeight(1, size::ruler);
    ruler_->raise();

    surface_.emplace(composition, services, preferences, static_cast<SurfaceView&>(*this));
    for (AreaView* area : {static_cast<AreaView*>(ruler_), static_cast<AreaView*>(cues_),
                           static_cast<AreaView*>(headers_), static_cast<AreaView*>(lanes_)}) {
        area->setSurface(&*surface_);
    }
    const auto picked = [this](MarvoTimelineTrackProtocol& track, Qt::KeyboardModifiers modifiers) {
        pick(track, modifiers);
    };
    headers_->onPick = picked;
    lanes_->onPick = picked;
    headers_->onEdited = [this] { lanes_->contentChanged(); };
    ruler_->onMenu = [this](const QPoint& at) { rulerMenu(at); };
    connect(horizontal_, &QScrollBar::valueChanged, this, [this](int value) {
        if (!syncing_)
            surface_->scrollTo(SurfaceArea::lanes, {static_cast<double>(value) * pixelsPerStep_,
                                                    surface_->area(SurfaceArea::lanes).origin().y});
    });
    connect(vertical_, &QScrollBar::valueChanged, this, [this](int value) {
        if (!syncing_)
            surface_->scrollTo(SurfaceArea::lanes,
                               {surface_->area(SurfaceArea::lanes).origin().x, static_cast<double>(value)});
    });
}

CompositionView::~CompositionView() {
    for (AreaView* area : {static_cast<AreaView*>(ruler_), static_cast<AreaView*>(cues_),
                           static_cast<AreaView*>(headers_), static_cast<AreaView*>(lanes_)}) {
        area->setSurface(nullptr);
    }
}

AreaView& CompositionView::view(SurfaceArea area) const {
    switch (area) {
    case SurfaceArea::headers:
        return *headers_;
    case SurfaceArea::ruler:
        return *ruler_;
    case SurfaceArea::cueRow:
        return *cues_;
    case SurfaceArea::lanes:
        break;
    }
    return *lanes_;
}

void CompositionView::resizeEvent(QResizeEvent*) {
    layout()->activate();
    if (painted_) updateViewport();
}

void CompositionView::paintEvent(QPaintEvent*) {
    if (std::exchange(painted_, true)) return;
    layout()->activate();
    updateViewport();
}

void CompositionView::keyPressEvent(QKeyEvent* event) {
    const bool deletes = event->key() == Qt::Key_Delete || event->key() == Qt::Key_Backspace;
    if (!deletes || !onDelete || !onDelete()) QWidget::keyPressEvent(event);
}

void CompositionView::updateViewport() {
    const int margin = static_cast<int>(TimelineGeometry::rulerMargin);
    ruler_->setGeometry(lanes_->x() - margin, cues_->y() - size::ruler, lanes_->width() + 2 * margin,
                        size::ruler);
    surface_->setViewport({{static_cast<double>(lanes_->width()), static_cast<double>(lanes_->height())},
                           static_cast<double>(headers_->width()),
                           static_cast<double>(size::ruler),
                           static_cast<double>(size::cueRow)});
    syncScrollBars();
    contentChanged();
}

void CompositionView::contentChanged() {
    for (const SurfaceArea area :
         {SurfaceArea::lanes, SurfaceArea::headers, SurfaceArea::ruler, SurfaceArea::cueRow})
        view(area).contentChanged();
}

void CompositionView::follow() {
    transport_->follow();
    headers_->follow();
    if (composition_.isRunning() != shownRunning_) {
        shownRunning_ = composition_.isRunning();
        surface_->redrawMarker();
    }
    const Frame in = composition_.inTime();
    const Frame out = composition_.outTime();
    if (in == shownIn_ && out == shownOut_) return;
    shownIn_ = in;
    shownOut_ = out;
    ruler_->contentChanged();
    lanes_->contentChanged();
}

void CompositionView::syncScrollBars() {
    if (!surface_) return;
    syncing_ = true;
    const ScrollArea& area = surface_->area(SurfaceArea::lanes);
    // A bar counts in ints, and hours at the highest zoom are wider than that.
    constexpr double mostSteps = 1 << 30;
    pixelsPerStep_ = std::max(1.0, std::ceil(area.maximumOrigin().x / mostSteps));
    horizontal_->setRange(0, static_cast<int>(area.maximumOrigin().x / pixelsPerStep_));
    horizontal_->setPageStep(std::max(1, static_cast<int>(area.contentSize().width / pixelsPerStep_)));
    horizontal_->setSingleStep(40);
    horizontal_->setValue(static_cast<int>(area.origin().x / pixelsPerStep_));
    vertical_->setRange(0, static_cast<int>(area.maximumOrigin().y));
    vertical_->setPageStep(std::max(1, static_cast<int>(area.contentSize().height)));
    vertical_->setSingleStep(40);
    vertical_->setValue(static_cast<int>(area.origin().y));
    syncing_ = false;
}

void CompositionView::needsDisplay(SurfaceArea area, const SurfaceRect& rect) {
    view(area).needsDisplay(rect);
}

void CompositionView::scrolled(SurfaceArea area) {
    if (area == SurfaceArea::headers) headers_->endEdit();
    view(area).scrolled();
}

void CompositionView::resized(SurfaceArea area) {
    view(area).contentChanged();
    if (area == SurfaceArea::lanes) syncScrollBars();
}

void CompositionView::reflectScrolledClipView(SurfaceArea) {
    syncScrollBars();
}

void CompositionView::lanesMoved(bool) {
    headers_->contentChanged();
    lanes_->contentChanged();
}

void CompositionView::laneResized(MarvoTimelineTrackProtocol&) {
    headers_->contentChanged();
    lanes_->contentChanged();
}

void CompositionView::displayActualTime() {
    transport_->follow();
}

void CompositionView::pick(MarvoTimelineTrackProtocol& track, Qt::KeyboardModifiers modifiers) {
    const std::int64_t position = track.trackPosition();
    if (modifiers & Qt::ControlModifier) {
        track.setSelected(!track.isSelected());
    } else if (modifiers & Qt::ShiftModifier && lastPicked_ >= 0) {
        const auto [low, high] = std::minmax(lastPicked_, position);
        for (const auto& one : composition_.tracks.all()) {
            if (one->trackPosition() >= low && one->trackPosition() <= high) one->setSelected(true);
        }
    } else {
        for (const auto& one : composition_.tracks.all()) one->setSelected(one.get() == &track);
    }
    if (!(modifiers & Qt::ShiftModifier)) lastPicked_ = position;
    lanesMoved(false);
    if (onSelectionChanged) onSelectionChanged();
}

void CompositionView::selectAllTracks() {
    for (const auto& one : composition_.tracks.all()) one->setSelected(true);
    lanesMoved(false);
    if (onSelectionChanged) onSelectionChanged();
}

void CompositionView::selectNeighbour(int step) {
    const MarvoTimelineTrackProtocol* now = composition_.tracks.selectedTrack();
    const std::int64_t wanted = now ? now->trackPosition() + step : 0;
    if (MarvoTimelineTrackProtocol* track = composition_.tracks.trackAtPosition(wanted)) {
        pick(*track, Qt::NoModifier);
        scrollTo(*track);
    }
}

void CompositionView::scrollTo(const MarvoTimelineTrackProtocol& track) {
    const std::optional<LaneLayout::Lane> lane = surface_->lanes().laneOf(track);
    if (!lane) return;
    const SurfaceRect seen = surface_->area(SurfaceArea::lanes).documentVisibleRect();
    if (lane->y < seen.y)
        surface_->scrollTo(SurfaceArea::lanes, {seen.x, lane->y});
    else if (lane->maxY() > seen.maxY())
        surface_->scrollTo(SurfaceArea::lanes, {seen.x, lane->maxY() - seen.height});
}

void CompositionView::takeKeyboard() {
    lanes_->setFocus();
}

void CompositionView::editNameOfSelectedTrack() {
    if (const MarvoTimelineTrackProtocol* track = composition_.tracks.selectedTrack()) {
        scrollTo(*track);
        headers_->editName(track->trackPosition());
    }
}

void CompositionView::showFieldsOfSelectedTrack() {
    const MarvoTimelineTrackProtocol* track = composition_.tracks.selectedTrack();
    if (!track) return composition_.beep();
    scrollTo(*track);
    headers_->showFields(track->trackPosition());
}

void CompositionView::collapseSelectedTracks() {
    // The others that are selected follow it.
    if (MarvoTimelineTrackProtocol* track = composition_.tracks.selectedTrack())
        surface_->handleCollapseAndExpand(*track);
    else
        composition_.beep();
}

void CompositionView::rulerMenu(const QPoint& global) {
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(QStringLiteral("Trim Composition to Work Area"), this,
                    [this] { composition_.settings.trimToWorkArea(); })
        ->setEnabled(!composition_.isProjectLocked());
    menu->addSeparator();
    menu->addAction(QStringLiteral("Select Keyframes within the Work Area on All Tracks"), this, [this] {
        composition_.keyframeSelection.selectKeyframesInWorkArea();
        contentChanged();
    });
    menu->addAction(QStringLiteral("Select Keyframes within the Work Area on Selected Tracks"), this,
                    [this] {
                        composition_.keyframeSelection.selectKeyframesInWorkAreaOnSelectedTracks();
                        contentChanged();
                    })
        ->setEnabled(!composition_.tracks.selectedTracks().empty());
    menu->popup(global);
}

} // namespace marvo::ui
