// What is asked of a track by hand: bangs, mute, lock and reprocessing.
#include "controls/NumberText.h"
#include "platform/Log.h"
#include "platform/MainThread.h"
#include "platform/SerialQueue.h"
#include "tracks/MIDIValueOutput.h"
#include "tracks/MarvoTimelineTrack.h"

#include <algorithm>

namespace marvo {
namespace {

constexpr std::uint8_t shotValue = 64;

std::uint8_t dataByte(std::int64_t number) {
    return static_cast<std::uint8_t>(number & 255);
}

} // namespace

void MarvoTimelineTrack::logShot(const char* what, std::int32_t number) const {
    if (services_.log) services_.log->log("shot on " + std::string(what) + " " + std::to_string(number));
}

void MarvoTimelineTrack::shot() {
    if (kind_ == TrackKind::oscValue) {
        shotWithValue(oscFloatMultiplerByDigits());
    } else if (kind_ == TrackKind::midiCC) {
        autoShotOnCC(std::to_string(midiCCNumber()));
    }
}

std::vector<ShotChoice> MarvoTimelineTrack::shotChoices() const {
    std::vector<ShotChoice> choices;
    if (kind_ != TrackKind::midiNotes) return choices;
    const auto held = [](const std::string& text) {
        return std::clamp<std::int64_t>(numbertext::leadingInteger(text), 0, 127);
    };
    const std::int64_t last = held(settings_.midiNotesTo);
    for (std::int64_t note = held(settings_.midiNotesFrom); note <= last; ++note)
        choices.push_back({std::to_string(note), note});
    return choices;
}

void MarvoTimelineTrack::shotWithChoice(std::int64_t choice) {
    if (kind_ == TrackKind::midiNotes) shotOnNote(std::to_string(choice));
}

void MarvoTimelineTrack::shotOnNote(std::string_view note) {
    const std::uint8_t number = dataByte(numbertext::leadingInteger(note));
    services_.compQueue.sync([&] {
        if (output_.notes) output_.notes->shotOnNote(number, shotValue);
    });
    logShot("note", number);
}

void MarvoTimelineTrack::shotWithValue(float value) {
    services_.compQueue.sync([this, value] {
        forgetSteadySegment(run_);
        run_.value = value;
        processAtTime(Frame(0), false);
    });
}

void MarvoTimelineTrack::autoShotOnCC(std::string_view number) {
    if (kind_ == TrackKind::oscValue) {
        shot();
    } else if (kind_ == TrackKind::midiCC) {
        const std::uint8_t controller = dataByte(numbertext::leadingInteger(number));
        services_.compQueue.sync([&] {
            if (output_.controllers) output_.controllers->shotOnController(controller, shotValue);
        });
        logShot("controller", controller);
    } else {
        shotOnNote(number);
    }
}

void MarvoTimelineTrack::autoShotBySender(std::optional<std::int64_t> tag) {
    if (tag) autoShotOnCC(std::to_string(*tag));
}

void MarvoTimelineTrack::reprocessAtCurrentTime() {
    services_.compQueue.sync([this] {
        compositionJumped();
        processAtTime(composition_.currentTime());
    });
}

void MarvoTimelineTrack::handleMute() {
    services_.compQueue.sync([this] {
        isEnabled_ = enabledButton.state();
        news_.raise();
        const bool isOn = isEnabled_ && composition_.compState();
        // A track that is off has no tick to end its notes.
        if (!isOn) endNotes();
        if (!isArtNet(kind_) || !services_.preferences.blackoutOnMute || services_.shouldIgnoreRendering())
            return;
        if (!isOn) {
            blackOut();
            // So that the next unmute sends the state of the track again.
            compositionJumped();
        } else if (!composition_.isRunning() && services_.preferences.reprocessOnUnmute) {
            processAtTime(composition_.currentTime());
        }
    });
}

void MarvoTimelineTrack::blackOut() {
    forgetSteadySegment(run_);
    run_.value = 0.0f;
    processAtTime(Frame(0), false);
}

void MarvoTimelineTrack::lockTrack(bool locks) {
    services_.mainThread.sync([this, locks] {
        isSelected_ = false;
        isLocked_ = locks;
        keyframes_.deselectFrames();
    });
    composition_.projectChanged();
}

} // namespace marvo
