// Lets a template fill a message that is reused. Realtime-safe once the message has grown to its size.
#pragma once

#include "endpoints/osc/OSCMessage.h"
#include "tracks/OSCTemplate.h"

namespace marvo {

class TemplateMessage final : public TemplateSink {
public:
    explicit TemplateMessage(OSCMessage& message) : message_(message) {}
    void begin(std::string_view address) override { message_.resetWithAddress(address); }
    void addString(std::string_view text) override { message_.addString(text); }
    void addFloat(float value) override { message_.addFloat(value); }
    void addInt(std::int32_t value) override { message_.addInt(value); }
    void addBOOL(bool value) override { message_.addBOOL(value); }

private:
    OSCMessage& message_;
};

} // namespace marvo
