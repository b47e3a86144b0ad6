// A composition with its surface and a painter that writes down what it is told; no display.
#pragma once

#include "BareApplication.h"
#include "TrackRig.h"
#include "surface/TimelineSurface.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace marvo::testing {

class NotingView final : public SurfaceView {
public:
    struct Dirty {
        SurfaceArea area;
        SurfaceRect rect;
    };
    std::vector<std::string> calls; // in order, without rectangles
    std::vector<Dirty> dirty;
    std::vector<const MarvoTimelineTrackProtocol*> resizedLanes;
    std::function<void()> whenLanesMove = [] {}; // a painter may look at them at once

    void needsDisplay(SurfaceArea area, const SurfaceRect& rect) override {
        calls.push_back("display " + nameOf(area));
        dirty.push_back({area, rect});
    }
    void scrolled(SurfaceArea area) override { calls.push_back("scrolled " + nameOf(area)); }
    void resized(SurfaceArea area) override { calls.push_back("resized " + nameOf(area)); }
    void reflectScrolledClipView(SurfaceArea area) override { calls.push_back("reflect " + nameOf(area)); }
    void lanesMoved(bool animated) override {
        calls.push_back(animated ? "lanes glide" : "lanes jump");
        whenLanesMove();
    }
    void laneResized(MarvoTimelineTrackProtocol& track) override {
        calls.push_back("lane");
        resizedLanes.push_back(&track);
    }
    void displayActualTime() override { calls.push_back("time"); }

    void forget() {
        calls.clear();
        dirty.clear();
        resizedLanes.clear();
    }
    bool was(const std::string& call) const {
        return std::find(calls.begin(), calls.end(), call) != calls.end();
    }
    std::ptrdiff_t count(const std::string& call) const {
        return std::count(calls.begin(), calls.end(), call);
    }
    bool showed(SurfaceArea area, const SurfaceRect& rect) const {
        return std::any_of(dirty.begin(), dirty.end(),
                           [&](const Dirty& one) { return one.area == area && one.rect == rect; });
    }
    static std::string nameOf(SurfaceArea area) {
        switch (area) {
        case SurfaceArea::lanes:
            return "lanes";
        case SurfaceArea::headers:
            return "headers";
        case SurfaceArea::ruler:
            return "ruler";
        default:
            return "cues";
        }
    }
};

// 30 frames a second for 20 seconds: 600 frames. A window of 600 by 400: one pixel a frame at zoom 1.
class SurfaceRig {
public:
    SurfaceRig() {
        application.selected = &composition;
        composition.setCompName("Show");
        observation = rig.notifications.observe(rig.names.ProjectChanged,
                                                [this](const NoPayload&) { ++projectChanges; });
        surface = std::make_unique<TimelineSurface>(composition, services, preferences, view);
        surface->setViewport({{600.0, 400.0}, 150.0, RulerGeometry::height, 26.0});
        forget();
    }
    ~SurfaceRig() {
        surface.reset();
        composition.removeResources();
    }

    TrackRig rig;
    BareApplication application;
    NoCommands commands;
    UndoStack undo;
    CompositionServices services{rig.services, application, undo, commands};
    MarvoTimelineController composition{services, CompositionDefaults{30, 0, 20, true}, "1"};
    SurfacePreferences preferences{false, true};
    NotingView view;
    int projectChanges = 0;
    Observation observation;
    std::unique_ptr<TimelineSurface> surface;

    void forget() {
        rig.main.pump();
        view.forget();
        projectChanges = 0;
    }
    MarvoTimelineTrack& add(const std::string& type = "OSCValue") {
        return dynamic_cast<MarvoTimelineTrack&>(*composition.tracks.createTrackOfTpye(type));
    }
    void addLanes(int count) {
        for (int i = 0; i < count; ++i) add();
        forget();
    }
    const MarvoTimelineKeyframe& addKeyframe(MarvoTimelineTrack& track, std::int64_t time, float value,
                                             const char* curve = "Linear Interpolation") {
        const std::uint64_t uID = track.addNewKeyFrameWithData(keyframeAt(time, value, curve));
        return *track.keyframes().store().objectWithUID(uID);
    }
    void zoomTo(float ratio) {
        while (surface->zoomRatio() < ratio) surface->zoomIn();
        surface->scrollTo(SurfaceArea::lanes, {0.0, 0.0});
        forget();
    }
    double x(SurfaceArea which) const { return surface->area(which).origin().x; }
    double y(SurfaceArea which) const { return surface->area(which).origin().y; }
    SurfaceRect seen(SurfaceArea which) const { return surface->area(which).documentVisibleRect(); }
    void placeMarker(std::int64_t frame) { composition.markerController.setMarkerTime(Frame(frame)); }
    // As the render thread does it.
    void playTo(std::int64_t frame) {
        rig.compQueue.sync([&] {
            composition.state.currentTime = Frame(frame);
            composition.transport.updateMarkerDuringPlaybackIfNeeded();
        });
    }
};

} // namespace marvo::testing
