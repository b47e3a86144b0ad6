// MIDI over JACK.
//
// A message leaves one period after it was sent, at the frame that corresponds to the moment of sending: the
// distances between messages are kept to the frame, at the price of a latency that is always the same. What
// comes in is timed likewise, one period back.
//
// Notices a server that ends, and one that goes without a word: its cycle then stands still.
#pragma once

#include "endpoints/midi/JackThreads.h"
#include "endpoints/midi/MIDIInputLane.h"
#include "endpoints/midi/MIDISession.h"
#include "platform/JackAdmission.h"
#include "platform/Published.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <jack/jack.h>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace marvo {

class JackMIDIBackend final : public MIDIBackend {
public:
    JackMIDIBackend(std::string clientName, const JackAdmission& admission)
        : clientName_(std::move(clientName)), admission_(admission) {}
    std::string_view kind() const override { return "jack"; }
    std::unique_ptr<MIDISession> open(const MIDISessionHost& host, std::string& reason) override;

private:
    const std::string clientName_;
    const JackAdmission admission_; // shares what it knows with the application's
};

class JackMIDISession final : public MIDISession {
public:
    static constexpr std::chrono::milliseconds longestSilence{500}; // of the server's cycle

    // Takes the client over.
    JackMIDISession(jack_client_t* client, JackAdmission::Ticket ticket, std::function<void()> kick);
    ~JackMIDISession() override;
    JackMIDISession(const JackMIDISession&) = delete;
    JackMIDISession& operator=(const JackMIDISession&) = delete;

    // Why it could not be activated, or nothing. Once.
    std::string activate();

    std::string ended() override;
    bool takeSetupChanged() override { return setupChanged_.exchange(false); }
    MIDIFoundEndpoints look() override;
    std::string open(const std::shared_ptr<MIDIOutPort>& port, const std::string& address) override;
    std::string open(const std::shared_ptr<MIDIInPort>& port, const std::string& address) override;
    void close(const MIDIOutPort& port) override;
    void close(const MIDIInPort& port) override;
    void beginCrash() noexcept override { crash_.store(true); }
    bool crashIsOver() const noexcept override { return crashIsOver_.load(); }

private:
    struct Out {
        std::shared_ptr<MIDIOutPort> port;
        jack_port_t* jackPort = nullptr;
        bool waitsForConnection = false;
        std::uint64_t openedAt = 0;            // ns
        std::atomic<bool> wasConnected{false}; // process thread
    };
    struct In {
        std::shared_ptr<MIDIInPort> port;
        jack_port_t* jackPort = nullptr;
    };
    struct Ports {
        std::vector<std::shared_ptr<Out>> outs;
        std::vector<In> ins;
    };
    struct Cycle;
    class PortEmitter;

    static int onProcess(jack_nframes_t frames, void* self);
    static void onShutdown(jack_status_t code, const char* reason, void* self);
    bool wasShutDown();
    void process(jack_nframes_t frames);
    void feed(Out& out, const Cycle& cycle);
    void collect(const In& in, const Cycle& cycle);
    jack_port_t* registerPort(const std::string& wanted, unsigned long flags);
    void changePorts(const std::function<void(Ports&)>& change);
    std::vector<MIDIFoundEndpoint> found(unsigned long flags) const;

    const JackAdmission::Ticket ticket_; // goes last
    jack_client_t* const client_;
    const std::function<void()> kick_;
    std::atomic<bool> setupChanged_{false};
    std::atomic<std::uint64_t> cycles_{0};
    std::atomic<bool> crash_{false};
    std::atomic<bool> crashIsOver_{false};
    bool crashLeft_ = false; // process thread
    Published<Ports> ports_;
    MIDIInputLane lane_;

    const JackThreads threads_;
    std::mutex shutdownLock_;
    std::string shutdownReason_;

    // Keeper thread.
    Ports held_;
    std::uint64_t seenCycles_ = 0;
    std::chrono::steady_clock::time_point lastCycle_ = std::chrono::steady_clock::now();
};

} // namespace marvo
