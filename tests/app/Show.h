// A whole application on a virtual clock, with a project made in place and every sent message kept.
#pragma once

#include "app/AppDelegate.h"
#include "endpoints/artnet/SilentArtNetTransport.h"
#include "endpoints/midi/RecordingMIDITransport.h"
#include "endpoints/osc/RecordingOSCTransport.h"
#include "platform/LoopbackOnly.h"
#include "platform/PreferenceStore.h"
#include "platform/PropertyListFile.h"
#include "platform/PropertyListXmlWriter.h"
#include "tracks/MarvoTimelineTrack.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace marvo::testing {

struct Sent {
    std::int64_t ms = 0;
    std::string port;
    std::string address;
    std::string track;
    std::int64_t frame = 0;
    bool feedback = false;
    std::vector<float> numbers;
    std::string text; // first string argument
    bool operator==(const Sent&) const = default;
};

struct Point {
    std::int64_t time;
    float value;
    const char* curve = "Linear Interpolation";
};

inline PropertyList keyframesOf(const std::vector<Point>& points) {
    PropertyList keyframes = PropertyList::dictionary();
    for (const Point& point : points) {
        PropertyList one = PropertyList::dictionary();
        one.set("time", point.time);
        one.set("value", point.value);
        one.set("interpolation", point.curve);
        keyframes.set(std::to_string(keyframes.size()), one);
    }
    return keyframes;
}

inline PropertyList buttonOf(bool state) {
    PropertyList button = PropertyList::dictionary();
    button.set("midiChannel", std::int64_t{-1});
    button.set("midiControl", std::int64_t{-1});
    button.set("state", state);
    return button;
}

inline PropertyList oscTrack(const std::string& name, const std::string& address,
                             const std::vector<Point>& points) {
    PropertyList track = PropertyList::dictionary();
    track.set("trackPos", std::int64_t{0});
    track.set("trackType", "OSCValue");
    track.set("enabledButton", buttonOf(true));
    track.set("trackName", name);
    track.set("trackOSCType", std::int64_t{0});
    track.set("trackMinValue", 0.0f);
    track.set("trackMaxValue", 100.0f);
    track.set("trackOSCAddress", address);
    track.set("oscPortName", "Out");
    track.set("keyFrames", keyframesOf(points));
    return track;
}

inline PropertyList compositionOf(const std::string& name, std::int64_t fps, float seconds,
                                  const std::vector<PropertyList>& tracks, bool loop = false) {
    PropertyList records = PropertyList::dictionary();
    for (const PropertyList& track : tracks) {
        PropertyList placed = track;
        placed.set("trackPos", static_cast<std::int64_t>(records.size()));
        records.set("tr-" + std::to_string(records.size()), placed);
    }
    PropertyList composition = PropertyList::dictionary();
    composition.set("tracks", records);
    composition.set("compFPS", fps);
    composition.set("compTime", seconds);
    composition.set("compSpeed", "120");
    composition.set("compName", name);
    PropertyList throttler = PropertyList::dictionary();
    throttler.set("inTime", std::int64_t{0});
    throttler.set("outTime", static_cast<std::int64_t>(seconds * static_cast<float>(fps)));
    composition.set("throttler", throttler);
    composition.set("loopButton", buttonOf(loop));
    return composition;
}

inline PropertyList projectOf(const std::vector<PropertyList>& compositions,
                              const std::string& feedback = "Disabled") {
    PropertyList root = PropertyList::dictionary();
    for (const PropertyList& composition : compositions)
        root.set("Comp-" + std::to_string(root.size()), composition);
    PropertyList output = PropertyList::dictionary();
    output.set("address", "127.0.0.1");
    output.set("port", std::int64_t{8000});
    output.set("portLabel", "Out");
    PropertyList outputs = PropertyList::array();
    outputs.push_back(output);
    PropertyList ports = PropertyList::dictionary();
    ports.set("inputs", PropertyList::array());
    ports.set("outputs", outputs);
    ports.set("feedback", feedback);
    PropertyList preferences = PropertyList::dictionary();
    preferences.set("oscPorts", ports);
    PropertyList appData = PropertyList::dictionary();
    appData.set("preferences", preferences);
    root.set("appData", appData);
    return root;
}

struct SentMIDI {
    std::int64_t ms = 0;
    std::string node;
    std::vector<int> bytes;
    bool operator==(const SentMIDI&) const = default;
};

struct StoredDMX {
    std::int64_t ms = 0;
    int universe = 0;
    int channel = 0;
    int value = 0;
    bool operator==(const StoredDMX&) const = default;
};

