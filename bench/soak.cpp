// A show that runs for a day of its own time, and for minutes of ours: nothing is lost, nothing grows,
// nothing drifts.
#include "Measure.h"
#include "Stage.h"

#include "platform/RealtimeThread.h"

#include <cmath>
#include <cstdio>
#include <fstream>
#include <map>
#include <thread>
#include <unistd.h>

using namespace marvo;
using namespace marvo::bench;

namespace {

struct Looping {
    const char* name;
    std::int64_t fps;
    double seconds; // at a tempo of 120
    double tempo;
};
constexpr Looping shows[] = {{"A", 24, 7, 120}, {"B", 25, 10, 97}, {"C", 30, 13, 120}, {"D", 60, 61, 143}};

PropertyList project() {
    std::vector<PropertyList> records;
    for (const Looping& show : shows) {
        const auto frames = static_cast<std::int64_t>(show.seconds * static_cast<double>(show.fps));
        PropertyList record = stageComposition(
            show.name, show.fps, static_cast<float>(show.seconds),
            {stageTrack("T", "/t",
                        {{0, 0.0f, "Linear Interpolation"}, {frames, 100.0f, "Linear Interpolation"}})},
            true);
        record.set("compSpeed", std::to_string(static_cast<int>(show.tempo)));
        records.push_back(record);
    }
    return stageProject(records);
}

std::size_t residentBytes() {
    std::ifstream file("/proc/self/statm");
    std::size_t total = 0;
    std::size_t resident = 0;
    file >> total >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

// Follows the frames of each composition as they leave.
class FrameOrder {
public:
    void note(const SendOrigin& origin) {
        std::int64_t& last = last_.try_emplace(origin.composition, unknown).first->second;
        const bool isNext = origin.frame == last + 1;
        const bool isWrap = origin.frame <= 1 && last > 1;
        if (!isNext && !isWrap && last != unknown) ++wrong_;
        last = origin.frame;
        ++seen_;
    }
    std::uint64_t seen() const { return seen_; }
    std::uint64_t wrong() const { return wrong_; }

private:
    static constexpr std::int64_t unknown = -1;
    std::map<const std::string*, std::int64_t> last_;
    std::uint64_t seen_ = 0;
    std::uint64_t wrong_ = 0;
};

// Frames that the playhead of a composition is off, after so many seconds of the clock.
double framesOff(AppDelegate& application, std::size_t index, double seconds) {
    const Looping& show = shows[index];
    const double played = seconds * show.tempo / 120.0;
    double off = application.compositions.at(index).state.processtime.get() - std::fmod(played, show.seconds);
    // The place just before the end and the one just behind the beginning are neighbours.
    off = std::fabs(std::remainder(off, show.seconds));
    return off * static_cast<double>(show.fps);
}

double worstFramesOff(AppDelegate& application, double seconds) {
    double worst = 0;
    for (std::size_t i = 0; i < std::size(shows); ++i)
        worst = std::max(worst, framesOff(application, i, seconds));
    return worst;
}

void virtualTime(Program& program, double hours) {
    Stage stage(project());
    FrameOrder order;
    stage.transport.onSend = [&](const SendOrigin& origin) { order.note(origin); };
    stage.playAll();
    const auto ticks = static_cast<std::int64_t>(hours * 3'600'000.0);
    std::size_t early = 0;
    double worst = 0;
    for (std::int64_t tick = 1; tick <= ticks; ++tick) {
        stage.tick(Duration::ofMilliseconds(1));
        if (tick == ticks / 10) early = residentBytes();
        if (tick % 9973 == 0)
            worst = std::max(worst, worstFramesOff(stage.application, static_cast<double>(tick) / 1000.0));
        if (tick % 1000 == 0) stage.main.pump();
    }
    double frames = 0;
    for (const Looping& show : shows)
        // A loop has its last frame and its first one.
        frames += hours * 3600.0 * show.tempo / 120.0 * (static_cast<double>(show.fps) + 1.0 / show.seconds);
    std::printf("  %.2f hours, %llu frames\n", hours, static_cast<unsigned long long>(order.seen()));
    program.must("every frame follows on the one before", order.wrong() == 0);
    program.atMost("frames lost or too many, a thousandth",
                   std::fabs(static_cast<double>(order.seen()) / frames - 1.0) * 1000.0, 1.0);
    program.atMost("frames that a playhead was off", worst, 1.0);
    program.atMost("growth after the first tenth, MiB",
                   (static_cast<double>(residentBytes()) - static_cast<double>(early)) / 1048576.0, 1.0);
}

void realTime(Program& program, double seconds) {
    Stage stage(project());
    FrameOrder order;
    stage.transport.onSend = [&](const SendOrigin& origin) { order.note(origin); };
    stage.playAll();
    const MonotonicClock clock;
    RealtimeThread thread;
    RealtimeOptions options;
    options.bestEffort = true;
    double worst = 0;
    double played = 0;
    std::uint64_t late = 0; // ticks that came so late that a frame had to be left out
    std::size_t early = 0;
    const MonotonicTime begun = clock.now();
    thread.start(options, [&](RealtimeThread& self) {
        MonotonicTime last = clock.now();
        MonotonicTime checked = last;
        while (!self.stopRequested()) {
            const MonotonicTime now = clock.now();
            stage.tick(now - last);
            played += static_cast<double>((now - last).nanoseconds) * 1e-9;
            if ((now - last).nanoseconds > 13'000'000) ++late;
            last = now;
            if ((now - checked).nanoseconds > 500'000'000) {
                worst = std::max(worst, worstFramesOff(stage.application, played));
                checked = now;
            }
            RealtimeThread::sleepUntil(now + Duration::ofMilliseconds(1));
        }
    });
    for (double passed = 0; passed < seconds; passed += 1) {
        std::this_thread::sleep_for(std::chrono::seconds(1));
        stage.main.pump();
        if (passed < seconds / 10) early = residentBytes();
    }
    thread.requestStop();
    thread.join();
    const double wall = static_cast<double>((clock.now() - begun).nanoseconds) * 1e-9;
    std::printf("  %.0f s of the clock, %llu frames\n", wall, static_cast<unsigned long long>(order.seen()));
    std::printf("  %llu ticks later than a frame is long\n", static_cast<unsigned long long>(late));
    program.atMost("frames that do not follow on the one before, but for late ticks",
                   static_cast<double>(order.wrong()) - static_cast<double>(late * std::size(shows)), 0);
    program.atMost("frames that a playhead was off", worst, 1.0);
    program.atMost("seconds that the ticks were off", std::fabs(wall - played), 0.05);
    program.atMost("growth after the first tenth, MiB",
                   (static_cast<double>(residentBytes()) - static_cast<double>(early)) / 1048576.0, 1.0);
}

} // namespace

int main(int argc, char** argv) {
    Program program(argc, argv);
    program.part("virtual time", [&] { virtualTime(program, program.sized(24.0, 0.5)); });
    program.part("real time", [&] { realTime(program, program.sized(1200.0, 5.0)); });
    return program.finish();
}
