// What happens to a track when one of its settings changes.
#include "platform/MainThread.h"
#include "platform/Numbers.h"
#include "platform/SerialQueue.h"
#include "platform/Text.h"
#include "tracks/MarvoTimelineTrack.h"

namespace marvo {
void MarvoTimelineTrack::trackSettingsChangedAndShouldReprocess(bool reprocess) {
    if (isOSC(kind_)) {
        settings_.lastSelectedOSCOutput.clear();
    } else if (isArtNet(kind_)) {
        artNetSettingsChanged();
    } else {
        midiSettingsChanged();
    }
    publishOutput();
    if (!reprocess) return;
    composition_.projectChanged();
    reprocessAtCurrentTime();
}

void MarvoTimelineTrack::artNetSettingsChanged() {
    const std::string before = channels_.stringValueOfDMXChannels();
    channels_ = DMXChannelList::createDMXChannelsWithString(settings_.artNetChannel);
    settings_.artNetChannel = channels_.stringValueOfDMXChannels();
    const bool turns16BitOff = !allows16BitArtNet() && is16BitArtNet();
    if (settings_.artNetChannel != before) {
        std::vector<KeyframePlace> values;
        if (turns16BitOff) values = keyframes_.places();
        composition_.registerUndoOfTrackChange(
            "Change Art-Net Channel", trackPosition_,
            [before, turns16BitOff, values](MarvoTimelineTrackProtocol& track) {
                if (auto* plain = dynamic_cast<MarvoTimelineTrack*>(&track))
                    plain->putArtNetChannelBack(before, turns16BitOff, values);
            });
    }
    settings_.lastSelectedArtNetOutput.clear();
    if (turns16BitOff) {
        artNet16bitButton.setState(false);
        toggle16BitArtNet();
    }
    artNet16bitButton.setEnabled(allows16BitArtNet());
}

void MarvoTimelineTrack::putArtNetChannelBack(const std::string& text, bool was16Bit,
                                              const std::vector<KeyframePlace>& values) {
    setArtNetChannel(text);
    if (!was16Bit) return;
    // Only now: the coarse half is right already, and a fine half needs the channel behind it.
    artNet16bitButton.setState(true);
    rangeChanged(trackMinValue_, 65535.0f, values);
}

void MarvoTimelineTrack::midiSettingsChanged() {
    settings_.lastSelectedMIDIOutput.clear();
    if (const auto node = services_.midi.findDestNodeNamed(settings_.midiOut))
        services_.midi.needsCheckOutputSelected(*node);
    if (kind_ != TrackKind::midiCC) return;
    if (!allows14BitMIDI() && is14BitMIDI()) {
        midiCC14bitButton.setState(false);
        toggle14BitMidi();
    }
    midiCC14bitButton.setEnabled(allows14BitMIDI());
}

void MarvoTimelineTrack::setOscAddresses() {
    for (MarvoButton* button : {&enabledButton, &midiCC14bitButton, &artNet16bitButton})
        button->removeOSCListener();
    oscNamespace_ = composition_.oscNamespace() + "/" + removeBlanks(lowercase(lossyAscii(name_)));
    enabledButton.setOSCAddress(oscNamespace_ + "/enable", "integer 0-1");
    midiCC14bitButton.setOSCAddress(oscNamespace_ + "/14bitmidi", "integer 0-1");
    artNet16bitButton.setOSCAddress(oscNamespace_ + "/16bitartnet", "integer 0-1");
    for (MarvoButton* button : {&enabledButton, &midiCC14bitButton, &artNet16bitButton})
        button->addOSCListener();
    // The composition's name and place stand in the address template, too.
    publishOutput();
}

void MarvoTimelineTrack::setOscAddress(std::string address) {
    oscAddress_ = std::move(address);
    trackSettingsChangedAndShouldReprocess(true);
}

void MarvoTimelineTrack::selectOSCOutput(const std::string& label) {
    settings_.oscOut = label;
    trackSettingsChangedAndShouldReprocess(true);
}

void MarvoTimelineTrack::selectMIDIOutput(const std::string& title) {
    settings_.midiOut = title;
    trackSettingsChangedAndShouldReprocess(true);
}

void MarvoTimelineTrack::setMidiChannel(const std::string& title) {
    settings_.midiChannel = title;
    trackSettingsChangedAndShouldReprocess(true);
}

void MarvoTimelineTrack::selectArtNetOutput(const std::string& title) {
    settings_.artNetOutput = title;
    trackSettingsChangedAndShouldReprocess(true);
}

void MarvoTimelineTrack::setTrackOSCType(std::int64_t type) {
    trackOSCType_ = type;
    trackSettingsChangedAndShouldReprocess(true);
}

void MarvoTimelineTrack::setSendsNormalisedValue(bool normalised) {
    sendsNormalisedValue_ = normalised;
    trackSettingsChangedAndShouldReprocess(true);
}

void MarvoTimelineTrack::setUsing5FractionDigits(bool five) {
    isUsing5FractionDigits_ = five;
    trackSettingsChangedAndShouldReprocess(true);
}

void MarvoTimelineTrack::setRange(float minimum, float maximum) {
    rangeChanged(minimum, maximum);
    trackSettingsChangedAndShouldReprocess(true);
}

OSCPreferences MarvoTimelineTrack::oscPreferences() const {
    return {trackOSCType_, trackMinValue_, trackMaxValue_, isUsing5FractionDigits_, sendsNormalisedValue_};
}

void MarvoTimelineTrack::setOSCPreferences(const OSCPreferences& preferences,
                                           std::vector<KeyframePlace> values) {
    trackOSCType_ = preferences.trackOSCType;
    isUsing5FractionDigits_ = preferences.isUsing5FractionDigits;
    sendsNormalisedValue_ = preferences.sendsNormalisedValue;
    rangeChanged(preferences.trackMinValue, preferences.trackMaxValue, std::move(values));
    trackSettingsChangedAndShouldReprocess(true);
}

void MarvoTimelineTrack::setMidiCC(const std::string& number) {
    settings_.midiCC = number;
    trackSettingsChangedAndShouldReprocess(true);
}

void MarvoTimelineTrack::setMidiNotes(const std::string& from, const std::string& to) {
    // The two lists never cross: what would cross is not selectable.
    if (parseLeadingInt(from) >= parseLeadingInt(to)) return;
    settings_.midiNotesFrom = from;
    settings_.midiNotesTo = to;
    midiRangeChanged();
}

void MarvoTimelineTrack::setArtNetChannel(const std::string& text) {
    settings_.artNetChannel = text;
    trackSettingsChangedAndShouldReprocess(true);
}

void MarvoTimelineTrack::midiRangeChanged() {
    rangeChanged(static_cast<float>(parseLeadingInt(settings_.midiNotesFrom)),
                 static_cast<float>(parseLeadingInt(settings_.midiNotesTo)));
    trackSettingsChangedAndShouldReprocess(!services_.shouldIgnoreRendering());
}

void MarvoTimelineTrack::toggle14BitMidi() {
    rangeChanged(trackMinValue_, is14BitMIDI() ? 16383.0f : 127.0f);
}

void MarvoTimelineTrack::toggle16BitArtNet() {
    rangeChanged(trackMinValue_, is16BitArtNet() ? 65535.0f : 255.0f);
}

void MarvoTimelineTrack::rangeChanged(float minimum, float maximum, std::vector<KeyframePlace> values) {
    trackMinValue_ = minimum;
    trackMaxValue_ = maximum;
    std::unique_ptr<KeyframePlan> plan = keyframes_.prepare([&](KeyframeStore& store) {
        for (MarvoTimelineKeyframe& keyframe : store.all()) {
            keyframe.calculateNewValuesWithNewMinMax(trackMinValue_, trackMaxValue_, keyframeKind(),
                                                     laneHeight);
            keyframe.refresh();
        }
        store.visit(values, [](MarvoTimelineKeyframe& keyframe, const KeyframePlace& one) {
            keyframe.value = one.value;
            keyframe.refresh();
        });
    });
    Output next = makeOutput();
    // Together: values of one scale through an output of the other would flash.
    services_.compQueue.sync([&] {
        keyframes_.publish(std::move(plan));
        swapOutput(next);
    });
}

std::int64_t MarvoTimelineTrack::midiCCNumber() const {
    return parseLeadingInt(settings_.midiCC);
}

std::vector<int> MarvoTimelineTrack::dmxChannelsInUse() const {
    return channels_.dmxChannelsInUse(is16BitArtNet());
}

bool MarvoTimelineTrack::allows16BitArtNet() const {
    return channels_.entries().front().start <= 511;
}

} // namespace marvo
