// Records of tracks of every type, and a project that has one of each.
#pragma once

#include "Show.h"
#include "platform/ColourArchive.h"

#include <span>

namespace marvo::testing {

inline PropertyList trackOf(const std::string& type, const PropertyList& keyframes) {
    PropertyList track = PropertyList::dictionary();
    track.set("trackPos", std::int64_t{0});
    track.set("trackType", type);
    track.set("enabledButton", buttonOf(true));
    track.set("trackName", type);
    if (type == "MidiNotes") {
        track.set("midiNotesFrom", "0");
        track.set("midiNotesTo", "127");
        track.set("midiChannel", "1");
        track.set("midiNodeName", "Marvo Midi Out");
    } else if (type == "ArtNetValue" || type == "ArtNetColor") {
        track.set("artNetChannel", "5");
    } else {
        track.set("oscPortName", "Out");
    }
    track.set("keyFrames", keyframes);
    return track;
}

inline PropertyList keyframeOf(std::int64_t time, const char* key, PropertyList value) {
    PropertyList keyframe = PropertyList::dictionary();
    keyframe.set("time", time);
    keyframe.set("value", 0.0f);
    keyframe.set("interpolation", "Linear Interpolation");
    keyframe.set(key, std::move(value));
    return keyframe;
}

inline PropertyList listOf(const std::vector<PropertyList>& keyframes) {
    PropertyList list = PropertyList::dictionary();
    for (const PropertyList& keyframe : keyframes) list.set(std::to_string(list.size()), keyframe);
    return list;
}

// Where two values differ, one line each; empty when they are the same.
inline std::string differences(const PropertyList& found, const PropertyList& expected,
                               const std::string& path = "") {
    if (found == expected) return "";
    if (!found.isDictionary() || !expected.isDictionary()) return path + " is another\n";
    std::string lines;
    for (const auto& [key, value] : expected.entries()) {
        const std::string longer = path + "/" + std::string(key.view());
        const PropertyList* const now = found.find(key.view());
        lines += now ? differences(*now, value, longer) : longer + " is missing\n";
    }
    for (const auto& [key, value] : found.entries()) {
        if (!expected.find(key.view())) lines += path + "/" + std::string(key.view()) + " was not there\n";
    }
    return lines;
}

// A composition with a track of every type that plays, cues of every type, and one track of a type that
// nobody knows.
inline PropertyList fullComposition(const std::string& name, std::int64_t fps = 30, float seconds = 4.0f) {
    const auto color = [](std::int64_t time, const Colour& colour) {
        const std::string archive = archivedColour(colour);
        return keyframeOf(time, "colorValue", PropertyList::data(std::as_bytes(std::span(archive))));
    };
    const PropertyList colors = listOf({color(5, {1, 0, 0, 1}), color(40, {0, 0.5, 1, 0.5})});
    const PropertyList flags =
        listOf({keyframeOf(10, "flagAddress", "/go"), keyframeOf(50, "flagAddress", "/stop")});
    const PropertyList values =
        keyframesOf({{0, 10}, {20, 90, "Bounce Ease-Out"}, {60, 30, "No Interpolation"}});
    PropertyList artNet = trackOf("ArtNetValue", values);
    artNet.set("artNetChannel", "1-4,9");
    artNet.set("artNet16bitButton", buttonOf(true));
    PropertyList controller = trackOf("MidiCC", values);
    controller.set("midiCC", "7");
    controller.set("midiCC14bitButton", buttonOf(true));
    controller.set("midiNodeName", "Marvo Midi Out");
    PropertyList composition = compositionOf(
        name, fps, seconds,
        {oscTrack("Plain", "/plain", {{0, 0.5f}, {30, 99.25f, "Sine Ease-In"}}),
         oscTrack("Grouped", "/group#1", {{0, 1}, {60, 50}}),
         oscTrack("Template", "/text/$TRACK <$F> <$> <\"x\">", {{0, 1}, {90, 50, "Elastic Ease-In"}}),
         controller,
         trackOf("MidiNotes", keyframesOf({{10, 60, "No Interpolation"}, {40, 64, "No Interpolation"}})),
         artNet, trackOf("ArtNetColor", colors), trackOf("OSCColor", colors), trackOf("OSCFlag", flags),
         trackOf("Hologram", values)},
        true);
    PropertyList cues = PropertyList::dictionary();
    for (std::int64_t type = 0; type < 3; ++type) {
        PropertyList cue = PropertyList::dictionary();
        cue.set("time", std::int64_t{20 + 25 * type});
        cue.set("cueName", "Cue<$>");
        cue.set("type", type);
        cue.set("repeat", type);
        cues.set(std::to_string(type), cue);
    }
    PropertyList cueController = PropertyList::dictionary();
    cueController.set("cues", cues);
    cueController.set("enableButton", buttonOf(true));
    composition.set("cueController", cueController);
    return composition;
}

inline PropertyList fullProject() {
    PropertyList project = projectOf({fullComposition("One"), fullComposition("Two", 25)}, "Out");
    return project;
}

} // namespace marvo::testing
