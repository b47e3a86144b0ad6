#include "endpoints/midi/JackMIDISession.h"

#include "endpoints/midi/MIDIDeviceName.h"
#include "platform/Clock.h"

#include <algorithm>
#include <jack/midiport.h>

namespace marvo {

namespace {

constexpr std::uint64_t longestHold = 50'000'000; // ns; a message of the future is a clock that jumped
constexpr std::uint64_t longestConnectionWait = 200'000'000; // ns
constexpr std::chrono::milliseconds longestLeaving{200};

std::uint64_t monotonicNow() {
    return MonotonicClock().now().nanoseconds;
}

void say(const char*) {}

std::string withoutColons(std::string name) {
    std::replace(name.begin(), name.end(), ':', ' ');
    return name;
}

} // namespace

// The frames of one period, and which moments belong to them.
struct JackMIDISession::Cycle {
    jack_nframes_t frames = 0;
    std::uint64_t now = 0;      // ns of CLOCK_MONOTONIC, as all others
    std::uint64_t previous = 0; // when the period before began
    double framesPerNanosecond = 0;

    // The frame, in this period, at which what happened then is due one period later. At or above `frames`
    // for what belongs to a later period.
    std::int64_t frameOf(std::uint64_t moment) const {
        const auto since = static_cast<double>(static_cast<std::int64_t>(moment - previous));
        return static_cast<std::int64_t>(since * framesPerNanosecond);
    }
    std::uint64_t momentOf(jack_nframes_t frame) const {
        return previous + static_cast<std::uint64_t>(static_cast<double>(frame) / framesPerNanosecond);
    }
};

class JackMIDISession::PortEmitter final : public MIDISendQueue::Emitter {
public:
    PortEmitter(Out& out, const Cycle& cycle)
        : out_(out), cycle_(cycle), buffer_(jack_port_get_buffer(out.jackPort, cycle.frames)) {
        jack_midi_clear_buffer(buffer_);
        largest_ = jack_midi_max_event_size(buffer_);
    }

    std::size_t largest() const override { return largest_; }
    bool isHeard() override { return jack_port_connected(out_.jackPort) > 0; }

    bool isStale(std::uint64_t sentAt) override { return cycle_.now > sentAt + MIDISendQueue::longestWait; }

