#include "Stage.h"

#include "platform/PropertyListXmlWriter.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace marvo::bench {
namespace {

class NullWire final : public OSCWire {
public:
    explicit NullWire(NullTransport& transport) : transport_(transport) {}
    void send(const OSCMessage& message, const SendOrigin& origin) override {
        ++transport_.sent;
        if (transport_.onSend) transport_.onSend(origin);
        if (transport_.sums && message.value()) transport_.sum += message.value()->doubleValue();
    }
    OutputCounters counters() const override { return {transport_.sent, 0, 0}; }
    void setTarget(const std::string&, int) override {}
    void setLabel(const std::string&) override {}

private:
    NullTransport& transport_;
};

class NullListener final : public OSCListener {
public:
    explicit NullListener(int port) : port_(port) {}
    int port() const override { return port_; }

private:
    int port_;
};

PropertyList button(bool state) {
    PropertyList record = PropertyList::dictionary();
    record.set("midiChannel", std::int64_t{-1});
    record.set("midiControl", std::int64_t{-1});
    record.set("state", state);
    return record;
}

} // namespace

std::unique_ptr<OSCWire> NullTransport::makeWire(const std::string&, const std::string&, int) {
    return std::make_unique<NullWire>(*this);
}

std::unique_ptr<OSCListener> NullTransport::makeListener(int port, OSCMessageReceiver&) {
    return std::make_unique<NullListener>(port);
}

PropertyList stageTrackOf(const std::string& type, const std::string& name,
                          const std::vector<PropertyList>& keyframes) {
    PropertyList records = PropertyList::dictionary();
    for (std::size_t i = 0; i < keyframes.size(); ++i) records.set(std::to_string(i), keyframes[i]);
    PropertyList track = PropertyList::dictionary();
    track.set("trackPos", std::int64_t{0});
    track.set("trackType", type);
    track.set("enabledButton", button(true));
    track.set("trackName", name);
    track.set("trackOSCType", std::int64_t{0});
    track.set("trackMinValue", 0.0f);
    track.set("trackMaxValue", 100.0f);
    track.set("oscPortName", "Out");
    track.set("keyFrames", records);
    return track;
}

PropertyList stageTrack(const std::string& name, const std::string& address,
                        const std::vector<StagePoint>& points) {
    std::vector<PropertyList> keyframes;
    for (const StagePoint& point : points) {
        PropertyList one = PropertyList::dictionary();
        one.set("time", point.time);
        one.set("value", point.value);
        one.set("interpolation", point.curve);
        keyframes.push_back(one);
    }
    PropertyList track = stageTrackOf("OSCValue", name, keyframes);
    track.set("trackOSCAddress", address);
    return track;
}

PropertyList stageComposition(const std::string& name, std::int64_t fps, float seconds,
                              const std::vector<PropertyList>& tracks, bool loop) {
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
    composition.set("loopButton", button(loop));
    return composition;
}

PropertyList stageProject(const std::vector<PropertyList>& compositions) {
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
    ports.set("feedback", "Disabled");
    PropertyList preferences = PropertyList::dictionary();
    preferences.set("oscPorts", ports);
    PropertyList appData = PropertyList::dictionary();
    appData.set("preferences", preferences);
    root.set("appData", appData);
    return root;
}

Stage::Stage(const PropertyList& project) : Stage(project, transport) {}

Stage::Stage(const PropertyList& project, OSCTransport& other) : oscTransport_(&other), now_(clock.now()) {
    std::string folder = (std::filesystem::temp_directory_path() / "marvo-bench-XXXXXX").string();
    if (!::mkdtemp(folder.data())) {
        std::perror("mkdtemp");
        std::exit(2);
    }
    const std::string path = folder + "/show.mrv";
    {
        std::ofstream out(path, std::ios::binary);
        writePropertyListXml(project,
                             [&](std::string_view piece) { return static_cast<bool>(out << piece); });
    }
    application.applicationWillFinishLaunching();
    const ProjectResult result = application.applicationDidFinishLaunching(path, nullptr);
    std::filesystem::remove_all(folder);
    if (!result.done) {
        std::fprintf(stderr, "%s\n", result.error.c_str());
        std::exit(2);
    }
    main.pump();
    application.startRendering(now_);
}

Stage::~Stage() = default;

void Stage::playAll() {
    application.master.togglePlayAllButton.setState(true);
    application.master.togglePlayAllButton.sendAction();
    main.pump();
}

} // namespace marvo::bench
