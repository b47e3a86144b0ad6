#include "tracks/OSCColorOutput.h"

#include "platform/Saturate.h"
#include "tracks/TemplateMessage.h"

#include <algorithm>
#include <limits>

namespace marvo {
namespace {

constexpr std::size_t longestTime = 24; // bytes of a frame or a time as text

} // namespace

OSCColorOutput::OSCColorOutput(const OSCColorSettings& settings)
    : ColorOutput(settings.compositionName, settings.trackName),
      program_(OSCTemplate::compileWithoutValue(
          settings.oscAddress,
          TemplateNames{settings.compositionPosition, settings.compositionName, settings.trackName})),
      port_(settings.port), compFPS_(settings.compFPS), form_(settings.trackOSCType),
      minimum_(settings.trackMinValue), maximum_(settings.trackMaxValue),
      componentCount_(settings.shouldSendAlpha ? 4 : 3) {
    // Without a value the address is the same at every time.
    TemplateMessage sink(message_);
    program_.run({}, sink);
    for (std::size_t i = 0; i < componentAddresses_.size(); ++i)
        componentAddresses_[i] = std::string(message_.address()) + "/" + settings.subAddresses[i];
    // The components make the first tick's message longer, and a late frame its text.
    std::size_t longest = message_.address().size();
    for (const std::string& address : componentAddresses_) longest = std::max(longest, address.size());
    const std::size_t values = message_.valueCount() + componentCount_;
    const std::size_t texts = message_.textSize() + values * longestTime;
    message_ = {};
    message_.makeRoom(longest, values, texts);
}

std::int32_t OSCColorOutput::integerOf(double component) const {
    return static_cast<std::int32_t>(std::int64_t{truncatedToInt32(static_cast<double>(minimum_))} +
                                     truncatedToInt32(static_cast<double>(maximum_) * component));
}

float OSCColorOutput::floatOf(double component) const {
    return static_cast<float>((static_cast<double>(minimum_) + static_cast<double>(maximum_) * component) /
                              100.0);
}

void OSCColorOutput::send(const Colour& color, Frame frame, std::optional<ColorComponent> only) {
    if (!port_ || form_ < standard || form_ > floatMessages) return;
    const SendOrigin origin = originAt(frame);
    const std::array<double, 4> components{color.red, color.green, color.blue, color.alpha};
    if (form_ == integerMessages || form_ == floatMessages) {
        sendMessages(components, origin, only);
        return;
    }
    TemplateInput input;
    input.frame = frame.value;
    input.compFPS = compFPS_;
    TemplateMessage sink(message_);
    program_.run(input, sink);
    if (form_ == standard) {
        message_.addColor(packedRGBA(color));
    } else {
        addComponents(components);
    }
    port_->sendThisMessage(message_, origin);
}

DirectSend OSCColorOutput::direct() const {
    const auto address = program_.bareAddress();
    if (!port_ || !address || form_ != standard ||
        address->size() > std::numeric_limits<std::uint32_t>::max())
        return {};
    return {port_.get(), address->data(), static_cast<std::uint32_t>(address->size()), 1.0f, 'r'};
}

void OSCColorOutput::addComponents(const std::array<double, 4>& components) {
    for (std::size_t i = 0; i < componentCount_; ++i) {
        if (form_ == integers) {
            message_.addInt(integerOf(components[i]));
        } else {
            message_.addFloat(floatOf(components[i]));
        }
    }
}

void OSCColorOutput::sendMessages(const std::array<double, 4>& components, const SendOrigin& origin,
                                  std::optional<ColorComponent> only) {
    for (std::size_t i = 0; i < componentAddresses_.size(); ++i) {
        if (i >= componentCount_ || (only && static_cast<std::size_t>(*only) != i)) continue;
        message_.resetWithAddress(componentAddresses_[i]);
        if (form_ == integerMessages) {
            message_.addInt(integerOf(components[i]));
        } else {
            message_.addFloat(floatOf(components[i]));
        }
        port_->sendThisMessage(message_, origin);
    }
}

} // namespace marvo
