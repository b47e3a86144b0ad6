// How late the ticks wake and how long they take, on the real thread and the real clock.
#include "CyclicTester.h"
#include "Measure.h"
#include "Stage.h"
#include "endpoints/artnet/ArtNetServer.h"
#include "endpoints/artnet/SilentArtNetTransport.h"
#include "endpoints/midi/SilentMIDITransport.h"
#include "endpoints/osc/UdpOSCTransport.h"
#include "headless/RenderThread.h"
#include "platform/LoopbackOnly.h"
#include "platform/MainThread.h"
#include "platform/PreferenceStore.h"
#include "platform/UdpSocket.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <list>
#include <string>
#include <sys/socket.h>
#include <vector>

using namespace marvo;
using namespace marvo::bench;

namespace {

constexpr const char* linear = "Linear Interpolation";

// Somebody has to be there: a packet to a port of this machine that nobody holds comes back as an error.
class Listeners {
public:
    Listeners() {
        for (const int port : {8000, 8001, 8002}) {
            UdpSocket& socket = sockets_.emplace_back();
            socket.open(AF_INET);
            // A port that another program holds is listened to as well.
            socket.bind(*SocketAddress::fromNumeric("127.0.0.1", port));
            const int room = 1;
            ::setsockopt(socket.descriptor(), SOL_SOCKET, SO_RCVBUF, &room, sizeof room);
        }
    }

private:
    std::list<UdpSocket> sockets_;
};

// A project that plays as `marvo-headless run` plays it, but without MIDI and Art-Net: what those send
// belongs to other machines.
class Show {
public:
    explicit Show(const char* project) {
        application_.applicationWillFinishLaunching();
        const ProjectResult loaded = application_.applicationDidFinishLaunching(project, nullptr);
        if (!loaded.done) {
            std::fprintf(stderr, "%s\n", loaded.error.c_str());
            std::exit(2);
        }
    }

    // Plays for that long; the main thread draws and posts meanwhile, as it does in a show.
    RealtimeResult play(RenderThread& render, bool precise, int seconds) {
        const RealtimeResult granted = render.start({.bestEffort = false, .precise = precise});
        if (!granted.runs()) return granted;
        application_.master.togglePlayAllButton.setState(true);
        application_.master.togglePlayAllButton.sendAction();
        main_.asyncAfter(Duration::ofSeconds(seconds), [this] { main_.quit(); });
        main_.run();
        render.stop();
        return granted;
    }
    AppDelegate& application() { return application_; }
    std::uint64_t sent() { return application_.oscManager().messagesSent(); }

private:
    MonotonicClock clock_;
    MainThread main_{clock_};
    UdpOSCTransport transport_{"127.0.0.1"};
    SilentMIDITransport midi_;
    SilentArtNetTransport artNetTransport_;
    ArtNetServer artNet_{artNetTransport_, clock_, {.ownThreads = false}};
    LoopbackOnly network_;
    PreferenceStore preferences_;
    AppDelegate application_{
        AppEnvironment{main_, transport_, midi_, artNet_, network_, preferences_, nullptr}};
};

double inMicroseconds(Duration duration) {
    return static_cast<double>(duration.nanoseconds) / 1000.0;
}

Lateness latenessOf(const RunStatistics& statistics) {
    const DurationHistogram& all = statistics.lateness();
    return {inMicroseconds(all.percentile(0.5)),
            inMicroseconds(all.percentile(0.99)),
            inMicroseconds(all.percentile(0.999)),
            inMicroseconds(all.maximum()),
            static_cast<double>(all.count()),
            static_cast<double>(all.countAbove(Duration::ofMilliseconds(1)))};
}

// The slices of one contender.
struct Record {
    const char* name;
    std::vector<Lateness> slices;

