// Turns the value of an OSC value track into a message and sends it.
#pragma once

#include "endpoints/osc/OSCMessage.h"
#include "endpoints/osc/OSCOutPort.h"
#include "platform/TimelineTime.h"
#include "tracks/OSCTemplate.h"
#include "tracks/TrackOutput.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace marvo {

class MarvoOSCBundleManager;

struct OSCValueSettings {
    std::string_view oscAddress;
    std::string_view compositionName;
    std::int64_t compositionPosition = 1; // from 1
    std::string_view trackName;
    std::int64_t trackOSCType = 0;
    float trackMinValue = 0.0f;
    float trackMaxValue = 100.0f;
    float multiplier = 100.0f;
    bool sendsNormalisedValue = false;
    std::int64_t compFPS = 30;
    std::shared_ptr<OSCOutPort> port;
};

class OSCValueOutput final : public ValueOutput {
public:
    OSCValueOutput(const OSCValueSettings& settings, MarvoOSCBundleManager& bundles);

    void send(float value, Frame frame) override;

    bool isGrouped() const override { return program_.isGrouped(); }
    DirectSend direct() const override;
    const OSCOutPort* port() const { return port_.get(); }

private:
    void fill(float value, Frame frame);

    OSCTemplate program_;
    MarvoOSCBundleManager& bundles_;
    std::shared_ptr<OSCOutPort> port_;
    std::string portLabel_;
    OSCMessage message_;
    std::int64_t compFPS_;
    int trackOSCType_;
    float minimum_;
    float maximum_;
    float multiplier_;
    bool sendsNormalisedValue_;
};

} // namespace marvo
