// A composition as its marker controller sees it.
#pragma once

#include "composition/MarvoTimelineMarkerController.h"

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace marvo::testing_support {

class FakeMarkerComposition : public MarkerComposition {
public:
    std::int64_t fps = 30;
    float length = 100.0f;
    Frame now{0};

    std::vector<std::int64_t> drags;
    int mmcRewinds = 0;
    int positionUpdates = 0;
    int projectChanges = 0;
    int redraws = 0;
    int beeps = 0;
    std::vector<std::pair<std::string, std::function<void()>>> undoStack;

    MarvoTimelineMarkerController marker{*this};

    std::int64_t compFPS() const override { return fps; }
    float compTime() const override { return length; }
    Frame currentTime() const override { return now; }
    void markerDraggedToTime(Frame target) override {
        drags.push_back(target.value);
        now = target;
    }
    void sendMMCRewind() override { ++mmcRewinds; }
    void updateCompositionPosition() override { ++positionUpdates; }
    void projectChanged() override { ++projectChanges; }
    void redrawMarker() override { ++redraws; }
    void beep() override { ++beeps; }
    void registerUndo(const std::string& name, std::function<void()> inverse) override {
        undoStack.emplace_back(name, std::move(inverse));
    }

    void area(std::int64_t in, std::int64_t out) {
        marker.setInTime(Frame(in));
        marker.setOutTime(Frame(out));
    }
    std::pair<std::int64_t, std::int64_t> area() const {
        return {marker.inTime().value, marker.outTime().value};
    }
    std::string undo() {
        auto entry = std::move(undoStack.back());
        undoStack.pop_back();
        entry.second();
        return entry.first;
    }
};

} // namespace marvo::testing_support
