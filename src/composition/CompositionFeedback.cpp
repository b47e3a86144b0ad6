#include "composition/CompositionFeedback.h"

#include "composition/CompositionServices.h"
#include "composition/CompositionTimeMath.h"
#include "composition/MarvoTimelineController.h"
#include "endpoints/osc/MarvoOSCManager.h"

namespace marvo {

CompositionFeedback::CompositionFeedback(MarvoTimelineController& composition, CompositionServices& services)
    : composition_(composition), services_(services) {
    // Names are short; a longer one is found room for when it is first reported.
    message_.makeRoom(256, 1, 256);
    cueName_.reserve(256);
}

void CompositionFeedback::setOSCAddresses(const std::string& oscNamespace) {
    playhead_ = oscNamespace + "/playhead";
    playheadAsTime_ = oscNamespace + "/playheadastime";
    loopedByCue_ = oscNamespace + "/loopedbycue";
}

void CompositionFeedback::send(std::string_view address, float value) {
    message_.resetWithAddress(address);
    message_.addFloat(value);
    services_.oscManager.sendOSCFeedback(message_);
}

void CompositionFeedback::send(std::string_view address, std::string_view text) {
    message_.resetWithAddress(address);
    message_.addString(text);
    services_.oscManager.sendOSCFeedback(message_);
}

void CompositionFeedback::processOSCFeedbacks() {
    if (!services_.oscManager.oscFeedbackEnabled()) return;
    const float progress = composition_.transport.progress();
    char text[playheadTextSize];
    const std::string_view time =
        playheadTextIn(text, composition_.state.currentTime, composition_.state.compFPS);
    send(playhead_, progress);
    send(playheadAsTime_, time);
    if (!composition_.isCurrentComposition()) return;
    send("/marvo/current/playhead", progress);
    send("/marvo/current/playheadastime", time);
}

void CompositionFeedback::processOSCFeedbackByCue(const MarvoCue& cue) {
    // A pausing cue, too, reports itself as "loopedbycue": listeners were built on it.
    if (!services_.oscManager.oscFeedbackEnabled() || cue.type == CueType::passes) return;
    cueName_.clear();
    composition_.cueController.appendDisplayNameOf(cue, cueName_);
    send(loopedByCue_, cueName_);
    if (composition_.isCurrentComposition()) send("/marvo/current/loopedbycue", cueName_);
}

void CompositionFeedback::sendCurrentCompositionNameByFeedback() {
    if (!services_.oscManager.oscFeedbackEnabled()) return;
    send("/marvo/current/name", composition_.compName());
}

} // namespace marvo
