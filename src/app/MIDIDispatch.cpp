#include "app/MIDIDispatch.h"

#include "app/AppDelegate.h"

#include <algorithm>

namespace marvo {
namespace {

constexpr std::uint8_t everyDevice = 127;

// MIDI Machine Control, the commands that do something here.
constexpr std::uint8_t mmcStop = 1;
constexpr std::uint8_t mmcPlay = 2;
constexpr std::uint8_t mmcRewind = 5;
constexpr std::uint8_t mmcRecordStrobe = 6;
constexpr std::uint8_t mmcLocate = 68;

bool isFullFrameTimecode(std::span<const std::uint8_t> payload) {
    return payload.size() == 8 && payload[0] == 127 && payload[1] == 127 && payload[2] == 1 &&
           payload[3] == 1;
}

bool isMachineControl(std::span<const std::uint8_t> payload) {
    return (payload.size() == 4 || payload.size() == 11) && payload[0] == 127 && payload[2] == 6;
}

} // namespace

MIDIDispatch::MIDIDispatch(AppDelegate& application)
    : application_(application), searchSignal_(application.mainThread(), [&application] {
          application.recorder.midiFilters.searchMessages();
      }) {}

void MIDIDispatch::receivedMIDI(std::span<const MIDIMessage> messages, const std::string& sourceName) {
    if (application_.gate.shouldIgnoreRendering()) return;
    bool recording = application_.recorder.isArmed();
    if (recording) application_.recorder.beginDelivery();
    // A coarse controller comes before its fine one, 32 above.
    sorted_.assign(messages.begin(), messages.end());
    std::stable_sort(sorted_.begin(), sorted_.end(),
                     [](const MIDIMessage& a, const MIDIMessage& b) { return a.data1 < b.data1; });
    for (const MIDIMessage& message : sorted_) {
        if (message.type == MIDIMessage::timecodeQuarterFrame) {
            application_.notifications().post(application_.names().MTCQuarterFrameReceivedNotification,
                                              sourceName);
        } else if (message.type == MIDIMessage::noteOn || message.type == MIDIMessage::noteOff ||
                   message.type == MIDIMessage::controlChange) {
            const bool wasRecording = recording;
            receivedNoteOrController(message, recording);
            if (wasRecording && !recording) return;
        }
    }
}

// recording is cleared when the rest of the delivery is lost.
void MIDIDispatch::receivedNoteOrController(const MIDIMessage& message, bool& recording) {
    InboundRecorder& recorder = application_.recorder;
    std::string key = MarvoMIDIFilterManager::keyOf(message.type, message.channel, message.data1);
    if (!recorder.midiFilters.find(key)) {
        application_.mainThread().async([this, key = std::move(key)] {
            if (application_.recorder.midiFilters.add(key)) searchSignal_.post();
        });
    }
    if (recording && !recorder.takeMIDI(message)) {
        recording = false;
        return;
    }
    const MidiAssignment assignment{message.channel, message.data1};
    if (!application_.controlHub().midiLearn()) {
        application_.controlHub().deliverMIDI(assignment, message.type, message.data2);
    } else if (!recording) {
        application_.controlHub().learnFromMIDI(assignment);
    }
}

void MIDIDispatch::receivedSysex(std::span<const std::uint8_t> payload, const std::string& sourceName) {
    if (application_.gate.shouldIgnoreRendering()) return;
    if (isFullFrameTimecode(payload)) {
        application_.notifications().post(application_.names().MTCFullFrameReceivedNotification,
                                          {sourceName, {payload.begin(), payload.end()}});
        return;
    }
    if (application_.prefs.playback().listenToMMC && isMachineControl(payload))
        receivedMachineControl(payload);
}

void MIDIDispatch::receivedMachineControl(std::span<const std::uint8_t> payload) {
    const std::uint8_t device = payload[1];
    if (device == 0) {
        obeyAsMaster(payload[3]);
        return;
    }
    application_.services().compQueue.sync([&] {
        CompositionSet& compositions = application_.compositions;
        if (device == everyDevice) {
            if (MarvoTimelineController* selected = compositions.selectedComposition())
                obey(*selected, payload);
        } else if (device <= compositions.count()) {
            obey(compositions.at(device - 1U), payload);
        }
    });
}

void MIDIDispatch::obeyAsMaster(std::uint8_t command) {
    MasterTransport& master = application_.master;
    application_.rendezvous().runOnMain([&master, command] {
        MarvoButton& button = master.togglePlayAllButton;
        if (command == mmcPlay || (command == mmcStop && button.state())) {
            button.setState(!button.state());
            master.togglePlayAll();
        } else if (command == mmcRewind) {
            master.rewindAll();
        }
    });
}

// With the composition queue held.
void MIDIDispatch::obey(MarvoTimelineController& composition, std::span<const std::uint8_t> payload) {
    switch (payload[3]) {
    case mmcStop:
        if (composition.isRunning()) composition.togglePlay();
        break;
    case mmcPlay:
        composition.togglePlay();
        break;
    case mmcRewind:
        composition.transport.toggleRewind();
        break;
    case mmcRecordStrobe:
        composition.toggleRec();
        break;
    case mmcLocate:
        if (payload.size() == 11) {
            std::uint64_t packed = 0;
            for (std::size_t i = 0; i < 4; ++i) packed |= std::uint64_t{payload[6 + i]} << (16 * i);
            composition.transport.markerDraggedToSMPTETime(packed);
        }
        break;
    default:
        break;
    }
}

} // namespace marvo
