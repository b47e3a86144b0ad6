// What a composition asks of the editing surface that shows it. Main thread, no queue held.
#pragma once

namespace marvo {

// What a surface leaves with its composition when another one is shown, so that the next surface shows the
// same part at the same zoom. Not saved. Pixels of the document.
struct SurfacePlace {
    float zoomRatio = 1.0f; // a power of two, never below 1
    double x = 0.0;
    double y = 0.0;
    bool operator==(const SurfacePlace&) const = default;
};

class CompositionSurface {
public:
    virtual ~CompositionSurface() = default;

    virtual void zoomIn() = 0;
    virtual void zoomOut() = 0;
    // Length or rate have changed.
    virtual void updateCompositionWidth() = 0;
    // After a load and after a change of the window.
    virtual void refreshComposition() = 0;
    // Tracks came, went, moved, or changed their heights.
    virtual void updateTrackPositionsWithAnimation(bool animated) = 0;
    // Playhead or working area stand elsewhere.
    virtual void redrawMarker() = 0;
    // The playhead has moved because the composition plays.
    virtual void playheadMovedDuringPlayback() = 0;
    // The playhead was put elsewhere, or playing has ended.
    virtual void playheadJumped() = 0;
    virtual void redrawCues() = 0;
};

} // namespace marvo