class Show : private OSCMessageSink, private MIDIMessageSink, private RecordingDMX {
public:
    Show() : folder_(makeFolder()) {
        artNet_.setRecordingDMX(this);
        application.applicationWillFinishLaunching();
        application.applicationDidFinishLaunching(std::nullopt, nullptr);
        application.startRendering(clock.now());
    }
    explicit Show(const PropertyList& project) : Show() { load(project); }
    ~Show() { std::filesystem::remove_all(folder_); }

    ProjectResult load(const PropertyList& project, LoadReport* report = nullptr) {
        const std::string path = file("show.mrv");
        // Written plainly: a thousand loads need no disk.
        std::ofstream out(path, std::ios::binary);
        writePropertyListXml(project,
                             [&](std::string_view piece) { return static_cast<bool>(out << piece); });
        out.close();
        const ProjectResult result = application.openProject(path, report);
        main.pump();
        return result;
    }
    std::string file(const std::string& name) const { return folder_ + "/" + name; }

    void tick(std::int64_t milliseconds = 1) {
        for (std::int64_t i = 0; i < milliseconds; ++i) {
            application.renderTick(clock.now());
            main.pump();
            clock.advance(Duration::ofMilliseconds(1));
            ++ms_;
        }
    }
    void playAll() {
        application.master.togglePlayAllButton.setState(true);
        application.master.togglePlayAllButton.sendAction();
        main.pump();
    }
    void stopAll() {
        application.master.togglePlayAllButton.setState(false);
        application.master.togglePlayAllButton.sendAction();
        main.pump();
    }
    void receive(const OSCMessage& message) {
        application.receivedOSCMessage(message);
        main.pump();
    }
    void receive(const std::string& address, std::int32_t value) {
        OSCMessage message = OSCMessage::createWithAddress(address);
        message.addInt(value);
        receive(message);
    }
    void receive(const std::string& address, const std::string& text) {
        OSCMessage message = OSCMessage::createWithAddress(address);
        message.addString(text);
        receive(message);
    }
    void receive(const std::string& address, float value) {
        OSCMessage message = OSCMessage::createWithAddress(address);
        message.addFloat(value);
        receive(message);
    }
    // One delivery.
    void receiveMIDI(const std::vector<MIDIMessage>& messages) {
        application.receivedMIDI(messages, "Desk", clock.now());
        main.pump();
    }
    void receiveSysex(const std::vector<std::uint8_t>& payload) {
        application.receivedSysex(payload, "Desk", clock.now());
        main.pump();
    }
    MarvoTimelineController& composition(std::size_t index = 0) { return application.compositions.at(index); }
    MarvoTimelineTrack& track(std::size_t index = 0, std::size_t inComposition = 0) {
        return dynamic_cast<MarvoTimelineTrack&>(*composition(inComposition).tracks.all()[index]);
    }
    std::int64_t frame(std::size_t index = 0) { return composition(index).state.currentTime.get().value; }
    PropertyList saved() {
        const std::string path = file("saved.mrv");
        application.projectFile.processSaveWithURL(path);
        return readPropertyList(path).value;
    }
    std::vector<Sent> take() {
        std::vector<Sent> result;
        result.swap(sent);
        return result;
    }

    VirtualClock clock;
    MainThread main{clock};
    PreferenceStore preferences;
    std::vector<Sent> sent;
    std::vector<SentMIDI> sentMIDI;
    std::vector<StoredDMX> storedDMX;

private:
    static std::string makeFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "marvo-show-XXXXXX").string();
        return ::mkdtemp(name.data());
    }
    void messageSent(const std::string& port, const OSCMessage& message, const SendOrigin& origin) override {
        Sent one;
        one.ms = ms_;
        one.port = port;
        one.address = message.address();
        one.track = origin.track ? *origin.track : "";
        one.frame = origin.frame;
        one.feedback = origin.feedback;
        for (const OSCValue& value : message.values()) {
            if (value.type() == OSCValue::typeString) {
                if (one.text.empty()) one.text = value.stringValue();
            } else {
                one.numbers.push_back(value.floatValue());
            }
        }
        sent.push_back(one);
    }

    void messageSent(const std::string& node, std::span<const std::uint8_t> bytes,
                     const SendOrigin&) override {
        sentMIDI.push_back({ms_, node, {bytes.begin(), bytes.end()}});
    }

    void valueStored(int universe, int channel, int value, const SendOrigin&) override {
        storedDMX.push_back({ms_, universe, channel, value});
    }

    std::string folder_;
    RecordingMIDITransport midiTransport_{*this};
    SilentArtNetTransport artNetTransport_;
    ArtNetServer artNet_{artNetTransport_, clock, {.ownThreads = false}};
    LoopbackOnly network_;
    RecordingOSCTransport transport_{*this};
    std::int64_t ms_ = 0;

public:
    AppDelegate application{
        AppEnvironment{main, transport_, midiTransport_, artNet_, network_, preferences, nullptr}};
};

} // namespace marvo::testing
