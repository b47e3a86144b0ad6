// Construction, identity and the tick.
#include "tracks/MarvoTimelineTrack.h"

#include "platform/SerialQueue.h"

#include <algorithm>
#include <limits>

namespace marvo {
namespace {

constexpr float nothingToSend = std::numeric_limits<float>::infinity();

} // namespace

MarvoTimelineTrack::MarvoTimelineTrack(std::string trackType, TrackComposition& composition,
                                       TrackServices& services)
    : enabledButton(services.controls), midiCC14bitButton(services.controls),
      artNet16bitButton(services.controls), lane_(services.lanes->take()),
      keyframes_(services.keyframeHelper, trackKindOf(trackType) == TrackKind::midiNotes, &news_),
      trackType_(std::move(trackType)), kind_(trackKindOf(trackType_)), composition_(composition),
      services_(services) {
    enabledButton.setState(true);
    enabledButton.setAction([this](MarvoButton&) {
        handleMute();
        composition_.projectChanged();
    });
    midiCC14bitButton.setAction([this](MarvoButton&) { toggle14BitMidi(); });
    artNet16bitButton.setAction([this](MarvoButton&) { toggle16BitArtNet(); });
    channels_ = DMXChannelList::createDMXChannelsWithString(settings_.artNetChannel);
    // As the pop-ups show what they are filled with.
    if (const auto titles = midiOutputTitles(); isMIDI(kind_) && !titles.empty())
        settings_.midiOut = titles.front();
    if (const auto titles = services_.dmx.artNetOutputNames(); isArtNet(kind_) && !titles.empty())
        settings_.artNetOutput = titles.front();
    observe();
}

MarvoTimelineTrack::~MarvoTimelineTrack() {
    services_.compQueue.sync([this] { endNotes(); });
}

void MarvoTimelineTrack::applyCreationDefaults(const std::string& oscAddress, std::int64_t nextMidiCC,
                                               const std::string& nextChannel) {
    switch (kind_) {
    case TrackKind::midiCC:
        settings_.midiCC = std::to_string(nextMidiCC);
        break;
    case TrackKind::midiNotes:
        midiRangeChanged();
        break;
    case TrackKind::oscValue:
    case TrackKind::oscColor:
        trackMinValue_ = 0.0f;
        trackMaxValue_ = 100.0f;
        oscAddress_ = oscAddress;
        selectFirstOSCOutput();
        break;
    case TrackKind::oscFlag:
        trackMaxValue_ = 0.0f;
        trackOSCType_ = 3;
        selectFirstOSCOutput();
        break;
    case TrackKind::artNetValue:
    case TrackKind::artNetColor:
        trackMaxValue_ = 255.0f;
        settings_.artNetChannel = nextChannel;
        channels_ = DMXChannelList::createDMXChannelsWithString(nextChannel);
        break;
    default:
        break;
    }
}

void MarvoTimelineTrack::selectFirstOSCOutput() {
    if (const auto first = services_.oscManager.firstOutput()) settings_.oscOut = first->portLabel();
}

void MarvoTimelineTrack::setName(std::string name) {
    services_.compQueue.sync([&] { name_.swap(name); });
    publishOutput();
}

void MarvoTimelineTrack::setEnabled(bool enabled) {
    enabledButton.setState(enabled);
    handleMute();
    composition_.projectChanged();
}

bool MarvoTimelineTrack::renameTrack(const std::string& name) {
    if (!composition_.isAvailableTrackName(name, false, this)) {
        composition_.beep();
        return false;
    }
    composition_.undoRenameOnTrack(trackPosition_, name);
    return true;
}

ValueRules MarvoTimelineTrack::rules() const {
    ValueRules rules;
    rules.inTime = composition_.inTime();
    rules.optimalisedSending = services_.preferences.optimalisedSending;
    rules.processFirstKeyframe = services_.preferences.processFirstKeyframe;
    rules.isGroupedOSCMessage = output_.values && output_.values->isGrouped();
    rules.kind = output_.kind;
    return rules;
}

bool MarvoTimelineTrack::skipsTo(Frame frame) {
    const bool skips = (frame - run_.lastProcessedTime).value != 1 && run_.lastProcessedTime < frame;
    run_.lastProcessedTime = frame;
    return skips;
}

const KeyframePlan& MarvoTimelineTrack::currentPlan() {
    bool changed = false;
    const KeyframePlan& plan = keyframes_.plan(&changed);
    if (changed) run_.lastkfindex = 0;
    return plan;
}

ValueLane* MarvoTimelineTrack::lane(std::atomic<bool>* news) {
    const bool hasSegments = kind_ == TrackKind::oscValue || kind_ == TrackKind::midiCC ||
                             kind_ == TrackKind::artNetValue || kind_ == TrackKind::oscColor ||
                             kind_ == TrackKind::artNetColor;
    news_.tellAlso(news);
    return hasSegments ? lane_.get() : nullptr;
}

void MarvoTimelineTrack::processAtTime(Frame frame, bool processing) {
    TrackNews::take(lane_->news);
    forgetSteadySegment(run_);
    if (!takesTick(processing)) return;
    if (output_.notes) output_.notes->endNotes(frame);
    if (processing) {
        if (skipsTo(frame) && services_.preferences.processLastKeyframeOnUnpause)
            run_.needsProcessPreviousKeyframe = true;
        const KeyframePlan& plan = currentPlan();
        if (output_.notes && playKeyframesAt(plan, frame)) return;
        calculateCurrentValueAtTime(run_, plan, keyframes_.states(), rules(), frame);
    }
    if (run_.value >= nothingToSend) return;
    shownValue_ = run_.value;
    if (output_.values) {
        output_.values->send(run_.value, frame);
    } else if (output_.notes && processing) {
        output_.notes->playNote(run_.value, {run_.lastNoteOnVelocity, run_.lastNoteOffVelocity}, frame);
        endNotesOfAStandingPlayhead();
    } else if (output_.notes) {
        output_.notes->playTestNote(run_.value, frame);
    }
}

bool MarvoTimelineTrack::playKeyframesAt(const KeyframePlan& plan, Frame frame) {
    const auto& keyframes = plan.keyframes;
    const auto first =
        std::lower_bound(keyframes.begin(), keyframes.end(), frame.value,
                         [](const PlannedKeyframe& keyframe, std::int64_t t) { return keyframe.time < t; });
    if (first == keyframes.end() || first->time != frame.value) return false;
    run_.value = 0.0f;
    run_.prevTrackValue = nothingToSend;
    KeyframeRunStates& states = keyframes_.states();
    for (auto i = first; i != keyframes.end() && i->time == frame.value; ++i) {
        if (states.isProcessed(i->slot, i->time)) continue;
        states.setProcessed(i->slot, true);
        output_.notes->playNote(i->value, plan.velocities[static_cast<std::size_t>(i - keyframes.begin())],
                                frame);
        run_.prevTrackValue = i->value;
        shownValue_ = i->value;
    }
    endNotesOfAStandingPlayhead();
    return true;
}

void MarvoTimelineTrack::endNotes() {
    if (output_.notes) output_.notes->endNotes();
}

void MarvoTimelineTrack::endNotesOfAStandingPlayhead() {
    if (!composition_.isRunning()) endNotes();
}

void MarvoTimelineTrack::compositionStarted() {
    valueRunStarted(run_, keyframes_.states(), composition_.currentTime(),
                    services_.preferences.processLastKeyframeOnUnpause);
}

void MarvoTimelineTrack::compositionStopped() {
    valueRunStopped(run_);
    endNotes();
}

void MarvoTimelineTrack::compositionJumped() {
    valueRunJumped(run_, keyframes_.states(), composition_.currentTime(),
                   services_.preferences.processLastKeyframeOnJump);
}

void MarvoTimelineTrack::compositionLooped() {
    valueRunLooped(run_, keyframes_.states());
}

void MarvoTimelineTrack::compositionLoopedByCue() {
    compositionJumped();
}

void MarvoTimelineTrack::compositionSettingsChanged() {
    publishOutput();
}

void MarvoTimelineTrack::removeResources() {
    observations_.clear();
    enabledButton.removeResources();
    midiCC14bitButton.removeResources();
    artNet16bitButton.removeResources();
    Output gone;
    services_.compQueue.sync([&] { swapOutput(gone); });
}

} // namespace marvo