    std::uint8_t* reserve(std::uint64_t sentAt, std::size_t size) override {
        std::int64_t frame = sentAt == 0 ? 0 : cycle_.frameOf(sentAt);
        const auto end = static_cast<std::int64_t>(cycle_.frames);
        if (frame >= end) {
            if (cycle_.now < sentAt + longestHold) return nullptr;
            frame = end - 1;
        }
        last_ = std::max(frame, last_);
        return jack_midi_event_reserve(buffer_, static_cast<jack_nframes_t>(last_), size);
    }
    bool commit() override { return true; }

private:
    Out& out_;
    const Cycle& cycle_;
    void* const buffer_;
    std::size_t largest_ = 0;
    std::int64_t last_ = 0;
};

std::unique_ptr<MIDISession> JackMIDIBackend::open(const MIDISessionHost& host, std::string& reason) {
    jack_set_error_function(say);
    jack_set_info_function(say);
    auto ticket = admission_.admit();
    if (!ticket) {
        reason = "the JACK server has ended, and not everything has left it";
        return nullptr;
    }
    jack_status_t status{};
    jack_client_t* const client = jack_client_open(clientName_.c_str(), JackNoStartServer, &status);
    if (!client) {
        reason = (status & JackServerFailed) != 0 ? "no JACK server answers" : "the JACK server refuses";
        return nullptr;
    }
    auto session = std::make_unique<JackMIDISession>(client, std::move(*ticket), host.kick);
    reason = session->activate();
    if (!reason.empty()) return nullptr;
    return session;
}

JackMIDISession::JackMIDISession(jack_client_t* client, JackAdmission::Ticket ticket,
                                 std::function<void()> kick)
    : ticket_(std::move(ticket)), client_(client), kick_(std::move(kick)) {}

JackMIDISession::~JackMIDISession() {
    if (wasShutDown()) threads_.waitUntilEnded(longestLeaving);
    jack_deactivate(client_);
    jack_client_close(client_);
}

std::string JackMIDISession::activate() {
    static constexpr auto changed = [](void* self) {
        auto& session = *static_cast<JackMIDISession*>(self);
        session.setupChanged_.store(true);
        session.kick_();
    };
    jack_set_thread_init_callback(
        client_, [](void* self) { static_cast<JackMIDISession*>(self)->threads_.addThisThread(); }, this);
    jack_set_process_callback(client_, &JackMIDISession::onProcess, this);
    jack_on_info_shutdown(client_, &JackMIDISession::onShutdown, this);
    jack_set_port_registration_callback(
        client_, [](jack_port_id_t, int, void* self) { changed(self); }, this);
    jack_set_port_rename_callback(
        client_, [](jack_port_id_t, const char*, const char*, void* self) { changed(self); }, this);
    return jack_activate(client_) == 0 ? "" : "the JACK server does not let us play";
}

int JackMIDISession::onProcess(jack_nframes_t frames, void* self) {
    static_cast<JackMIDISession*>(self)->process(frames);
    return 0;
}

void JackMIDISession::onShutdown(jack_status_t, const char* reason, void* self) {
    auto& session = *static_cast<JackMIDISession*>(self);
    session.threads_.addThisThread();
    {
        const std::lock_guard hold(session.shutdownLock_);
        session.shutdownReason_ = "the JACK server has ended";
        if (reason && *reason) session.shutdownReason_ += std::string(" (") + reason + ")";
    }
    session.kick_();
}

bool JackMIDISession::wasShutDown() {
    const std::lock_guard hold(shutdownLock_);
    return !shutdownReason_.empty();
}

std::string JackMIDISession::ended() {
    {
        const std::lock_guard hold(shutdownLock_);
        if (!shutdownReason_.empty()) {
            ticket_.serverDied();
            return shutdownReason_;
        }
    }
    const auto now = std::chrono::steady_clock::now();
    const std::uint64_t cycles = cycles_.load(std::memory_order_relaxed);
    if (cycles != seenCycles_) lastCycle_ = now;
    seenCycles_ = cycles;
    // With the largest periods a cycle takes a fifth of a second.
    if (now - lastCycle_ < longestSilence) return {};
    ticket_.serverDied();
    return "the JACK server stands still";
}

void JackMIDISession::process(jack_nframes_t frames) {
    cycles_.fetch_add(1, std::memory_order_relaxed);
    if (crashLeft_) crashIsOver_.store(true);
    const auto ports = ports_.read();

    Cycle cycle;
    cycle.frames = frames;
    cycle.now = monotonicNow();
    // The server's clock may have another beginning than ours.
    const std::uint64_t serverBegan = cycle.now - jack_get_time() * 1000;
    jack_nframes_t currentFrame = 0;
    jack_time_t current = 0;
    jack_time_t next = 0;
    float period = 0; // us
    if (jack_get_cycle_times(client_, &currentFrame, &current, &next, &period) != 0 || period <= 0) {
        period = 1e6F * static_cast<float>(frames) / static_cast<float>(jack_get_sample_rate(client_));
        current = jack_get_time();
    }
    const double length = static_cast<double>(period) * 1000.0;
    cycle.framesPerNanosecond = static_cast<double>(frames) / length;
    cycle.previous = serverBegan + current * 1000 - static_cast<std::uint64_t>(length);

    for (const In& in : ports->ins) collect(in, cycle);
    lane_.wake();
    bool left = true;
    for (const auto& out : ports->outs) {
        if (crash_.load()) {
            PortEmitter emitter(*out, cycle);
            left &= out->port->queue.drainLast(emitter);
        } else {
            feed(*out, cycle);
        }
    }
    // Whoever hears us runs after us in this cycle: it is over when the next one begins.
    crashLeft_ = crash_.load() && left;
}

void JackMIDISession::feed(Out& out, const Cycle& cycle) {
    PortEmitter emitter(out, cycle);
    if (out.waitsForConnection && !out.wasConnected.load(std::memory_order_relaxed)) {
        // A connection that was made holds from the next cycle on; the first message must not leave before
        // it.
        const bool waits = !emitter.isHeard() && cycle.now < out.openedAt + longestConnectionWait;
        if (waits) return;
        out.wasConnected.store(true, std::memory_order_relaxed);
    }
    out.port->queue.drain(emitter);
}

void JackMIDISession::collect(const In& in, const Cycle& cycle) {
    void* const buffer = jack_port_get_buffer(in.jackPort, cycle.frames);
    const std::uint32_t count = jack_midi_get_event_count(buffer);
    for (std::uint32_t i = 0; i < count; ++i) {
        jack_midi_event_t event{};
        if (jack_midi_event_get(&event, buffer, i) != 0) continue;
        lane_.write(in.port->number, cycle.momentOf(event.time), {event.buffer, event.size});
    }
}

std::vector<MIDIFoundEndpoint> JackMIDISession::found(unsigned long flags) const {
    std::vector<MIDIFoundEndpoint> endpoints;
    const char** const names = jack_get_ports(client_, nullptr, JACK_DEFAULT_MIDI_TYPE, flags);
    if (!names) return endpoints;
    const auto size = static_cast<std::size_t>(jack_port_name_size());
    std::string first(size, '\0');
    std::string second(size, '\0');
    for (const char** each = names; *each; ++each) {
        jack_port_t* const port = jack_port_by_name(client_, *each);
        if (!port || jack_port_is_mine(client_, port)) continue;
        char* space[2] = {first.data(), second.data()};
        std::vector<std::string> aliases;
        const int count = jack_port_get_aliases(port, space);
        for (int i = 0; i < count && i < 2; ++i) aliases.emplace_back(space[i]);
        endpoints.push_back({*each, *each, jackDeviceName(*each, aliases), false});
    }
    jack_free(names);
    return endpoints;
}

MIDIFoundEndpoints JackMIDISession::look() {
    return {found(JackPortIsOutput), found(JackPortIsInput)};
}

jack_port_t* JackMIDISession::registerPort(const std::string& wanted, unsigned long flags) {
    std::string name = withoutColons(wanted);
    // The whole name has the client's before it.
    const std::size_t longest = static_cast<std::size_t>(jack_port_name_size()) - 2 -
                                std::string_view(jack_get_client_name(client_)).size();
    if (name.size() > longest) name.resize(longest);
    return jack_port_register(client_, name.c_str(), JACK_DEFAULT_MIDI_TYPE, flags, 0);
}

void JackMIDISession::changePorts(const std::function<void(Ports&)>& change) {
    change(held_);
    ports_.publish(std::make_unique<Ports>(held_));
}

std::string JackMIDISession::open(const std::shared_ptr<MIDIOutPort>& port, const std::string& address) {
    const bool leadsToOne = !address.empty();
    auto out = std::make_shared<Out>();
    out->port = port;
    out->waitsForConnection = leadsToOne;
    out->jackPort = registerPort(leadsToOne ? "to " + port->name : port->name, JackPortIsOutput);
    if (!out->jackPort) return "the JACK server gives no port of that name";
    if (leadsToOne && jack_connect(client_, jack_port_name(out->jackPort), address.c_str()) != 0) {
        jack_port_unregister(client_, out->jackPort);
        return "the JACK server does not connect it";
    }
    out->openedAt = monotonicNow();
    changePorts([&](Ports& ports) { ports.outs.push_back(out); });
    return {};
}

std::string JackMIDISession::open(const std::shared_ptr<MIDIInPort>& port, const std::string& address) {
    const bool comesFromOne = !address.empty();
    const In in{port, registerPort(comesFromOne ? "from " + port->name : port->name, JackPortIsInput)};
    if (!in.jackPort) return "the JACK server gives no port of that name";
    if (comesFromOne && jack_connect(client_, address.c_str(), jack_port_name(in.jackPort)) != 0) {
        jack_port_unregister(client_, in.jackPort);
        return "the JACK server does not connect it";
    }
    lane_.add(port);
    changePorts([&](Ports& ports) { ports.ins.push_back(in); });
    return {};
}

void JackMIDISession::close(const MIDIOutPort& port) {
    const auto found = std::find_if(held_.outs.begin(), held_.outs.end(),
                                    [&](const auto& out) { return out->port.get() == &port; });
    if (found == held_.outs.end()) return;
    const auto out = *found;
    changePorts([&](Ports& ports) { ports.outs.erase(found); });
    jack_port_unregister(client_, out->jackPort);
}

void JackMIDISession::close(const MIDIInPort& port) {
    const auto found = std::find_if(held_.ins.begin(), held_.ins.end(),
                                    [&](const In& in) { return in.port.get() == &port; });
    if (found == held_.ins.end()) return;
    const In in = *found;
    changePorts([&](Ports& ports) { ports.ins.erase(found); });
    lane_.remove(port);
    jack_port_unregister(client_, in.jackPort);
}

} // namespace marvo
