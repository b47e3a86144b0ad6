#include "midi_peer_ports.h"

#include <algorithm>
#include <alsa/asoundlib.h>
#include <atomic>
#include <cstring>
#include <mutex>
#include <poll.h>
#include <thread>
#include <utility>

namespace marvo::e2e {

namespace {

constexpr std::size_t poolCells = 2000;
constexpr std::size_t bufferBytes = 64 * 1024;

class AlsaPeer final : public PeerPorts {
public:
    AlsaPeer(snd_seq_t* seq, const std::string& name) : seq_(seq), name_(name) {
        snd_seq_set_client_name(seq_, name.c_str());
        snd_seq_set_client_pool_input(seq_, poolCells);
        snd_seq_set_client_pool_output(seq_, poolCells);
        snd_seq_set_input_buffer_size(seq_, bufferBytes);
        snd_seq_set_output_buffer_size(seq_, bufferBytes);
        snd_midi_event_new(bufferBytes, &encoder_);
        snd_midi_event_new(bufferBytes, &decoder_);
        snd_midi_event_no_status(decoder_, 1);
        in_ =
            snd_seq_create_simple_port(seq_, "midi_in", SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_SUBS_WRITE,
                                       SND_SEQ_PORT_TYPE_MIDI_GENERIC);
        out_ =
            snd_seq_create_simple_port(seq_, "midi_out", SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_SUBS_READ,
                                       SND_SEQ_PORT_TYPE_MIDI_GENERIC);
        thread_ = std::thread([this] { listen(); });
    }
    ~AlsaPeer() override {
        stopping_ = true;
        thread_.join();
        snd_midi_event_free(encoder_);
        snd_midi_event_free(decoder_);
        snd_seq_close(seq_);
    }

    bool hearFrom(const std::string& marvoPort) override {
        const Address from = find(marvoPort);
        if (from.client < 0) return false;
        const int result = snd_seq_connect_from(seq_, in_, from.client, from.port);
        return result == 0 || result == -EBUSY;
    }
    bool playTo(const std::string& marvoPort) override {
        const Address to = find(marvoPort);
        if (to.client < 0) return false;
        const int result = snd_seq_connect_to(seq_, out_, to.client, to.port);
        return result == 0 || result == -EBUSY;
    }
    bool isHeardByAnybody() override {
        snd_seq_port_info_t* info = nullptr;
        snd_seq_port_info_alloca(&info);
        return snd_seq_get_port_info(seq_, out_, info) == 0 && snd_seq_port_info_get_read_use(info) > 0;
    }
    std::string name() override { return name_; }

    std::vector<PeerEvent> takeHeard() override {
        const std::lock_guard hold(lock_);
        return std::exchange(heard_, {});
    }

    void play(const std::vector<PeerEvent>& events) override {
        for (const PeerEvent& one : events) {
            if (one.bytes.front() == 0xf0) {
                // In pieces, as hardware delivers it.
                for (std::size_t at = 0; at < one.bytes.size(); at += 256) {
                    const std::size_t size = std::min<std::size_t>(256, one.bytes.size() - at);
                    snd_seq_event_t event;
                    snd_seq_ev_clear(&event);
                    snd_seq_ev_set_sysex(&event, static_cast<unsigned>(size),
                                         const_cast<std::uint8_t*>(one.bytes.data() + at));
                    put(event);
                }
                continue;
            }
            snd_seq_event_t event;
            snd_seq_ev_clear(&event);
            snd_midi_event_reset_encode(encoder_);
            snd_midi_event_encode(encoder_, one.bytes.data(), static_cast<long>(one.bytes.size()), &event);
            put(event);
        }
    }

    std::vector<std::string> marvoPorts() override {
        std::vector<std::string> names;
        forEachMarvoPort([&](const Address&, const std::string& name) { names.push_back(name); });
        std::sort(names.begin(), names.end());
        return names;
    }

private:
    struct Address {
        int client = -1;
        int port = -1;
    };

    // Those that others may connect to.
    template <class Function>
    void forEachMarvoPort(Function function) {
        snd_seq_client_info_t* client = nullptr;
        snd_seq_port_info_t* port = nullptr;
        snd_seq_client_info_alloca(&client);
        snd_seq_port_info_alloca(&port);
        snd_seq_client_info_set_client(client, -1);
        while (snd_seq_query_next_client(seq_, client) >= 0) {
            if (std::strcmp(snd_seq_client_info_get_name(client), "Marvo") != 0) continue;
            const int number = snd_seq_client_info_get_client(client);
            snd_seq_port_info_set_client(port, number);
            snd_seq_port_info_set_port(port, -1);
            while (snd_seq_query_next_port(seq_, port) >= 0) {
                if ((snd_seq_port_info_get_capability(port) & SND_SEQ_PORT_CAP_NO_EXPORT) != 0) continue;
                function(Address{number, snd_seq_port_info_get_port(port)},
                         std::string(snd_seq_port_info_get_name(port)));
            }
        }
    }

    Address find(const std::string& name) {
        Address found;
        forEachMarvoPort([&](const Address& address, const std::string& each) {
            if (each == name) found = address;
        });
        return found;
    }

    void put(snd_seq_event_t& event) {
        snd_seq_ev_set_source(&event, static_cast<unsigned char>(out_));
        snd_seq_ev_set_subs(&event);
        snd_seq_ev_set_direct(&event);
        // A sender that does not care whether anybody keeps up.
        snd_seq_event_output_direct(seq_, &event);
    }

    void listen() {
        pollfd waited{};
        snd_seq_poll_descriptors(seq_, &waited, 1, POLLIN);
        while (!stopping_) {
            poll(&waited, 1, 50);
            snd_seq_event_t* event = nullptr;
            for (int result = 1; result > 0 || result == -ENOSPC;) {
                result = snd_seq_event_input(seq_, &event);
                if (result >= 0 && event) hear(*event);
                if (result == 0) result = 1;
            }
        }
    }

    void hear(const snd_seq_event_t& event) {
        if (event.dest.port != in_) return;
        PeerEvent one;
        if (event.type == SND_SEQ_EVENT_SYSEX) {
            const auto* const bytes = static_cast<const std::uint8_t*>(event.data.ext.ptr);
            sysex_.insert(sysex_.end(), bytes, bytes + event.data.ext.len);
            if (sysex_.back() != 0xf7) return;
            one.bytes = std::exchange(sysex_, {});
        } else {
            one.bytes.resize(64);
            snd_midi_event_reset_decode(decoder_);
            const long size = snd_midi_event_decode(decoder_, one.bytes.data(), 64, &event);
            if (size <= 0) return;
            one.bytes.resize(static_cast<std::size_t>(size));
        }
        const std::lock_guard hold(lock_);
        heard_.push_back(std::move(one));
    }

    snd_seq_t* const seq_;
    const std::string name_;
    int in_ = -1;
    int out_ = -1;
    snd_midi_event_t* encoder_ = nullptr;
    snd_midi_event_t* decoder_ = nullptr;
    std::vector<std::uint8_t> sysex_;
    std::atomic<bool> stopping_{false};
    std::mutex lock_;
    std::vector<PeerEvent> heard_;
    std::thread thread_;
};

} // namespace

std::unique_ptr<PeerPorts> openAlsaPeer(const std::string& name) {
    snd_seq_t* seq = nullptr;
    if (snd_seq_open(&seq, "default", SND_SEQ_OPEN_DUPLEX, SND_SEQ_NONBLOCK) < 0) return nullptr;
    return std::make_unique<AlsaPeer>(seq, name);
}

} // namespace marvo::e2e
