#include "headless/StatusFeed.h"

#include "composition/CompositionTimeMath.h"
#include "platform/Numbers.h"
#include "tracks/MarvoTimelineTrack.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sys/ioctl.h>
#include <unistd.h>
#include <vector>

namespace marvo {
namespace {

constexpr Duration terminalInterval = Duration::ofMilliseconds(100);
constexpr Duration plainInterval = Duration::ofSeconds(1);

std::string describe(const RealtimeResult& granted) {
    switch (granted.grant) {
    case RealtimeGrant::fifo:
        return "real-time (FIFO " + std::to_string(granted.priority) + ")";
    case RealtimeGrant::realtimeKit:
        return "real-time (RealtimeKit " + std::to_string(granted.priority) + ")";
    case RealtimeGrant::bestEffort:
        return "best effort, no real-time rights";
    case RealtimeGrant::refused:
        break;
    }
    return "not running";
}

std::string valueText(const MarvoTimelineTrack& track) {
    const float value = track.shownValue();
    if (!std::isfinite(value)) return {};
    if (track.kind() == TrackKind::oscValue && track.trackOSCType() == 0) {
        return std::string(
            formatFixed(static_cast<double>(value / track.oscFloatMultiplerByDigits()), 4).view());
    }
    return std::string(formatFixed(static_cast<double>(std::roundf(value)), 0).view());
}

StatusComposition describe(const MarvoTimelineController& composition) {
    StatusComposition shown;
    const CompositionState& state = composition.state;
    shown.name = composition.compName();
    shown.running = state.isRunning;
    shown.enabled = state.compState;
    shown.playhead = playheadText(state.currentTime, state.compFPS);
    shown.progress = composition.transport.progress();
    shown.fps = state.compFPS;
    shown.tempo = shortestFloat(state.compBPM).view();
    // In the order of the rows, which is not the order in which they were loaded.
    std::vector<const MarvoTimelineTrack*> rows;
    for (const auto& track : composition.tracks.all()) {
        if (const auto* plain = dynamic_cast<const MarvoTimelineTrack*>(track.get())) rows.push_back(plain);
    }
    std::stable_sort(rows.begin(), rows.end(),
                     [](const auto* a, const auto* b) { return a->trackPosition() < b->trackPosition(); });
    for (const auto* row : rows) shown.tracks.push_back({row->name(), row->oscAddress(), valueText(*row)});
    return shown;
}

} // namespace

StatusFeed::StatusFeed(RunningShow& show, const RealtimeResult& granted)
    : show_(show), scheduling_(describe(granted)), terminal_(::isatty(STDOUT_FILENO) == 1) {
    if (terminal_) std::fputs("\x1b[?25l\x1b[2J", stdout);
    scheduleNext();
}

StatusFeed::~StatusFeed() {
    *alive_ = false;
    if (terminal_) std::fputs("\x1b[?25h\n", stdout);
    std::fflush(stdout);
}

void StatusFeed::scheduleNext() {
    show_.mainThread().asyncAfter(terminal_ ? terminalInterval : plainInterval, [this, alive = alive_] {
        if (!*alive) return;
        draw();
        scheduleNext();
    });
}

std::uint64_t StatusFeed::rateOf(const void* sender, std::uint64_t sent) {
    Rate& rate = rates_[sender];
    const MonotonicTime now = show_.clock().now();
    const Duration passed = now - rate.at;
    if (passed >= Duration::ofSeconds(1)) {
        const double seconds = static_cast<double>(passed.nanoseconds) / 1e9;
        rate = {sent, now, static_cast<std::uint64_t>(static_cast<double>(sent - rate.sent) / seconds + 0.5)};
    }
    return rate.perSecond;
}

std::vector<StatusOutput> StatusFeed::outputs() {
    AppDelegate& application = show_.application();
    const ShowTroubles& troubles = show_.troubles();
    std::vector<StatusOutput> shown;
    for (const auto& port : application.oscManager().outPortArray()) {
        const OutputCounters counters = port->counters();
        shown.push_back({port->portLabel(), port->addressString() + ":" + std::to_string(port->port()),
                         rateOf(port.get(), counters.sent), counters.dropped,
                         troubles.of(port->portLabel())});
    }
    const MarvoMIDIManager& midiManager = application.midiManager();
    const MIDIPortCounters midi = midiManager.messages();
    const std::string sound(show_.midiKind());
    shown.push_back({"MIDI", sound == "none" ? "no sound system" : sound, rateOf(&midiManager, midi.sent),
                     midi.dropped, troubles.of("MIDI")});
    const MarvoArtNetManager& artNet = application.artNetManager();
    const std::size_t nodes = artNet.listOfNodes().size();
    shown.push_back({"Art-Net", std::to_string(nodes) + (nodes == 1 ? " node answers" : " nodes answer"),
                     rateOf(&artNet, artNet.packetsSent()), 0, troubles.of("Art-Net"), "pkt/s"});
    // MIDI ports.
    for (const auto& [name, reason] : troubles.present()) {
        const auto isIt = [&name = name](const StatusOutput& output) { return output.label == name; };
        if (std::none_of(shown.begin(), shown.end(), isIt)) shown.push_back({name, "", 0, 0, reason, ""});
    }
    return shown;
}

StatusSnapshot StatusFeed::snapshot() {
    AppDelegate& application = show_.application();
    StatusSnapshot shown;
    shown.title = application.windowTitle();
    for (const auto& element : application.compositions.all())
        shown.compositions.push_back(describe(element->timelineController()));
    shown.outputs = outputs();
    std::string ports;
    for (const auto& port : application.oscManager().outPortArray())
        ports += (ports.empty() ? "" : ", ") + std::to_string(port->port());
    const DurationHistogram& lateness = show_.statistics().lateness();
    shown.lateness = "p50 " + microseconds(lateness.percentile(0.5)) + ", p99 " +
                     microseconds(lateness.percentile(0.99)) + ", max " + microseconds(lateness.maximum());
    shown.scheduling = scheduling_;
    shown.hint = "listen with: oscdump -L PORT   (ports " + ports + ")   Ctrl-C ends the show";
    return shown;
}

void StatusFeed::draw() {
    int columns = 100;
    int rows = 40;
    if (terminal_) {
        winsize size{};
        if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
            columns = size.ws_col;
            rows = size.ws_row;
        }
    }
    const std::string screen = drawStatusScreen(snapshot(), columns, rows, terminal_);
    std::fwrite(screen.data(), 1, screen.size(), stdout);
    std::fflush(stdout);
}

} // namespace marvo
