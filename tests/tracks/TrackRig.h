// A track on its own: a composition that is played by hand, and ports that write down what reaches them.
#pragma once

#include "RecordingControlHub.h"
#include "endpoints/osc/RecordingOSCTransport.h"
#include "tracks/MarvoTimelineTrack.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace marvo::testing {

using Lines = std::vector<std::string>;

// What was sent, in order, as text. With keeps off it is only counted, and nothing is allocated.
struct Journal {
    bool keeps = true;
    std::size_t count = 0;
    Lines lines;

    template <class MakeLine>
    void note(MakeLine&& line) {
        ++count;
        if (keeps) lines.push_back(line());
    }
    Lines take() { return std::exchange(lines, {}); }
};

// "on 60 127", "off 60 64", "cc 7 100"; behind it the channel when it is not the first.
class JournalNode final : public MarvoMIDINode {
public:
    JournalNode(std::string name, Journal& journal) : name_(std::move(name)), journal_(journal) {}
    const std::string& name() const override { return name_; }
    bool enabled() const override { return true; }
    void setEnabled(bool) override {}
    void sendMsg(const MIDIMessage& message, const SendOrigin& origin) override {
        lastFrame = origin.frame;
        journal_.note([&] { return textOf(message); });
    }
    void sendMsgs(std::span<const MIDIMessage> messages, const SendOrigin& origin) override {
        lastFrame = origin.frame;
        journal_.note([&] {
            std::string line;
            for (const MIDIMessage& message : messages) line += (line.empty() ? "" : " + ") + textOf(message);
            return line;
        });
    }
    void sendSysex(std::span<const std::uint8_t>, const SendOrigin&) override {}

    std::int64_t lastFrame = -1;

private:
    std::string textOf(const MIDIMessage& message) const {
        std::string line = name_ == "Desk" ? "" : name_ + ": ";
        line += message.type == MIDIMessage::noteOn    ? "on"
                : message.type == MIDIMessage::noteOff ? "off"
                                                       : "cc";
        line += " " + std::to_string(message.data1) + " " + std::to_string(message.data2);
        if (message.channel != 0) line += " ch " + std::to_string(message.channel);
        return line;
    }
    std::string name_;
    Journal& journal_;
};

class JournalMIDI final : public MIDIDestinations {
public:
    explicit JournalMIDI(Journal& journal) : journal_(journal) { plug("Desk"); }
    void plug(const std::string& name) { detected_[name] = std::make_shared<JournalNode>(name, journal_); }
    void unplug(const std::string& name) { detected_.erase(name); }
    JournalNode& node(const std::string& name) { return *detected_.at(name); }

    std::shared_ptr<MarvoMIDINode> findDestNodeNamed(std::string_view name) const override {
        const auto found = detected_.find(std::string(name));
        return found == detected_.end() ? nullptr : found->second;
    }
    std::vector<std::string> midiOutNodeNames() const override { return own; }
    std::vector<std::string> detectedMidiOutNodeNames() const override {
        std::vector<std::string> names;
        for (const auto& [name, node] : detected_) names.push_back(name);
        return names;
    }
    void needsCheckOutputSelected(const MarvoMIDINode& node) override { checked.push_back(node.name()); }

    std::vector<std::string> own;
    std::vector<std::string> checked;

private:
    Journal& journal_;
    std::map<std::string, std::shared_ptr<JournalNode>> detected_;
};

// "0.12=255": universe, channel and value; with "~" for a value that the master fader scales.
class JournalDMX final : public DMXWriter {
public:
    explicit JournalDMX(Journal& journal) : journal_(journal) {}
    void setValue(std::int32_t value, std::int32_t channel, std::int32_t universe,
                  const SendOrigin&) override {
        journal_.note([&] { return textOf('=', value, channel, universe); });
    }
    void setValueByColorTrack(std::int32_t value, std::int32_t channel, std::int32_t universe,
                              const SendOrigin&) override {
        journal_.note([&] { return textOf('~', value, channel, universe); });
    }
    std::vector<std::string> artNetOutputNames() const override {
        std::vector<std::string> names;
        for (const auto& [name, universe] : outputs) names.push_back(name);
        return names;
    }
    std::int32_t universeOfNodeWithDisplayedName(std::string_view name) const override {
        const auto found = outputs.find(std::string(name));
        return found == outputs.end() ? 0 : found->second;
    }

