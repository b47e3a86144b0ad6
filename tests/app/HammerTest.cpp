// A show of every kind of track, played by the real render loop while remotes and an operator work on it from
// three threads. MARVO_HAMMER_SECONDS sets how long; a thread checker sees races only where time is given.
#include "platform/RealtimeThread.h"
#include "tracks/MarvoTimelineTrack.h"

#include "Eventually.h"
#include "Show.h"

#include <atomic>
#include <cstdlib>
#include <gtest/gtest.h>
#include <thread>

namespace marvo::testing {
namespace {

constexpr int compositionCount = 8;

// Counts what leaves, from whatever thread.
class Counter final : public OSCMessageSink, public MIDIMessageSink {
public:
    std::atomic<std::uint64_t> messages{0};
    std::atomic<std::uint64_t> noteOns{0};

    // Notes that were started and not ended, each time they were.
    int sounding() const {
        int sum = 0;
        for (const auto& note : notes_) sum += note.load();
        return sum;
    }
    // Notes that were ended more often than they were started.
    int endedTooOften() const {
        int sum = 0;
        for (const auto& note : notes_) sum += note.load() < 0 ? 1 : 0;
        return sum;
    }

private:
    void messageSent(const std::string&, const OSCMessage&, const SendOrigin&) override { ++messages; }
    void messageSent(const std::string&, std::span<const std::uint8_t> bytes, const SendOrigin&) override {
        if (bytes.size() < 3) return;
        const int kind = bytes[0] & 0xf0;
        auto& note = notes_[static_cast<std::size_t>(bytes[0] & 0x0f) * 128 + bytes[1]];
        if (kind == 0x90 && bytes[2] > 0) {
            ++note;
            ++noteOns;
        } else if (kind == 0x80 || kind == 0x90) {
            --note;
        }
    }

    std::array<std::atomic<int>, 16 * 128> notes_{};
};

PropertyList noteTrack(int channel) {
    PropertyList track = PropertyList::dictionary();
    track.set("trackType", "MidiNotes");
    track.set("trackName", "Notes");
    track.set("enabledButton", buttonOf(true));
    track.set("midiNotesFrom", "0");
    track.set("midiNotesTo", "127");
    track.set("midiChannel", std::to_string(channel));
    track.set("midiNodeName", "Marvo Midi Out");
    std::vector<Point> points;
    for (std::int64_t frame = 0; frame < 60; frame += 3)
        points.push_back({frame, static_cast<float>(36 + frame), "No Interpolation"});
    points.push_back({30, 90.0f, "No Interpolation"});
    track.set("keyFrames", keyframesOf(points));
    return track;
}

PropertyList colorTrack() {
    PropertyList track = PropertyList::dictionary();
    track.set("trackType", "ArtNetColor");
    track.set("trackName", "Colour");
    track.set("enabledButton", buttonOf(true));
    track.set("artNetChannel", "5");
    track.set("keyFrames", keyframesOf({{0, 0}, {30, 100}, {59, 0}}));
    return track;
}

PropertyList flagTrack() {
    PropertyList track = PropertyList::dictionary();
    track.set("trackType", "OSCFlag");
    track.set("trackName", "Flags");
    track.set("enabledButton", buttonOf(true));
    track.set("oscPortName", "Out");
    PropertyList keyframes = PropertyList::dictionary();
    for (std::int64_t frame = 5; frame < 60; frame += 10) {
        PropertyList one = PropertyList::dictionary();
        one.set("time", frame);
        one.set("value", 0.0f);
        one.set("interpolation", "Linear Interpolation");
        one.set("flagAddress", "/go <$F>");
        keyframes.set(std::to_string(keyframes.size()), one);
    }
    track.set("keyFrames", keyframes);
    return track;
}

PropertyList wholeShow() {
    std::vector<PropertyList> compositions;
    for (int i = 0; i < compositionCount; ++i) {
        PropertyList one = compositionOf(
            "C" + std::to_string(i), 60, 1.0f,
            {noteTrack(i + 1), oscTrack("Level", "/level", {{0, 0}, {30, 100, "Bounce Ease-Out"}, {59, 0}}),
             colorTrack(), flagTrack()},
            true);
        PropertyList learned = buttonOf(false);
        learned.set("midiChannel", std::int64_t{0});
        learned.set("midiControl", std::int64_t{20 + i});
        one.set("playButton", learned);
        compositions.push_back(one);
    }
    return projectOf(compositions, "Out");
}

class Stage {
public:
    Stage() {
        application.applicationWillFinishLaunching();
        application.applicationDidFinishLaunching(std::nullopt, nullptr);
        const std::string path =
            (std::filesystem::temp_directory_path() / ("marvo-hammer-" + std::to_string(::getpid()) + ".mrv"))
                .string();
        writePropertyList(path, wholeShow());
        application.openProject(path, nullptr);
        std::filesystem::remove(path);
        for (std::size_t i = 0; i < compositionCount; ++i) {
            MarvoTimelineController& composition = application.compositions.at(i);
            composition.cueController.addNewCueAtTime(Frame(20));
            composition.cueController.addNewCueAtTime(Frame(40));
        }
        application.master.togglePlayAllButton.performClick();
        main.pump();
        RealtimeOptions options;
        options.bestEffort = true;
        options.lockMemory = false;
        options.holdCpuLatency = false;
        loop_.start(options, [this](RealtimeThread& self) {
            application.startRendering(clock_.now());
            while (!self.stopRequested()) {
                const MonotonicTime now = clock_.now();
                application.renderTick(now);
                RealtimeThread::sleepUntil(now + Duration::ofMilliseconds(1));
            }
        });
    }

