// MIDI over the sequencer of ALSA.
//
// A message leaves at once, by a real-time thread of the session that sleeps while there is nothing to send.
// A receiver that takes nothing for a while holds up its own port only, and is tried again; where several
// hear one port, what one of them does not take is lost for it, so that the others get it once.
#pragma once

#include "endpoints/midi/MIDIInputLane.h"
#include "endpoints/midi/MIDISession.h"
#include "platform/Published.h"
#include "platform/RealtimeThread.h"

#include <alsa/asoundlib.h>
#include <atomic>
#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace marvo {

class AlsaMIDIBackend final : public MIDIBackend {
public:
    explicit AlsaMIDIBackend(std::string clientName) : clientName_(std::move(clientName)) {}
    std::string_view kind() const override { return "alsa"; }
    std::unique_ptr<MIDISession> open(const MIDISessionHost& host, std::string& reason) override;

private:
    const std::string clientName_;
};

class AlsaMIDISession final : public MIDISession {
public:
    // Takes the client over.
    AlsaMIDISession(snd_seq_t* client, const MIDISessionHost& host);
    ~AlsaMIDISession() override;
    AlsaMIDISession(const AlsaMIDISession&) = delete;
    AlsaMIDISession& operator=(const AlsaMIDISession&) = delete;

    // Why it could not be made ready, or nothing. Once.
    std::string start(const std::string& clientName);

    std::string ended() override { return failed_.load() ? "the ALSA sequencer has gone" : ""; }
    bool takeSetupChanged() override { return setupChanged_.exchange(false); }
    MIDIFoundEndpoints look() override;
    std::string open(const std::shared_ptr<MIDIOutPort>& port, const std::string& address) override;
    std::string open(const std::shared_ptr<MIDIInPort>& port, const std::string& address) override;
    void close(const MIDIOutPort& port) override;
    void close(const MIDIInPort& port) override;
    void beginCrash() noexcept override;
    bool crashIsOver() const noexcept override { return crashIsOver_.load(); }

private:
    // Of the output thread.
    struct Pace {
        std::size_t sysexDone = 0; // bytes that have left of the message that is being taken in pieces
        std::uint64_t room = 0;    // cells that may leave at once
        std::uint64_t filledAt = 0;
    };
    struct Out {
        std::shared_ptr<MIDIOutPort> port;
        int number = -1;
        std::shared_ptr<Pace> pace = std::make_shared<Pace>();
    };
    struct In {
        std::shared_ptr<MIDIInPort> port;
        int number = -1;
    };
    struct Ports {
        std::vector<Out> outs;
        std::vector<In> ins;
    };
    class PortEmitter;
    struct DecoderCloser {
        void operator()(snd_midi_event_t* decoder) const { snd_midi_event_free(decoder); }
    };
    using Coder = std::unique_ptr<snd_midi_event_t, DecoderCloser>;

    void feed(RealtimeThread& thread);
    std::chrono::milliseconds feedAll(); // when it has to be called again at the latest
    void listen(RealtimeThread& thread);
    void receive(const snd_seq_event_t& event);
    int createPort(const std::string& name, unsigned capabilities);
    void publishPorts();
    bool isSettled(int card, bool isKnown);

    snd_seq_t* const client_;
    const MIDISessionHost host_;
    int clientNumber_ = -1;
    int stopDescriptor_ = -1;
    std::atomic<bool> failed_{false};
    std::atomic<bool> setupChanged_{false};
    std::atomic<bool> stopping_{false};
    std::atomic<bool> crash_{false};
    std::atomic<bool> crashIsOver_{false};
    Published<Ports> ports_;
    MIDIInputLane lane_;

    Coder encoder_;                                                     // output thread
    std::vector<std::uint8_t> space_;                                   // output thread
    Coder decoder_;                                                     // input thread
    Ports held_;                                                        // keeper thread
    std::map<int, std::chrono::steady_clock::time_point> unknownCards_; // keeper thread
    RealtimeThread output_;
    RealtimeThread input_;
};

} // namespace marvo