    std::map<std::string, std::int32_t> outputs;

private:
    static std::string textOf(char sign, std::int32_t value, std::int32_t channel, std::int32_t universe) {
        return std::to_string(universe) + "." + std::to_string(channel) + sign + std::to_string(value);
    }
    Journal& journal_;
};

// "/a 1 0.500 "text" #ff0000ff": integers plain, floats with three digits, colours in hexadecimal.
class JournalOSC final : public OSCMessageSink {
public:
    explicit JournalOSC(Journal& journal) : journal_(journal) {}
    void messageSent(const std::string&, const OSCMessage& message, const SendOrigin&) override {
        journal_.note([&] {
            std::string line(message.address());
            for (const OSCValue& value : message.values()) line += " " + textOf(value);
            return line;
        });
    }

private:
    static std::string textOf(const OSCValue& value) {
        char text[64];
        switch (value.type()) {
        case OSCValue::typeFloat:
            std::snprintf(text, sizeof text, "%.3f", static_cast<double>(value.floatValue()));
            return text;
        case OSCValue::typeColor:
            std::snprintf(text, sizeof text, "#%08x", value.colorValue());
            return text;
        case OSCValue::typeString:
            return "\"" + std::string(value.stringValue()) + "\"";
        default:
            return std::to_string(value.intValue());
        }
    }
    Journal& journal_;
};

class HandPlayedComposition final : public TrackComposition {
public:
    std::int64_t fps = 30;
    float seconds = 10.0f;
    Frame now;
    Frame in;
    Frame out{300};
    bool byCue = false;
    bool isOn = true;
    bool runs = true;
    std::string name = "Comp";
    std::string path = "/marvo/comp";
    std::vector<std::string> takenNames;
    int changes = 0;
    int beeps = 0;
    MarvoTimelineTrackProtocol* track = nullptr;
    std::vector<std::pair<std::string, std::function<void()>>> undos;

    void undo() {
        const auto last = undos.back().second;
        undos.pop_back();
        last();
    }

    std::int64_t compFPS() const override { return fps; }
    float compTime() const override { return seconds; }
    Frame currentTime() const override { return now; }
    Frame inTime() const override { return in; }
    Frame outTime() const override { return out; }
    bool jumpedToCue() const override { return byCue; }
    bool compState() const override { return isOn; }
    bool isRunning() const override { return runs; }
    const std::string& compName() const override { return name; }
    const std::string& oscNamespace() const override { return path; }
    std::int64_t compositionIndex() const override { return 2; }
    bool isAvailableTrackName(std::string_view wanted, bool,
                              const MarvoTimelineTrackProtocol*) const override {
        return std::find(takenNames.begin(), takenNames.end(), wanted) == takenNames.end();
    }
    void registerUndoOfAddedKeyframe(std::uint64_t uID, std::int64_t) override {
        undos.emplace_back("Add Keyframe", [this, uID] { track->removeKeyFrameWithUID(uID); });
    }
    void registerUndoOfRemovedKeyframe(PropertyList keyframe, std::int64_t) override {
        undos.emplace_back("Remove Keyframe", [this, keyframe] { track->addNewKeyFrameWithData(keyframe); });
    }
    void registerUndoOfMovedKeyframes(FrameCount delta, std::int64_t) override {
        undos.emplace_back("Move Keyframe", [this, delta] {
            dynamic_cast<MarvoTimelineTrack&>(*track).moveAllKeyFrames(delta);
        });
    }
    void registerUndoOfTrackChange(const std::string& actionName, std::int64_t,
                                   std::function<void(MarvoTimelineTrackProtocol&)> inverse) override {
        undos.emplace_back(actionName, [this, inverse] { inverse(*track); });
    }
    void undoRenameOnTrack(std::int64_t, const std::string& to) override {
        undos.emplace_back("Rename Track", [this, old = track->name()] { track->setName(old); });
        track->setName(to);
        track->setOscAddresses();
        ++changes;
    }
    void projectChanged() override { ++changes; }
    void beep() override { ++beeps; }
};

