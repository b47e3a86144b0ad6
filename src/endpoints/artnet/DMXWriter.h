// Where DMX values are written to, as tracks ask for it.
#pragma once

#include "platform/SendOrigin.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace marvo {

class DMXWriter {
public:
    virtual ~DMXWriter() = default;

    // Channel from 1 to 512 and universe from 0 to 255; anything outside is dropped. The value is limited to
    // 0 to 255, so that a curve that overshoots does not wrap. Thread-safe and realtime-safe, both.
    virtual void setValue(std::int32_t value, std::int32_t channel, std::int32_t universe,
                          const SendOrigin& origin) = 0;
    // Scaled by the master fader.
    virtual void setValueByColorTrack(std::int32_t value, std::int32_t channel, std::int32_t universe,
                                      const SendOrigin& origin) = 0;

    // Main thread. Displayed names are "name (subnet-universe)", sorted.
    virtual std::vector<std::string> artNetOutputNames() const = 0;
    // 0 when no output bears the name.
    virtual std::int32_t universeOfNodeWithDisplayedName(std::string_view displayedName) const = 0;
};

} // namespace marvo
