// A transport for a machine that is to have no MIDI: ports can be made and lead nowhere, and there are no
// devices.
#pragma once

#include "endpoints/midi/MIDITransport.h"

#include <string>

namespace marvo {

class SilentMIDITransport final : public MIDITransport {
public:
    std::string_view kind() const override { return "none"; }
    std::unique_ptr<MIDIOutput> makeVirtualSender(const std::string& name) override;
    std::unique_ptr<MIDIInput> makeVirtualReceiver(const std::string& name,
                                                   std::shared_ptr<MIDIInputReceiver> receiver) override;
    MIDIEndpoints endpoints() const override { return {}; }
    std::unique_ptr<MIDIOutput> openDestination(const MIDIEndpoint&) override { return nullptr; }
    std::unique_ptr<MIDIInput> openSource(const MIDIEndpoint&, std::shared_ptr<MIDIInputReceiver>) override {
        return nullptr;
    }
    void onSetupChanged(std::function<void()>) override {}
    void onTrouble(std::function<void(const MIDITrouble&)>) override {}
};

} // namespace marvo
