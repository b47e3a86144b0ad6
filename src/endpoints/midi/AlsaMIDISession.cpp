#include "endpoints/midi/AlsaMIDISession.h"

#include "platform/Clock.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace marvo {

namespace {

constexpr int announcePort = 253;
constexpr std::size_t poolCells = 2000; // the most that the kernel gives; long messages take many
constexpr std::size_t bufferBytes = 64 * 1024;
constexpr std::size_t sysexPiece = 256;    // receivers with small pools take a long message piece by piece
constexpr std::uint64_t mostRoom = 128;    // cells; a receiver that sets nothing has 200
constexpr std::uint64_t cellTime = 10'000; // ns
constexpr std::size_t cellBytes = 24;
constexpr std::chrono::milliseconds longestSleep{100};
constexpr std::chrono::milliseconds listenerSleep{20};
constexpr std::chrono::milliseconds retrySleep{1};

std::uint64_t monotonicNow() {
    return MonotonicClock().now().nanoseconds;
}

void sayNothing(const char*, int, const char*, int, const char*, ...) {}

RealtimeOptions threadOptions(const char* name) {
    RealtimeOptions options;
    options.name = name;
    options.priority = 65;
    options.bestEffort = true;
    options.lockMemory = false;
    options.holdCpuLatency = false;
    options.stackBytes = 512 * 1024;
    options.prefaultBytes = 64 * 1024;
    return options;
}

} // namespace

class AlsaMIDISession::PortEmitter final : public MIDISendQueue::Emitter {
public:
    PortEmitter(AlsaMIDISession& session, const Out& out)
        : session_(session), port_(out.number), pace_(*out.pace), now_(monotonicNow()) {
        const std::uint64_t cells = (now_ - pace_.filledAt) / cellTime;
        pace_.room = std::min(mostRoom, pace_.room + cells);
        pace_.filledAt = pace_.room == mostRoom ? now_ : pace_.filledAt + cells * cellTime;
    }

    // Whether it had to stop.
    bool isBlocked() const { return blocked_; }

    std::size_t largest() const override { return session_.space_.size(); }

    bool isHeard() override {
        snd_seq_port_info_t* info = nullptr;
        snd_seq_port_info_alloca(&info);
        return snd_seq_get_port_info(session_.client_, port_, info) == 0 &&
               snd_seq_port_info_get_read_use(info) > 0;
    }

    bool isStale(std::uint64_t sentAt) override {
        return pace_.sysexDone == 0 && now_ > sentAt + MIDISendQueue::longestWait;
    }

    std::uint8_t* reserve(std::uint64_t, std::size_t size) override {
        size_ = size;
        return blocked_ ? nullptr : session_.space_.data();
    }

    bool commit() override {
        std::uint8_t* const bytes = session_.space_.data();
        if (bytes[0] == 0xf0) return commitSysex(bytes);
        snd_seq_event_t event;
        snd_seq_ev_clear(&event);
        snd_midi_event_reset_encode(session_.encoder_.get());
        snd_midi_event_encode(session_.encoder_.get(), bytes, static_cast<long>(size_), &event);
        return put(event);
    }

private:
    // A message that was begun goes on where it stopped.
    bool commitSysex(std::uint8_t* bytes) {
        while (pace_.sysexDone < size_) {
            const std::size_t piece = std::min(sysexPiece, size_ - pace_.sysexDone);
            snd_seq_event_t event;
            snd_seq_ev_clear(&event);
            snd_seq_ev_set_sysex(&event, static_cast<unsigned>(piece), bytes + pace_.sysexDone);
            if (!put(event)) return false;
            pace_.sysexDone += piece;
        }
        pace_.sysexDone = 0;
        return true;
    }

    bool put(snd_seq_event_t& event) {
        const std::uint64_t cells =
            1 + (event.type == SND_SEQ_EVENT_SYSEX ? event.data.ext.len / cellBytes : 0);
        if (cells > pace_.room) {
            blocked_ = true;
            return false;
        }
        snd_seq_ev_set_source(&event, static_cast<unsigned char>(port_));
        snd_seq_ev_set_subs(&event);
        snd_seq_ev_set_direct(&event);
        const int result = snd_seq_event_output_direct(session_.client_, &event);
        if (result >= 0) {
            pace_.room -= cells;
            return true;
        }
        // Nobody is told what the others took, so only a lone receiver is asked again.
        const bool isFull = result == -EAGAIN || result == -ENOMEM || result == -ENOSPC;
        if (!isFull || listeners() > 1) return true;
        blocked_ = true;
        return false;
    }

    int listeners() {
        snd_seq_port_info_t* info = nullptr;
        snd_seq_port_info_alloca(&info);
        if (snd_seq_get_port_info(session_.client_, port_, info) != 0) return 0;
        return snd_seq_port_info_get_read_use(info);
    }

    AlsaMIDISession& session_;
    const int port_;
    Pace& pace_;
    const std::uint64_t now_;
    std::size_t size_ = 0;
    bool blocked_ = false;
};

std::unique_ptr<MIDISession> AlsaMIDIBackend::open(const MIDISessionHost& host, std::string& reason) {
    snd_lib_error_set_handler(sayNothing);
    snd_seq_t* client = nullptr;
    const int result = snd_seq_open(&client, "default", SND_SEQ_OPEN_DUPLEX, SND_SEQ_NONBLOCK);
    if (result < 0) {
        reason = std::string("no ALSA sequencer (") + snd_strerror(result) + ")";
        return nullptr;
    }
    auto session = std::make_unique<AlsaMIDISession>(client, host);
    reason = session->start(clientName_);
    if (!reason.empty()) return nullptr;
    return session;
}

