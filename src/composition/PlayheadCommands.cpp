#include "composition/PlayheadCommands.h"

#include "composition/CompositionServices.h"
#include "composition/CompositionTimeMath.h"
#include "composition/MarvoTimelineController.h"
#include "composition/OSCCommands.h"

#include <algorithm>
#include <cmath>

namespace marvo {
namespace {

constexpr int typeInt = 1;
constexpr int typeFloat = 2;

bool isNumber(const OSCArgument& value) {
    return value.type == typeInt || value.type == typeFloat;
}

} // namespace

PlayheadCommands::PlayheadCommands(MarvoTimelineController& composition, CompositionServices& services)
    : composition_(composition), services_(services) {}

void PlayheadCommands::setOSCAddresses(const std::string& oscNamespace) {
    OSCCommands& commands = services_.commands;
    commands.drop(this);
    commands.listen(this, oscNamespace + "/playhead", "float 0-1",
                    [this](const OSCArgument& value) { handleOSCMessagePlayhead(value); });
    commands.listen(this, oscNamespace + "/jumptoframe", "integer, a frame",
                    [this](const OSCArgument& value) { handleOSCMessageJumpTo(value); });
    commands.listen(this, oscNamespace + "/nextframe", "any value will trigger",
                    [this](const OSCArgument&) { handleOSCMessageNextFrame(); });
    commands.listen(this, oscNamespace + "/prevframe", "any value will trigger",
                    [this](const OSCArgument&) { handleOSCMessagePrevFrame(); });
}

void PlayheadCommands::removeResources() {
    services_.commands.drop(this);
}

void PlayheadCommands::handleOSCMessagePlayhead(const OSCArgument& value) {
    if (!isNumber(value)) return;
    // A float that is not a number is no position.
    const float v = std::isnan(value.floatValue) ? 0.0f : std::clamp(value.floatValue, 0.0f, 1.0f);
    const CompositionState& state = composition_.state;
    const float frames = static_cast<float>(state.compFPS.get()) * state.compTime.get() * v;
    composition_.transport.markerDraggedToTime(truncateToFrame(std::roundf(frames)));
}

void PlayheadCommands::handleOSCMessageJumpTo(const OSCArgument& value) {
    if (!isNumber(value)) return;
    const Frame in = composition_.markerController.inTime();
    const Frame out = composition_.markerController.outTime();
    composition_.transport.markerDraggedToTime(std::min(std::max(Frame(value.intValue), in), out));
}

void PlayheadCommands::handleOSCMessageNextFrame() {
    const Frame now = composition_.state.currentTime;
    const bool atEnd = now >= composition_.markerController.outTime();
    composition_.transport.markerDraggedToTime(atEnd ? composition_.markerController.inTime()
                                                     : now + FrameCount(1));
}

void PlayheadCommands::handleOSCMessagePrevFrame() {
    const Frame now = composition_.state.currentTime;
    const bool atStart = now <= composition_.markerController.inTime();
    composition_.transport.markerDraggedToTime(atStart ? composition_.markerController.outTime()
                                                       : now - FrameCount(1));
}

} // namespace marvo
