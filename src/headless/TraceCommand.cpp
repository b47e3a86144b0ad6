#include "headless/TraceCommand.h"

#include "endpoints/artnet/SilentArtNetTransport.h"
#include "endpoints/midi/MIDIBytes.h"
#include "endpoints/midi/RecordingMIDITransport.h"
#include "endpoints/osc/RecordingOSCTransport.h"
#include "headless/HeadlessHost.h"
#include "headless/TraceScript.h"
#include "headless/TraceWriter.h"

#include "platform/LoopbackOnly.h"
#include "platform/Paths.h"

#include <cstdio>
#include <fstream>
#include <iostream>
#include <optional>
#include <sstream>

namespace marvo {
namespace {

constexpr int statusDone = 0;
constexpr int statusUnusable = 1;
constexpr std::int64_t longestMilliseconds = 3600 * 1000;

// Writes every message that leaves, with the time of the tick or script line that caused it.
class TraceSink final : public OSCMessageSink, public MIDIMessageSink, public RecordingDMX {
public:
    explicit TraceSink(TraceWriter& writer) : writer_(writer) {}

    void setTime(std::int64_t milliseconds) { time_ = milliseconds; }
    void messageSent(const std::string& portLabel, const OSCMessage& message,
                     const SendOrigin& origin) override {
        if (origin.feedback) {
            writer_.feedback(time_, message);
        } else {
            writer_.osc(time_, portLabel, message, origin);
        }
    }
    void messageSent(const std::string& node, std::span<const std::uint8_t> bytes,
                     const SendOrigin& origin) override {
        writer_.midi(time_, node, bytes, origin);
    }
    void valueStored(int universe, int channel, int value, const SendOrigin& origin) override {
        writer_.dmx(time_, universe, channel, value, origin);
    }

private:
    TraceWriter& writer_;
    std::int64_t time_ = 0;
};

int unusable(const std::string& reason) {
    std::fprintf(stderr, "%s\n", reason.c_str());
    return statusUnusable;
}

void fillMessage(OSCMessage& message, const ScriptOSC& line) {
    message.resetWithAddress(line.address);
    for (const ScriptArgument& argument : line.arguments) {
        switch (argument.kind) {
        case ScriptArgument::Kind::integer:
            message.addInt(argument.integer);
            break;
        case ScriptArgument::Kind::floating:
            message.addFloat(argument.floating);
            break;
        case ScriptArgument::Kind::text:
            message.addString(argument.text);
            break;
        case ScriptArgument::Kind::yes:
            message.addBOOL(true);
            break;
        case ScriptArgument::Kind::no:
            message.addBOOL(false);
            break;
        }
    }
}

// The virtual run: one pass a millisecond, script lines before the pass of their time.
class Rehearsal {
public:
    Rehearsal(AppDelegate& application, VirtualClock& clock, TraceSink& sink, std::vector<ScriptLine> script)
        : application_(application), clock_(clock), start_(clock.now()), sink_(sink),
          script_(std::move(script)) {}

    void run(std::optional<std::int64_t> ticks) {
        const std::int64_t end = ticks ? *ticks : longestMilliseconds;
        application_.startRendering(start_);
        for (std::int64_t t = 0; t < end; ++t) {
            clock_.set(start_ + Duration::ofMilliseconds(t));
            runScriptUntil(t);
            sink_.setTime(t);
            application_.renderTick(clock_.now());
            application_.mainThread().pump();
            const bool over = next_ == script_.size() && !anyCompositionRuns(application_);
            if (!ticks && over) return;
        }
    }

private:
    void runScriptUntil(std::int64_t t) {
        while (next_ < script_.size() && script_[next_].milliseconds <= t) {
            const ScriptLine& line = script_[next_++];
            sink_.setTime(line.milliseconds);
            if (const auto* osc = std::get_if<ScriptOSC>(&line.event)) {
                fillMessage(message_, *osc);
                application_.receivedOSCMessage(message_);
            } else if (const auto* midi = std::get_if<ScriptMIDI>(&line.event)) {
                receive(*midi);
            } else if (const auto* dmx = std::get_if<ScriptDMX>(&line.event)) {
                const DMXPair change{dmx->channel - 1, dmx->value};
                application_.receivedDMX({&change, 1});
            }
            application_.mainThread().pump();
        }
    }

