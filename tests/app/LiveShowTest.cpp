// The application with real threads: a render thread that ticks, input threads that command, a main thread
// that edits.
#include "app/AppDelegate.h"
#include "platform/PreferenceStore.h"
#include "platform/PropertyListFile.h"
#include "platform/RealtimeThread.h"
#include "tracks/MarvoTimelineTrack.h"

#include "Eventually.h"
#include "RealtimeScope.h"
#include "TrackRecords.h"

#include <atomic>
#include <cstdlib>
#include <gtest/gtest.h>
#include <thread>

using namespace marvo;
using namespace marvo::testing;

namespace {

// Counts what leaves and notes when; neither allocates nor waits.
class NoMIDI final : public MIDIMessageSink {
    void messageSent(const std::string&, std::span<const std::uint8_t>, const SendOrigin&) override {}
};

class CountingTransport final : public OSCTransport {
public:
    std::atomic<std::uint64_t> sent{0};
    std::atomic<std::uint64_t> longestSilence{0}; // ns between two messages
    std::atomic<std::uint64_t> last{0};

    std::unique_ptr<OSCWire> makeWire(const std::string&, const std::string&, int) override {
        return std::make_unique<Wire>(*this);
    }
    std::unique_ptr<OSCListener> makeListener(int port, OSCMessageReceiver&) override {
        return std::make_unique<Listener>(port);
    }
    void onTrouble(std::function<void(const OutputTrouble&)>) override {}

private:
    class Wire final : public OSCWire {
    public:
        explicit Wire(CountingTransport& transport) : transport_(transport) {}
        void send(const OSCMessage&, const SendOrigin&) override {
            const std::uint64_t now = MonotonicClock().now().nanoseconds;
            const std::uint64_t before = transport_.last.exchange(now);
            if (before != 0 && now - before > transport_.longestSilence)
                transport_.longestSilence = now - before;
            ++transport_.sent;
        }
        OutputCounters counters() const override { return {transport_.sent, 0, 0}; }
        void setTarget(const std::string&, int) override {}
        void setLabel(const std::string&) override {}

    private:
        CountingTransport& transport_;
    };
    class Listener final : public OSCListener {
    public:
        explicit Listener(int port) : port_(port) {}
        int port() const override { return port_; }

    private:
        int port_;
    };
};

PropertyList manyCompositions(int compositions, int tracks) {
    std::vector<PropertyList> records;
    for (int c = 0; c < compositions; ++c) {
        std::vector<PropertyList> lanes;
        for (int t = 0; t < tracks; ++t) {
            const std::string address = t % 3 == 0   ? "/group#" + std::to_string(t + 1)
                                        : t % 3 == 1 ? "/plain/" + std::to_string(t)
                                                     : "/text/$TRACK <$F> <$> <\"x\">";
            lanes.push_back(
                oscTrack("T" + std::to_string(t), address,
                         {{0, 0}, {10, 100, "Bounce Ease-Out"}, {20, 10, "Elastic Ease-In"}, {30, 60}}));
        }
        records.push_back(compositionOf("C" + std::to_string(c), 30 + c, 1.0f, lanes, true));
    }
    return projectOf(records, "Out");
}

// An application around a transport, with the project loaded and playing.
struct Stage {
    explicit Stage(const Clock& clock, const PropertyList& project) : main(clock) {
        application.applicationWillFinishLaunching();
        application.applicationDidFinishLaunching(std::nullopt, nullptr);
        const std::string path =
            (std::filesystem::temp_directory_path() / ("marvo-live-" + std::to_string(::getpid()) + ".mrv"))
                .string();
        writePropertyList(path, project);
        application.openProject(path, nullptr);
        std::filesystem::remove(path);
        application.startRendering(clock.now());
        application.master.togglePlayAllButton.performClick();
        main.pump();
    }
    CountingTransport transport;
    PreferenceStore store;
    MainThread main;
    NoMIDI noMIDI;
    RecordingMIDITransport midiTransport{noMIDI};
    const MonotonicClock artNetClock;
    SilentArtNetTransport artNetTransport;
    ArtNetServer artNet{artNetTransport, artNetClock};
    LoopbackOnly network;
    AppDelegate application{AppEnvironment{main, transport, midiTransport, artNet, network, store, nullptr}};
};

// Ticks a stage each millisecond until it ends.
class RenderLoop {
public:
    explicit RenderLoop(AppDelegate& application) {
        RealtimeOptions options;
        options.bestEffort = true;
        options.lockMemory = false;
        options.holdCpuLatency = false;
        thread_.start(options, [&application](RealtimeThread& self) {
            const MonotonicClock clock;
            while (!self.stopRequested()) {
                const MonotonicTime now = clock.now();
                application.renderTick(now);
                RealtimeThread::sleepUntil(now + Duration::ofMilliseconds(1));
            }
        });
    }

private:
    RealtimeThread thread_;
};

int stressSeconds() {
    const char* text = std::getenv("MARVO_STRESS_SECONDS");
    return text ? std::atoi(text) : 2;
}

} // namespace

