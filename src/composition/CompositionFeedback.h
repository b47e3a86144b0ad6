// What a composition reports over OSC while it plays: its playhead as a share of the working area and as a
// time.
//
// Realtime-safe: messages are built in place and sent at once; nothing is built while feedback is off.
#pragma once

#include "endpoints/osc/OSCMessage.h"

#include <string>

namespace marvo {

struct MarvoCue;
class MarvoTimelineController;
struct CompositionServices;

class CompositionFeedback {
public:
    CompositionFeedback(MarvoTimelineController& composition, CompositionServices& services);

    // Rebuilds the addresses; main thread, with the composition queue held.
    void setOSCAddresses(const std::string& oscNamespace);
    // With the composition queue held.
    void processOSCFeedbacks();
    void processOSCFeedbackByCue(const MarvoCue& cue);
    void sendCurrentCompositionNameByFeedback();

private:
    void send(std::string_view address, float value);
    void send(std::string_view address, std::string_view text);

    MarvoTimelineController& composition_;
    CompositionServices& services_;
    OSCMessage message_;
    std::string playhead_;
    std::string playheadAsTime_;
    std::string loopedByCue_;
    std::string cueName_; // of the cue that is reported; its room is kept
};

} // namespace marvo
