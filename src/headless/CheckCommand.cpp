#include "headless/CheckCommand.h"

#include "composition/CompositionTimeMath.h"
#include "endpoints/artnet/SilentArtNetTransport.h"
#include "endpoints/midi/RecordingMIDITransport.h"
#include "endpoints/osc/RecordingOSCTransport.h"
#include "headless/HeadlessHost.h"
#include "platform/LoopbackOnly.h"
#include "platform/Numbers.h"
#include "platform/Text.h"

#include <cstdio>
#include <map>

namespace marvo {
namespace {

class NoSink final : public OSCMessageSink, public MIDIMessageSink {
public:
    void messageSent(const std::string&, std::span<const std::uint8_t>, const SendOrigin&) override {}
    void messageSent(const std::string&, const OSCMessage&, const SendOrigin&) override {}
};

std::string counted(std::size_t count, const char* one) {
    return std::to_string(count) + " " + one + (count == 1 ? "" : "s");
}

std::string lineFor(const MarvoTimelineController& composition) {
    std::map<std::string, std::size_t> types;
    std::size_t keyframes = 0;
    for (const auto& track : composition.tracks.all()) {
        ++types[track->trackType()];
        keyframes += track->keyframeCount();
    }
    std::string list;
    for (const auto& [type, count] : types) {
        list += (list.empty() ? "" : ", ") + std::to_string(count) + " " + escapeForLog(type);
    }
    const CompositionState& state = composition.state;
    const Frame end = endFrame(state.compTime, state.compFPS);
    return escapeForLog(composition.compName()) + ": " + std::to_string(state.compFPS.get()) + " fps, " +
           std::to_string(end.value) + " frames, " + std::string(shortestFloat(state.compBPM).view()) +
           " bpm, " + counted(composition.tracks.count(), "track") + (list.empty() ? "" : " (" + list + ")") +
           ", " + counted(keyframes, "keyframe") + ", " +
           counted(composition.cueController.cues().size(), "cue");
}

} // namespace

int runCheck(const CheckOptions& options) {
    PreferenceStore store;
    VirtualClock clock;
    MainThread mainThread(clock);
    NoSink sink;
    RecordingOSCTransport transport(sink);
    RecordingMIDITransport midiTransport(sink);
    SilentArtNetTransport artNetTransport;
    ArtNetServer artNet(artNetTransport, clock, {.ownThreads = false});
    LoopbackOnly network;
    AppDelegate application({mainThread, transport, midiTransport, artNet, network, store, nullptr});
    application.applicationWillFinishLaunching();
    LoadReport report;
    const ProjectResult loaded = application.applicationDidFinishLaunching(options.project, &report);
    if (!loaded.done) {
        std::fprintf(stderr, "%s\n", loaded.error.c_str());
        return 1;
    }
    for (const auto& element : application.compositions.all()) {
        std::printf("%s\n", lineFor(element->timelineController()).c_str());
    }
    for (const std::string& line : report.lines()) std::printf("%s\n", line.c_str());
    if (report.further() > 0) std::printf("and %zu more\n", report.further());
    return 0;
}

} // namespace marvo
