#include "app/InboundRecorder.h"

#include "composition/MarvoTimelineController.h"
#include "platform/Saturate.h"

namespace marvo {
namespace {

constexpr int firstFineController = 32;
constexpr int lastFineController = 62;

} // namespace

void InboundRecorder::setRecordDelegate(MarvoTimelineController& composition) {
    compQueue_.sync([&] { delegate_ = &composition; });
    hasDelegate_ = true;
}

void InboundRecorder::startRecord() {
    compQueue_.sync([&] {
        lastRecordedKeyframe_.time = Frame(-1);
        lastRecordedKeyframe_.isMSB = false;
        msbCache_.clear();
    });
    needsRecord_ = true;
}

void InboundRecorder::forget(const MarvoTimelineController& composition) {
    compQueue_.sync([&] {
        if (delegate_ != &composition) return;
        delegate_ = nullptr;
        hasDelegate_ = false;
        needsRecord_ = false;
    });
}

bool InboundRecorder::takesOSC(const OSCMessage& message) {
    if (!isArmed() || message.address().starts_with("/marvo/")) return false;
    const std::optional<FilterEntry> entry = oscFilters.find(message.address());
    if (!entry || !entry->allowed) return true;
    compQueue_.sync([&] {
        if (delegate_ && delegate_->recordingTarget)
            delegate_->recordingTarget->addRecordedOSCData(delegate_->state.currentTime, message);
    });
    return true;
}

void InboundRecorder::beginDelivery() {
    compQueue_.sync([&] {
        if (delegate_) recordTime_ = delegate_->state.currentTime;
    });
}

InboundRecorder::Known InboundRecorder::lookUp(const MIDIMessage& message) const {
    Known known;
    known.key = MarvoMIDIFilterManager::keyOf(message.type, message.channel, message.data1);
    known.entry = midiFilters.find(known.key);
    known.isAssigned = isAssigned_({message.channel, message.data1});
    if (message.data1 < firstFineController || message.data1 > lastFineController) return known;
    known.coarseKey = MarvoMIDIFilterManager::keyOf(
        message.type, message.channel, static_cast<std::uint8_t>(message.data1 - firstFineController));
    known.coarse = midiFilters.find(known.coarseKey);
    return known;
}

bool InboundRecorder::takeMIDI(const MIDIMessage& message) {
    // Not in the queue: the tick would wait for whoever saves or searches the tables.
    const Known known = lookUp(message);
    return compQueue_.sync([&] {
        if (!join(message, known)) return false;
        RecordedMIDI& last = lastRecordedKeyframe_;
        if (known.isAssigned || !known.entry || !known.entry->allowed) return true;
        if (known.entry->highResolution) {
            last.isMSB = true;
            last.isLSB = false;
            msbCache_[known.key] = truncatedToInt32(static_cast<double>(last.value));
        } else {
            add(last);
            last.isMSB = false;
            last.isLSB = false;
        }
        return true;
    });
}

// Fills lastRecordedKeyframe_ from the message, together with the half that may have come before. False for a
// fine half without its coarse one.
bool InboundRecorder::join(const MIDIMessage& message, const Known& known) {
    RecordedMIDI& last = lastRecordedKeyframe_;
    if (last.isMSB) {
        if (message.data1 == last.cc + firstFineController) {
            last.value = last.value * 128.0f + static_cast<float>(message.data2);
            last.isLSB = true;
            return true;
        }
        last.isMSB = false;
        last.isLSB = false;
        if (known.entry && known.entry->allowed) add(last);
        return true;
    }
    if (known.coarse && known.coarse->highResolution && known.coarse->allowed) {
        const auto cached = msbCache_.find(known.coarseKey);
        if (cached == msbCache_.end()) {
            last.isMSB = false;
            last.isLSB = false;
            return false;
        }
        last.time = recordTime_;
        last.isMSB = true;
        last.isLSB = true;
        last.cc = message.data1 - firstFineController;
        last.ch = message.channel;
        last.value = static_cast<float>(message.data2 + std::int64_t{cached->second} * 128);
        return true;
    }
    last.time = recordTime_;
    last.value = static_cast<float>(message.data2);
    last.cc = message.data1;
    last.ch = message.channel;
    last.type = message.type;
    last.velocityOn = static_cast<float>(message.data2);
    last.velocityOff = 64.0f;
    return true;
}

void InboundRecorder::takeDMX(std::int64_t universe, std::span<const DMXPair> changes) {
    if (!isArmed()) return;
    struct Heard {
        DMXPair change;
        FilterEntry entry;
        bool followsHighResolution;
    };
    // Not in the queue: the tick would wait for whoever saves or searches the tables.
    std::vector<Heard> heard;
    heard.reserve(changes.size());
    for (const DMXPair& change : changes) {
        const auto entry = artNetFilters.find(MarvoArtNetFilterManager::keyOf(universe, change.index + 1));
        if (!entry || !entry->allowed) continue;
        // Named by its number from 0, which is the channel before it counted from 1.
        const auto before = artNetFilters.find(MarvoArtNetFilterManager::keyOf(universe, change.index));
        heard.push_back({change, *entry, before && before->highResolution});
    }
    compQueue_.sync([&] {
        if (!delegate_ || !delegate_->recordingTarget) return;
        RecordingTarget& target = *delegate_->recordingTarget;
        const Frame time = delegate_->state.currentTime;
        int high = -1;
        for (const Heard& one : heard) {
            const auto& [channel, value] = one.change;
            if (one.entry.highResolution) {
                high = value * 256;
                continue;
            }
            if (high != -1) {
                target.addRecordedDMXData({time, channel - 1, high + value, true});
            } else if (!one.followsHighResolution) {
                target.addRecordedDMXData({time, channel, value, false});
            }
            high = -1;
        }
    });
}

void InboundRecorder::add(const RecordedMIDI& data) {
    if (delegate_ && delegate_->recordingTarget) delegate_->recordingTarget->addRecordedData(data);
}

} // namespace marvo
