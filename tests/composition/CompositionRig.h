// A whole composition without an application around it: its tick is called by hand, what it sends is kept.
#pragma once

#include "BareApplication.h"
#include "TrackRig.h"
#include "composition/CompositionRecord.h"
#include "composition/MarvoTimelineController.h"
#include "platform/PropertyListXmlWriter.h"
#include "tracks/MarvoTimelineColorTrack.h"
#include "tracks/MarvoTimelineFlagTrack.h"

#include <cstdint>
#include <string>
#include <vector>

namespace marvo::testing {

// 30 frames a second, 10 seconds: 300 frames.
class CompositionRig {
public:
    CompositionRig() {
        composition.setCompName("Main");
        composition.setOSCAddresses();
        application.selected = &composition;
        changes_ = world.notifications.observe(world.names.ProjectChanged,
                                               [this](const NoPayload&) { ++projectChanges; });
    }
    ~CompositionRig() { composition.removeResources(); }

    // Empty, at the end of the list; the undo of it is forgotten.
    MarvoTimelineTrackProtocol& addTrack(const std::string& type) {
        MarvoTimelineTrackProtocol* track = composition.tracks.createTrackOfTpye(type);
        undo.removeAllActions();
        return *track;
    }
    // With a keyframe of that value at each of the times.
    MarvoTimelineTrack& addTrackWith(const std::string& type, const std::vector<std::int64_t>& times,
                                     float value = 10.0f) {
        auto& track = dynamic_cast<MarvoTimelineTrack&>(addTrack(type));
        for (const std::int64_t time : times) track.addNewKeyFrameWithData(keyframeAt(time, value));
        return track;
    }
    void addCues(const std::vector<std::int64_t>& times) {
        world.compQueue.sync([&] {
            for (const std::int64_t time : times) composition.cueController.addNewCueAtTime(Frame(time));
            composition.cueController.deselectCues();
        });
        undo.removeAllActions();
    }
    template <class Edit>
    decltype(auto) onCues(Edit&& edit) {
        return world.compQueue.sync([&]() -> decltype(auto) { return edit(composition.cueEdits); });
    }
    MarvoTimelineTrack& track(std::int64_t position) {
        return *composition.tracks.plainTrackAtPosition(position);
    }
    std::vector<std::int64_t> times(std::int64_t position) {
        std::vector<std::int64_t> all;
        for (const KeyframePlace& place : track(position).keyframes().places())
            all.push_back(place.time.value);
        return all;
    }
    std::vector<float> values(std::int64_t position) {
        std::vector<float> all;
        for (const KeyframePlace& place : track(position).keyframes().places()) all.push_back(place.value);
        return all;
    }
    std::uint64_t uID(std::int64_t position, std::size_t index) {
        return track(position).keyframes().places()[index].uID;
    }
    std::vector<std::int64_t> cueTimes() {
        std::vector<std::int64_t> all;
        composition.cueController.cues().forEach([&](const MarvoCue& cue) { all.push_back(cue.time.value); });
        return all;
    }
    void selectKeyframes(std::int64_t position, std::int64_t first, std::int64_t last) {
        track(position).keyframes().selectKeyframesInRange(Frame(first), FrameCount(last - first));
    }
    void selectCues(std::int64_t first, std::int64_t last) {
        world.compQueue.sync(
            [&] { composition.cueController.selectCuesInRange(Frame(first), FrameCount(last - first)); });
    }
    std::vector<std::string> names() {
        std::vector<std::string> all(composition.tracks.count());
        for (const auto& each : composition.tracks.all())
            all[static_cast<std::size_t>(each->trackPosition())] = each->name();
        return all;
    }
    // As the project file holds it.
    std::string bytes() {
        std::string xml;
        writePropertyListXml(saveComposition(composition), [&](std::string_view piece) {
            xml += piece;
            return true;
        });
        return xml;
    }

    TrackRig world;
    BareApplication application;
    NoCommands commands;
    UndoStack undo;
    CompositionServices services{world.services, application, undo, commands};
    MarvoTimelineController composition{services, CompositionDefaults{}, "1"};
    int projectChanges = 0;

private:
    Observation changes_;
};

} // namespace marvo::testing