    // The median; of an even number of slices the mean of the middle two.
    double middle(double Lateness::*figure) const {
        std::vector<double> values;
        for (const Lateness& slice : slices) values.push_back(slice.*figure);
        std::ranges::sort(values);
        return (values[(values.size() - 1) / 2] + values[values.size() / 2]) / 2;
    }
    double worst() const {
        double most = 0.0;
        for (const Lateness& slice : slices) most = std::max(most, slice.maximum);
        return most;
    }
    double sum(double Lateness::*figure) const {
        double all = 0.0;
        for (const Lateness& slice : slices) all += slice.*figure;
        return all;
    }
    // Over all slices: in a slice they are so few that a median would move in great steps.
    double lateShare() const { return sum(&Lateness::late) / sum(&Lateness::wakeUps); }
    void print() const {
        std::printf(
            "  %-24s p50 %7.1f us   p99 %7.1f us   p99.9 %8.1f us   max %9.1f us   over 1 ms %.3f%%\n", name,
            middle(&Lateness::p50), middle(&Lateness::p99), middle(&Lateness::p999), worst(),
            lateShare() * 100.0);
    }
};

// The slices of all attempts: one more attempt adds to what is known instead of throwing the dice again.
struct Turns {
    Record engine{"the tick", {}};
    Record precise{"the tick, precise", {}};
    Record tester{"cyclictest", {}};
    std::vector<double> lengths;
    std::uint64_t sent = 0;
};

// How many times as many wake-ups of ours were late.
double lateRatio(const Turns& turns) {
    const double ours = turns.engine.sum(&Lateness::late);
    const double theirs = turns.tester.sum(&Lateness::late) * turns.engine.sum(&Lateness::wakeUps) /
                          turns.tester.sum(&Lateness::wakeUps);
    return theirs > 0.0 ? ours / theirs : ours > 0.0 ? ours : 1.0;
}

void waking(Program& program, Turns& turns) {
    const int seconds = program.sized(5, 1);
    const int slices = program.sized(12, 6);
    const Listeners listeners;
    for (int slice = 0; slice < slices; ++slice) {
        Show show(MARVO_DEMO);
        RenderThread render(show.application());
        const RealtimeResult granted = show.play(render, false, seconds);
        program.must("real-time scheduling is granted", granted.runs() && granted.priority > 0);
        const auto tested = runCyclicTester(seconds, granted.priority);
        program.must("cyclictest is there and may run", tested.has_value());
        if (!granted.runs() || !tested) return;
        turns.engine.slices.push_back(latenessOf(render.statistics()));
        turns.tester.slices.push_back(*tested);
        turns.lengths.push_back(inMicroseconds(render.statistics().length().percentile(0.999)));
        turns.sent += show.sent();
        if (program.smoke()) continue;
        Show again(MARVO_DEMO);
        RenderThread other(again.application());
        again.play(other, true, seconds);
        turns.precise.slices.push_back(latenessOf(other.statistics()));
    }
    const Record& engine = turns.engine;
    const Record& tester = turns.tester;
    engine.print();
    tester.print();
    if (!turns.precise.slices.empty()) turns.precise.print();
    program.must("the demo plays", turns.sent > 100);
    program.atMost("lateness p50 / cyclictest", engine.middle(&Lateness::p50) / tester.middle(&Lateness::p50),
                   1.2);
    program.atMostInFull("lateness p99 / cyclictest",
                         engine.middle(&Lateness::p99) / tester.middle(&Lateness::p99), 1.3);
    program.atMostInFull("share over 1 ms / cyclictest", lateRatio(turns), 1.3);
    program.atMostInFull("work of a tick of the demo, p99.9, us", median(turns.lengths), 200.0);
}

// spread: each track has its keyframes at other frames; otherwise all tracks turn in the same seven frames of
// a second, which is the most that the tick can be asked to do at once.
PropertyList fullProject(bool spread) {
    constexpr int compositions = 64;
    constexpr int tracks = 64;
    std::vector<PropertyList> records;
    for (int c = 0; c < compositions; ++c) {
        std::vector<PropertyList> inside;
        for (int t = 0; t < tracks; ++t) {
            const std::string number = std::to_string(c * tracks + t + 1);
            // Up and down each second: every frame has another value.
            std::vector<StagePoint> points;
            const int shift = spread ? (c * 11 + t * 7) % 60 : t % 7;
            for (int k = 0; k <= 30; ++k)
                points.push_back({k == 0 ? 0 : k * 60 - 59 + shift, k % 2 == 0 ? 0.0f : 100.0f, linear});
            if (points.back().time < 1800) points.push_back({1800, 100.0f, linear});
            inside.push_back(stageTrack("T" + number, "/light/" + number + "/level", points));
        }
        records.push_back(stageComposition("C" + std::to_string(c + 1), 60, 30.0f, inside, true));
    }
    return stageProject(records);
}

void working(Program& program, bool spread) {
    const int seconds = program.sized(5, 2);
    const int slices = program.sized(6, 2);
    Stage stage(fullProject(spread));
    stage.playAll();
    MonotonicClock clock;
    std::vector<double> between;
    std::vector<double> frame;
    std::vector<double> seldom;
    for (int slice = 0; slice < slices; ++slice) {
        const std::uint64_t before = stage.transport.sent;
        RenderThread render(stage.application);
        const RealtimeResult granted = render.start({});
        program.must("real-time scheduling is granted", granted.runs());
        if (!granted.runs()) return;
        RealtimeThread::sleepUntil(clock.now() + Duration::ofSeconds(seconds));
        render.stop();
        const DurationHistogram& lengths = render.statistics().length();
        between.push_back(inMicroseconds(lengths.percentile(0.5)));
        // Six ticks in a hundred begin a frame.
        frame.push_back(inMicroseconds(lengths.percentile(0.97)));
        seldom.push_back(inMicroseconds(lengths.percentile(0.999)));
        const double perFrame =
            static_cast<double>(stage.transport.sent - before) / (60.0 * static_cast<double>(seconds));
        // Frames that a late tick left out are missing.
        program.atLeast("tracks that move in each frame", perFrame, 3800.0);
        program.atMost("tracks that move in each frame", perFrame, 4200.0);
    }
    std::printf("  %-44s %10.1f us\n", "a tick between two frames", median(between));
    std::printf("  %-44s %10.1f us\n", "a tick that begins a frame", median(frame));
    if (spread) {
        program.atMostInFull("work of a tick, p99.9, us", median(seldom), 600.0);
    } else {
        std::printf("  %-44s %10.1f us\n", "a tick in which 585 tracks turn, p99.9", median(seldom));
    }
}

} // namespace

int main(int argc, char** argv) {
    Program program(argc, argv);
    Turns turns;
    program.part("wake-up lateness of the demo's ticks, slice by slice beside cyclictest",
                 [&] { waking(program, turns); });
    program.part("64 compositions of 64 moving tracks at 60 frames a second",
                 [&] { working(program, true); });
    if (!program.smoke()) {
        program.part("the same, all tracks turning within seven frames of a second",
                     [&] { working(program, false); });
    }
    return program.finish();
}
