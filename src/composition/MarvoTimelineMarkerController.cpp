#include "composition/MarvoTimelineMarkerController.h"

#include "composition/CompositionTimeMath.h"
#include "platform/Saturate.h"

#include <algorithm>
#include <cmath>

namespace marvo {

namespace {

constexpr float rulerMargin = 10.0f;

// Distance from the last whole second towards zero.
std::int64_t beyondWholeSeconds(std::int64_t frames, std::int64_t fps) {
    return frames % usableFps(fps);
}

} // namespace

MarvoTimelineMarkerController::MarvoTimelineMarkerController(MarkerComposition& composition)
    : composition_(composition) {}

Frame MarvoTimelineMarkerController::end() const {
    return endFrame(composition_.compTime(), composition_.compFPS());
}

void MarvoTimelineMarkerController::addMarkerAndThrottler() {
    setInTime(Frame(0));
    setOutTime(end());
    setMarkerTime(Frame(0));
}

float MarvoTimelineMarkerController::markerTimeUnitInPixels() const {
    const double usableWidth = viewWidth_ - 20.0;
    if (!(usableWidth > 0.0)) return 0.0f;
    const float length = lengthInFrames(composition_.compTime(), composition_.compFPS());
    return static_cast<float>(static_cast<double>(length) / usableWidth);
}

void MarvoTimelineMarkerController::zoomIn() {
    viewWidth_ = (viewWidth_ - 20.0) * 2.0 + 20.0;
    refreshMarker();
}

void MarvoTimelineMarkerController::zoomOut() {
    viewWidth_ = (viewWidth_ - 20.0) * 0.5 + 20.0;
    refreshMarker();
}

void MarvoTimelineMarkerController::refreshMarker() {
    composition_.redrawMarker();
    composition_.updateCompositionPosition();
}

float MarvoTimelineMarkerController::clampedToRuler(float x) const {
    return std::max(rulerMargin, std::min(x, static_cast<float>(viewWidth_) - rulerMargin));
}

void MarvoTimelineMarkerController::moveMarkerToPos(float x) {
    const float unit = markerTimeUnitInPixels();
    if (!(unit > 0.0f)) return;
    const double frames = unit * -10.0 + static_cast<double>(unit * clampedToRuler(x));
    // Rounding may step over a fractional end; the playhead would refuse that and the marker would stand
    // apart from it.
    setMarkerTime(std::min(truncateToFrame(std::round(static_cast<float>(frames))), end()));
    markerDragged();
}

void MarvoTimelineMarkerController::markerDragged() {
    composition_.markerDraggedToTime(markerTime());
}

Frame MarvoTimelineMarkerController::throttlerFrameAt(double x) const {
    const double right = viewWidth_ - static_cast<double>(rulerMargin);
    const double clamped = std::max(static_cast<double>(rulerMargin), std::min(x, right));
    const float unit = throttlerTimeUnitInPixels();
    const std::int64_t fromEdge = truncatedToInt64(std::round(static_cast<float>(unit * clamped)));
    return truncateToFrame(static_cast<float>(fromEdge) - std::round(unit * rulerMargin));
}

void MarvoTimelineMarkerController::throttlerMovedToPoint(double x, ThrottlerPart part, bool shiftPressed) {
    if (!(throttlerTimeUnitInPixels() > 0.0f)) return;
    const bool goesOn = part == ThrottlerPart::leftSide    ? moveLeftSide(throttlerFrameAt(x), shiftPressed)
                        : part == ThrottlerPart::rightSide ? moveRightSide(throttlerFrameAt(x), shiftPressed)
                                                           : moveBody(x, shiftPressed);
    if (!goesOn) return;

    composition_.updateCompositionPosition();
    if (part == ThrottlerPart::body)
        markerThrottlerDragged();
    else if (composition_.currentTime() < inTime())
        composition_.markerDraggedToTime(inTime());
    composition_.projectChanged();
    composition_.redrawMarker();
}

bool MarvoTimelineMarkerController::moveLeftSide(Frame frame, bool shiftPressed) {
    std::int64_t f = frame.value;
    if (!shiftPressed) f -= beyondWholeSeconds(f, composition_.compFPS());
    if (f >= outTime().value) f = saturatingSubtract(outTime().value, 1);
    f = std::max<std::int64_t>(f, 0);
    if (f == inTime().value) return false;
    setInTime(Frame(f));
    return true;
}

bool MarvoTimelineMarkerController::moveRightSide(Frame frame, bool shiftPressed) {
    std::int64_t f = frame.value;
    if (!shiftPressed) f -= beyondWholeSeconds(f, composition_.compFPS());
    if (f <= inTime().value) f = saturatingAdd(inTime().value, 1);
    f = std::min(f, end().value);
    if (f == outTime().value) return false;
    setOutTime(Frame(f));
    return true;
}

bool MarvoTimelineMarkerController::moveBody(double x, bool shiftPressed) {
    const std::int64_t fps = usableFps(composition_.compFPS());
    const float length = lengthInFrames(composition_.compTime(), fps);
    const std::int64_t in = inTime().value;
    const std::int64_t out = outTime().value;

    std::int64_t d = (throttlerFrameAt(x) - throttlerFrameAt(helperXForThrottlerDragMe_)).value;
    if (static_cast<float>(saturatingAdd(out, d)) > length) d = saturatingSubtract(end().value, out);
    if (saturatingAdd(in, d) < 0) d = saturatingSubtract(0, in);
    if (!shiftPressed) {
        if (d > -fps && d < fps) return d != 0;
        d -= beyondWholeSeconds(d, fps);
    }
    setWorkingArea(Frame(saturatingAdd(in, d)), Frame(saturatingAdd(out, d)));
    helperXForThrottlerDragMe_ = x;
    return d != 0;
}

void MarvoTimelineMarkerController::markerThrottlerDragged() {
    const Frame now = composition_.currentTime();
    if (inTime() > now || outTime() < now) {
        composition_.markerDraggedToTime(inTime());
        composition_.sendMMCRewind();
    }
}

void MarvoTimelineMarkerController::setWorkingAreaBeginningToCurrent() {
    const Frame now = composition_.currentTime();
    if (now >= outTime()) {
        composition_.beep();
        return;
    }
    setInTime(now);
    composition_.redrawMarker();
    markerThrottlerDragged();
    composition_.projectChanged();
}

void MarvoTimelineMarkerController::setWorkingAreaEndToCurrent() {
    const Frame now = composition_.currentTime();
    if (now <= inTime()) {
        composition_.beep();
        return;
    }
    setOutTime(now);
    composition_.redrawMarker();
    markerThrottlerDragged();
    composition_.projectChanged();
}

void MarvoTimelineMarkerController::setWorkingArea(Frame newInTime, Frame newOutTime) {
    // The far edge goes first, so that a tick in between sees a working area too long rather than one turned
    // over.
    if (newOutTime > outTime()) {
        setOutTime(newOutTime);
        setInTime(newInTime);
    } else {
        setInTime(newInTime);
        setOutTime(newOutTime);
    }
}

void MarvoTimelineMarkerController::undoSetInTimeOutTime(Frame newInTime, Frame newOutTime) {
    setWorkingArea(newInTime, newOutTime);
    markerThrottlerDragged();
    composition_.redrawMarker();
    composition_.projectChanged();
}

void MarvoTimelineMarkerController::undoSetMarkerInTimeOutTime(Frame newInTime, Frame newOutTime) {
    const Frame oldInTime = inTime();
    const Frame oldOutTime = outTime();
    setWorkingArea(newInTime, newOutTime);
    composition_.registerUndo("Change Working Area", [this, oldInTime, oldOutTime] {
        undoSetMarkerInTimeOutTime(oldInTime, oldOutTime);
    });
    composition_.redrawMarker();
    composition_.projectChanged();
}

ThrottlerRecord MarvoTimelineMarkerController::saveData() const {
    return ThrottlerRecord{inTime().value, outTime().value};
}

void MarvoTimelineMarkerController::loadData(const std::optional<ThrottlerRecord>& record) {
    if (!record) return;
    if (record->inTime) setInTime(Frame(*record->inTime));
    if (record->outTime) setOutTime(Frame(*record->outTime));
}

} // namespace marvo