AlsaMIDISession::AlsaMIDISession(snd_seq_t* client, const MIDISessionHost& host)
    : client_(client), host_(host), stopDescriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

AlsaMIDISession::~AlsaMIDISession() {
    stopping_.store(true);
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t result = ::write(stopDescriptor_, &one, sizeof one);
    host_.outputs.wake();
    output_.join();
    input_.join();
    snd_seq_close(client_);
    ::close(stopDescriptor_);
}

std::string AlsaMIDISession::start(const std::string& clientName) {
    clientNumber_ = snd_seq_client_id(client_);
    snd_seq_set_client_name(client_, clientName.c_str());
    snd_seq_set_client_pool_output(client_, poolCells);
    snd_seq_set_client_pool_input(client_, poolCells);
    snd_seq_set_output_buffer_size(client_, bufferBytes);
    snd_seq_set_input_buffer_size(client_, bufferBytes);

    snd_midi_event_t* coder = nullptr;
    if (snd_midi_event_new(bufferBytes, &coder) < 0) return "the ALSA library gives no encoder";
    encoder_.reset(coder);
    if (snd_midi_event_new(bufferBytes, &coder) < 0) return "the ALSA library gives no decoder";
    decoder_.reset(coder);
    snd_midi_event_no_status(decoder_.get(), 1);
    space_.resize(MIDISendQueue::largestSysex + 2);

    // Out of the way of the ports that people connect by number.
    snd_seq_port_info_t* info = nullptr;
    snd_seq_port_info_alloca(&info);
    snd_seq_port_info_set_name(info, "announcements");
    snd_seq_port_info_set_capability(info, SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_NO_EXPORT);
    snd_seq_port_info_set_type(info, SND_SEQ_PORT_TYPE_APPLICATION);
    snd_seq_port_info_set_port_specified(info, 1);
    snd_seq_port_info_set_port(info, announcePort);
    if (snd_seq_create_port(client_, info) < 0 ||
        snd_seq_connect_from(client_, announcePort, SND_SEQ_CLIENT_SYSTEM, SND_SEQ_PORT_SYSTEM_ANNOUNCE) < 0)
        return "the ALSA sequencer does not tell what comes and goes";
    output_.start(threadOptions("marvo-midi-out"), [this](RealtimeThread& thread) { feed(thread); });
    input_.start(threadOptions("marvo-midi-seq"), [this](RealtimeThread& thread) { listen(thread); });
    return {};
}

void AlsaMIDISession::feed(RealtimeThread&) {
    while (!stopping_.load()) {
        host_.outputs.announce();
        const std::chrono::milliseconds longest = feedAll();
        if (stopping_.load()) return;
        host_.outputs.sleep(longest);
    }
}

std::chrono::milliseconds AlsaMIDISession::feedAll() {
    const auto ports = ports_.read();
    const bool crash = crash_.load();
    bool left = true;
    std::chrono::milliseconds longest = longestSleep;
    for (const Out& out : ports->outs) {
        MIDISendQueue& queue = out.port->queue;
        PortEmitter emitter(*this, out);
        if (crash) {
            left &= queue.drainLast(emitter);
        } else {
            queue.drain(emitter);
        }
        // A port that closes wants another round that finds nothing more.
        const bool hurries = emitter.isBlocked() || (queue.isClosing() && !queue.isFlushed());
        longest = std::min(longest, hurries                    ? retrySleep
                                    : queue.waitsForListener() ? listenerSleep
                                                               : longestSleep);
    }
    if (crash && left) crashIsOver_.store(true);
    return longest;
}

void AlsaMIDISession::beginCrash() noexcept {
    crash_.store(true);
    host_.outputs.wake();
}

void AlsaMIDISession::listen(RealtimeThread&) {
    std::array<pollfd, 2> waited{};
    if (snd_seq_poll_descriptors(client_, waited.data(), 1, POLLIN) != 1) {
        failed_.store(true);
        host_.kick();
        return;
    }
    waited[1] = {stopDescriptor_, POLLIN, 0};
    while (!stopping_.load()) {
        poll(waited.data(), waited.size(), -1);
        if ((waited[0].revents & (POLLERR | POLLNVAL | POLLHUP)) != 0) {
            failed_.store(true);
            host_.kick();
            return;
        }
        snd_seq_event_t* event = nullptr;
        // An overrun is told by an error, behind which events go on.
        for (int result = 1; result > 0 || result == -ENOSPC;) {
            result = snd_seq_event_input(client_, &event);
            if (result >= 0 && event) receive(*event);
            if (result == 0) result = 1;
        }
        lane_.wake();
    }
}

void AlsaMIDISession::receive(const snd_seq_event_t& event) {
    if (event.dest.port == announcePort) {
        if (event.data.addr.client == clientNumber_) return;
        setupChanged_.store(true);
        host_.kick();
        return;
    }
    const auto ports = ports_.read();
    const auto in = std::find_if(ports->ins.begin(), ports->ins.end(),
                                 [&](const In& each) { return each.number == event.dest.port; });
    if (in == ports->ins.end()) return;
    const std::uint64_t now = monotonicNow();
    if (event.type == SND_SEQ_EVENT_SYSEX) {
        lane_.write(in->port->number, now,
                    {static_cast<const std::uint8_t*>(event.data.ext.ptr), event.data.ext.len});
        return;
    }
    std::array<std::uint8_t, 64> bytes{};
    snd_midi_event_reset_decode(decoder_.get());
    const long size = snd_midi_event_decode(decoder_.get(), bytes.data(), bytes.size(), &event);
    if (size > 0) lane_.write(in->port->number, now, {bytes.data(), static_cast<std::size_t>(size)});
}

} // namespace marvo
