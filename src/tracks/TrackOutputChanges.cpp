// Where a track sends: its outputs as they are made from the settings, and what happens when the outputs that
// there are to choose from change.
#include "endpoints/osc/MarvoOSCManager.h"
#include "platform/MainThread.h"
#include "platform/Notifications.h"
#include "platform/Numbers.h"
#include "platform/SerialQueue.h"
#include "tracks/ArtNetValueOutput.h"
#include "tracks/MIDIValueOutput.h"
#include "tracks/MarvoTimelineTrack.h"
#include "tracks/OSCValueOutput.h"

#include <algorithm>

namespace marvo {
namespace {

ValueKind valueKindOf(TrackKind kind, std::int64_t trackOSCType) {
    if (kind == TrackKind::oscValue) return trackOSCType == 0 ? ValueKind::oscFloat : ValueKind::oscInteger;
    if (kind == TrackKind::midiNotes) return ValueKind::midiNotes;
    return ValueKind::other;
}

// The title counts channels from 1.
std::uint8_t midiChannelOf(const std::string& title) {
    return static_cast<std::uint8_t>(std::clamp(parseLeadingInt(title), 1, 16) - 1);
}

bool contains(const std::vector<std::string>& titles, const std::string& title) {
    return std::find(titles.begin(), titles.end(), title) != titles.end();
}

} // namespace

MarvoTimelineTrack::Output MarvoTimelineTrack::makeOutput() const {
    Output made;
    made.kind = valueKindOf(kind_, trackOSCType_);
    const std::string& composition = composition_.compName();
    if (kind_ == TrackKind::oscValue) {
        OSCValueSettings settings;
        settings.oscAddress = oscAddress_;
        settings.compositionName = composition;
        settings.compositionPosition = composition_.compositionIndex() + 1;
        settings.trackName = name_;
        settings.trackOSCType = trackOSCType_;
        settings.trackMinValue = trackMinValue_;
        settings.trackMaxValue = trackMaxValue_;
        settings.multiplier = oscFloatMultiplerByDigits();
        settings.sendsNormalisedValue = sendsNormalisedValue_;
        settings.compFPS = composition_.compFPS();
        settings.port = services_.oscManager.findOutputWithLabel(settings_.oscOut);
        setOutput(made, std::make_unique<OSCValueOutput>(settings, services_.bundles), made.values);
    } else if (kind_ == TrackKind::midiCC) {
        const auto controller = static_cast<std::uint8_t>(std::clamp<std::int64_t>(midiCCNumber(), 0, 127));
        const MIDIValueSettings settings{composition,
                                         name_,
                                         services_.midi.findDestNodeNamed(settings_.midiOut),
                                         midiChannelOf(settings_.midiChannel),
                                         controller,
                                         is14BitMIDI()};
        setOutput(made, std::make_unique<MIDIValueOutput>(settings), made.controllers);
        made.values = made.controllers;
    } else if (kind_ == TrackKind::midiNotes) {
        const MIDINoteSettings settings{composition, name_,
                                        services_.midi.findDestNodeNamed(settings_.midiOut),
                                        midiChannelOf(settings_.midiChannel)};
        setOutput(made, std::make_unique<MIDINoteOutput>(settings), made.notes);
    } else if (kind_ == TrackKind::artNetValue) {
        const ArtNetValueSettings settings{composition, name_, channels_, artNetUniverse_, is16BitArtNet()};
        setOutput(made, std::make_unique<ArtNetValueOutput>(settings, services_.dmx), made.values);
    }
    return made;
}

void MarvoTimelineTrack::swapOutput(Output& next) {
    endNotes();
    std::swap(output_, next);
    forgetSteadySegment(run_);
    lane_->output = output_.values;
    lane_->direct = lane_->output ? lane_->output->direct() : DirectSend{};
    outputSwapped();
}

void MarvoTimelineTrack::publishOutput() {
    if (isArtNet(kind_))
        artNetUniverse_ = services_.dmx.universeOfNodeWithDisplayedName(settings_.artNetOutput);
    Output next = makeOutput();
    services_.compQueue.sync([&] { swapOutput(next); });
}

void MarvoTimelineTrack::observe() {
    const auto on = [this](const Notification<NoPayload>& name, void (MarvoTimelineTrack::*react)()) {
        observations_.push_back(
            services_.notifications.observe(name, [this, react](const NoPayload&) { (this->*react)(); }));
    };
    if (isMIDI(kind_)) on(services_.names.midiOutputsChanged, &MarvoTimelineTrack::midiOutputsChanged);
    if (!isArtNet(kind_)) return;
    on(services_.names.artNetOutputsChanged, &MarvoTimelineTrack::artNetOutputsChanged);
    on(services_.names.collectDMXAddresses, &MarvoTimelineTrack::collectDMXAddresses);
    if (kind_ == TrackKind::artNetColor) {
        on(services_.names.ReprocessArtNetColorTracks, &MarvoTimelineTrack::reprocessArtNetAtCurrentTime);
    }
}

void MarvoTimelineTrack::collectDMXAddresses() {
    for (const int channel : dmxChannelsInUse()) {
        services_.notifications.post(services_.names.collectDMXAddressesReply,
                                     DMXAddresses{artNetUniverse_, channel, 0});
    }
}

std::vector<std::string> MarvoTimelineTrack::midiOutputTitles() const {
    std::vector<std::string> titles = services_.midi.midiOutNodeNames();
    for (std::string& detected : services_.midi.detectedMidiOutNodeNames())
        titles.push_back(std::move(detected));
    return titles;
}

void MarvoTimelineTrack::midiOutputsChanged() {
    outputTitlesChanged(midiOutputTitles(), settings_.midiOut, settings_.lastSelectedMIDIOutput);
}

void MarvoTimelineTrack::artNetOutputsChanged() {
    outputTitlesChanged(services_.dmx.artNetOutputNames(), settings_.artNetOutput,
                        settings_.lastSelectedArtNetOutput);
}

void MarvoTimelineTrack::outputTitlesChanged(const std::vector<std::string>& titles, std::string& selected,
                                             std::string& lastSelected) {
    const auto select = [&](const std::string& title) {
        selected = title;
        trackSettingsChangedAndShouldReprocess(!services_.shouldIgnoreRendering());
    };
    if (!lastSelected.empty() && contains(titles, lastSelected)) {
        select(std::string(lastSelected));
    } else if (titles.empty() || contains(titles, selected)) {
        // The name may stand for another object by now.
        publishOutput();
    } else {
        // The first that was lost is the one that was chosen; those after it only stood in.
        const std::string lost = lastSelected.empty() ? selected : lastSelected;
        if (services_.log && !lost.empty()) services_.log->log("output removed, so remember it!");
        select(titles.front());
        lastSelected = lost;
    }
}

void MarvoTimelineTrack::oscOutputsChanged(const std::string* oldLabel, const std::string* newLabel) {
    if (!isOSC(kind_)) return;
    MarvoOSCManager& manager = services_.oscManager;
    const auto changed = [this] {
        trackSettingsChangedAndShouldReprocess(!services_.shouldIgnoreRendering());
    };
    const auto first = [&] {
        const auto output = manager.firstOutput();
        return output ? output->portLabel() : std::string();
    };
    if (!settings_.lastSelectedOSCOutput.empty() &&
        manager.findOutputWithLabel(settings_.lastSelectedOSCOutput)) {
        settings_.oscOut = settings_.lastSelectedOSCOutput;
        changed();
        return;
    }
    if (manager.findOutputWithLabel(settings_.oscOut)) {
        publishOutput();
        return;
    }
    if (oldLabel && newLabel) {
        if (*oldLabel == settings_.oscOut) {
            settings_.oscOut = *newLabel;
            publishOutput();
        } else {
            settings_.oscOut = first();
            changed();
        }
        return;
    }
    const std::string lost = settings_.oscOut;
    if (services_.log) services_.log->log("output removed, so remember it!");
    settings_.oscOut = first();
    changed();
    settings_.lastSelectedOSCOutput = lost;
}

} // namespace marvo