    void receive(const ScriptMIDI& midi) {
        const std::vector<std::uint8_t>& bytes = midi.bytes;
        if (bytes.front() == 0xf0) {
            const bool closed = bytes.size() > 1 && bytes.back() == 0xf7;
            const std::span payload(bytes.data() + 1, bytes.size() - (closed ? 2 : 1));
            application_.receivedSysex(payload, midi.node, clock_.now());
            return;
        }
        const MIDIMessage message = decodeMIDI(bytes);
        if (message.type != 0) application_.receivedMIDI({&message, 1}, midi.node, clock_.now());
    }

    AppDelegate& application_;
    VirtualClock& clock_;
    const MonotonicTime start_;
    TraceSink& sink_;
    std::vector<ScriptLine> script_;
    std::size_t next_ = 0;
    OSCMessage message_;
};

std::optional<std::string> contentsOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return std::nullopt;
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

} // namespace

int runTrace(const TraceOptions& options) {
    std::vector<ScriptLine> script;
    if (options.script) {
        const std::optional<std::string> text = contentsOf(*options.script);
        if (!text) return unusable(*options.script + ": cannot be read");
        TraceScriptResult parsed = parseTraceScript(*text, *options.script);
        if (!parsed.error.empty()) return unusable(parsed.error);
        script = std::move(parsed.lines);
    }

    // Without a folder of its own a rehearsal knows only the program's defaults, so it is the same
    // everywhere.
    PreferenceStore store = options.configDir
                                ? PreferenceStore(Paths::below(*options.configDir).preferenceFile())
                                : PreferenceStore();
    const std::string refused = applyPreferenceOverrides(store, options.preferences);
    if (!refused.empty()) return unusable(refused);

    std::ofstream file;
    if (options.output) {
        file.open(*options.output, std::ios::binary | std::ios::trunc);
        if (!file) return unusable(*options.output + ": cannot be written");
    }
    TraceWriter writer(options.output ? static_cast<std::ostream&>(file) : std::cout);
    TraceSink sink(writer);

    VirtualClock clock;
    MainThread mainThread(clock);
    RecordingOSCTransport transport(sink);
    RecordingMIDITransport midiTransport(sink);
    SilentArtNetTransport artNetTransport;
    ArtNetServer artNet(artNetTransport, clock, {.ownThreads = false});
    artNet.setRecordingDMX(&sink);
    LoopbackOnly network;
    std::string error;
    {
        AppDelegate application({mainThread, transport, midiTransport, artNet, network, store, nullptr});
        application.projectFile.portsLoaded = [&](const PropertyList& root) {
            addOutputsNamedByTracks(application.oscManager(), root);
        };
        application.applicationWillFinishLaunching();
        const ProjectResult loaded = application.applicationDidFinishLaunching(options.project, nullptr);
        if (!loaded.done) return unusable(loaded.error);
        mainThread.pump();
        if (options.play) pressPlayAll(application);
        Rehearsal rehearsal(application, clock, sink, std::move(script));
        rehearsal.run(options.seconds
                          ? std::optional(static_cast<std::int64_t>(*options.seconds * 1000.0 + 0.5))
                          : std::nullopt);
        // What ends with the program is not part of the show.
        transport.close();
        midiTransport.close();
        artNet.setRecordingDMX(nullptr);
    }
    if (!writer.finish())
        return unusable((options.output ? *options.output : "standard output") + ": cannot be written");
    return statusDone;
}

} // namespace marvo
