#include "surface/TimelineSurface.h"

#include "platform/SerialQueue.h"
#include "surface/EdgeScrolling.h"
#include "tracks/MarvoTimelineTrack.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace marvo {
namespace {

constexpr std::array<SurfaceArea, 4> allAreas{SurfaceArea::lanes, SurfaceArea::headers, SurfaceArea::ruler,
                                              SurfaceArea::cueRow};
// Ruler, lanes and cue row show the playhead.
constexpr std::array<SurfaceArea, 3> areasWithMarker{SurfaceArea::ruler, SurfaceArea::lanes,
                                                     SurfaceArea::cueRow};

bool isPowerOfTwoFromOne(float ratio) {
    int exponent = 0;
    return std::isfinite(ratio) && ratio >= 1.0f && std::frexp(ratio, &exponent) == 0.5f;
}

// Closer to the right edge the playhead counts as having left what is seen.
constexpr double playheadRoom = 30.0;

} // namespace

TimelineSurface::TimelineSurface(MarvoTimelineController& composition, CompositionServices& services,
                                 const SurfacePreferences& preferences, SurfaceView& view)
    : composition_(composition), services_(services), preferences_(preferences), view_(view),
      cameFrom_(composition.surfacePlace),
      scrolling_([this](SurfaceArea which) { view_.scrolled(which); },
                 [this] { view_.reflectScrolledClipView(SurfaceArea::lanes); }) {
    composition_.surface = this;
    setZoomRatio(cameFrom_->zoomRatio);
}

TimelineSurface::~TimelineSurface() {
    // One that was never laid out leaves the place as it found it.
    if (!cameFrom_) {
        const SurfacePoint origin = area(SurfaceArea::lanes).origin();
        composition_.surfacePlace = {zoomRatio_, origin.x, origin.y};
    }
    if (composition_.surface == this) composition_.surface = nullptr;
}

TimelineGeometry TimelineSurface::geometry() const {
    return TimelineGeometry(composition_.compTime(), composition_.compFPS());
}

double TimelineSurface::rulerWidth() const {
    return composition_.markerController.viewWidth();
}

double TimelineSurface::laneWidth() const {
    return std::max(0.0, rulerWidth() - 2.0 * TimelineGeometry::rulerMargin);
}

LaneScale TimelineSurface::scaleOf(const MarvoTimelineTrackProtocol& track) const {
    return {geometry(), laneWidth(), track.laneHeight.pixels()};
}

void TimelineSurface::setZoomRatio(float ratio) {
    zoomRatio_ = isPowerOfTwoFromOne(ratio) ? ratio : 1.0f;
    applyWidths();
}

void TimelineSurface::setViewport(const SurfaceViewport& viewport) {
    if (viewport == viewport_) return;
    const bool isTaller = viewport.lanes.height != viewport_.lanes.height;
    viewport_ = viewport;
    setContentSize(SurfaceArea::lanes, viewport.lanes);
    setContentSize(SurfaceArea::headers, {viewport.headersWidth, viewport.lanes.height});
    setContentSize(SurfaceArea::ruler,
                   {TimelineGeometry::rulerWidth(viewport.lanes.width), viewport.rulerHeight});
    setContentSize(SurfaceArea::cueRow, {viewport.lanes.width, viewport.cueRowHeight});
    applyHeights();
    if (isTaller)
        setSurfaceHeight(LaneLayout::heightAfterRefresh(composition_.tracks.count(), viewport.lanes.height));
    updateCompositionWidth();
    if (cameFrom_ && viewport.lanes.width > 0.0) {
        const SurfacePlace place = *std::exchange(cameFrom_, std::nullopt);
        scrollTo(SurfaceArea::lanes, {place.x, place.y});
    }
}

void TimelineSurface::updateCompositionWidthAndShouldDisplay(bool display) {
    if (!(viewport_.lanes.width > 0.0)) {
        applyWidths(); // no window yet: the lengths follow, the scale waits
        return;
    }
    const float padding = geometry().minPaddingFor(viewport_.lanes.width);
    const bool isFirst = !std::exchange(hadWidth_, true);
    if (padding == minPadding_) return;
    minPadding_ = padding;
    applyWidths();
    for (const auto& track : composition_.tracks.all()) view_.laneResized(*track);
    if (display) {
        for (const SurfaceArea which : areasWithMarker) displayVisible(which);
    }
    if (!isFirst) composition_.projectChanged();
}

void TimelineSurface::refreshComposition() {
    updateCompositionWidthAndShouldDisplay(false);
    composition_.markerController.refreshMarker();
    setSurfaceHeight(LaneLayout::heightAfterRefresh(composition_.tracks.count(), viewport_.lanes.height));
    for (const SurfaceArea which : allAreas) displayVisible(which);
}

