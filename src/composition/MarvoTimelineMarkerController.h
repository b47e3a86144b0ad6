// The playhead as drawn and the working area of one composition.
//
// Owned by its composition. Edits happen on the main thread; markerTime, inTime and outTime are single atomic
// words that any thread may read, the tick above all. Every edit keeps 0 <= inTime < outTime <= compTime *
// compFPS; a loaded record is taken as it is. In the saved record and on the ruler the working area is called
// the throttler.
//
// Pixels: the ruler is viewWidth wide with a margin of 10 on either side, so the timeline takes viewWidth
// - 20.
#pragma once

#include "composition/MarkerComposition.h"
#include "platform/TimelineTime.h"

#include <atomic>
#include <cstdint>
#include <optional>

namespace marvo {

struct ThrottlerRecord {
    std::optional<std::int64_t> inTime;
    std::optional<std::int64_t> outTime;
    bool operator==(const ThrottlerRecord&) const = default;
};

enum class ThrottlerPart { leftSide, rightSide, body };

class MarvoTimelineMarkerController {
public:
    // composition must outlive the controller.
    explicit MarvoTimelineMarkerController(MarkerComposition& composition);

    // Thread-safe, realtime-safe. The setters take any value: loading and rescaling use them.
    Frame markerTime() const { return Frame(markerTime_.load(std::memory_order_relaxed)); }
    Frame inTime() const { return Frame(inTime_.load(std::memory_order_relaxed)); }
    Frame outTime() const { return Frame(outTime_.load(std::memory_order_relaxed)); }
    void setMarkerTime(Frame time) { markerTime_.store(time.value, std::memory_order_relaxed); }
    void setInTime(Frame time) { inTime_.store(time.value, std::memory_order_relaxed); }
    void setOutTime(Frame time) { outTime_.store(time.value, std::memory_order_relaxed); }

    Frame startPointForCompTime() const { return inTime(); }
    Frame endPointForCompTime() const { return outTime(); }

    // Everything below: main thread.

    // Playhead at 0, working area over the whole composition.
    void addMarkerAndThrottler();

    // Width of the ruler in pixels, margins included.
    double viewWidth() const { return viewWidth_; }
    void setViewWidth(double pixels) { viewWidth_ = pixels; }
    // Frames per pixel; 0 while the ruler has no room between its margins.
    float markerTimeUnitInPixels() const;
    float throttlerTimeUnitInPixels() const { return markerTimeUnitInPixels(); }
    void zoomIn();
    void zoomOut();
    void refreshMarker();

    // Playhead dragged to x pixels on the ruler. Nothing moves on a ruler without room.
    void moveMarkerToPos(float x);
    void markerDragged();

    // x of the last body move that was applied; the view sets it at the press.
    double helperXForThrottlerDragMe() const { return helperXForThrottlerDragMe_; }
    void setHelperXForThrottlerDragMe(double x) { helperXForThrottlerDragMe_ = x; }
    // Working area dragged to x pixels by the grabbed part. Moves by whole seconds unless shift is pressed.
    void throttlerMovedToPoint(double x, ThrottlerPart part, bool shiftPressed);
    // Brings a playhead that is outside the working area to its start.
    void markerThrottlerDragged();

    void setWorkingAreaBeginningToCurrent();
    void setWorkingAreaEndToCurrent();
    // The undo half of a trim: registers no inverse.
    void undoSetInTimeOutTime(Frame inTime, Frame outTime);
    void undoSetMarkerInTimeOutTime(Frame inTime, Frame outTime);

    ThrottlerRecord saveData() const;
    // Nothing happens without a record, and a missing number leaves the present one.
    void loadData(const std::optional<ThrottlerRecord>& record);

private:
    float clampedToRuler(float x) const;
    Frame throttlerFrameAt(double x) const;
    bool moveLeftSide(Frame frame, bool shiftPressed);
    bool moveRightSide(Frame frame, bool shiftPressed);
    bool moveBody(double x, bool shiftPressed);
    void setWorkingArea(Frame inTime, Frame outTime);
    Frame end() const;

    MarkerComposition& composition_;
    std::atomic<std::int64_t> markerTime_{0};
    std::atomic<std::int64_t> inTime_{0};
    std::atomic<std::int64_t> outTime_{0};
    double viewWidth_ = 0.0; // a zoomed ruler is wider than a float counts in whole pixels
    double helperXForThrottlerDragMe_ = 0.0;
};

} // namespace marvo