    Counter counter;

private:
    const MonotonicClock clock_;
    RecordingOSCTransport transport_{counter};
    RecordingMIDITransport midiTransport_{counter};
    SilentArtNetTransport artNetTransport_;
    ArtNetServer artNet_{artNetTransport_, clock_, {.ownThreads = false}};
    LoopbackOnly network_;
    PreferenceStore store_;

public:
    MainThread main{clock_};
    AppDelegate application{
        AppEnvironment{main, transport_, midiTransport_, artNet_, network_, store_, nullptr}};

private:
    RealtimeThread loop_; // ends first
};

void hammerByOSC(AppDelegate& application, unsigned i) {
    static constexpr const char* commands[] = {"/play",      "/jumptoframe",     "/nextcue", "/prevcue",
                                               "/rewind",    "/playcueatindex",  "/loop",    "/enable",
                                               "/compbpm",   "/resetcuestates",  "/cueon",   "/notes/enable",
                                               "/nextframe", "/jumptocueatindex"};
    const std::size_t command = i % std::size(commands);
    OSCMessage message;
    if (i % 23 == 0) {
        message.resetWithAddress("/marvo/triggercompatindex");
    } else {
        message.resetWithAddress((i % 7 == 0    ? "/marvo/current"
                                  : i % 11 == 0 ? "/marvo/all"
                                                : "/marvo/c" + std::to_string(i % compositionCount)) +
                                 std::string(commands[command]));
    }
    if (i % 3 == 0 && std::string_view(commands[command]) == "/compbpm") {
        message.addFloat(90.0f + static_cast<float>(i % 60));
    } else {
        message.addInt(static_cast<std::int32_t>(i / 5 % 4));
    }
    application.receivedOSCMessage(message);
}

void hammerByMIDI(AppDelegate& application, const MonotonicClock& clock, unsigned i) {
    const auto number = static_cast<std::uint8_t>(20 + i % compositionCount);
    const MIDIMessage controller{MIDIMessage::controlChange, 0, number,
                                 static_cast<std::uint8_t>(i % 2 * 127)};
    const MIDIMessage note{MIDIMessage::noteOn, 1, static_cast<std::uint8_t>(i % 128), 100};
    application.receivedMIDI(std::vector<MIDIMessage>{controller, note}, "Desk", clock.now());
}

void workOnMain(AppDelegate& application, int i) {
    MarvoTimelineController& composition =
        application.compositions.at(static_cast<std::size_t>(i % compositionCount));
    auto& track =
        dynamic_cast<MarvoTimelineTrack&>(*composition.tracks.all()[static_cast<std::size_t>(i / 3 % 4)]);
    switch (i % 9) {
    case 0:
        application.compositions.selectCompositionAtIndex(i % compositionCount);
        application.compositions.renameSelectedComposition("R" + std::to_string(i));
        break;
    case 1:
        application.compositions.renameSelectedComposition(
            "C" + std::to_string(application.compositions.selectedCompositionIndex()));
        break;
    case 2:
        track.renameTrack("N" + std::to_string(i));
        break;
    case 3:
        track.setEnabled(i % 2 == 0);
        break;
    case 4:
        application.services().compQueue.sync(
            [&] { composition.cueController.addNewCueAtTime(Frame(i % 60)); });
        break;
    case 5:
        application.undo.undo();
        break;
    case 6:
        application.master.soloModeButton.performClick();
        break;
    case 7:
        application.master.togglePlayAllButton.performClick();
        break;
    case 8:
        track.trackSettingsChangedAndShouldReprocess(true);
        break;
    }
}

int hammerSeconds() {
    const char* text = std::getenv("MARVO_HAMMER_SECONDS");
    return text ? std::atoi(text) : 5;
}

TEST(Hammer, NoNoteHangsAndNobodyWaitsForeverWhateverComesAtOnce) {
    const MonotonicClock clock;
    Stage stage;
    AppDelegate& application = stage.application;
    std::atomic<bool> stop{false};
    std::atomic<int> alive{2};
    std::thread osc([&] {
        for (unsigned i = 0; !stop; ++i) {
            hammerByOSC(application, i);
            std::this_thread::sleep_for(std::chrono::microseconds(300));
        }
        --alive;
    });
    std::thread midi([&] {
        for (unsigned i = 0; !stop; ++i) {
            hammerByMIDI(application, clock, i);
            std::this_thread::sleep_for(std::chrono::microseconds(700));
        }
        --alive;
    });
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(hammerSeconds());
    for (int i = 0; std::chrono::steady_clock::now() < end; ++i) {
        workOnMain(application, i);
        stage.main.pump();
    }
    stop = true;
    // They may be waiting for this thread.
    const bool ended = eventually(
        [&] {
            stage.main.pump();
            return alive == 0;
        },
        std::chrono::seconds(20));
    EXPECT_TRUE(ended) << "an input thread hangs";
    if (!ended) std::abort();
    osc.join();
    midi.join();
    stage.main.pump();
    EXPECT_GT(stage.counter.messages, 100u);
    EXPECT_GT(stage.counter.noteOns, 20u) << "the test plays no notes";
    application.master.stopCompositions();
    stage.main.pump();
    EXPECT_TRUE(eventually([&] {
        stage.main.pump();
        return stage.counter.sounding() == 0;
    })) << stage.counter.sounding()
        << " notes hang";
    EXPECT_EQ(stage.counter.endedTooOften(), 0);
}

} // namespace
} // namespace marvo::testing
