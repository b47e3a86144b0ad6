// The editing surface of one composition: its widths, its zoom, what is seen of it, and what must be painted.
//
// A window is a painter on top of this: it hands in its sizes and its events, and paints what SurfaceView is
// told to. Attached to its composition for as long as it lives, so that the zoom buttons and their addresses
// reach it, and leaves its zoom and its place with it. Invariants: zoomRatio is a power of two and never
// below 1; cue row and lanes have one width, the ruler is 20 wider; the four areas stand in step.
//
// Main thread. Holds the composition queue only to look at cues.
#pragma once

#include "composition/CompositionServices.h"
#include "composition/CompositionSurface.h"
#include "composition/MarvoTimelineController.h"
#include "surface/KeyframeGeometry.h"
#include "surface/LaneLayout.h"
#include "surface/RulerGeometry.h"
#include "surface/SurfacePreferences.h"
#include "surface/SurfaceScrolling.h"
#include "surface/SurfaceView.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace marvo {

// What the window has room for, in pixels.
struct SurfaceViewport {
    SurfaceSize lanes; // content of the lanes' scroll area, without its scrollers
    double headersWidth = 0.0;
    double rulerHeight = RulerGeometry::height;
    double cueRowHeight = 26.0;
    bool operator==(const SurfaceViewport&) const = default;
};

class TimelineSurface final : public CompositionSurface {
public:
    // All outlive the surface. preferences are read at each use.
    TimelineSurface(MarvoTimelineController& composition, CompositionServices& services,
                    const SurfacePreferences& preferences, SurfaceView& view);
    ~TimelineSurface() override;
    TimelineSurface(const TimelineSurface&) = delete;
    TimelineSurface& operator=(const TimelineSurface&) = delete;

    // --- Sizes.

    // At the start and whenever the window changes. Another width runs the width update; the zoom stays.
    void setViewport(const SurfaceViewport& viewport);
    const SurfaceViewport& viewport() const { return viewport_; }
    void updateCompositionWidth() override { updateCompositionWidthAndShouldDisplay(true); }
    void updateCompositionWidthAndShouldDisplay(bool display);
    void refreshComposition() override;

    float zoomRatio() const { return zoomRatio_; }
    // Before the first width update of a composition that is loaded. Anything but a power of two from 1 on is
    // taken as 1.
    void setZoomRatio(float ratio);
    float minPadding() const { return minPadding_; }
    bool isZooming() const { return isZooming_; }
    double laneWidth() const;  // also of the cue row
    double rulerWidth() const; // margins included
    TimelineGeometry geometry() const;
    RulerGeometry ruler() const { return RulerGeometry(geometry(), rulerWidth()); }
    LaneScale scaleOf(const MarvoTimelineTrackProtocol& track) const;

    // --- Zoom.

    void zoomIn() override;
    void zoomOut() override;
    // True when the event was taken, also when it did nothing. Otherwise it is for the scroll area.
    bool scrollWheel(double deltaY, bool commandPressed);
    void magnifyWithEvent(double magnification);

    // --- Scrolling.

    const ScrollArea& area(SurfaceArea which) const { return scrolling_.area(which); }
    // By hand: wheel, scroller, hand tool. The other areas follow.
    void scrollTo(SurfaceArea which, SurfacePoint origin) { scrolling_.area(which).scrollToPoint(origin); }
    // During a drag over the area; pointer from the upper left corner of what is seen of it, y downwards.
    void handleScrollAtLocation(SurfaceArea which, SurfacePoint pointer);

    // --- Lanes.

    void updateTrackPositionsWithAnimation(bool animated) override;
    LaneLayout lanes() const;
    double surfaceHeight() const { return scrolling_.area(SurfaceArea::lanes).documentSize().height; }
    // Collapses or expands the track, and the other selected tracks with it.
    void handleCollapseAndExpand(MarvoTimelineTrackProtocol& track);
    static std::string_view collapseButtonImage(const MarvoTimelineTrackProtocol& track);
    // A point of the lanes' document as a point of a lane, y upwards; and back.
    static SurfacePoint lanePoint(const LaneLayout::Lane& lane, SurfacePoint inDocument);
    static SurfaceRect documentRect(const LaneLayout::Lane& lane, const SurfaceRect& inLane);

    // --- What lies under the pointer. Points in coordinates of a lane or of the cue row, y upwards.

    // Null on tracks without keyframes.
    const MarvoTimelineKeyframe* keyframeAtPoint(MarvoTimelineTrackProtocol& track, SurfacePoint point) const;
    CueId cueAtPoint(SurfacePoint point) const;
    void mouseMoved(MarvoTimelineTrackProtocol& track, SurfacePoint point);
    void mouseExited(MarvoTimelineTrackProtocol& track);
    // uID of the keyframe under the pointer, whatever its track.
    std::optional<std::uint64_t> trackedKeyframe() const { return trackedUID_; }

    // --- Playhead, working area, cues.

    void redrawMarker() override;
    void playheadMovedDuringPlayback() override;
    void playheadJumped() override;
    void redrawCues() override;
    // The column that the playhead takes in the lanes or in the cue row, in coordinates of the document.
    SurfaceRect markerColumn(SurfaceArea which) const;

private:
    void zoomStep(bool in);
    void applyWidths();
    void applyHeights();
    void setContentSize(SurfaceArea which, SurfaceSize size);
    void setDocumentSize(SurfaceArea which, SurfaceSize size);
    void setDocumentWidth(SurfaceArea which, double width);
    void setSurfaceHeight(double height);
    SurfaceRect visible(SurfaceArea which) const { return area(which).documentVisibleRect(); }
    void displayVisible(SurfaceArea which) { view_.needsDisplay(which, visible(which)); }
    void displayMarker(SurfaceArea which);
    double markerOnRuler() const;
    // What is seen of the lane; nothing for a track that is gone.
    void displayLane(const MarvoTimelineTrackProtocol* track);
    void setTrackedKeyframe(std::optional<std::uint64_t> uID, const MarvoTimelineTrackProtocol* on);
    void scrollAfterZoom(bool in, double x0);
    std::vector<MarvoTimelineTrackProtocol*> tracksByPosition() const;

    MarvoTimelineController& composition_;
    CompositionServices& services_;
    const SurfacePreferences& preferences_;
    SurfaceView& view_;

    SurfaceViewport viewport_;
    float zoomRatio_ = 1.0f;
    float minPadding_ = 2.0f;
    bool hadWidth_ = false; // the first one comes with the window and changes no project
    bool isZooming_ = false;
    std::optional<SurfacePlace> cameFrom_; // until it has room
    SurfaceScrolling scrolling_;
    // The keyframe under the pointer. Both are only compared with what there is, so they may outlive it.
    std::optional<std::uint64_t> trackedUID_;
    const MarvoTimelineTrackProtocol* trackedOn_ = nullptr;
    std::array<SurfaceRect, 4> shownMarker_; // where the playhead was painted last
    Frame shownInTime_;                      // and the working area
    Frame shownOutTime_;
};

} // namespace marvo