class NoFeedback final : public OSCFeedbackPreference {
public:
    std::string oscFeedbackTarget() const override { return "Disabled"; }
    void setOSCFeedbackTarget(const std::string&) override {}
};

// Everything around one track. Make the track with `make`, then play it with `play`.
class TrackRig {
public:
    TrackRig() {
        oscManager.createNewOutputToAddress("127.0.0.1", 8000, "Out");
        bundles.setOSCManager(&oscManager);
    }

    Journal journal;
    VirtualClock clock;
    MainThread main{clock};
    NotificationCenter notifications;
    Notifications names{notifications};
    SerialQueue compQueue{"com.selkar.compositions", QueueRank::compositions};
    PlaybackPreferences preferences;
    MarvoKeyframeHelper keyframeHelper;
    JournalOSC osc{journal};
    RecordingOSCTransport transport{osc};
    NoFeedback noFeedback;
    MarvoOSCManager oscManager{transport, noFeedback};
    MarvoOSCBundleManager bundles;
    JournalMIDI midi{journal};
    JournalDMX dmx{journal};
    RecordingControlHub hub;
    bool ignoresRendering = false;
    HandPlayedComposition composition;
    TrackServices services{compQueue,
                           main,
                           notifications,
                           names,
                           preferences,
                           keyframeHelper,
                           oscManager,
                           bundles,
                           midi,
                           dmx,
                           hub,
                           nullptr,
                           [] { return std::string("Linear Interpolation"); },
                           [this] { return ignoresRendering; }};

    // As the factory makes a track; what that sends is not kept.
    template <class Track = MarvoTimelineTrack>
    std::unique_ptr<Track> make(const std::string& type) {
        auto track = std::make_unique<Track>(type, composition, services);
        composition.track = track.get();
        track->setName("Lane");
        track->applyCreationDefaults("/example", 7, "1");
        track->trackSettingsChangedAndShouldReprocess(true);
        track->setOscAddresses();
        journal.take();
        composition.undos.clear();
        return track;
    }
    // One tick of the running composition.
    Lines tick(MarvoTimelineTrackProtocol& track, std::int64_t frame) {
        compQueue.sync([&] {
            composition.now = Frame(frame);
            track.processAtTime(Frame(frame));
        });
        return journal.take();
    }
    // Ticks first to last, both included.
    Lines play(MarvoTimelineTrackProtocol& track, std::int64_t first, std::int64_t last) {
        Lines all;
        for (std::int64_t frame = first; frame <= last; ++frame)
            for (std::string& line : tick(track, frame)) all.push_back(std::move(line));
        return all;
    }
    void start(MarvoTimelineTrackProtocol& track, std::int64_t frame = 0) {
        composition.now = Frame(frame);
        composition.runs = true;
        compQueue.sync([&] { track.compositionStarted(); });
    }
    void stop(MarvoTimelineTrackProtocol& track) {
        composition.runs = false;
        compQueue.sync([&] { track.compositionStopped(); });
    }
    void jump(MarvoTimelineTrackProtocol& track, std::int64_t frame) {
        composition.now = Frame(frame);
        compQueue.sync([&] { track.compositionJumped(); });
    }
};

inline PropertyList keyframeAt(std::int64_t time, float value, const char* curve = "Linear Interpolation") {
    PropertyList keyframe = PropertyList::dictionary();
    keyframe.set("time", time);
    keyframe.set("value", value);
    keyframe.set("interpolation", curve);
    return keyframe;
}

inline PropertyList noteAt(std::int64_t time, float note, float velocityOn, float velocityOff,
                           const char* curve = "No Interpolation") {
    PropertyList keyframe = keyframeAt(time, note, curve);
    keyframe.set("noteVelocityOn", velocityOn);
    keyframe.set("noteVelocityOff", velocityOff);
    return keyframe;
}

} // namespace marvo::testing