void TimelineSurface::applyWidths() {
    const double width = geometry().laneWidth(minPadding_, zoomRatio_);
    composition_.markerController.setViewWidth(TimelineGeometry::rulerWidth(width));
    setDocumentWidth(SurfaceArea::lanes, width);
    setDocumentWidth(SurfaceArea::ruler, rulerWidth());
    setDocumentWidth(SurfaceArea::cueRow, width);
}

void TimelineSurface::applyHeights() {
    setDocumentSize(SurfaceArea::headers, {viewport_.headersWidth, surfaceHeight()});
    setDocumentSize(SurfaceArea::ruler, {rulerWidth(), viewport_.rulerHeight});
    setDocumentSize(SurfaceArea::cueRow, {laneWidth(), viewport_.cueRowHeight});
}

void TimelineSurface::setDocumentSize(SurfaceArea which, SurfaceSize size) {
    ScrollArea& area = scrolling_.area(which);
    if (area.documentSize() == size) return;
    area.setDocumentSize(size);
    view_.resized(which);
}

void TimelineSurface::setContentSize(SurfaceArea which, SurfaceSize size) {
    ScrollArea& area = scrolling_.area(which);
    if (area.contentSize() == size) return;
    area.setContentSize(size);
    view_.resized(which);
}

void TimelineSurface::setDocumentWidth(SurfaceArea which, double width) {
    setDocumentSize(which, {width, area(which).documentSize().height});
}

void TimelineSurface::setSurfaceHeight(double height) {
    setDocumentSize(SurfaceArea::lanes, {area(SurfaceArea::lanes).documentSize().width, height});
    setDocumentSize(SurfaceArea::headers, {area(SurfaceArea::headers).documentSize().width, height});
}

std::vector<MarvoTimelineTrackProtocol*> TimelineSurface::tracksByPosition() const {
    std::vector<MarvoTimelineTrackProtocol*> tracks;
    tracks.reserve(composition_.tracks.count());
    for (const auto& track : composition_.tracks.all()) tracks.push_back(track.get());
    std::stable_sort(tracks.begin(), tracks.end(),
                     [](const auto* a, const auto* b) { return a->trackPosition() < b->trackPosition(); });
    return tracks;
}

LaneLayout TimelineSurface::lanes() const {
    return LaneLayout(tracksByPosition());
}

void TimelineSurface::updateTrackPositionsWithAnimation(bool animated) {
    view_.lanesMoved(animated);
    setSurfaceHeight(LaneLayout::heightAfterLayout(composition_.tracks.count(), surfaceHeight()));
    displayVisible(SurfaceArea::lanes);
    displayVisible(SurfaceArea::headers);
}

void TimelineSurface::handleCollapseAndExpand(MarvoTimelineTrackProtocol& track) {
    track.laneHeight.handleCollapseAndExpand();
    view_.laneResized(track);
    for (MarvoTimelineTrackProtocol* other : composition_.tracks.selectedTracks()) {
        if (other == &track) continue;
        other->laneHeight = track.laneHeight;
        view_.laneResized(*other);
    }
    updateTrackPositionsWithAnimation(true);
    composition_.projectChanged();
}

std::string_view TimelineSurface::collapseButtonImage(const MarvoTimelineTrackProtocol& track) {
    return track.laneHeight.isCollapsed() ? "marvo_expandtrack.png" : "marvo_collapsetrack.png";
}

SurfacePoint TimelineSurface::lanePoint(const LaneLayout::Lane& lane, SurfacePoint inDocument) {
    return turnedOver(SurfacePoint{inDocument.x, inDocument.y - lane.y}, lane.height);
}

SurfaceRect TimelineSurface::documentRect(const LaneLayout::Lane& lane, const SurfaceRect& inLane) {
    SurfaceRect rect = turnedOver(inLane, lane.height);
    rect.y += lane.y;
    return rect;
}

const MarvoTimelineKeyframe* TimelineSurface::keyframeAtPoint(MarvoTimelineTrackProtocol& track,
                                                              SurfacePoint point) const {
    const auto* lane = dynamic_cast<const MarvoTimelineTrack*>(&track);
    if (!lane) return nullptr;
    return KeyframeGeometry::keyframeAtPoint(lane->keyframes().store().all(), scaleOf(track), point,
                                             trackedUID_);
}

CueId TimelineSurface::cueAtPoint(SurfacePoint point) const {
    return services_.compQueue.sync([&] {
        return KeyframeGeometry::cueAtPoint(composition_.cueController.cues(), geometry(),
                                            {laneWidth(), viewport_.cueRowHeight}, point);
    });
}

