// For those who write down what a show does to its DMX values.
#pragma once

#include "platform/SendOrigin.h"

namespace marvo {

class RecordingDMX {
public:
    virtual ~RecordingDMX() = default;
    // Each byte as it is stored, behind the fader and the patch, changed or not. Universe from 0 to 255,
    // channel from 1 to 512, value from 0 to 255. On the writing thread, the tick's included.
    virtual void valueStored(int universe, int channel, int value, const SendOrigin& origin) = 0;
};

} // namespace marvo
