// The selected composition: transport row, ruler, cue row, headers and lanes, kept in step by its surface.
//
// Lives as long as the composition is shown; the window drops it before the composition goes. Main thread.
#pragma once

#include "surface/TimelineSurface.h"

#include <QWidget>

#include <functional>
#include <optional>

class QScrollBar;

namespace marvo::ui {

class CueRowView;
class HeadersView;
class LanesView;
class RulerView;
class TransportRow;
class AreaView;

class CompositionView : public QWidget, private SurfaceView {
public:
    CompositionView(MarvoTimelineController& composition, CompositionServices& services,
                    const SurfacePreferences& preferences, QWidget* parent);
    ~CompositionView() override;

    MarvoTimelineController& composition() const { return composition_; }
    // Once a frame: what plays, and what changed without a hand on this window.
    void follow();
    // Everything may look different now.
    void contentChanged();

    TransportRow& transport() const { return *transport_; }
    CueRowView& cues() const { return *cues_; }
    TimelineSurface& surface() { return *surface_; }
    std::function<void()> onSelectionChanged;
    // The delete key, wherever in the timeline the keyboard is. True: it was meant for something.
    std::function<bool()> onDelete;

    void takeKeyboard();
    void editNameOfSelectedTrack();
    // The fields of its header as a menu.
    void showFieldsOfSelectedTrack();
    void collapseSelectedTracks();
    void selectAllTracks();
    // One row up or down.
    void selectNeighbour(int step);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    // SurfaceView
    void needsDisplay(SurfaceArea area, const SurfaceRect& rect) override;
    void scrolled(SurfaceArea area) override;
    void resized(SurfaceArea area) override;
    void reflectScrolledClipView(SurfaceArea area) override;
    void lanesMoved(bool withAnimation) override;
    void laneResized(MarvoTimelineTrackProtocol& track) override;
    void displayActualTime() override;

    AreaView& view(SurfaceArea area) const;
    void updateViewport();
    void syncScrollBars();
    // Up or down, until all of its lane is seen.
    void scrollTo(const MarvoTimelineTrackProtocol& track);
    void pick(MarvoTimelineTrackProtocol& track, Qt::KeyboardModifiers modifiers);
    void rulerMenu(const QPoint& global);

    MarvoTimelineController& composition_;
    CompositionServices& services_;
    TransportRow* transport_;
    RulerView* ruler_;
    CueRowView* cues_;
    HeadersView* headers_;
    LanesView* lanes_;
    QScrollBar* horizontal_;
    QScrollBar* vertical_;
    std::optional<TimelineSurface> surface_;
    std::int64_t lastPicked_ = -1;
    bool syncing_ = false;
    double pixelsPerStep_ = 1.0; // of the horizontal bar
    bool painted_ = false;       // until then its size is on the way, and each step would count as an edit
    bool shownRunning_ = false;
    Frame shownIn_ = noFrame;
    Frame shownOut_ = noFrame;
};

} // namespace marvo::ui