void TimelineSurface::mouseMoved(MarvoTimelineTrackProtocol& track, SurfacePoint point) {
    const MarvoTimelineKeyframe* under = keyframeAtPoint(track, point);
    setTrackedKeyframe(under ? std::optional(under->uID) : std::nullopt, &track);
}

void TimelineSurface::mouseExited(MarvoTimelineTrackProtocol& track) {
    // The pointer may have entered another lane before it left this one.
    if (trackedOn_ == &track) setTrackedKeyframe(std::nullopt, nullptr);
}

void TimelineSurface::setTrackedKeyframe(std::optional<std::uint64_t> uID,
                                         const MarvoTimelineTrackProtocol* on) {
    if (uID == trackedUID_) return;
    const MarvoTimelineTrackProtocol* before = trackedUID_ ? trackedOn_ : nullptr;
    trackedUID_ = uID;
    trackedOn_ = uID ? on : nullptr;
    displayLane(before);
    if (trackedOn_ != before) displayLane(trackedOn_);
}

void TimelineSurface::displayLane(const MarvoTimelineTrackProtocol* track) {
    if (!track) return;
    for (const LaneLayout::Lane& lane : lanes().lanes()) {
        if (lane.track != track) continue;
        const SurfaceRect part =
            SurfaceRect{0.0, lane.y, laneWidth(), lane.height}.common(visible(SurfaceArea::lanes));
        if (!part.isEmpty()) view_.needsDisplay(SurfaceArea::lanes, part);
    }
}

void TimelineSurface::handleScrollAtLocation(SurfaceArea which, SurfacePoint pointer) {
    switch (which) {
    case SurfaceArea::lanes:
        handleScrollAtLocationOnLanes(scrolling_.area(which), pointer);
        break;
    case SurfaceArea::ruler:
    case SurfaceArea::cueRow:
        handleScrollAtLocationOnRow(scrolling_.area(which), pointer);
        break;
    case SurfaceArea::headers:
        break;
    }
}

SurfaceRect TimelineSurface::markerColumn(SurfaceArea which) const {
    // As wide as the pixel before the place and the one behind it.
    constexpr double columnWidth = 2.0;
    const Frame marker = composition_.markerController.markerTime();
    if (which == SurfaceArea::ruler) {
        const SurfaceRect handle = ruler().markerRect(marker);
        return {handle.x, 0.0, handle.width, viewport_.rulerHeight};
    }
    // The line goes on below the last lane to the foot of the area.
    const double seen = which == SurfaceArea::lanes ? viewport_.lanes.height : 0.0;
    return {geometry().markerPixelsForTime(marker, laneWidth()), 0.0, columnWidth,
            std::max(area(which).documentSize().height, seen)};
}

void TimelineSurface::displayMarker(SurfaceArea which) {
    SurfaceRect& shown = shownMarker_[static_cast<std::size_t>(which)];
    const SurfaceRect column = markerColumn(which);
    if (!shown.isEmpty() && shown != column) view_.needsDisplay(which, shown);
    view_.needsDisplay(which, column);
    shown = column;
}

void TimelineSurface::redrawMarker() {
    displayVisible(SurfaceArea::ruler);
    const MarvoTimelineMarkerController& marker = composition_.markerController;
    if (marker.inTime() != shownInTime_ || marker.outTime() != shownOutTime_) {
        // What lies outside of the working area is shaded in every lane.
        shownInTime_ = marker.inTime();
        shownOutTime_ = marker.outTime();
        displayVisible(SurfaceArea::lanes);
    }
    displayMarker(SurfaceArea::lanes);
    displayMarker(SurfaceArea::cueRow);
    view_.displayActualTime();
}

void TimelineSurface::redrawCues() {
    displayVisible(SurfaceArea::cueRow);
}

double TimelineSurface::markerOnRuler() const {
    return ruler().markerRect(composition_.markerController.markerTime()).x;
}

void TimelineSurface::playheadMovedDuringPlayback() {
    if (isZooming_ || !preferences_.followPlayheadDuringPlayback) return;
    const double marker = markerOnRuler();
    const SurfaceRect seen = visible(SurfaceArea::ruler);
    if (marker + playheadRoom > seen.maxX() || seen.x > marker)
        scrolling_.area(SurfaceArea::ruler).scrollToPoint({marker, 0.0});
}

void TimelineSurface::playheadJumped() {
    if (isZooming_) return;
    const double marker = markerOnRuler();
    const SurfaceRect seen = visible(SurfaceArea::ruler);
    const double excess = marker + playheadRoom - seen.maxX();
    if (marker < seen.x)
        scrolling_.area(SurfaceArea::ruler).scrollToPoint({marker, 0.0});
    else if (excess > 0.0)
        scrolling_.area(SurfaceArea::ruler).scrollToPoint({seen.x + excess + 35.0, 0.0});
}

} // namespace marvo
