#include "endpoints/midi/RecordingMIDITransport.h"

#include "endpoints/midi/SoundingNotes.h"

#include <mutex>
#include <vector>

namespace marvo {

namespace {

class Recorder final : public MIDIOutput {
public:
    Recorder(MIDIMessageSink& sink, std::shared_ptr<const std::atomic<bool>> open, std::string name)
        : sink_(sink), open_(std::move(open)), name_(std::move(name)) {}
    ~Recorder() override { silence(); }

    void send(std::span<const MIDIMessage> messages, const SendOrigin& origin) override {
        const std::lock_guard hold(senders_);
        for (const MIDIMessage& message : messages) record(message, origin);
    }

    void sendSysex(std::span<const std::uint8_t> payload, const SendOrigin& origin) override {
        const std::lock_guard hold(senders_);
        if (!*open_) return;
        sysex_.assign(1, 0xf0);
        sysex_.insert(sysex_.end(), payload.begin(), payload.end());
        sysex_.push_back(0xf7);
        ++counters_.sent;
        sink_.messageSent(name_, sysex_, origin);
    }

    void silence() override {
        const std::lock_guard hold(senders_);
        if (!*open_) return;
        ending_ = notes_;
        ending_.release([this](const MIDIMessage& off) {
            record(off, {});
            return true;
        });
    }

    MIDIPortCounters counters() const override {
        const std::lock_guard hold(senders_);
        return counters_;
    }

private:
    void record(const MIDIMessage& message, const SendOrigin& origin) {
        // As it was asked for: a record that hides a value past the end of the range would hide the mistake.
        const MIDIBytes bytes = encodeMIDI(message, 0xff);
        if (!*open_ || bytes.size == 0) return;
        notes_.sent(message);
        ++counters_.sent;
        sink_.messageSent(name_, bytes.span(), origin);
    }

    MIDIMessageSink& sink_;
    const std::shared_ptr<const std::atomic<bool>> open_;
    const std::string name_;
    mutable std::mutex senders_; // held around the sink, so that a note's end never overtakes its start
    SoundingNotes notes_;
    SoundingNotes ending_;
    std::vector<std::uint8_t> sysex_;
    MIDIPortCounters counters_;
};

class SilentInput final : public MIDIInput {};

} // namespace

std::unique_ptr<MIDIOutput> RecordingMIDITransport::makeVirtualSender(const std::string& name) {
    return std::make_unique<Recorder>(sink_, open_, name);
}

std::unique_ptr<MIDIInput> RecordingMIDITransport::makeVirtualReceiver(const std::string&,
                                                                       std::shared_ptr<MIDIInputReceiver>) {
    return std::make_unique<SilentInput>();
}

std::unique_ptr<MIDIOutput> RecordingMIDITransport::openDestination(const MIDIEndpoint& endpoint) {
    if (endpoint.name.empty()) return nullptr;
    return std::make_unique<Recorder>(sink_, open_, endpoint.name);
}

std::unique_ptr<MIDIInput> RecordingMIDITransport::openSource(const MIDIEndpoint&,
                                                              std::shared_ptr<MIDIInputReceiver>) {
    return std::make_unique<SilentInput>();
}

} // namespace marvo