TEST(LiveShow, TheTickAllocatesNothingAndWaitsForNobody) {
    VirtualClock clock;
    Stage stage(clock, manyCompositions(4, 12));
    const auto tick = [&](int milliseconds) {
        for (int i = 0; i < milliseconds; ++i) {
            clock.advance(Duration::ofMilliseconds(1));
            stage.application.renderTick(clock.now());
        }
    };
    tick(3000);
    stage.main.pump();
    const std::uint64_t before = stage.transport.sent;
    std::size_t violations = 0;
    {
        RealtimeScope scope;
        tick(5000);
        violations = scope.violations();
    }
    EXPECT_EQ(violations, 0u);
    EXPECT_GT(stage.transport.sent, before + 1000);
}

TEST(LiveShow, NoTickAllocatesOrWaitsWhateverHappensBetweenThem) {
    VirtualClock clock;
    Stage stage(clock, fullProject());
    AppDelegate& application = stage.application;
    std::string first;
    std::size_t violations = 0;
    const auto tick = [&](int milliseconds) {
        for (int i = 0; i < milliseconds; ++i) {
            clock.advance(Duration::ofMilliseconds(1));
            {
                RealtimeScope scope;
                application.renderTick(clock.now());
                if (scope.violations() > 0 && first.empty()) first = scope.report();
                violations += scope.violations();
            }
            stage.main.pump();
        }
    };
    const auto command = [&](const std::string& address, std::int32_t value) {
        OSCMessage message = OSCMessage::createWithAddress(address);
        message.addInt(value);
        application.receivedOSCMessage(message);
        stage.main.pump();
    };
    const std::string path =
        (std::filesystem::temp_directory_path() / ("marvo-live-" + std::to_string(::getpid()) + "-again.mrv"))
            .string();
    writePropertyList(path, fullProject());
    tick(500);
    EXPECT_EQ(violations, 0u) << first;
    for (int round = 0; round < 6; ++round) {
        for (std::int32_t frame : {5, 100, 40, 0}) {
            command("/marvo/one/jumptoframe", frame);
            tick(90);
        }
        command("/marvo/two/nextcue", 1);
        tick(300);
        MarvoTimelineController& composition = application.compositions.at(0);
        auto& track = dynamic_cast<MarvoTimelineTrack&>(*composition.tracks.all()[0]);
        const std::uint64_t added = track.addNewKeyFrameAtTime(Frame(60 + round));
        tick(100);
        track.removeKeyFrameWithUID(added);
        track.setOscAddress("/moved/" + std::to_string(round));
        tick(100);
        composition.tracks.createTrackOfTpye("ArtNetColor");
        tick(100);
        composition.tracks.undoRemoveTracksWithPositions({0});
        tick(100);
        application.undo.undo();
        tick(2500); // round the loop
        EXPECT_EQ(violations, 0u) << "round " << round << ": " << first;
        ASSERT_TRUE(application.openProject(path, nullptr).done);
        stage.main.pump();
        application.master.togglePlayAllButton.performClick();
        stage.main.pump();
        tick(200);
        EXPECT_EQ(violations, 0u) << "after a replaced project: " << first;
    }
    std::filesystem::remove(path);
}

