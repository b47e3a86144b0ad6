// Takes what comes in while a composition records.
//
// Called by input threads with the composition queue held. Times are frames of the composition at the moment
// of arrival.
#pragma once

#include "endpoints/osc/OSCMessage.h"
#include "platform/TimelineTime.h"

#include <cstdint>

namespace marvo {

// A note or controller value, as it will become a keyframe.
struct RecordedMIDI {
    Frame time = Frame(-1);
    float value = 0.0f; // of a high-resolution controller 0 to 16383
    int cc = 0;         // controller or note number
    int ch = 0;         // from 0
    int type = 0;       // 128, 144 or 176
    float velocityOn = 0.0f;
    float velocityOff = 64.0f;
    bool isMSB = false; // a coarse half that waits for its fine one
    bool isLSB = false;
};

struct RecordedDMX {
    Frame time;
    int channel = 0; // from 0; of a pair the coarse one
    int value = 0;   // 0 to 255, of a pair 0 to 65535
    bool highResolution = false;
};

class RecordingTarget {
public:
    virtual ~RecordingTarget() = default;
    virtual void addRecordedOSCData(Frame time, const OSCMessage& message) = 0;
    virtual void addRecordedData(const RecordedMIDI& data) = 0;
    virtual void addRecordedDMXData(const RecordedDMX& data) = 0;
};

} // namespace marvo
