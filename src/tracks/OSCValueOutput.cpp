#include "tracks/OSCValueOutput.h"

#include "endpoints/osc/MarvoOSCBundleManager.h"
#include "tracks/TemplateMessage.h"

#include <limits>

namespace marvo {
OSCValueOutput::OSCValueOutput(const OSCValueSettings& settings, MarvoOSCBundleManager& bundles)
    : ValueOutput(settings.compositionName, settings.trackName),
      program_(OSCTemplate::compile(
          settings.oscAddress,
          TemplateNames{settings.compositionPosition, settings.compositionName, settings.trackName})),
      bundles_(bundles), port_(settings.port),
      portLabel_(settings.port ? settings.port->portLabel() : std::string()), compFPS_(settings.compFPS),
      trackOSCType_(static_cast<int>(settings.trackOSCType)), minimum_(settings.trackMinValue),
      maximum_(settings.trackMaxValue), multiplier_(settings.multiplier),
      sendsNormalisedValue_(settings.sendsNormalisedValue) {
    // With long numbers: the message has its room before the first tick needs it.
    fill(-1.2345678e20f, Frame(-1'000'000'000'000'000));
}

void OSCValueOutput::fill(float value, Frame frame) {
    float v = value;
    int sendType = trackOSCType_;
    if (sendsNormalisedValue_) {
        v = (v - minimum_) / (maximum_ - minimum_) * multiplier_;
        sendType = 0;
    }
    TemplateMessage sink(message_);
    program_.run(TemplateInput{v, multiplier_, sendType, frame.value, compFPS_, sendType}, sink);
}

void OSCValueOutput::send(float value, Frame frame) {
    if (!port_) return;
    fill(value, frame);
    const SendOrigin origin = originAt(frame);
    if (program_.isGrouped() && bundles_.addMessage(message_, portLabel_, origin)) return;
    port_->sendThisMessage(message_, origin);
}

DirectSend OSCValueOutput::direct() const {
    constexpr char tags[] = {'f', 'i', 'T'};
    const auto address = program_.plainAddress();
    const bool isDirect = port_ && address && !program_.isGrouped() && !sendsNormalisedValue_ &&
                          trackOSCType_ >= 0 && trackOSCType_ <= 2 &&
                          address->size() <= std::numeric_limits<std::uint32_t>::max();
    if (!isDirect) return {};
    return {port_.get(), address->data(), static_cast<std::uint32_t>(address->size()), multiplier_,
            tags[trackOSCType_]};
}

} // namespace marvo