TEST(LiveShow, AStalledMainThreadMakesNoOutputLate) {
    const MonotonicClock clock;
    Stage stage(clock, manyCompositions(2, 4));
    const RenderLoop loop(stage.application);
    ASSERT_TRUE(eventually([&] { return stage.transport.sent > 100; }));
    stage.transport.longestSilence = 0;
    const std::uint64_t before = stage.transport.sent;
    // The main thread does nothing for a second, as behind a modal dialog; both compositions wrap meanwhile.
    std::this_thread::sleep_for(std::chrono::seconds(1));
    EXPECT_GT(stage.transport.sent - before, 200u);
    EXPECT_LT(stage.transport.longestSilence.load(), 120'000'000u)
        << "a frame of 33 ms and what a busy machine adds";
    stage.main.pump();
}

TEST(LiveShow, StandsCommandsEditsAndSettingsFromEverySideAtOnce) {
    const MonotonicClock clock;
    Stage stage(clock, manyCompositions(8, 6));
    AppDelegate& application = stage.application;
    std::atomic<bool> stop{false};
    {
        const RenderLoop loop(application);
        std::thread remote([&] {
            OSCMessage message;
            for (unsigned i = 0; !stop; ++i) {
                const std::string base = "/marvo/c" + std::to_string(i % 8);
                message.resetWithAddress(i % 5 == 0   ? base + "/play"
                                         : i % 5 == 1 ? base + "/jumptoframe"
                                         : i % 5 == 2 ? "/marvo/current/nextframe"
                                         : i % 5 == 3 ? base + "/compbpm"
                                                      : "/marvo/triggercompatindex");
                if (i % 5 == 3) {
                    message.addFloat(60.0f + static_cast<float>(i % 200));
                } else {
                    message.addInt(static_cast<std::int32_t>(i % 9));
                }
                application.receivedOSCMessage(message);
                std::this_thread::sleep_for(std::chrono::microseconds(200));
            }
        });
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(stressSeconds());
        for (int i = 0; std::chrono::steady_clock::now() < end; ++i) {
            MarvoTimelineController& composition =
                application.compositions.at(static_cast<std::size_t>(i % 8));
            auto& track =
                dynamic_cast<MarvoTimelineTrack&>(*composition.tracks.all()[static_cast<std::size_t>(i % 6)]);
            switch (i % 10) {
            case 0:
                track.addNewKeyFrameAtTime(Frame(i % 30));
                break;
            case 1:
                if (track.keyframeCount() > 6)
                    track.removeKeyFrameAtTime(track.keyframes().store().all()[2].time, true);
                break;
            case 2:
                track.setOscAddress("/moved/" + std::to_string(i % 7) + " <$>");
                break;
            case 3:
                track.setEnabled(i % 4 != 0);
                break;
            case 4:
                track.setTrackOSCType(i % 3);
                break;
            case 5:
                application.prefs.changeOptimalisedSending(i % 2 == 0);
                break;
            case 6:
                track.renameTrack("N" + std::to_string(i));
                break;
            case 7:
                application.compositions.selectCompositionAtIndex(i % 8);
                break;
            case 8:
                composition.settings.setNewCompTime(1.0f, 25 + i % 40, {}, {});
                break;
            case 9:
                if (i % 90 == 9)
                    application.oscManager().createNewOutputToAddress("127.0.0.1", 9000,
                                                                      "Out" + std::to_string(i));
                if (i % 90 == 89) application.oscManager().removeOSCOutput(1);
                break;
            }
            if (i % 20 == 0) application.undo.undo();
            if (i % 60 == 0) application.master.togglePlayAll();
            stage.main.pump();
        }
        stop = true;
        // The remote may be waiting for this thread: let it finish.
        while (!stage.main.pump() && remote.joinable()) break;
        std::thread joiner([&] { remote.join(); });
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        std::atomic<bool> joined{false};
        std::thread waiter([&] {
            joiner.join();
            joined = true;
        });
        while (!joined && std::chrono::steady_clock::now() < limit) {
            stage.main.pump();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        waiter.join();
        EXPECT_TRUE(joined) << "an input thread hangs";
    }
    EXPECT_GT(stage.transport.sent, 100u);
    stage.main.pump();
}
