#include "app/OSCReplies.h"

#include "app/AppDelegate.h"
#include "platform/Text.h"

#include <limits>

namespace marvo {
namespace {

bool isInt(const OSCValue* value) {
    return value && value->type() == OSCValue::typeInt;
}

std::int32_t asInt32(std::int64_t number) {
    using Limits = std::numeric_limits<std::int32_t>;
    if (number > Limits::max()) return Limits::max();
    if (number < Limits::min()) return Limits::min();
    return static_cast<std::int32_t>(number);
}

} // namespace

bool OSCReplies::answer(std::string_view address, const OSCValue* value) {
    if (!address.starts_with("/marvo/") || !application_.oscManager().oscFeedbackEnabled()) return false;
    // The list of compositions changes inside the queue alone.
    return application_.services().compQueue.sync([&] {
        const CompositionSet& compositions = application_.compositions;
        if (address == "/marvo/currentcompinfo") {
            sendInfoOfComposition(compositions.selectedComposition(), "compinfo");
            return true;
        }
        if (address == "/marvo/countofcomps") {
            sendCountOfCompositions(asInt32(static_cast<std::int64_t>(compositions.count())), "compcount");
            return true;
        }
        if (address == "/marvo/compinfowithname") {
            if (value && value->type() == OSCValue::typeString)
                sendInfoOfComposition(compositions.compositionWithName(value->stringValue()), "compinfo");
            return true;
        }
        if (address == "/marvo/compinfoatindex") {
            if (isInt(value)) sendInfoOfComposition(compositionAt(value->intValue()), "compinfo");
            return true;
        }
        return answerAboutCues(address, value);
    });
}

const MarvoTimelineController* OSCReplies::compositionAt(std::int64_t position) const {
    const CompositionSet& compositions = application_.compositions;
    if (position < 1 || position > static_cast<std::int64_t>(compositions.count())) return nullptr;
    return &compositions.at(static_cast<std::size_t>(position - 1));
}

// "/marvo/<composition>/countofcues" and the like. With the composition queue held.
bool OSCReplies::answerAboutCues(std::string_view address, const OSCValue* value) {
    const std::vector<std::string_view> parts = split(address, '/');
    const std::string_view question = parts.back();
    const bool count = question == "countofcues";
    const bool name = question == "nameofcueatindex";
    const bool time = question == "timeofcueatindex";
    if (!count && !name && !time) return false;
    // An empty part, "marvo", the composition, the question.
    if (parts.size() < 4 || parts[1] != "marvo") return true;
    const MarvoTimelineController* composition = application_.compositions.compositionWithOSCName(parts[2]);
    if (!composition) return true;
    if (count) {
        sendCueCountInfoOfComposition(*composition, parts[2]);
        return true;
    }
    const auto cues = static_cast<std::int64_t>(composition->cueController.cues().size());
    if (!isInt(value) || value->intValue() < 1 || value->intValue() > cues) return true;
    const auto index = static_cast<std::size_t>(value->intValue() - 1);
    if (name) {
        sendNameOfCue(*composition, index);
    } else {
        sendTimeOfCue(*composition, index);
    }
    return true;
}

void OSCReplies::sendInfoOfComposition(const MarvoTimelineController* composition,
                                       std::string_view withAddress) {
    if (!composition) return;
    const std::string path = "/marvo/" + std::string(withAddress);
    OSCMessage name = OSCMessage::createWithAddress(path + "/name");
    name.addString(composition->compName());
    send(name);
    OSCMessage duration = OSCMessage::createWithAddress(path + "/duration");
    const std::int64_t frames =
        (composition->markerController.outTime() - composition->markerController.inTime()).value;
    const std::int64_t fps = composition->state.compFPS;
    duration.addInt(asInt32(fps > 0 ? frames / fps : 0));
    send(duration);
}

void OSCReplies::sendCountOfCompositions(std::int32_t count, std::string_view withAddress) {
    OSCMessage message = OSCMessage::createWithAddress("/marvo/" + std::string(withAddress));
    message.addInt(count);
    send(message);
}

void OSCReplies::sendCueCountInfoOfComposition(const MarvoTimelineController& composition,
                                               std::string_view withAddress) {
    OSCMessage message = OSCMessage::createWithAddress("/marvo/" + std::string(withAddress) + "/cuecount");
    message.addInt(asInt32(static_cast<std::int64_t>(composition.cueController.cues().size())));
    send(message);
}

void OSCReplies::sendNameOfCue(const MarvoTimelineController& composition, std::size_t index) {
    OSCMessage message = OSCMessage::createWithAddress("/marvo/cuename");
    message.addString(composition.cueController.cues().displayName(index));
    send(message);
}

void OSCReplies::sendTimeOfCue(const MarvoTimelineController& composition, std::size_t index) {
    const MarvoCue* cue = composition.cueController.cues().cueAtIndex(index);
    OSCMessage message = OSCMessage::createWithAddress("/marvo/cuetime");
    message.addInt(asInt32(cue ? cue->time.value : 0));
    send(message);
}

void OSCReplies::send(const OSCMessage& message) {
    application_.oscManager().sendOSCFeedback(message);
}

} // namespace marvo
