// A transport without a sound system: what is sent goes to a sink, nothing comes in by itself. The sink is
// called on the thread that sends.
#pragma once

#include "endpoints/midi/MIDITransport.h"

#include <atomic>
#include <cstdint>
#include <span>
#include <string>

namespace marvo {

class MIDIMessageSink {
public:
    virtual ~MIDIMessageSink() = default;
    // The bytes of one whole message, those around a system-exclusive payload included.
    virtual void messageSent(const std::string& node, std::span<const std::uint8_t> bytes,
                             const SendOrigin& origin) = 0;
};

class RecordingMIDITransport final : public MIDITransport {
public:
    // The sink outlives the transport.
    explicit RecordingMIDITransport(MIDIMessageSink& sink) : sink_(sink) {}
    ~RecordingMIDITransport() override { close(); }
    RecordingMIDITransport(const RecordingMIDITransport&) = delete;
    RecordingMIDITransport& operator=(const RecordingMIDITransport&) = delete;

    std::string_view kind() const override { return "recording"; }
    std::unique_ptr<MIDIOutput> makeVirtualSender(const std::string& name) override;
    std::unique_ptr<MIDIInput> makeVirtualReceiver(const std::string& name,
                                                   std::shared_ptr<MIDIInputReceiver> receiver) override;
    MIDIEndpoints endpoints() const override { return {}; }
    // Every name that is not empty is there.
    std::unique_ptr<MIDIOutput> openDestination(const MIDIEndpoint& endpoint) override;
    std::unique_ptr<MIDIInput> openSource(const MIDIEndpoint& endpoint,
                                          std::shared_ptr<MIDIInputReceiver> receiver) override;
    bool hasEveryDestination() const override { return true; }
    void onSetupChanged(std::function<void()>) override {}
    void onTrouble(std::function<void(const MIDITrouble&)>) override {}

    // Nothing is recorded from here on.
    void close() { *open_ = false; }

private:
    MIDIMessageSink& sink_;
    std::shared_ptr<std::atomic<bool>> open_ =
        std::make_shared<std::atomic<bool>>(true); // ports may outlive the transport
};

} // namespace marvo
