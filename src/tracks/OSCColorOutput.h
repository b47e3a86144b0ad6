// Turns the colour of an OSC colour track into messages and sends them.
#pragma once

#include "endpoints/osc/OSCMessage.h"
#include "endpoints/osc/OSCOutPort.h"
#include "tracks/ColorOutput.h"
#include "tracks/OSCTemplate.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace marvo {

struct OSCColorSettings {
    std::string_view oscAddress;
    std::string_view compositionName;
    std::int64_t compositionPosition = 1; // from 1
    std::string_view trackName;
    std::int64_t trackOSCType = 0; // see OSCColorOutput::Form
    float trackMinValue = 0.0f;    // 100 times what floats leave as
    float trackMaxValue = 100.0f;
    bool shouldSendAlpha = false;                                // not asked by the standard form
    std::array<std::string, 4> subAddresses{"r", "g", "b", "a"}; // of the forms with a message a component
    std::int64_t compFPS = 30;
    std::shared_ptr<OSCOutPort> port; // null sends nothing
};

class OSCColorOutput final : public ColorOutput {
public:
    // As the track's record numbers them. Any other number sends nothing.
    enum Form { standard = 0, integers = 1, floats = 2, integerMessages = 3, floatMessages = 4 };

    explicit OSCColorOutput(const OSCColorSettings& settings);

    void send(const Colour& color, Frame frame, std::optional<ColorComponent> only) override;
    DirectSend direct() const override;

private:
    void addComponents(const std::array<double, 4>& components);
    void sendMessages(const std::array<double, 4>& components, const SendOrigin& origin,
                      std::optional<ColorComponent> only);
    std::int32_t integerOf(double component) const;
    float floatOf(double component) const;

    OSCTemplate program_;
    std::shared_ptr<OSCOutPort> port_;
    OSCMessage message_;
    std::array<std::string, 4> componentAddresses_;
    std::int64_t compFPS_;
    std::int64_t form_;
    float minimum_;
    float maximum_;
    std::size_t componentCount_; // 3, or 4 with alpha
};

} // namespace marvo
