#include "tracks/MarvoTimelineFlagTrack.h"

#include "platform/Log.h"
#include "platform/Notifications.h"
#include "platform/SerialQueue.h"
#include "tracks/FlagOutput.h"
#include "tracks/KeyframeRecords.h"
#include "tracks/OSCTemplate.h"
#include "tracks/TemplateMessage.h"

#include <algorithm>
#include <cmath>

namespace marvo {

MarvoTimelineFlagTrack::MarvoTimelineFlagTrack(std::string trackType, TrackComposition& composition,
                                               TrackServices& services)
    : MarvoTimelineTrack(std::move(trackType), composition, services) {
    keyframes_.setContentMaker([this](const KeyframeStore& store) -> std::unique_ptr<const PlanContent> {
        std::vector<OSCMessage> messages;
        messages.reserve(store.size());
        for (const MarvoTimelineKeyframe& keyframe : store.all()) messages.push_back(messageOf(keyframe));
        return std::make_unique<FlagMessages>(std::move(messages));
    });
    settingsObservation_ =
        services.notifications.observe(services.names.SettingsChanged, [this](const NoPayload&) {
            this->services().compQueue.sync(
                [this] { needsProcessNextKeyframe_ = this->services().preferences.processFirstKeyframe; });
        });
}

void MarvoTimelineFlagTrack::removeResources() {
    settingsObservation_.reset();
    MarvoTimelineTrack::removeResources();
}

MarvoTimelineFlagTrack::Flags MarvoTimelineFlagTrack::flagsFrom(const KeyframePlan& plan, std::size_t first) {
    Flags flags{first, first};
    while (flags.end < plan.keyframes.size() && plan.keyframes[flags.end].time == plan.keyframes[first].time)
        ++flags.end;
    return flags;
}

// The nearest ahead, within the working area; `here` is where the frame stands, empty.
MarvoTimelineFlagTrack::Flags MarvoTimelineFlagTrack::nextFlags(const KeyframePlan& plan, Flags here) const {
    const bool isThere =
        here.end < plan.keyframes.size() && plan.keyframes[here.end].time <= composition().outTime().value;
    return isThere ? flagsFrom(plan, here.end) : here;
}

// The nearest behind, within the working area.
MarvoTimelineFlagTrack::Flags MarvoTimelineFlagTrack::passedFlags(const KeyframePlan& plan,
                                                                  Flags here) const {
    if (here.first == 0 || plan.keyframes[here.first - 1].time < composition().inTime().value) return here;
    Flags flags{here.first - 1, here.first};
    while (flags.first > 0 && plan.keyframes[flags.first - 1].time == plan.keyframes[here.first - 1].time)
        --flags.first;
    return flags;
}

bool MarvoTimelineFlagTrack::mayFire() const {
    return composition().isRunning() ||
           (composition().jumpedToCue() && services().preferences.processLastKeyframeOnJump);
}

void MarvoTimelineFlagTrack::processAtTime(Frame frame, bool processing) {
    if (!processing || !takesTick(true)) return;
    if (skipsTo(frame) && services().preferences.processLastKeyframeOnUnpause)
        run_.needsProcessPreviousKeyframe = true;

    const KeyframePlan& plan = currentPlan();
    KeyframeRunStates& states = keyframes_.states();
    const auto& keyframes = plan.keyframes;
    const auto found =
        std::lower_bound(keyframes.begin(), keyframes.end(), frame.value,
                         [](const PlannedKeyframe& keyframe, std::int64_t t) { return keyframe.time < t; });
    const auto place = static_cast<std::size_t>(found - keyframes.begin());
    Flags flags{place, place};
    if (found != keyframes.end() && found->time == frame.value) flags = flagsFrom(plan, place);

    if (!mayFire()) {
        // A playhead that stands on a flag can fire it again when it moves on.
        for (std::size_t i = flags.first; i < flags.end; ++i) states.setProcessed(keyframes[i].slot, false);
        return;
    }
    if (flags.empty()) {
        if (needsProcessNextKeyframe_) {
            needsProcessNextKeyframe_ = false;
            flags = nextFlags(plan, flags);
        } else if (services().preferences.processLastKeyframeOnJump) {
            flags = passedFlags(plan, flags);
            if (!flags.empty()) run_.needsProcessPreviousKeyframe = false;
        }
    } else {
        needsProcessNextKeyframe_ = false;
    }
    const auto* messages = static_cast<const FlagMessages*>(plan.content.get());
    for (std::size_t i = flags.first; i < flags.end; ++i) {
        if (states.isProcessed(keyframes[i].slot, keyframes[i].time)) continue;
        states.setProcessed(keyframes[i].slot, true);
        if (output_.flags) output_.flags->send(messages->at(i), frame);
    }
}

std::vector<ShotChoice> MarvoTimelineFlagTrack::shotChoices() const {
    std::vector<ShotChoice> choices;
    for (const MarvoTimelineKeyframe& keyframe : keyframes_.store().all())
        choices.push_back({keyframe.flag()->flagAddress, static_cast<std::int64_t>(keyframe.uID)});
    if (choices.empty()) choices.push_back({"No Keyframes...", -1});
    return choices;
}

void MarvoTimelineFlagTrack::shotWithChoice(std::int64_t choice) {
    shotOnKeyframe(static_cast<std::uint64_t>(choice));
}

void MarvoTimelineFlagTrack::shotOnKeyframe(std::uint64_t uID) {
    const MarvoTimelineKeyframe* keyframe = keyframes_.store().objectWithUID(uID);
    if (!keyframe) return;
    const OSCMessage message = messageOf(*keyframe);
    services().compQueue.sync([&] {
        if (output_.flags) output_.flags->send(message, keyframe->time);
    });
}

void MarvoTimelineFlagTrack::compositionStarted() {
    MarvoTimelineTrack::compositionStarted();
    if (services().preferences.processFirstKeyframe) needsProcessNextKeyframe_ = true;
}

void MarvoTimelineFlagTrack::compositionStopped() {
    MarvoTimelineTrack::compositionStopped();
    needsProcessNextKeyframe_ = false;
}

void MarvoTimelineFlagTrack::compositionSettingsChanged() {
    publishOutput();
}

OSCMessage MarvoTimelineFlagTrack::messageOf(const MarvoTimelineKeyframe& keyframe) const {
    const auto index = static_cast<std::int64_t>(keyframes_.store().sortedIndexForKeyframe(keyframe.time));
    const TemplateNames names{composition().compositionIndex() + 1, composition().compName(), name()};
    TemplateInput input;
    input.frame = keyframe.time.value;
    input.compFPS = composition().compFPS();
    OSCMessage message;
    TemplateMessage sink(message);
    OSCTemplate::compileWithoutValue(keyframe.flag()->flagAddress, names, index + 1).run(input, sink);
    return message;
}

MarvoTimelineTrack::Output MarvoTimelineFlagTrack::makeOutput() const {
    Output made;
    setOutput(made,
              std::make_unique<FlagOutput>(composition().compName(), name(),
                                           services().oscManager.findOutputWithLabel(settings().oscOut)),
              made.flags);
    return made;
}

void MarvoTimelineFlagTrack::publishOutput() {
    // Names stand in the messages, too.
    keyframes_.publish();
    MarvoTimelineTrack::publishOutput();
}

void MarvoTimelineFlagTrack::prepareNewKeyframe(MarvoTimelineKeyframe& keyframe) const {
    keyframe.becomeFlag();
    keyframe.maxValue = 0.0f;
}

void MarvoTimelineFlagTrack::giveValueAtTime(MarvoTimelineKeyframe& keyframe, Frame) const {
    keyframe.refresh();
}

void MarvoTimelineFlagTrack::restoreContent(MarvoTimelineKeyframe& keyframe, const PropertyList& record,
                                            LoadReport*) const {
    keyframe.value = rawKeyframeFrom(record).value;
    if (std::isnan(keyframe.value)) {
        if (services().log) services().log->log("NaN detected! (flag)");
        keyframe.value = 0.0f;
    }
    keyframe.refresh();
    const PropertyList* address = record.find("flagAddress");
    if (address) keyframe.flag()->flagAddress = address->stringOr(keyframe.flag()->flagAddress);
}

std::string MarvoTimelineFlagTrack::flagDisplayAddress(const MarvoTimelineKeyframe& keyframe) const {
    const TemplateNames names{composition().compositionIndex() + 1, composition().compName(), name()};
    TemplateInput input;
    input.frame = keyframe.time.value;
    input.compFPS = composition().compFPS();
    const std::size_t index = keyframes_.store().sortedIndexForKeyframe(keyframe.time);
    return OSCTemplate::labelOf(keyframe.flag()->flagAddress, names, input,
                                static_cast<std::int64_t>(index) + 1);
}

const std::string* MarvoTimelineFlagTrack::activeFlagAddress() const {
    for (const MarvoTimelineKeyframe& keyframe : keyframes_.store().all()) {
        if (keyframe.isActiveKeyframe) return &keyframe.flag()->flagAddress;
    }
    return nullptr;
}

void MarvoTimelineFlagTrack::setFlagAddress(const std::string& text) {
    const std::string address = text.find('/') == std::string::npos ? "/" + text : text;
    std::vector<AddressOfKeyframe> addresses;
    bool hasActive = false;
    for (const MarvoTimelineKeyframe& keyframe : keyframes_.store().all()) {
        hasActive = hasActive || keyframe.isActiveKeyframe;
        if (keyframe.selected) addresses.push_back({keyframe.uID, address});
    }
    if (hasActive) exchangeAddresses(std::move(addresses));
}

void MarvoTimelineFlagTrack::setFlagAddressOfKeyframes(const std::vector<std::uint64_t>& uIDs,
                                                       const std::string& address) {
    std::vector<AddressOfKeyframe> addresses;
    for (const std::uint64_t uID : uIDs) addresses.push_back({uID, address});
    exchangeAddresses(std::move(addresses));
}

void MarvoTimelineFlagTrack::exchangeAddresses(std::vector<AddressOfKeyframe> addresses) {
    keyframes_.edit([&](KeyframeStore& store) {
        store.visit(addresses, [](MarvoTimelineKeyframe& keyframe, AddressOfKeyframe& one) {
            std::swap(keyframe.flag()->flagAddress, one.address);
        });
    });
    if (addresses.empty()) return;
    composition().registerUndoOfTrackChange(
        "Set Flag Keyframe Address", trackPosition(), [addresses](MarvoTimelineTrackProtocol& track) {
            if (auto* same = dynamic_cast<MarvoTimelineFlagTrack*>(&track))
                same->exchangeAddresses(addresses);
        });
    composition().projectChanged();
}

} // namespace marvo
