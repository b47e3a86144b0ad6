#include "midi_peer_ports.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <jack/jack.h>
#include <jack/midiport.h>
#include <mutex>

namespace marvo::e2e {

namespace {

constexpr std::string_view marvoClient = "Marvo:";

class JackPeer final : public PeerPorts {
public:
    explicit JackPeer(jack_client_t* client) : client_(client) {
        heard_.reserve(100'000);
        jack_set_process_callback(
            client_,
            [](jack_nframes_t frames, void* self) { return static_cast<JackPeer*>(self)->process(frames); },
            this);
        jack_set_xrun_callback(
            client_,
            [](void* self) {
                static_cast<JackPeer*>(self)->missed_ = true;
                return 0;
            },
            this);
        in_ = jack_port_register(client_, "midi_in", JACK_DEFAULT_MIDI_TYPE, JackPortIsInput, 0);
        out_ = jack_port_register(client_, "midi_out", JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput, 0);
        jack_activate(client_);
    }
    ~JackPeer() override { jack_client_close(client_); }

    bool hearFrom(const std::string& marvoPort) override {
        const int result = jack_connect(client_, full(marvoPort).c_str(), jack_port_name(in_));
        return result == 0 || result == EEXIST;
    }
    bool playTo(const std::string& marvoPort) override {
        const int result = jack_connect(client_, jack_port_name(out_), full(marvoPort).c_str());
        return result == 0 || result == EEXIST;
    }
    bool isHeardByAnybody() override { return jack_port_connected(out_) > 0; }
    std::string name() override { return jack_get_client_name(client_); }

    std::vector<PeerEvent> takeHeard() override {
        std::vector<PeerEvent> taken;
        taken.reserve(100'000);
        const std::lock_guard hold(lock_);
        std::swap(taken, heard_);
        return taken;
    }

    std::vector<std::uint64_t> lostCycles() override {
        const std::lock_guard hold(lock_);
        return lost_;
    }

    void play(const std::vector<PeerEvent>& events) override {
        const std::uint64_t beginning = jack_frame_time(client_) + 1024;
        const std::lock_guard hold(lock_);
        for (const PeerEvent& event : events) toPlay_.push_back({beginning + event.frame, event.bytes});
    }

    std::vector<std::string> marvoPorts() override {
        std::vector<std::string> ports;
        const char** const names = jack_get_ports(client_, "^Marvo:", JACK_DEFAULT_MIDI_TYPE, 0);
        for (const char** each = names; each && *each; ++each) ports.emplace_back(*each + marvoClient.size());
        if (names) jack_free(names);
        std::sort(ports.begin(), ports.end());
        return ports;
    }

private:
    static std::string full(const std::string& port) { return std::string(marvoClient) + port; }

    int process(jack_nframes_t frames) {
        void* const in = jack_port_get_buffer(in_, frames);
        void* const out = jack_port_get_buffer(out_, frames);
        jack_midi_clear_buffer(out);
        const std::uint64_t start = jack_last_frame_time(client_);
        // Whoever holds it does so for an instant; nothing of this cycle may be lost.
        const std::lock_guard hold(lock_);
        const bool jumped = expected_ != 0 && start != expected_;
        if (missed_.exchange(false) || jumped) lost_.push_back(start);
        expected_ = start + frames;
        const std::uint32_t count = jack_midi_get_event_count(in);
        for (std::uint32_t i = 0; i < count; ++i) {
            jack_midi_event_t event{};
            jack_midi_event_get(&event, in, i);
            heard_.push_back({start + event.time, {event.buffer, event.buffer + event.size}});
        }
        for (; played_ < toPlay_.size(); ++played_) {
            const PeerEvent& event = toPlay_[played_];
            if (event.frame >= start + frames) break;
            const auto at = static_cast<jack_nframes_t>(event.frame > start ? event.frame - start : 0);
            if (jack_midi_event_write(out, at, event.bytes.data(), event.bytes.size()) != 0) break;
        }
        return 0;
    }

    jack_client_t* const client_;
    jack_port_t* in_ = nullptr;
    jack_port_t* out_ = nullptr;
    std::mutex lock_;
    std::vector<PeerEvent> heard_;
    std::vector<PeerEvent> toPlay_; // absolute frames
    std::size_t played_ = 0;
    std::atomic<bool> missed_{false};
    std::uint64_t expected_ = 0;      // where the next cycle begins; process thread
    std::vector<std::uint64_t> lost_; // absolute frames
};

} // namespace

std::unique_ptr<PeerPorts> openJackPeer(const std::string& name) {
    jack_set_error_function([](const char*) {});
    jack_set_info_function([](const char*) {});
    jack_client_t* const client = jack_client_open(name.c_str(), JackNoStartServer, nullptr);
    return client ? std::make_unique<JackPeer>(client) : nullptr;
}

} // namespace marvo::e2e
