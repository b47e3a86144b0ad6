// Where the messages of a flag track go. Flags are never gathered.
#pragma once

#include "endpoints/osc/OSCOutPort.h"
#include "tracks/TrackOutput.h"

#include <memory>
#include <string_view>
#include <utility>

namespace marvo {

class FlagOutput final : public TrackOutput {
public:
    // A null port sends nothing.
    FlagOutput(std::string_view compositionName, std::string_view trackName, std::shared_ptr<OSCOutPort> port)
        : TrackOutput(compositionName, trackName), port_(std::move(port)) {}

    // Realtime-safe.
    void send(const OSCMessage& message, Frame frame) {
        if (port_) port_->sendThisMessage(message, originAt(frame));
    }

private:
    std::shared_ptr<OSCOutPort> port_;
};

} // namespace marvo
