// A transport over a sound system that may be away, come, and go again.
#pragma once

#include "endpoints/midi/MIDISession.h"
#include "endpoints/midi/MIDITransport.h"

#include <memory>
#include <string>
#include <vector>

namespace marvo {

class MIDIKeeper;

class KeptMIDITransport final : public MIDITransport {
public:
    // The first that lets us in is used, and again after every loss. Waits for a first look, at most a
    // second.
    explicit KeptMIDITransport(std::vector<std::unique_ptr<MIDIBackend>> backends);
    ~KeptMIDITransport() override;
    KeptMIDITransport(const KeptMIDITransport&) = delete;
    KeptMIDITransport& operator=(const KeptMIDITransport&) = delete;

    // "away" while no sound system lets us in.
    std::string_view kind() const override;
    // Why there is no sound system; empty when there is one. Thread-safe.
    std::string whyAway() const;
    std::unique_ptr<MIDIOutput> makeVirtualSender(const std::string& name) override;
    std::unique_ptr<MIDIInput> makeVirtualReceiver(const std::string& name,
                                                   std::shared_ptr<MIDIInputReceiver> receiver) override;
    MIDIEndpoints endpoints() const override;
    std::unique_ptr<MIDIOutput> openDestination(const MIDIEndpoint& endpoint) override;
    std::unique_ptr<MIDIInput> openSource(const MIDIEndpoint& endpoint,
                                          std::shared_ptr<MIDIInputReceiver> receiver) override;
    void onSetupChanged(std::function<void()> tell) override;
    void onTrouble(std::function<void(const MIDITrouble&)> tell) override;
    void flushNotesOnCrash() noexcept override;

private:
    std::shared_ptr<MIDIKeeper> keeper_;
};

} // namespace marvo
